// The properties panel in the real window over the real editor: which tabs a clip gets, the
// empty states, one undo entry per slider gesture, keyframes from a row, and colour input.
#include "../media/TestMedia.h"
#include "MainWindowTest.h"
#include "app/EditorApplication.h"
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"
#include "media/assets/AssetLibrary.h"
#include "playback/PlaybackEngine.h"
#include "render/compositor/CompositorService.h"

#include <QDir>
#include <QJsonDocument>
#include <QMimeData>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QUndoStack>

#include <algorithm>

using namespace orvel;

namespace {

const char *const kHelperQml = R"(
import QtQml
import Orvel
QtObject {
    function darkMode(on) { if (Theme.dark !== on) Theme.toggleDarkMode() }
    function tabIds(panel) { return panel.tabs.map(t => t.id) }
}
)";

QQuickItem *findItem(QQuickItem *root, const std::function<bool(QQuickItem *)> &match)
{
    if (match(root))
        return root;
    for (QQuickItem *child : root->childItems())
        if (QQuickItem *found = findItem(child, match))
            return found;
    return nullptr;
}

QQuickItem *findItem(QQuickItem *root, const QString &name)
{
    return findItem(root, [&](QQuickItem *item) { return item->objectName() == name; });
}

// Mean difference per channel of two pictures, compared at a small common size.
double meanDifference(const QImage &a, const QImage &b)
{
    const QImage x = a.scaled(64, 36).convertToFormat(QImage::Format_RGB888);
    const QImage y = b.scaled(64, 36).convertToFormat(QImage::Format_RGB888);
    double sum = 0;
    for (qsizetype i = 0; i < x.sizeInBytes(); ++i)
        sum += std::abs(x.constBits()[i] - y.constBits()[i]);
    return sum / double(x.sizeInBytes());
}

} // namespace

class PropertiesPanelTest : public MainWindowTest
{
protected:
    static void SetUpTestSuite()
    {
        startWindow();
        helper = createQml(kHelperQml);
    }
    static void TearDownTestSuite()
    {
        delete helper;
        closeWindow();
    }

    void SetUp() override
    {
        ASSERT_TRUE(window && editor && library && helper);
        editor->newProject();
        editor->discardUnsavedChanges();
        editor->markProjectLayoutChosen();
        panel = window->findChild<QQuickItem *>(QStringLiteral("propertiesPanel"));
        ASSERT_TRUE(panel);
    }

