#include "catalog/EffectCatalog.h"
#include "EffectPackageTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using orvel::test::writePackage;

void writeLibav(const QString &root, const QString &dir, const QString &id, int order,
                const char *category = "retro")
{
    writePackage(QDir(root).filePath(dir),
                 {{"effect.json", QStringLiteral(R"({"backend":"libav","id":"%1","order":%2,"category":"%3",
                                                    "filterName":"hue","displayName":"%1 in %4"})")
                                      .arg(id)
                                      .arg(order)
                                      .arg(QLatin1String(category), root)
                                      .toUtf8()}});
}

QStringList idsOf(const QList<orvel::EffectDescriptor> &list)
{
    QStringList ids;
    for (const auto &d : list)
        ids.append(d.id);
    return ids;
}

} // namespace

TEST(EffectCatalogTest, ScanKeepsTheFirstRootsPackageSortsByOrderThenIdAndSkipsBadOnes)
{
    QTemporaryDir envRoot;
    QTemporaryDir other;
    writeLibav(envRoot.path(), "one", "shared", 5);
    writeLibav(other.path(), "a_shared_again", "shared", 0);
    writeLibav(other.path(), "b", "Zeta", 1);
    writeLibav(other.path(), "c", "alpha", 1);
    writeLibav(other.path(), "d", "beta", -3);
    writePackage(other.path() + "/broken", {{"effect.json", "{\"id\":\"x\"}"}});
    QDir().mkpath(other.path() + "/not_a_package");

    qputenv("ORVEL_EFFECTS_DIR", envRoot.path().toUtf8());
    const QStringList roots = orvel::effectPackageRoots();
    qunsetenv("ORVEL_EFFECTS_DIR");
    ASSERT_FALSE(roots.isEmpty());
    EXPECT_EQ(roots.first(), envRoot.path());

    const QList<orvel::EffectDescriptor> list = orvel::scanEffectPackages({roots.first(), other.path()});
    // Upper case sorts before lower case: the comparison is by code point on every platform.
    EXPECT_EQ(idsOf(list), QStringList({"beta", "Zeta", "alpha", "shared"}));
    EXPECT_TRUE(list.last().displayName.endsWith(envRoot.path()));
}

TEST(EffectCatalogTest, FindsByOldNameListsCategoriesAndReloads)
{
    QTemporaryDir root;
    writeLibav(root.path(), "split", "rgb_split", 0, "Glitch");
    writeLibav(root.path(), "sepia", "sepia", 1, "Colour Grading");
    writeLibav(root.path(), "blur", "blur", 2, "Blurs & Distortions");
    writeLibav(root.path(), "crt", "crt", 3, "retro");
    orvel::EffectCatalog &catalog = orvel::EffectCatalog::instance();
    catalog.reload({root.path()});

    const orvel::EffectDescriptor *split = catalog.find("stylize.rgb_split");
    ASSERT_NE(split, nullptr);
    EXPECT_EQ(split->id, "rgb_split");
    EXPECT_EQ(catalog.find("nothing"), nullptr);

    const QList<QPair<QString, QString>> categories = catalog.categories();
    const QList<QPair<QString, QString>> expected{
        {"glitch", "Glitch & Distortion"},    {"retro", "Retro / Analog"},
        {"dreamy", "Dreamy & Stylish"},       {"impact", "Impact"},
        {"colour_grading", "Colour_grading"}, {"blurs_distortions", "Blurs & Distortions"}};
    EXPECT_EQ(categories, expected);
    EXPECT_EQ(orvel::EffectCatalog::categoryLabel(""), "Other");
    EXPECT_EQ(orvel::EffectCatalog::categoryLabel("funny"), "Funny Face");

    QTemporaryDir empty;
    catalog.reload({empty.path()});
    EXPECT_EQ(catalog.find("rgb_split"), nullptr);
    EXPECT_TRUE(catalog.all().isEmpty());
}

TEST(EffectCatalogTest, MergedParametersAndFilterText)
{
    orvel::EffectDescriptor d;
    d.id = "tone";
    d.filterName = "eq";
    d.fixedParams = {{"gamma", 1.5}, {"offset", 3.0}};
    d.parameters = {{"contrast", "Contrast", 0, 2, 1.25, false}, {"invert", "Invert", 0, 1, 0.7, true}};
    orvel::EffectInstance instance;
    instance.name = "ignored";
    instance.parameters = {{"contrast", 0.5}, {"chroma", 2.0}};

    const QVariantMap merged = orvel::EffectCatalog::mergedParams(instance, d);
    EXPECT_DOUBLE_EQ(merged.value("contrast").toDouble(), 0.5); // the instance wins over the default
    EXPECT_EQ(merged.value("invert"), QVariant(true));
    EXPECT_DOUBLE_EQ(merged.value("offset_neg").toDouble(), -3.0);
    EXPECT_DOUBLE_EQ(merged.value("chroma_neg").toDouble(), -2.0);

    EXPECT_EQ(orvel::EffectCatalog::filterString(instance, &d),
              "eq=chroma=2:chroma_neg=-2:contrast=0.5:gamma=1.5:invert=1:offset=3:offset_neg=-3");
    d.graphTemplate = "eq=contrast={{contrast}}:gamma={{gamma}}:x={{missing}}";
    EXPECT_EQ(orvel::EffectCatalog::filterString(instance, &d), "eq=contrast=0.5:gamma=1.5:x={{missing}}");

    // Without a package the instance's own name and values make the filter.
    orvel::EffectInstance bare;
    bare.name = "hue";
    bare.parameters = {{"h", 90}, {"s", ""}};
    EXPECT_EQ(orvel::EffectCatalog::filterString(bare, nullptr), "hue=h=90");
    bare.parameters.clear();
    EXPECT_EQ(orvel::EffectCatalog::filterString(bare, nullptr), "hue");
    bare.name.clear();
    EXPECT_EQ(orvel::EffectCatalog::filterString(bare, nullptr), "");
    d.isGpu = true;
    EXPECT_EQ(orvel::EffectCatalog::filterString(instance, &d), "");
}
