#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace orvel {

struct FontFaceEntry
{
    QString file; // absolute path once loaded
    int weight = 400;
    bool italic = false;
    QString styleName;
};

// One font family package: a directory holding family.json and its face files.
struct FontFamilyEntry
{
    QString id;
    QString family;   // display name
    QString qtFamily; // the name Qt gives the loaded font; text styles store this one
    QString category;
    QString license;
    int order = 0;
    QList<FontFaceEntry> faces;
};

// Parses one family.json directory. Returns false with a lower-case message for a broken package.
bool readFontFamilyPackage(const QString &directory, FontFamilyEntry &out, QString *error);

// Loads every font family package from the font roots into QFontDatabase (first root wins for
// an id) and returns the Qt family names it registered. Runs on the main thread before any QML.
QStringList loadFontCatalog();
QStringList loadFontCatalogFrom(const QStringList &roots);
QList<FontFamilyEntry> fontCatalogEntries();

// Loads every *.ttf, *.otf and *.ttc in the emoji font roots and their direct subdirectories.
// Returns the families registered; the first becomes the emoji font family.
QStringList loadEmojiFonts();
QStringList loadEmojiFontsFrom(const QStringList &roots);
QString emojiFontFamily();

} // namespace orvel