    static bool waitFor(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 10000); }
    // Adds a clip of the named sample file and selects it; returns its track and clip index.
    std::pair<int, int> addMediaClip(const QString &sample)
    {
        const int asset = library->count();
        library->importUrls({QUrl::fromLocalFile(testmedia::path(sample))});
        EXPECT_TRUE(waitFor([] { return !library->importing(); }));
        editor->addClipFromAsset(asset);
        return selectLastAdded();
    }
    std::pair<int, int> addTextClip()
    {
        editor->addTextClip(QStringLiteral("Hello"), 0.0);
        return selectLastAdded();
    }
    std::pair<int, int> selectLastAdded()
    {
        // A new clip lands on a new or first free track; the last clip of the last track that
        // changed is the one wanted, so look it up by the selection the add leaves behind.
        int track = editor->selectedTrack(), clip = editor->selectedClip();
        if (track < 0) {
            track = int(editor->project().tracks.size()) - 1;
            clip = int(editor->project().tracks[track].clips.size()) - 1;
        }
        editor->selectClip(track, clip);
        QCoreApplication::processEvents();
        return {track, clip};
    }
    // Adding a clip may put a track above earlier ones, so clips are found again by id.
    static void selectById(const QString &id)
    {
        for (int t = 0; t < int(editor->project().tracks.size()); ++t)
            for (int c = 0; c < int(editor->project().tracks[t].clips.size()); ++c)
                if (editor->project().tracks[t].clips[c].id == id)
                    editor->selectClip(t, c);
        QCoreApplication::processEvents();
    }
    static QString selectedId() { return editor->selectedClipData().value(QStringLiteral("id")).toString(); }
    void showTab(const char *tab)
    {
        panel->setProperty("currentTab", QString::fromLatin1(tab));
        QCoreApplication::processEvents();
    }
    QQuickItem *inspector() const
    {
        auto *loader = findItem(panel, QStringLiteral("inspectorLoader"));
        return loader ? loader->property("item").value<QQuickItem *>() : nullptr;
    }
    QStringList tabIds() const
    {
        QVariant ids;
        QMetaObject::invokeMethod(helper, "tabIds", Q_RETURN_ARG(QVariant, ids),
                                  Q_ARG(QVariant, QVariant::fromValue(panel)));
        return ids.toStringList();
    }

    // Scrolls the inspector until the item shows, then drags the handle of the slider inside it
    // from one fraction of its range to another in twenty moves.
    void dragSlider(QQuickItem *row, double from, double to)
    {
        QQuickItem *slider = findItem(row, QStringLiteral("valueSlider"));
        ASSERT_TRUE(slider);
        QQuickItem *content = findItem(panel, QStringLiteral("inspectorLoader"))->parentItem();
        QQuickItem *flickable = content ? content->parentItem() : nullptr;
        ASSERT_TRUE(flickable && flickable->inherits("QQuickFlickable"));
        flickable->setProperty("contentY", row->mapToItem(content, QPointF(0, 0)).y() - 20);
        QCoreApplication::processEvents();
        const double left = slider->property("leftPadding").toDouble() + 7;
        const double span = slider->property("availableWidth").toDouble() - 14;
        const auto at = [&](double v) {
            return slider->mapToScene(QPointF(left + v * span, slider->height() / 2)).toPoint();
        };
        QTest::mousePress(window, Qt::LeftButton, {}, at(from));
        for (int i = 1; i <= 20; ++i)
            QTest::mouseMove(window, at(from + (to - from) * i / 20.0));
        QTest::mouseRelease(window, Qt::LeftButton, {}, at(to));
    }
    // The preview's picture once the compositor is idle and no frame has come for a moment.
    static QImage previewFrame()
    {
        auto *item = window->findChild<QQuickItem *>(QStringLiteral("previewItem"));
        QImage frame;
        EXPECT_TRUE(waitFor([&] {
            QSignalSpy delivered(editor->playback(), &PlaybackEngine::currentFrameChanged);
            if (editor->playback()->compositor()->isBusy() || delivered.wait(250))
                return false;
            frame = window->grabWindow().copy(item->mapRectToScene(item->boundingRect()).toAlignedRect());
            return true;
        }));
        return frame;
    }
    static QPoint centreOf(QQuickItem *item)
    {
        return item->mapToScene(item->boundingRect().center()).toPoint();
    }

    static inline QObject *helper = nullptr;
    QQuickItem *panel = nullptr;
};

TEST_F(PropertiesPanelTest, AnAudioClipGetsEmptyStatesAndItsRackSliderDragsAsOneGesture)
{
    const auto [track, clip] = addMediaClip(QStringLiteral("ramp.wav"));
    ASSERT_EQ(panel->property("kind").toString(), QStringLiteral("audio"));
    EXPECT_FALSE(tabIds().contains(QStringLiteral("text")));
    for (const char *tab : {"effects", "transform", "blending"}) {
        showTab(tab);
        QQuickItem *page = inspector();
        ASSERT_TRUE(page) << tab;
        EXPECT_FALSE(page->property("applicable").toBool()) << tab;
        QQuickItem *empty = findItem(page, QStringLiteral("inspectorEmptyState"));
        ASSERT_TRUE(empty) << tab;
        EXPECT_TRUE(empty->isVisible()) << tab;
    }
    // A rack slider spans the package's range (the gate's ratio: 1 to 20, at 10) and keeps its
    // item through the edits of its own drag, which end as one undo entry.
    editor->addAudioEffect(track, clip, QStringLiteral("gate"));
    showTab("audio");
    QQuickItem *ratio = findItem(inspector(), QStringLiteral("audioParam_0_ratio"));
    ASSERT_TRUE(ratio);
    const int entries = editor->undoStack()->count();
    dragSlider(ratio, 9.0 / 19.0, 0.25);
    EXPECT_EQ(editor->undoStack()->count(), entries + 1);
    EXPECT_NEAR(editor->project().tracks[track].clips[clip].audioEffects[0].parameters["ratio"].toDouble(),
                5.75, 0.3);

    // The same tabs have their forms for a visual clip.
    addTextClip();
    showTab("transform");
    EXPECT_TRUE(inspector()->property("applicable").toBool());
}

