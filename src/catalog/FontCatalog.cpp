#include "catalog/FontCatalog.h"

#include "catalog/PackageRoots.h"

#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QSet>

#include <algorithm>

namespace orvel {

namespace {

struct FontCatalogState
{
    QMutex mutex;
    QList<FontFamilyEntry> families;
};

FontCatalogState &fontState()
{
    static FontCatalogState state;
    return state;
}

struct EmojiFontState
{
    QMutex mutex;
    QString family;
};

EmojiFontState &emojiState()
{
    static EmojiFontState state;
    return state;
}

// Registers one font file; an empty result means Qt refused it.
QString registerFontFile(const QString &path, const char *logPrefix)
{
    const int fontId = QFontDatabase::addApplicationFont(path);
    if (fontId < 0) {
        qWarning("%s: Qt rejected %s", logPrefix, qUtf8Printable(path));
        return {};
    }
    const QStringList families = QFontDatabase::applicationFontFamilies(fontId);
    return families.isEmpty() ? QString() : families.first();
}

} // namespace

bool readFontFamilyPackage(const QString &directory, FontFamilyEntry &out, QString *error)
{
    QFile file(QDir(directory).filePath(QStringLiteral("family.json")));
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("cannot open family.json");
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (!doc.isObject()) {
        if (error)
            *error = QStringLiteral("invalid JSON: %1").arg(parseError.errorString());
        return false;
    }
    const QJsonObject root = doc.object();
    FontFamilyEntry entry;
    entry.id = root.value(QLatin1String("id")).toString();
    if (entry.id.isEmpty()) {
        if (error)
            *error = QStringLiteral("missing id");
        return false;
    }
    entry.family = root.value(QLatin1String("family")).toString(entry.id);
    entry.category = root.value(QLatin1String("category")).toString();
    entry.license = root.value(QLatin1String("license")).toString();
    entry.order = root.value(QLatin1String("order")).toInt();
    const QDir dir(directory);
    for (const QJsonValue &faceValue : root.value(QLatin1String("faces")).toArray()) {
        const QJsonObject faceObject = faceValue.toObject();
        const QString fileName = faceObject.value(QLatin1String("file")).toString();
        if (fileName.isEmpty())
            continue;
        FontFaceEntry face;
        face.file = dir.filePath(fileName);
        face.weight = faceObject.value(QLatin1String("weight")).toInt(400);
        face.italic = faceObject.value(QLatin1String("italic")).toBool();
        face.styleName = faceObject.value(QLatin1String("styleName")).toString();
        entry.faces.append(face);
    }
    out = entry;
    return true;
}

QStringList loadFontCatalogFrom(const QStringList &roots)
{
    FontCatalogState &state = fontState();
    QMutexLocker lock(&state.mutex);
    QList<FontFamilyEntry> families;
    QSet<QString> seenIds;
    QStringList registered;
    for (const QString &root : roots) {
        const QDir rootDir(root);
        if (!rootDir.exists())
            continue;
        const auto subdirs = rootDir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QString &sub : subdirs) {
            const QString directory = rootDir.filePath(sub);
            if (!QFile::exists(QDir(directory).filePath(QStringLiteral("family.json"))))
                continue;
            FontFamilyEntry entry;
            QString error;
            if (!readFontFamilyPackage(directory, entry, &error)) {
                qWarning("FontCatalog: skip %s: %s", qUtf8Printable(directory), qUtf8Printable(error));
                continue;
            }
            if (seenIds.contains(entry.id))
                continue; // the first root wins
            seenIds.insert(entry.id);
            QList<FontFaceEntry> loadedFaces;
            for (const FontFaceEntry &face : entry.faces) {
                const QString qtFamily = registerFontFile(face.file, "FontCatalog");
                if (qtFamily.isEmpty())
                    continue; // a refused face does not stop the rest of its family
                if (entry.qtFamily.isEmpty())
                    entry.qtFamily = qtFamily;
                loadedFaces.append(face);
            }
            entry.faces = loadedFaces;
            if (!entry.qtFamily.isEmpty() && !registered.contains(entry.qtFamily))
                registered.append(entry.qtFamily);
            families.append(entry);
        }
    }
    std::stable_sort(families.begin(), families.end(),
                     [](const FontFamilyEntry &a, const FontFamilyEntry &b) { return a.order < b.order; });
    state.families = families;
    return registered;
}

QStringList loadFontCatalog()
{
    return loadFontCatalogFrom(
        packageRoots("ORVEL_FONTS_DIR", QStringLiteral("fonts"), QStringLiteral("fonts")));
}

QList<FontFamilyEntry> fontCatalogEntries()
{
    FontCatalogState &state = fontState();
    QMutexLocker lock(&state.mutex);
    return state.families;
}

QStringList loadEmojiFontsFrom(const QStringList &roots)
{
    EmojiFontState &state = emojiState();
    QMutexLocker lock(&state.mutex);
    const QStringList patterns{QStringLiteral("*.ttf"), QStringLiteral("*.otf"), QStringLiteral("*.ttc")};
    QStringList registered;
    auto loadFilesIn = [&](const QDir &dir) {
        for (const QString &name : dir.entryList(patterns, QDir::Files, QDir::Name)) {
            const QString family = registerFontFile(dir.filePath(name), "EmojiFonts");
            if (!family.isEmpty() && !registered.contains(family))
                registered.append(family);
        }
    };
    for (const QString &root : roots) {
        const QDir rootDir(root);
        if (!rootDir.exists())
            continue;
        loadFilesIn(rootDir);
        for (const QString &sub : rootDir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            loadFilesIn(QDir(rootDir.filePath(sub)));
    }
    if (state.family.isEmpty() && !registered.isEmpty())
        state.family = registered.first();
    return registered;
}

QStringList loadEmojiFonts()
{
    QStringList roots =
        packageRoots("ORVEL_EMOJI_FONT_DIR", QStringLiteral("emoji-font"), QStringLiteral("emoji-font"));
    for (const QString &extra :
         packageRoots("ORVEL_EMOJI_FONT_DIR", QStringLiteral("emoji-fonts"), QStringLiteral("emoji-fonts"))) {
        if (!roots.contains(extra))
            roots.append(extra);
    }
    return loadEmojiFontsFrom(roots);
}

QString emojiFontFamily()
{
    EmojiFontState &state = emojiState();
    QMutexLocker lock(&state.mutex);
    return state.family;
}

} // namespace orvel
