#include "ml/DenoiseScratch.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(DenoiseSweep, RemovesOnlyStaleScratchFiles)
{
    QTemporaryDir dir;
    const QStringList stale{"a-preview.flac", "b-original.flac", "c.flac.part"};
    const QStringList kept{"result.flac", "preview.flac", "notes-preview.flac.txt"};
    for (const QString &name : stale + kept) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    EXPECT_EQ(orvel::sweepStaleDenoiseFiles(dir.path()), 3);
    for (const QString &name : stale)
        EXPECT_FALSE(QFile::exists(dir.filePath(name))) << qPrintable(name);
    for (const QString &name : kept)
        EXPECT_TRUE(QFile::exists(dir.filePath(name))) << qPrintable(name);
}

TEST(DenoiseSweep, MissingFolderIsNotAnError)
{
    EXPECT_EQ(orvel::sweepStaleDenoiseFiles(QStringLiteral("/nonexistent/orvel/denoised")), 0);
    EXPECT_EQ(orvel::sweepStaleDenoiseFiles(QString()), 0);
}
