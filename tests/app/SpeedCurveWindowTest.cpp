// The custom speed window in the real editor: its maths, and a point drawn, dragged and applied.
// With ORVEL_SCREENSHOT_DIR set, the window is saved there dark and light, at its default and
// minimum sizes.
#include "../media/TestMedia.h"
#include "MainWindowTest.h"
#include "playback/preview/ClipPreviewPlayer.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>

#include <cmath>

namespace {

const char *const kHelperQml = R"(
import QtQml
import Orvel
import "qrc:/qt/qml/Orvel/components/windows/SpeedCurveMath.js" as SCM
QtObject {
    function darkMode(on) { if (Theme.dark !== on) Theme.toggleDarkMode() }
    function call(name, args) { return JSON.stringify(SCM[name].apply(null, JSON.parse(args))) }
}
)";

QQuickItem *findItem(QQuickItem *root, const QString &name)
{
    if (root->objectName() == name)
        return root;
    for (QQuickItem *child : root->childItems())
        if (QQuickItem *found = findItem(child, name))
            return found;
    return nullptr;
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

} // namespace

class SpeedCurveWindowTest : public MainWindowTest
{
protected:
    static void SetUpTestSuite()
    {
        startWindow();
        helper = createQml(kHelperQml);
        // The application makes the window's player itself; the shared fixture does not.
        player = new orvel::ClipPreviewPlayer;
        editor->setClipPreviewPlayer(player);
    }
    static void TearDownTestSuite()
    {
        delete helper;
        closeWindow();
        delete player;
    }
    void SetUp() override { ASSERT_TRUE(window && editor && library && helper); }

    // Runs a maths helper on JSON arguments and returns its JSON result.
    static QJsonValue math(const char *name, const QByteArray &args)
    {
        QVariant result;
        EXPECT_TRUE(QMetaObject::invokeMethod(helper, "call", Q_RETURN_ARG(QVariant, result),
                                              Q_ARG(QVariant, QString::fromLatin1(name)),
                                              Q_ARG(QVariant, QString::fromUtf8(args))));
        return QJsonDocument::fromJson("[" + result.toString().toUtf8() + "]").array().at(0);
    }
    static void screenshots(QQuickWindow *target, const QString &name)
    {
        const QString dir = qEnvironmentVariable("ORVEL_SCREENSHOT_DIR");
        for (bool dark : {true, false}) {
            if (dir.isEmpty())
                return;
            QMetaObject::invokeMethod(helper, "darkMode", Q_ARG(QVariant, dark));
            QTest::qWait(300); // colour changes animate; let them settle for the picture
            target->grabWindow().save(QDir(dir).filePath(name + (dark ? "-dark.png" : "-light.png")));
        }
    }

    static inline QObject *helper = nullptr;
    static inline orvel::ClipPreviewPlayer *player = nullptr;
};

