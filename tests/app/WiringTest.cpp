#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct ProbeResult
{
    int exitCode = -1000;
    QString output;
};

ProbeResult runProbe(const QStringList &arguments, const QString &homeDir)
{
    QProcess probe;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), homeDir + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), homeDir + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), homeDir + QStringLiteral("/cache"));
    // Qt warns about a missing runtime folder; give the child a private one so that any
    // warning it prints is about the program itself.
    const QString runtimeDir = homeDir + QStringLiteral("/runtime");
    QDir().mkpath(runtimeDir);
    QFile::setPermissions(runtimeDir,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtimeDir);
    probe.setProcessEnvironment(env);
    probe.setProcessChannelMode(QProcess::MergedChannels);
    probe.start(QCoreApplication::applicationDirPath() + QStringLiteral("/orvel_wiring_probe"), arguments);
    if (!probe.waitForFinished(60000)) {
        probe.kill();
        probe.waitForFinished();
        return {};
    }
    ProbeResult result;
    result.exitCode = probe.exitStatus() == QProcess::NormalExit ? probe.exitCode() : -999;
    result.output = QString::fromLocal8Bit(probe.readAll());
    return result;
}

} // namespace

TEST(ApplicationWiring, MainLoadsWithoutWarningsAndBothSingletonNamesAreOneObject)
{
    QTemporaryDir home;
    const QString screenshot = home.filePath(QStringLiteral("main.png"));
    const ProbeResult result = runProbe({QStringLiteral("main"), screenshot}, home.path());
    EXPECT_EQ(result.exitCode, 0) << qPrintable(result.output);

    // The window really rendered: at its requested size, with the theme's background and a
    // panel in the middle of the lower half (the upper one shows the black preview canvas), in
    // the dark or the light scheme alike.
    const QImage image(screenshot);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size() / image.devicePixelRatio(), QSize(1280, 800));
    const QString background = image.pixelColor(2, 2).name();
    const QString panel = image.pixelColor(image.width() / 2, image.height() * 3 / 4).name();
    if (background == QStringLiteral("#0d0d0d"))
        EXPECT_EQ(panel, QStringLiteral("#1a1a1a"));
    else {
        EXPECT_EQ(background, QStringLiteral("#ffffff"));
        EXPECT_EQ(panel, QStringLiteral("#f9fafb"));
    }
}

TEST(ApplicationWiring, FailingRootComponentExitsWithMinusOne)
{
    QTemporaryDir home;
    const QString broken = home.filePath(QStringLiteral("Broken.qml"));
    QFile file(broken);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("import QtQuick\nItem { propertyThatDoesNotExist: 1 }\n");
    file.close();
    const ProbeResult result = runProbe({QStringLiteral("root"), broken}, home.path());
    EXPECT_EQ(result.exitCode, 255) << qPrintable(result.output); // exit(-1) as seen by the parent
}