TEST_F(PropertiesPanelTest, TheRailStepsWithArrowKeysAndLeavesAKindOnlyTabWithItsClip)
{
    addMediaClip(QStringLiteral("still.png"));
    const QString imageClipId = selectedId();
    addTextClip();
    const QStringList ids = tabIds();
    ASSERT_EQ(ids.mid(0, 3),
              (QStringList{QStringLiteral("general"), QStringLiteral("text"), QStringLiteral("transform")}));
    showTab("text");
    QQuickItem *rail = findItem(panel, QStringLiteral("propertiesRail"));
    ASSERT_TRUE(rail);
    rail->forceActiveFocus();
    QTest::keyClick(window, Qt::Key_Down);
    EXPECT_EQ(panel->property("currentTab").toString(), QStringLiteral("transform"));
    QTest::keyClick(window, Qt::Key_Up);
    QTest::keyClick(window, Qt::Key_Up);
    QTest::keyClick(window, Qt::Key_Up); // past the first tab it stays there
    EXPECT_EQ(panel->property("currentTab").toString(), QStringLiteral("general"));

    showTab("text");
    selectById(imageClipId);
    EXPECT_EQ(panel->property("currentTab").toString(), QStringLiteral("general"));
}

TEST_F(PropertiesPanelTest, DraggingOpacityIsOneUndoEntryAndTheRowSetsKeyframes)
{
    const auto [track, clip] = addMediaClip(QStringLiteral("still.png"));
    window->resize(1600, 1000);
    showTab("transform");
    QQuickItem *row = findItem(inspector(), QStringLiteral("row_opacity"));
    ASSERT_TRUE(row);
    EXPECT_DOUBLE_EQ(findItem(row, QStringLiteral("valueSlider"))->property("value").toDouble(), 1.0);
    const int entries = editor->undoStack()->count();
    const QImage opaque = previewFrame();
    dragSlider(row, 1.0, 0.2);
    EXPECT_EQ(editor->undoStack()->count(), entries + 1);
    const auto opacity = [&] {
        return editor->propertyValueAt(track, clip, QStringLiteral("opacity"), 0.0, -1);
    };
    EXPECT_NEAR(opacity(), 0.2, 0.011);
    EXPECT_GT(meanDifference(previewFrame(), opaque), 10.0) << "the preview did not follow the slider";
    editor->undo();
    EXPECT_DOUBLE_EQ(opacity(), 1.0);

    // The diamond of the X row keys the value at the playhead, and the clip's map shows it.
    editor->setPlayheadSeconds(0.5);
    QQuickItem *xRow = findItem(inspector(), QStringLiteral("row_x"));
    ASSERT_TRUE(xRow);
    const qsizetype keys = editor->clipKeyframes(track, clip, QStringLiteral("x")).size();
    EXPECT_FALSE(xRow->property("keyAtPlayhead").toBool());
    QMetaObject::invokeMethod(findItem(xRow, QStringLiteral("keyframeToggle")), "clicked");
    EXPECT_EQ(editor->clipKeyframes(track, clip, QStringLiteral("x")).size(), keys + 1);
    const QVariantMap keyframes = editor->selectedClipData().value(QStringLiteral("keyframes")).toMap();
    EXPECT_TRUE(keyframes.contains(QStringLiteral("x")));
    EXPECT_TRUE(xRow->property("keyAtPlayhead").toBool());
}

TEST_F(PropertiesPanelTest, AMalformedColourIsRefusedWithAHint)
{
    addTextClip();
    showTab("text");
    QQuickItem *field = findItem(inspector(), QStringLiteral("textColor"));
    ASSERT_TRUE(field);
    QQuickItem *input = findItem(field, QStringLiteral("colorInput"));
    QQuickItem *error = findItem(field, QStringLiteral("colorError"));
    ASSERT_TRUE(input && error);
    const QString before =
        editor->selectedClipData()[QStringLiteral("textStyle")].toMap()[QStringLiteral("color")].toString();
    const int entries = editor->undoStack()->count();

    input->setProperty("text", QStringLiteral("#12"));
    QMetaObject::invokeMethod(input, "editingFinished");
    EXPECT_TRUE(error->isVisible());
    EXPECT_EQ(editor->undoStack()->count(), entries);
    EXPECT_EQ(
        editor->selectedClipData()[QStringLiteral("textStyle")].toMap()[QStringLiteral("color")].toString(),
        before);

    // A well-formed colour goes through and clears the hint.
    input->setProperty("text", QStringLiteral("#FF0000"));
    QMetaObject::invokeMethod(input, "editingFinished");
    EXPECT_FALSE(error->isVisible());
    EXPECT_EQ(editor->undoStack()->count(), entries + 1);
    EXPECT_EQ(QColor(editor->selectedClipData()[QStringLiteral("textStyle")]
                         .toMap()[QStringLiteral("color")]
                         .toString()),
              QColor(Qt::red));
}