TEST_F(SpeedCurveWindowTest, LogAxisCurveEvaluationAndPointEdits)
{
    // ln(speed / 0.1) / ln(80) of the height, from the bottom: 1x sits just above mid-height.
    EXPECT_NEAR(math("speedToY", "[1, 400]").toDouble(), 400 * (1 - std::log(10.0) / std::log(80.0)), 1e-9);
    EXPECT_NEAR(math("speedToY", "[0.1, 400]").toDouble(), 400, 1e-9);
    EXPECT_NEAR(math("speedToY", "[8, 400]").toDouble(), 0, 1e-9);
    EXPECT_NEAR(math("speedToY", "[20, 400]").toDouble(), 0, 1e-9);
    EXPECT_NEAR(math("yToSpeed", "[200, 400]").toDouble(), 0.1 * std::sqrt(80.0), 1e-9);
    EXPECT_NEAR(math("yToSpeed", "[-50, 400]").toDouble(), 8, 1e-9);
    EXPECT_NEAR(math("yToSpeed", "[400, 400]").toDouble(), 0.1, 1e-9);

    // x(t) = 1.5t - 1.5t^2 + t^3 is 0.248 at t = 0.2, where the speed cubic 1,1,3,3 is 1.208;
    // reading the speed at t = pos instead would give about 1.52.
    const char *handles =
        R"([[{"pos":0,"speed":1,"outDx":0.5,"outDy":0},{"pos":1,"speed":3,"inDx":-0.5,"inDy":0}], 0.248])";
    EXPECT_NEAR(math("speedAt", handles).toDouble(), 1.208, 1e-4);
    // Flat handles make each segment a smoothstep: halfway through the second one is halfway up.
    const char *threePoints = R"([{"pos":0,"speed":1},{"pos":0.5,"speed":2},{"pos":1,"speed":4}])";
    const auto with = [&](const char *tail) { return (QByteArray("[") + threePoints + tail); };
    EXPECT_NEAR(math("speedAt", with(", 0.75]")).toDouble(), 3, 1e-5);

    const QJsonObject inserted = math("insertPoint", with(", 0.75]")).toObject();
    EXPECT_EQ(inserted.value("index").toInt(), 2);
    EXPECT_NEAR(inserted.value("points")[2]["speed"].toDouble(), 3, 1e-5);
    EXPECT_EQ(math("insertPoint", with(", 0]")).toObject().value("points")[1]["pos"].toDouble(), 0.001);

    const QJsonObject smooth = math("smoothPoint", with(", 1]")).toObject();
    EXPECT_NEAR(smooth.value("outDx").toDouble(), 1.0 / 6, 1e-12);
    EXPECT_NEAR(smooth.value("outDy").toDouble(), 0.5, 1e-12);
    EXPECT_NEAR(smooth.value("inDy").toDouble(), -0.5, 1e-12);
    EXPECT_FALSE(smooth.value("corner").toBool());

    // A knob stops short of its neighbour; an end keeps its place; speed stays in range.
    const QJsonObject pastNeighbour = math("movedKnob", with(", 1, 1.5, 20]")).toObject();
    EXPECT_NEAR(pastNeighbour.value("pos").toDouble(), 0.998, 1e-12);
    EXPECT_EQ(pastNeighbour.value("speed").toDouble(), 8);
    EXPECT_EQ(math("movedKnob", with(", 0, 0.3, 2]")).toObject().value("pos").toDouble(), 0);
    // An out handle dragged left stops at zero; a smooth point mirrors it in its in handle, kept
    // within the gap before it.
    const char *smoothMiddle =
        R"([[{"pos":0,"speed":1},{"pos":0.5,"speed":2,"inDx":-0.1,"outDx":0.1},{"pos":1,"speed":4}], 1, 1, )";
    EXPECT_EQ(math("movedHandle", QByteArray(smoothMiddle) + "-0.1, 0]").toObject().value("outDx").toDouble(),
              0);
    const QJsonObject turned = math("movedHandle", QByteArray(smoothMiddle) + "0.05, 0.2]").toObject();
    EXPECT_NEAR(turned.value("inDy").toDouble(), -0.2, 1e-12);
    const QJsonObject shortened =
        math("movedHandle",
             R"([[{"pos":0,"speed":1},{"pos":0.2,"speed":2},{"pos":1,"speed":4}], 1, 1, 0.4, 1])")
            .toObject();
    EXPECT_NEAR(shortened.value("inDx").toDouble(), -0.2, 1e-12);
    EXPECT_NEAR(shortened.value("inDy").toDouble(), -0.5, 1e-12);
}

