// The editor's real window, controller and engine playing a generated 10 s project under a
// display with GL. What the preview shows is read back from the window and compared with
// orvel-render's frame of the same instant. No sound server is reachable, so the clock runs free
// after its half second, as on a machine without a sound card.
#include "../render/SceneTestSupport.h"

#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"
#include "playback/PreviewItem.h"
#include "render/compositor/CompositorService.h"
#include "render/gl/GlRuntime.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

// The shared test main falls back to the offscreen platform, where Qt Quick draws with its
// software renderer and the preview's GL texture shows as black. Run straight from a shell (CTest
// sets the platform itself), this program needs xcb like the editor, so it is chosen before main.
static void preferXcbPlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}
Q_CONSTRUCTOR_FUNCTION(preferXcbPlatform)

using namespace orvel;

namespace {

// Mean absolute difference per channel at 64 x 36, where scaling and codec rounding hardly count
// but another frame does.
double distance(const QImage &a, const QImage &b)
{
    const auto small = [](const QImage &image) {
        return image.scaled(64, 36, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    };
    const QImage x = small(a), y = small(b);
    double sum = 0.0;
    for (int i = 0; i < 64 * 36; ++i) {
        const QRgb p = x.pixel(i % 64, i / 64), q = y.pixel(i % 64, i / 64);
        sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q));
    }
    return sum / (3.0 * 64 * 36);
}

// Starts orvel-render on the frame at timeUs; finish() waits and reads the picture.
struct Reference
{
    Reference(const QDir &dir, TimeUs timeUs) : out(dir.filePath(QString("f%1.png").arg(timeUs)))
    {
        process.start(ORVEL_RENDER_CLI, {dir.filePath("project.json"), "--frame",
                                         QString::number(timeUs / 1e6, 'f', 6), "--out", out});
    }
    QImage finish()
    {
        process.waitForFinished(60000); // false, harmlessly, when it has finished already
        EXPECT_TRUE(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
            << process.readAllStandardError().data();
        return QImage(out);
    }
    QString out;
    QProcess process;
};

} // namespace

class PreviewWindowTest : public testing::Test
{
protected:
    void SetUp() override
    {
        qputenv("PULSE_SERVER", "unix:/nonexistent/orvel-no-server");
        ASSERT_TRUE(GlRuntime::instance().ensureStarted()); // from the GUI thread, as the application does
        QProcess ffmpeg;
        ffmpeg.start("ffmpeg",
                     {"-v", "error", "-y", "-f", "lavfi", "-i", "testsrc2=s=320x180:r=25:d=10", "-pix_fmt",
                      "yuv420p", "-c:v", "libx264", "-preset", "ultrafast", "-g", "25", file("clip.mp4")});
        ASSERT_TRUE(ffmpeg.waitForFinished(60000) && ffmpeg.exitCode() == 0);
        Clip clip = scenetest::clipOf(ClipType::video, "clip", file("clip.mp4"), 0, 10'000'000);
        scenetest::place(clip, QRectF(0, 0, 320, 180));
        Project project = scenetest::projectOf(320, 180, {scenetest::trackOf({clip})});
        project.fps = 25;
        const QByteArray json = QJsonDocument(projectToJson(project)).toJson();
        QFile saved(file("project.json"));
        ASSERT_TRUE(saved.open(QIODevice::WriteOnly) && saved.write(json) == json.size());
        saved.close();

        qmlRegisterType<PreviewItem>("Orvel", 1, 0, "PreviewItem");
        qmlRegisterSingletonInstance("Orvel", 1, 0, "AssetLibrary", &library);
        qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "EditorState", &editor);
        qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "AppController", &editor);
        ASSERT_TRUE(editor.loadProjectJson(json));
        // The first-start layout question would cover the preview.
        editor.markProjectLayoutChosen();
        qml.addImportPath("qrc:/qt/qml");
        qml.load(QUrl("qrc:/qt/qml/Orvel/Main.qml"));
        ASSERT_FALSE(qml.rootObjects().isEmpty());
        window = qobject_cast<QQuickWindow *>(qml.rootObjects().first());
        item = window->findChild<PreviewItem *>("previewItem");
        ASSERT_TRUE(item && QTest::qWaitForWindowExposed(window));
        // Any other scene graph cannot draw the engine's GL texture, and every frame would read black.
        ASSERT_EQ(window->rendererInterface()->graphicsApi(), QSGRendererInterface::OpenGL)
            << "Qt Quick does not draw with OpenGL on platform " << qPrintable(QGuiApplication::platformName());
    }

    QString file(const QString &name) const { return QDir(dir.path()).filePath(name); }

    // The picture inside the preview item, as the window shows it.
    QImage shown()
    {
        const QRectF rect = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        return window->grabWindow().copy(letterboxRect(rect, engine()->previewTextureSize()).toAlignedRect());
    }

    // Until the compositor is idle and no frame has come for a moment: a frame asked for while
    // playing may still arrive after a pause or a seek.
    bool waitForStillFrame()
    {
        for (int round = 0; round < 50; ++round) {
            QSignalSpy delivered(engine(), &PlaybackEngine::currentFrameChanged);
            if (!QTest::qWaitFor([&] { return !engine()->compositor()->isBusy(); }, 5000))
                return false;
            if (delivered.isEmpty() && !delivered.wait(250))
                return true;
        }
        return false;
    }

    void screenshot(const QString &name)
    {
        if (!qEnvironmentVariableIsEmpty("ORVEL_SCREENSHOT_DIR"))
            window->grabWindow().save(QDir(qEnvironmentVariable("ORVEL_SCREENSHOT_DIR")).filePath(name));
    }

    PlaybackEngine *engine() { return editor.playback(); }

    QTemporaryDir dir;
    AssetLibrary library;
    EditorState editor{&library};
    QQmlApplicationEngine qml;
    QQuickWindow *window = nullptr;
    PreviewItem *item = nullptr;
};

