// The editor's real window, controller and engine playing a generated 10 s project under a
// display with GL. What the preview shows is read back from the window and compared with
// orvel-render's frame of the same instant. No sound server is reachable here, so the clock runs
// free after its half second, as it does on a machine without a sound card.
#include "../render/SceneTestSupport.h"

#include "core/controller/AppController.h"
#include "core/document/ProjectJson.h"
#include "playback/PlaybackEngine.h"
#include "playback/PreviewItem.h"
#include "render/CompositorService.h"
#include "render/GlRuntime.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QSaveFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

namespace {

using namespace orvel;

constexpr int kWidth = 320;
constexpr int kHeight = 180;

bool runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(120000);
    EXPECT_EQ(process.exitCode(), 0) << qPrintable(program) << ": "
                                     << process.readAllStandardError().constData();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// Mean absolute difference per channel of two pictures brought to one small size, so that the
// preview's scaling and the codec's rounding do not count, but a different frame does.
double pictureDistance(const QImage &a, const QImage &b)
{
    const QSize small(64, 36);
    const QImage x = a.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                         .convertToFormat(QImage::Format_RGB32);
    const QImage y = b.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                         .convertToFormat(QImage::Format_RGB32);
    double sum = 0.0;
    for (int row = 0; row < small.height(); ++row) {
        for (int col = 0; col < small.width(); ++col) {
            const QRgb p = x.pixel(col, row), q = y.pixel(col, row);
            sum +=
                std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q));
        }
    }
    return sum / (3.0 * small.width() * small.height());
}

class PreviewWindowTest : public testing::Test
{
protected:
    void SetUp() override
    {
        qputenv("PULSE_SERVER", "unix:/nonexistent/orvel-no-server");
        // The application starts GL from the GUI thread before anything draws; so does this.
        ASSERT_TRUE(GlRuntime::instance().ensureStarted());
        ASSERT_TRUE(runTool("ffmpeg", {"-v", "error", "-y", "-f", "lavfi", "-i",
                                       QStringLiteral("testsrc2=s=%1x%2:r=25:d=10").arg(kWidth).arg(kHeight),
                                       "-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset", "ultrafast", "-g",
                                       "25", file("clip.mp4")}));
        Clip clip = scenetest::clipOf(ClipType::video, "clip", file("clip.mp4"), 0, 10'000'000);
        scenetest::place(clip, QRectF(0, 0, kWidth, kHeight));
        Project project = scenetest::projectOf(kWidth, kHeight, {scenetest::trackOf({clip})});
        project.fps = 25;
        const QByteArray json = QJsonDocument(projectToJson(project)).toJson();
        QSaveFile saved(file("project.json"));
        ASSERT_TRUE(saved.open(QIODevice::WriteOnly));
        saved.write(json);
        ASSERT_TRUE(saved.commit());

        qmlRegisterType<PreviewItem>("Orvel", 1, 0, "PreviewItem");
        qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "EditorState", &editor);
        qmlRegisterSingletonInstance<AppController>("Orvel", 1, 0, "AppController", &editor);
        ASSERT_TRUE(editor.loadProjectJson(json));
        qml.addImportPath(QStringLiteral("qrc:/qt/qml"));
        qml.load(QUrl(QStringLiteral("qrc:/qt/qml/Orvel/Main.qml")));
        ASSERT_FALSE(qml.rootObjects().isEmpty());
        window = qobject_cast<QQuickWindow *>(qml.rootObjects().first());
        ASSERT_TRUE(window);
        item = window->findChild<PreviewItem *>(QStringLiteral("previewItem"));
        ASSERT_TRUE(item);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    }

    QString file(const QString &name) const { return QDir(dir.path()).filePath(name); }

    // The picture inside the preview item, as the window shows it.
    QImage shownPicture()
    {
        const QRectF rect = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        const QRectF picture = letterboxRect(rect, engine()->previewTextureSize());
        return window->grabWindow().copy(picture.toAlignedRect());
    }

    // orvel-render's frame at timeUs, started now and read by finishRender.
    std::unique_ptr<QProcess> startRender(TimeUs timeUs)
    {
        auto process = std::make_unique<QProcess>();
        process->start(ORVEL_RENDER_CLI,
                       {file("project.json"), "--frame", QString::number(double(timeUs) / 1e6, 'f', 6),
                        "--out", file(QStringLiteral("frame-%1.png").arg(timeUs))});
        process->setObjectName(file(QStringLiteral("frame-%1.png").arg(timeUs)));
        return process;
    }

    static QImage finishRender(QProcess &process)
    {
        process.waitForFinished(120000);
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
        return QImage(process.objectName());
    }

    // Waits until the compositor is idle and no frame has come for a moment: a frame asked for
    // while playing may still arrive after a pause or a seek.
    bool waitForStillFrame()
    {
        for (int round = 0; round < 50; ++round) {
            if (!QTest::qWaitFor([&] { return !engine()->compositor()->isBusy(); }, 5000))
                return false;
            QSignalSpy delivered(engine(), &PlaybackEngine::currentFrameChanged);
            if (!delivered.wait(250))
                return true;
        }
        return false;
    }

    PlaybackEngine *engine() { return editor.playback(); }

    void saveScreenshot(const QString &name)
    {
        const QString folder = qEnvironmentVariable("ORVEL_SCREENSHOT_DIR");
        if (!folder.isEmpty())
            window->grabWindow().save(QDir(folder).filePath(name));
    }

    QTemporaryDir dir;
    EditorState editor{nullptr};
    QQmlApplicationEngine qml;
    QQuickWindow *window = nullptr;
    PreviewItem *item = nullptr;
};

