// Shared entry point of the test programs: a QGuiApplication exists for the whole run, since
// QColor, QImage, fonts, timers and queued signals all want one.
#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // CTest lists the cases before running them; that needs no application or display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    // Each test process gets its own settings, data and cache folders, so cases running in
    // parallel never share a settings file and nothing touches the real user's files.
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QDir(home.path()).filePath("config").toUtf8());
    qputenv("XDG_DATA_HOME", QDir(home.path()).filePath("data").toUtf8());
    qputenv("XDG_CACHE_HOME", QDir(home.path()).filePath("cache").toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Halvern Orvel"));
    QCoreApplication::setApplicationName(QStringLiteral("Halvern Orvel"));
    return RUN_ALL_TESTS();
}
