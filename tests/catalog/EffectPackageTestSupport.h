#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QString>

#include <gtest/gtest.h>

namespace orvel::test {

inline const char *const kPlainShader =
    "#version 330 core\nin vec2 v_texCoord;\nout vec4 fragColor;\n"
    "uniform sampler2D u_currentTexture;\n"
    "void main() { fragColor = texture(u_currentTexture, v_texCoord); }\n";

// Writes `files` (name relative to `directory` to content) and returns the directory.
inline QString writePackage(const QString &directory, const QMap<QString, QByteArray> &files)
{
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QString path = QDir(directory).filePath(it.key());
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
        file.write(it.value());
    }
    return directory;
}

} // namespace orvel::test