TEST_F(PreviewWindowTest, PlaysInRealTimeAndShowsTheRightFrames)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return engine()->hasFrame(); }, 10000));

    // The seek's reference is drawn while the window plays.
    constexpr TimeUs kSeekUs = 7'320'000;
    const std::unique_ptr<QProcess> seekRender = startRender(kSeekUs);

    // Play: after the first half second the playhead keeps to the wall clock within 5 %.
    QElapsedTimer wall;
    QList<std::pair<qint64, TimeUs>> ticks;
    QObject::connect(engine(), &PlaybackEngine::playheadUsChanged, &qml, [&] {
        ticks.append({wall.nsecsElapsed() / 1000, engine()->playheadUs()});
    });
    wall.start();
    editor.setPlaying(true);
    ASSERT_TRUE(engine()->isPlaying());
    QTest::qWait(1000);
    const QImage early = shownPicture();
    saveScreenshot(QStringLiteral("preview-playing.png"));
    QTest::qWait(700);
    const QImage later = shownPicture();
    QTest::qWait(500);
    QObject::disconnect(engine(), &PlaybackEngine::playheadUsChanged, &qml, nullptr);
    editor.setPlaying(false);
    EXPECT_GT(pictureDistance(early, later), 3.0) << "the picture did not change while playing";

    std::pair<qint64, TimeUs> first{-1, 0};
    for (const auto &tick : ticks) {
        if (tick.first >= 700'000 && first.first < 0)
            first = tick;
    }
    ASSERT_GE(first.first, 0);
    const auto last = ticks.last();
    const double rate = double(last.second - first.second) / double(last.first - first.first);
    EXPECT_NEAR(rate, 1.0, 0.05) << ticks.size() << " ticks";

    // Pause: the frame of the paused instant, and it stays.
    ASSERT_TRUE(waitForStillFrame());
    const TimeUs pausedUs = engine()->playheadUs();
    EXPECT_EQ(editor.playheadUs(), pausedUs);
    const QImage paused = shownPicture();
    const QImage reference = finishRender(*startRender(pausedUs));
    EXPECT_LT(pictureDistance(paused, reference), 8.0);
    QTest::qWait(300);
    EXPECT_LT(pictureDistance(shownPicture(), paused), 1.0);

    // Seek: the frame of the new instant.
    editor.setPlayheadSeconds(double(kSeekUs) / 1e6);
    ASSERT_TRUE(waitForStillFrame());
    ASSERT_EQ(engine()->playheadUs(), kSeekUs);
    const QImage seeked = shownPicture();
    const QImage seekReference = finishRender(*seekRender);
    EXPECT_LT(pictureDistance(seeked, seekReference), 8.0);
    // Each reference is far from the other instant's picture, so the checks above tell frames apart.
    EXPECT_GT(pictureDistance(paused, seekReference), 3.0 * pictureDistance(paused, reference));
    EXPECT_GT(pictureDistance(seeked, reference), 3.0 * pictureDistance(seeked, seekReference));
    // 7.32 s at 25 fps is frame 183: 7 s and 8 frames.
    const QObject *timecode = window->findChild<QObject *>(QStringLiteral("previewTimecode"));
    ASSERT_TRUE(timecode);
    EXPECT_EQ(timecode->property("text").toString(), QStringLiteral("00:00:07:08 / 00:00:10:00"));

    if (!qEnvironmentVariableIsEmpty("ORVEL_SCREENSHOT_DIR")) {
        QQmlComponent toggle(&qml);
        toggle.setData(
            "import QtQml\nimport Orvel\nQtObject { Component.onCompleted: Theme.toggleDarkMode() }", QUrl());
        delete toggle.create();
        QTest::qWait(200);
        saveScreenshot(QStringLiteral("preview-seeked-other-theme.png"));
    }
}

} // namespace
