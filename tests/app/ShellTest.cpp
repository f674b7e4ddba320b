// The real Main window with the real services: the media library's import and removal paths,
// the unsaved-changes gate, and the toasts as the window shows them.
#include "../media/TestMedia.h"
#include "MainWindowTest.h"
#include "app/EditorApplication.h"
#include "core/controller/AppController.h"
#include "media/assets/AssetLibrary.h"

#include <QDir>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <memory>

namespace {

const char *const kHelperQml = R"(
import QtQml
import Orvel
QtObject {
    function post(severity, message, timeout) { return Toasts.post(severity, message, timeout) }
    function clearToasts() { Toasts.clear() }
    function severities() {
        const list = []
        for (let i = 0; i < Toasts.model.count; ++i)
            list.push(Toasts.model.get(i).severity)
        return list
    }
    function failSavesOf(header, url) { header.chooseSaveUrl = function () { return url } }
    function darkMode(on) { if (Theme.dark !== on) Theme.toggleDarkMode() }
}
)";

QVariant call(QObject *object, const char *method, const QVariantList &args = {})
{
    QVariant result;
    QGenericArgument a[3];
    for (int i = 0; i < args.size() && i < 3; ++i)
        a[i] = Q_ARG(QVariant, args[i]);
    const bool ok =
        QMetaObject::invokeMethod(object, method, Q_RETURN_ARG(QVariant, result), a[0], a[1], a[2]);
    EXPECT_TRUE(ok) << method;
    return result;
}

} // namespace

class ShellTest : public MainWindowTest
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
        call(helper, "clearToasts");
    }

    template <typename T = QObject> static T *find(const char *name)
    {
        return window->findChild<T *>(QString::fromLatin1(name));
    }
    static bool waitFor(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 10000); }
    // Imports through the panel's own path and waits until every row is probed.
    static void importThroughPanel(const QStringList &paths)
    {
        QVariantList urls;
        for (const QString &path : paths)
            urls.append(QUrl::fromLocalFile(path).toString());
        QMetaObject::invokeMethod(find("assetsPanel"), "importFiles", Q_ARG(QVariant, QVariant(urls)));
        EXPECT_EQ(library->count(), paths.size()) << "rows appear before probing ends";
        EXPECT_TRUE(waitFor([] { return !library->importing(); }));
    }
    // Repeater delegates are children in the item tree only, not in the object tree.
    static int countItems(QQuickItem *item, const QString &name)
    {
        int count = item->objectName() == name ? 1 : 0;
        for (QQuickItem *child : item->childItems())
            count += countItems(child, name);
        return count;
    }
    static int visibleToasts() { return countItems(find<QQuickItem>("toastHost"), QStringLiteral("toast")); }

    static inline QObject *helper = nullptr;
};

TEST_F(ShellTest, MediaLibraryImportsSearchesAndRemovesWithItsClipsUntilUndo)
{
    QObject *grid = find("mediaLibrary");
    ASSERT_TRUE(grid);
    importThroughPanel(
        {testmedia::path(QStringLiteral("av.mp4")), testmedia::path(QStringLiteral("still.png"))});
    ASSERT_EQ(library->count(), 2);
    const auto rows = [grid] { return grid->property("rows").toList(); };
    // The grid catches up with the library after the event loop has run.
    ASSERT_TRUE(waitFor([&] {
        const QVariantList probed = rows();
        return probed.size() == 2 && std::none_of(probed.begin(), probed.end(), [](const QVariant &row) {
                   return row.toMap().value(QStringLiteral("provisional")).toBool();
               });
    }));
    EXPECT_EQ(rows()[0].toMap().value(QStringLiteral("kind")).toString(), QStringLiteral("video"));
    EXPECT_EQ(rows()[0].toMap().value(QStringLiteral("duration")).toString(), QStringLiteral("00:01"));
    EXPECT_EQ(rows()[1].toMap().value(QStringLiteral("kind")).toString(), QStringLiteral("image"));

    // The search field narrows the grid by name.
    grid->setProperty("searchText", QStringLiteral("STILL"));
    ASSERT_EQ(rows().size(), 1);
    EXPECT_EQ(rows()[0].toMap().value(QStringLiteral("name")).toString(), QStringLiteral("still.png"));
    grid->setProperty("searchText", QString());

    // Removing the video takes its clips along; undo brings both back.
    editor->addClipFromAsset(0);
    const auto clipCount = [] {
        int clips = 0;
        for (const orvel::Track &track : editor->project().tracks)
            clips += int(track.clips.size());
        return clips;
    };
    ASSERT_GE(clipCount(), 1);
    QMetaObject::invokeMethod(grid, "removeAsset", Q_ARG(QVariant, 0));
    EXPECT_EQ(library->count(), 1);
    EXPECT_EQ(clipCount(), 0);
    EXPECT_TRUE(waitFor([&] { return rows().size() == 1; }));
    editor->undo();
    EXPECT_EQ(library->count(), 2);
    EXPECT_GE(clipCount(), 1);
    EXPECT_TRUE(waitFor([&] { return rows().size() == 2; }));
}

