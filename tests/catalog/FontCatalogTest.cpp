#include "catalog/FontCatalog.h"
#include "catalog/PackageRoots.h"

#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const char *const kDejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
const char *const kDejaVuBold = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

TEST(PackageRootsTest, EnvironmentFirstThenDefaultsWithoutDuplicates)
{
    QTemporaryDir a;
    QTemporaryDir b;
    qputenv("ORVEL_TEST_ROOTS", (a.path() + QDir::listSeparator() + QDir::listSeparator() + b.path() +
                                 QDir::listSeparator() + a.path() + "/")
                                    .toUtf8());
    orvel::setAddonRootsProvider([&](const QString &sub) { return QStringList{b.path(), "/addons/" + sub}; });
    const QStringList roots =
        orvel::packageRoots("ORVEL_TEST_ROOTS", QStringLiteral("fonts"), QStringLiteral("fonts"));
    orvel::setAddonRootsProvider({});
    ASSERT_GE(roots.size(), 4);
    EXPECT_EQ(roots[0], a.path());
    EXPECT_EQ(roots[1], b.path());
    EXPECT_EQ(roots[2], QStringLiteral("/addons/fonts"));
    EXPECT_TRUE(roots[3].endsWith(QStringLiteral("/fonts")));
    EXPECT_EQ(roots.count(a.path()), 1);
}

TEST(FontCatalogTest, LoadsFacesSkipsRefusedOnesAndFirstRootWins)
{
    QTemporaryDir first;
    QTemporaryDir second;
    ASSERT_TRUE(QDir().mkpath(first.filePath("sans")));
    ASSERT_TRUE(QFile::copy(kDejaVu, first.filePath("sans/Regular.ttf")));
    ASSERT_TRUE(QFile::copy(kDejaVuBold, first.filePath("sans/Bold.ttf")));
    writeFile(first.filePath("sans/Broken.ttf"), "not a font");
    writeFile(first.filePath("sans/family.json"),
              R"({"id":"dejavu","family":"DejaVu","category":"clean","order":2,
                  "faces":[{"file":"Broken.ttf","weight":300},{"file":"Regular.ttf","weight":400},
                           {"file":"Bold.ttf","weight":700,"styleName":"Bold"}]})");
    writeFile(first.filePath("aaa/family.json"), R"({"id":"early","order":1,"faces":[]})");
    writeFile(first.filePath("bad/family.json"), "{ not json");
    writeFile(first.filePath("plain-folder/readme.txt"), "ignored");
    writeFile(second.filePath("dup/family.json"), R"({"id":"dejavu","family":"Other","faces":[]})");

    const QStringList families = orvel::loadFontCatalogFrom({first.path(), second.path()});
    EXPECT_EQ(families, QStringList{QStringLiteral("DejaVu Sans")});
    const auto entries = orvel::fontCatalogEntries();
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[0].id, QStringLiteral("early")); // sorted by order
    EXPECT_EQ(entries[1].id, QStringLiteral("dejavu"));
    EXPECT_EQ(entries[1].family, QStringLiteral("DejaVu"));
    EXPECT_EQ(entries[1].qtFamily, QStringLiteral("DejaVu Sans"));
    ASSERT_EQ(entries[1].faces.size(), 2); // the refused face is left out, the rest stay
    EXPECT_EQ(entries[1].faces[1].weight, 700);
    EXPECT_TRUE(QFontDatabase::families().contains(QStringLiteral("DejaVu Sans")));
}

TEST(FontCatalogTest, EmojiFontsLoadFromRootAndDirectSubfolders)
{
    QTemporaryDir root;
    QDir().mkpath(root.filePath("pack/deeper"));
    ASSERT_TRUE(QFile::copy(kDejaVuBold, root.filePath("pack/Emoji.ttf")));
    ASSERT_TRUE(QFile::copy(kDejaVu, root.filePath("pack/deeper/TooDeep.ttf")));
    const QStringList families = orvel::loadEmojiFontsFrom({root.path(), root.filePath("missing")});
    EXPECT_EQ(families.size(), 1);
    EXPECT_EQ(orvel::emojiFontFamily(), families.value(0));
}