// At the panel's narrowest, no visible part of any inspector reaches past the panel's sides.
TEST_F(PropertiesPanelTest, EveryInspectorFitsThePanelAtItsMinimumWidth)
{
    const QString shots = qEnvironmentVariable("ORVEL_PROPS_SCREENSHOTS");
    window->resize(960, 900);
    ASSERT_TRUE(waitFor([] { return window->width() == 960; }));
    addMediaClip(QStringLiteral("still.png"));
    const QString image = selectedId();
    addTextClip();
    const QString text = selectedId();
    for (const bool dark : {true, false}) {
        QMetaObject::invokeMethod(helper, "darkMode", Q_ARG(QVariant, dark));
        for (const auto &[selected, tabs] :
             {std::pair{image, QStringList{"general", "transform", "audio", "speed", "blending", "transition",
                                           "masks", "effects"}},
              std::pair{text, QStringList{"text"}}}) {
            selectById(selected);
            ASSERT_EQ(selectedId(), selected);
            for (const QString &tab : tabs) {
                showTab(tab.toLatin1().constData());
                QCoreApplication::processEvents();
                const QRectF bounds = panel->mapRectToScene(panel->boundingRect());
                EXPECT_LE(bounds.width(), 250) << "the window should give the panel its minimum";
                // The first visible item that reaches past the panel's sides, if any.
                std::function<QString(QQuickItem *)> overflow = [&](QQuickItem *item) -> QString {
                    if (!item->isVisible())
                        return {};
                    const QRectF r = item->mapRectToScene(item->boundingRect());
                    if (r.left() < bounds.left() - 0.5 || r.right() > bounds.right() + 0.5)
                        return QStringLiteral("%1 %2 \"%3\"")
                            .arg(tab, item->metaObject()->className(), item->property("text").toString());
                    for (QQuickItem *child : item->childItems())
                        if (const QString found = overflow(child); !found.isEmpty())
                            return found;
                    return {};
                };
                // Layouts settle when the window next polishes, so give them until then.
                waitFor([&] { return overflow(inspector()).isEmpty(); });
                EXPECT_EQ(overflow(inspector()), QString());
                if (!shots.isEmpty()) {
                    QTest::qWait(300); // let the scheme's colour transitions settle for the picture
                    window->grabWindow()
                        .copy(bounds.toAlignedRect())
                        .save(QDir(shots).filePath(
                            QStringLiteral("props-%1-%2.png").arg(tab, dark ? "dark" : "light")));
                }
            }
        }
    }
}

TEST_F(PropertiesPanelTest, TheEffectsLibraryNarrowsTheCatalogByCategoryAndSearch)
{
    QObject *assets = window->findChild<QObject *>(QStringLiteral("assetsPanel"));
    QObject *browser = window->findChild<QObject *>(QStringLiteral("effectsLibrary"));
    ASSERT_TRUE(assets && browser);
    // "Browse effects" in an empty effects tab brings this library to the front.
    addTextClip();
    showTab("effects");
    QQuickItem *empty = findItem(inspector(), QStringLiteral("noEffects"));
    ASSERT_TRUE(empty);
    QMetaObject::invokeMethod(empty, "actionTriggered");
    EXPECT_EQ(assets->property("currentTab").toString(), QStringLiteral("effects"));

    const QVariantList catalog = editor->effectCatalog();
    ASSERT_GE(catalog.size(), 2) << "the build copies the effect packages beside the tests";
    EXPECT_EQ(browser->property("rows").toList().size(), catalog.size());
    const QVariantMap first = catalog.first().toMap();
    browser->setProperty("category", first.value(QStringLiteral("category")));
    const QVariantList inCategory = browser->property("rows").toList();
    EXPECT_TRUE(std::all_of(inCategory.begin(), inCategory.end(), [&](const QVariant &row) {
        return row.toMap()[QStringLiteral("category")] == first.value(QStringLiteral("category"));
    }));
    browser->setProperty("category", QString());
    browser->setProperty("searchText", first.value(QStringLiteral("label")).toString().toUpper());
    const QVariantList found = browser->property("rows").toList();
    ASSERT_GE(found.size(), 1);
    EXPECT_LT(found.size(), catalog.size());
    browser->setProperty("searchText", QString());
    if (const QString shots = qEnvironmentVariable("ORVEL_PROPS_SCREENSHOTS"); !shots.isEmpty()) {
        auto *item = qobject_cast<QQuickItem *>(assets);
        QTest::qWait(300);
        window->grabWindow()
            .copy(item->mapRectToScene(item->boundingRect()).toAlignedRect())
            .save(QDir(shots).filePath(QStringLiteral("library-effects.png")));
    }
    assets->setProperty("currentTab", QStringLiteral("media"));
}