TEST_F(PreviewWindowTest, PlaysInRealTimePausesAndSeeksShowingTheRightFrames)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return engine()->hasFrame(); }, 10000));
    constexpr TimeUs kSeekUs = 7'320'000;
    Reference seekReference(QDir(dir.path()), kSeekUs); // drawn while the window plays

    QElapsedTimer wall;
    QList<std::pair<qint64, TimeUs>> ticks;
    QObject::connect(engine(), &PlaybackEngine::playheadUsChanged, &qml, [&] {
        ticks.append({wall.nsecsElapsed() / 1000, engine()->playheadUs()});
    });
    wall.start();
    editor.setPlaying(true);
    QTest::qWait(1000);
    const QImage early = shown();
    screenshot("preview-playing.png");
    QTest::qWait(1200);
    const QImage later = shown();
    QObject::disconnect(engine(), &PlaybackEngine::playheadUsChanged, &qml, nullptr);
    editor.setPlaying(false);
    EXPECT_GT(distance(early, later), 3.0) << "the picture did not change while playing";
    // After the first half second the playhead keeps to the wall clock within 5 %.
    const auto first =
        *std::find_if(ticks.begin(), ticks.end(), [](auto tick) { return tick.first >= 700'000; });
    const double rate = double(ticks.last().second - first.second) / double(ticks.last().first - first.first);
    EXPECT_NEAR(rate, 1.0, 0.05) << ticks.size() << " ticks";

    ASSERT_TRUE(waitForStillFrame());
    EXPECT_EQ(editor.playheadUs(), engine()->playheadUs());
    const QImage paused = shown();
    const QImage pauseReference = Reference(QDir(dir.path()), engine()->playheadUs()).finish();
    EXPECT_LT(distance(paused, pauseReference), 8.0);
    QTest::qWait(300);
    EXPECT_LT(distance(shown(), paused), 1.0) << "the paused frame did not hold";

    editor.setPlayheadSeconds(kSeekUs / 1e6);
    ASSERT_TRUE(waitForStillFrame());
    const QImage seeked = shown();
    const QImage seekPicture = seekReference.finish();
    EXPECT_LT(distance(seeked, seekPicture), 8.0);
    // Each reference is far from the other instant, so the two checks above tell frames apart.
    EXPECT_GT(distance(seeked, pauseReference), 3.0 * distance(seeked, seekPicture));
    // 7.32 s at 25 fps is frame 183: 7 s and 8 frames.
    EXPECT_EQ(window->findChild<QObject *>("previewTimecode")->property("text").toString(),
              "00:00:07:08 / 00:00:10:00");
}