TEST_F(ShellTest, UnsavedChangesKeepTheWindowOpenOnCancelAndOnAFailedSave)
{
    QObject *header = find("editorHeader");
    QObject *dialog = find("unsavedChangesDialog");
    ASSERT_TRUE(header && dialog);
    editor->addTrack(QStringLiteral("video"));
    ASSERT_TRUE(editor->hasUnsavedChanges());

    window->close();
    EXPECT_TRUE(window->isVisible());
    ASSERT_TRUE(waitFor([dialog] { return dialog->property("visible").toBool(); }));
    QMetaObject::invokeMethod(dialog, "reject");
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(header->property("pendingAction").isNull());

    // A save that fails leaves the prompt up with the quit still pending.
    const QString unwritable =
        QUrl::fromLocalFile(QDir(testmedia::missingFile()).filePath("x.orvel")).toString();
    QMetaObject::invokeMethod(helper, "failSavesOf", Q_ARG(QVariant, QVariant::fromValue(header)),
                              Q_ARG(QVariant, unwritable));
    window->close();
    ASSERT_TRUE(waitFor([dialog] { return dialog->property("visible").toBool(); }));
    QMetaObject::invokeMethod(dialog, "acceptClicked");
    EXPECT_TRUE(dialog->property("visible").toBool());
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(editor->hasUnsavedChanges());
    EXPECT_FALSE(header->property("pendingAction").isNull());

    // "Don't Save" runs the quit, and the declined work leaves no dirty flag behind.
    QMetaObject::invokeMethod(dialog, "extraClicked");
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(editor->hasUnsavedChanges());
    window->setProperty("forceClose", false);
    window->show();
}

TEST_F(ShellTest, ToastHostKeepsFourErrorsOutliveTimedToastsAndMessagesAreRouted)
{
    for (const char *text : {"one", "two", "three", "four", "five"})
        call(helper, "post", {QStringLiteral("info"), QString::fromLatin1(text), QVariant()});
    EXPECT_TRUE(waitFor([] { return visibleToasts() == 4; }));

    call(helper, "clearToasts");
    call(helper, "post",
         {QStringLiteral("error"), QStringLiteral("Could not write subtitle file"), QVariant()});
    call(helper, "post", {QStringLiteral("info"), QStringLiteral("Clip moved"), 50});
    ASSERT_TRUE(waitFor([] { return visibleToasts() == 2; }));
    EXPECT_TRUE(waitFor([] { return visibleToasts() == 1; }));
    EXPECT_EQ(call(helper, "severities").toStringList(), QStringList{QStringLiteral("error")});

    // Status messages become toasts of the right severity; an empty one none.
    call(helper, "clearToasts");
    QObject *router = find("toastRouter");
    ASSERT_TRUE(router);
    for (const char *message : {"Could not write subtitle file", "Clip moved", "Access DENIED", ""})
        call(router, "route", {QString::fromLatin1(message)});
    EXPECT_EQ(call(helper, "severities").toStringList(),
              (QStringList{QStringLiteral("error"), QStringLiteral("info"), QStringLiteral("error")}));
}

