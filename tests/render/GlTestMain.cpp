// Entry point of the render test programs. With GL: Qt Quick must draw with OpenGL and share
// its context before the application object exists, as the editor itself does. Without GL: no
// display may be reachable, or the offscreen platform would still find GLX through Xvfb.
#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // CTest lists the cases before running them; that needs no application or display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
#ifdef ORVEL_TEST_CORE_APP
    // A command-line tool's application: no windowing system at all.
    QCoreApplication coreApp(argc, argv);
    return RUN_ALL_TESTS();
#else
#ifdef ORVEL_TEST_WITHOUT_GL
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    qputenv("QT_QPA_OFFSCREEN_NO_GLX", "1");
    qputenv("QT_QPA_PLATFORM", "offscreen");
#else
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
#endif
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
#endif
}