TEST_F(SpeedCurveWindowTest, APointDraggedToTwiceCommitsOnReleaseAndApplyAddsOneRetimedCopy)
{
    editor->newProject();
    editor->discardUnsavedChanges();
    editor->markProjectLayoutChosen();
    auto *speedWindow = qobject_cast<QQuickWindow *>(window->property("speedCurveWindow").value<QObject *>());
    ASSERT_TRUE(speedWindow);

    // A refusal leaves the window shut and tells the user why.
    editor->addTextClip(QStringLiteral("Hello"), 0.0);
    QMetaObject::invokeMethod(window, "openSpeedCurve", Q_ARG(QVariant, 0), Q_ARG(QVariant, 0));
    EXPECT_FALSE(speedWindow->isVisible());
    EXPECT_EQ(editor->lastMessage(), QStringLiteral("Custom speed works on video and audio clips"));

    // For pictures, the filmstrip is made before the clip, which copies its path, so the strip
    // shows frames; the checks need only the import.
    const bool pictures = !qEnvironmentVariable("ORVEL_SCREENSHOT_DIR").isEmpty();
    const int asset = library->count();
    library->importUrls({QUrl::fromLocalFile(testmedia::path(QStringLiteral("av.mp4")))});
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !library->importing() && (!pictures || !library->filmstripAt(asset).isEmpty()); },
        15000));
    editor->addClipFromAssetOnNewTrack(asset, 0.0);
    const int track = editor->selectedTrack(), clip = editor->selectedClip();
    ASSERT_GE(track, 0);
    const QString originalId = editor->project().tracks[track].clips[clip].id;
    const qint64 originalDurationUs = editor->project().tracks[track].clips[clip].timelineDurationUs;

    // "Custom speed…" in the inspector opens the window on the selected clip.
    auto *panel = window->findChild<QQuickItem *>(QStringLiteral("propertiesPanel"));
    panel->setProperty("currentTab", QStringLiteral("speed"));
    QCoreApplication::processEvents();
    QQuickItem *button = findItem(panel, QStringLiteral("customSpeedButton"));
    ASSERT_TRUE(button && button->isVisible());
    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(button));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(speedWindow));
    ASSERT_TRUE(editor->speedCurveSessionActive());
    QQuickItem *root = speedWindow->contentItem();

    // Seek to the middle of the source on the strip, add a point there, drag it up to 2x.
    QQuickItem *strip = findItem(root, QStringLiteral("speedCurveStrip"));
    QTest::mouseClick(speedWindow, Qt::LeftButton, {}, centreOf(strip));
    EXPECT_NEAR(editor->speedCurveSourcePosition(), 0.5, 0.01);
    QTest::mouseClick(speedWindow, Qt::LeftButton, {},
                      centreOf(findItem(root, QStringLiteral("addPointButton"))));
    ASSERT_EQ(editor->speedCurvePoints().size(), 3);
    QQuickItem *knob = findItem(root, QStringLiteral("speedKnob1"));
    ASSERT_TRUE(knob);
    QQuickItem *plot = knob->parentItem();
    const QPoint from = centreOf(knob);
    const double targetY = plot->height() * (1 - std::log(20.0) / std::log(80.0));
    const QPoint to = plot->mapToScene(QPointF(knob->x() + knob->width() / 2, targetY)).toPoint();
    const int undoEntries = editor->undoStack()->count();
    QSignalSpy curveChanges(editor, &AppController::speedCurveChanged);
    QTest::mousePress(speedWindow, Qt::LeftButton, {}, from);
    for (int step = 1; step <= 10; ++step)
        QTest::mouseMove(speedWindow, from + (to - from) * step / 10);
    EXPECT_EQ(curveChanges.count(), 0) << "the controller hears of the drag only on release";
    QTest::mouseRelease(speedWindow, Qt::LeftButton, {}, to);
    EXPECT_EQ(curveChanges.count(), 1);
    EXPECT_EQ(editor->undoStack()->count(), undoEntries);
    const QVariantMap dragged = editor->speedCurvePoints().at(1).toMap();
    EXPECT_NEAR(dragged["speed"].toDouble(), 2.0, 0.03);
    EXPECT_NEAR(dragged["pos"].toDouble(), 0.5, 0.01);
    // Between 1x and 2x all along, the clip plays in under its source length but over half of it.
    const double retimedSeconds = editor->speedCurveRetimedDuration();
    EXPECT_GT(retimedSeconds, editor->speedCurveSourceDuration() * 0.5);
    EXPECT_LT(retimedSeconds, editor->speedCurveSourceDuration() * 0.95);

    EXPECT_TRUE(QTest::qWaitFor([&] { return !editor->speedCurveFrameSize().isEmpty(); }, 5000));
    screenshots(speedWindow, QStringLiteral("speed-curve"));
    speedWindow->resize(680, 560);
    EXPECT_TRUE(QTest::qWaitFor([&] { return root->height() == 560; }));
    screenshots(speedWindow, QStringLiteral("speed-curve-minimum"));

    QTest::mouseClick(speedWindow, Qt::LeftButton, {},
                      centreOf(findItem(root, QStringLiteral("applySpeedCurveButton"))));
    EXPECT_EQ(editor->undoStack()->count(), undoEntries + 1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !speedWindow->isVisible(); }));
    EXPECT_FALSE(editor->speedCurveSessionActive());
    const QVariantMap copy = editor->selectedClipData();
    EXPECT_NE(copy["id"].toString(), originalId);
    EXPECT_NEAR(copy["duration"].toDouble(), retimedSeconds, 1e-6);
    EXPECT_EQ(editor->project().tracks[track + 1].clips[clip].timelineDurationUs, originalDurationUs);
}