// At the start size and at full HD, in both schemes, the panels sit side by side without
// overlapping and none is squeezed under its minimum. With ORVEL_SHELL_SCREENSHOTS set to a
// folder the frames are saved there for a person to look at.
TEST_F(ShellTest, PanelsFitAtBothSizesAndSchemesFullscreenRestoresAndDialogsSetTheCanvas)
{
    for (const char *type : {"video", "video", "audio", "text"})
        editor->addTrack(QString::fromLatin1(type));
    importThroughPanel(
        {testmedia::path(QStringLiteral("av.mp4")), testmedia::path(QStringLiteral("still.png"))});
    editor->markProjectLayoutChosen();
    QMetaObject::invokeMethod(find("layoutChooserDialog"), "close");
    const QString shots = qEnvironmentVariable("ORVEL_SHELL_SCREENSHOTS");
    for (const QSize size : {QSize(1280, 800), QSize(1920, 1080)}) {
        for (const bool dark : {true, false}) {
            call(helper, "darkMode", {dark});
            window->resize(size);
            ASSERT_TRUE(waitFor([size] { return window->size() == size; }));
            QCoreApplication::processEvents();
            if (!shots.isEmpty()) {
                QTest::qWait(400); // the colour transitions of a scheme switch, for a clean picture
                window->grabWindow().save(
                    QDir(shots).filePath(QStringLiteral("shell-%1x%2-%3.png")
                                             .arg(size.width())
                                             .arg(size.height())
                                             .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"))));
            }
            const auto rect = [](const char *name) {
                auto *item = find<QQuickItem>(name);
                return item ? item->mapRectToScene(item->boundingRect()) : QRectF();
            };
            const QRectF header = rect("editorHeader"), assets = rect("assetsPanel"),
                         preview = rect("previewPanel"), properties = rect("propertiesPanel"),
                         timeline = rect("timelinePanel");
            EXPECT_LE(header.bottom(), assets.top());
            EXPECT_LE(assets.right(), preview.left());
            EXPECT_LE(preview.right(), properties.left());
            EXPECT_LE(preview.bottom(), timeline.top());
            EXPECT_LE(properties.right(), size.width());
            EXPECT_LE(timeline.bottom(), size.height());
            EXPECT_GE(assets.width(), 200);
            EXPECT_GE(preview.width(), 320);
            EXPECT_GE(properties.width(), 240);
            EXPECT_GE(timeline.height(), 140);
        }
    }

    // Preview fullscreen hides the rest and restores the window.
    window->resize(1280, 800);
    const QWindow::Visibility before = window->visibility();
    QMetaObject::invokeMethod(window, "togglePreviewFullscreen");
    auto *preview = find<QQuickItem>("previewPanel");
    EXPECT_FALSE(find<QQuickItem>("editorHeader")->isVisible());
    EXPECT_FALSE(find<QQuickItem>("timelinePanel")->isVisible());
    EXPECT_TRUE(preview->property("fullscreen").toBool());
    EXPECT_TRUE(waitFor([preview] { return preview->width() >= window->width() - 1; }));

    QMetaObject::invokeMethod(window, "togglePreviewFullscreen");
    EXPECT_TRUE(find<QQuickItem>("editorHeader")->isVisible());
    EXPECT_TRUE(find<QQuickItem>("timelinePanel")->isVisible());
    EXPECT_TRUE(waitFor([before] { return window->visibility() == before; }));

    // The two size questions: the layout chooser's platform templates and the setup dialog that
    // the first visual clip raises, each ending in the project's canvas.
    editor->newProject();
    ASSERT_FALSE(editor->projectLayoutChosen());
    QObject *chooser = find("layoutChooserDialog");
    QMetaObject::invokeMethod(chooser, "openFirstLaunch");
    QMetaObject::invokeMethod(chooser, "chooseCategory", Q_ARG(QVariant, QStringLiteral("instagram")));
    chooser->setProperty("templateId", QStringLiteral("ig_feed"));
    chooser->setProperty("quality", QStringLiteral("720p"));
    QMetaObject::invokeMethod(chooser, "accept");
    EXPECT_EQ(QSize(editor->projectWidth(), editor->projectHeight()), QSize(720, 900));
    EXPECT_TRUE(editor->projectLayoutChosen());

    // "Decide later" keeps the size and still stops the question.
    editor->newProject();
    const QSize fresh(editor->projectWidth(), editor->projectHeight());
    QMetaObject::invokeMethod(chooser, "openFirstLaunch");
    QMetaObject::invokeMethod(chooser, "reject");
    EXPECT_EQ(QSize(editor->projectWidth(), editor->projectHeight()), fresh);
    EXPECT_TRUE(editor->projectLayoutChosen());

    // The first video on an empty timeline asks; a 9:16 chip turns the clip's 160 wide into 284 high.
    editor->newProject();
    importThroughPanel({testmedia::path(QStringLiteral("av.mp4"))});
    QObject *setup = find("projectSetupDialog");
    QMetaObject::invokeMethod(find("assetsPanel"), "addAtPlayhead", Q_ARG(QVariant, 0));
    ASSERT_TRUE(setup->property("visible").toBool());
    QMetaObject::invokeMethod(setup, "chooseAspect", Q_ARG(QVariant, QStringLiteral("9:16")));
    QMetaObject::invokeMethod(setup, "accept");
    EXPECT_EQ(QSize(editor->projectWidth(), editor->projectHeight()), QSize(160, 284));
    EXPECT_EQ(editor->project().tracks.value(0).clips.size(), 1) << "the clip is added after the answer";
}