// A click on the purple overlap selects its transition; with no clip selected the panel shows
// that transition alone. A duration still being typed is written when the user changes tab.
TEST_F(PropertiesPanelTest, ATransitionRegionFillsTheTransitionInspectorWithoutAClip)
{
    Project project;
    project.tracks = {Track{}};
    for (const auto &[id, startUs] : {std::pair{"left", 0}, std::pair{"right", 1500000}}) {
        Clip clip;
        clip.id = QString::fromLatin1(id);
        clip.type = ClipType::image;
        clip.timelineStartUs = startUs;
        clip.timelineDurationUs = clip.srcOutUs = 2000000;
        project.tracks[0].clips.append(clip);
    }
    project.tracks[0].transitions.append(Transition{"fade", "left", "right", "glitch", {}, 500000});
    ASSERT_TRUE(editor->loadProjectJson(QJsonDocument(projectToJson(project)).toJson()));
    editor->clearSelection();
    window->resize(1600, 1000);
    QQuickItem *region = nullptr;
    ASSERT_TRUE(waitFor(
        [&] { return (region = findItem(window->contentItem(), QStringLiteral("transitionRegion"))); }));
    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(region));
    ASSERT_EQ(editor->selectedTransitionTrack(), 0);
    EXPECT_EQ(tabIds(), QStringList{QStringLiteral("transition")});
    ASSERT_TRUE(inspector() && inspector()->property("applicable").toBool());
    EXPECT_EQ(findItem(inspector(), QStringLiteral("transitionDuration"))->property("value").toDouble(), 0.5);
    // The package's two parameters have rows before the document stores a value for them.
    EXPECT_EQ(inspector()->property("paramRows").toList().size(), 2);

    editor->selectClip(0, 0);
    showTab("transition");
    QQuickItem *duration = findItem(inspector(), QStringLiteral("transitionDuration"));
    duration->forceActiveFocus();
    duration->setProperty("text", QStringLiteral("1.25"));
    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(findItem(panel, QStringLiteral("tab_general"))));
    EXPECT_EQ(panel->property("currentTab").toString(), QStringLiteral("general"));
    EXPECT_EQ(editor->project().tracks[0].transitions[0].durationUs, 1250000);
}

// An effect dropped on a clip the way the library's rows drag shows in the clip's list, and its
// parameter slider changes the picture.
TEST_F(PropertiesPanelTest, AnEffectDroppedOnAClipIsListedAndItsSliderChangesTheFrame)
{
    window->resize(1600, 1000);
    addMediaClip(QStringLiteral("still.png"));
    const QString id = selectedId();
    const QImage plain = previewFrame();
    QQuickItem *clip = findItem(window->contentItem(), [&](QQuickItem *item) {
        return item->objectName() == "timelineClip" && item->property("clipData").toMap()["id"] == id;
    });
    ASSERT_TRUE(clip);
    QMimeData mime;
    mime.setData(QStringLiteral("application/x-orvel-effect"), "invert");
    QDragEnterEvent enter(centreOf(clip), Qt::CopyAction, &mime, Qt::LeftButton, {});
    QDropEvent drop(centreOf(clip), Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(window, &enter);
    QCoreApplication::sendEvent(window, &drop);

    selectById(id);
    ASSERT_EQ(editor->selectedClipEffects().size(), 1);
    EXPECT_GT(meanDifference(previewFrame(), plain), 40.0);
    showTab("effects");
    QQuickItem *row = findItem(inspector(), QStringLiteral("row_fx.0.u_intensity"));
    ASSERT_TRUE(row);
    dragSlider(row, 1.0, 0.0);
    EXPECT_LT(meanDifference(previewFrame(), plain), 5.0) << "the slider did not reach the picture";
}
