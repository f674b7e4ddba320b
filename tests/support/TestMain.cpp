// Shared entry point of the test programs: a QGuiApplication exists for the whole run, since
// QColor, QImage, fonts, timers and queued signals all want one.
#include <QCoreApplication>
#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // CTest lists the cases before running them; that needs no application or display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
