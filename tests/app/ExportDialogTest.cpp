// The export dialogs in the real window over the real controller: what the dialog offers for a
// project, the settings and file suffix it hands on, and the progress dialog of the job it starts.
// With ORVEL_SCREENSHOT_DIR set, both dialogs are saved there in the dark and the light scheme.
#include "../output/ExportTestSupport.h"
#include "MainWindowTest.h"
#include "app/EditorApplication.h"
#include "core/controller/AppController.h"
#include "core/document/json/ProjectJson.h"

#include <QDir>
#include <QJsonDocument>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const char *const kHarnessQml = R"(
import QtQuick
import Orvel
Item {
    anchors.fill: parent
    property alias exportDialog: exportDialog
    property alias progressDialog: progressDialog
    property var asked: []
    function answerWith(url) {
        exportDialog.chooseExportUrl = function (filters, suffix) { asked = [filters, suffix]; return url }
    }
    function darkMode(on) { if (Theme.dark !== on) Theme.toggleDarkMode() }
    ExportDialog { id: exportDialog }
    ExportProgressDialog { id: progressDialog }
}
)";

QVariant call(QObject *object, const char *method, const QVariant &arg = {})
{
    QVariant result;
    const bool ok = arg.isValid() ? QMetaObject::invokeMethod(object, method, Q_RETURN_ARG(QVariant, result),
                                                              Q_ARG(QVariant, arg))
                                  : QMetaObject::invokeMethod(object, method, Q_RETURN_ARG(QVariant, result));
    EXPECT_TRUE(ok) << method;
    return result;
}

QStringList idsOf(const QVariant &rows)
{
    QStringList ids;
    for (const QVariant &row : rows.toList())
        ids << row.toMap().value("id").toString();
    return ids;
}

} // namespace

class ExportDialogTest : public MainWindowTest
{
protected:
    static void SetUpTestSuite()
    {
        startWindow();
        harness = qobject_cast<QQuickItem *>(createQml(kHarnessQml));
        if (harness && window)
            harness->setParentItem(window->contentItem());
    }
    static void TearDownTestSuite()
    {
        delete harness;
        closeWindow();
    }

    void SetUp() override { ASSERT_TRUE(window && editor && harness); }

    QObject *dialog() const { return harness->property("exportDialog").value<QObject *>(); }
    QObject *progress() const { return harness->property("progressDialog").value<QObject *>(); }
    void load(const orvel::Project &project)
    {
        ASSERT_TRUE(editor->loadProjectJson(QJsonDocument(orvel::projectToJson(project)).toJson()));
    }
    void screenshot(const QString &name)
    {
        const QString dir = qEnvironmentVariable("ORVEL_SCREENSHOT_DIR");
        if (dir.isEmpty())
            return;
        for (bool dark : {true, false}) {
            call(harness, "darkMode", dark);
            // Colour changes animate: let a dozen frames pass before the grab.
            QSignalSpy swapped(window, &QQuickWindow::frameSwapped);
            for (int frame = 0; frame < 12; ++frame) {
                window->update();
                swapped.wait(1000);
            }
            window->grabWindow().save(QDir(dir).filePath(name + (dark ? "-dark.png" : "-light.png")));
        }
    }

    static inline QQuickItem *harness = nullptr;
};

TEST_F(ExportDialogTest, OffersDownscalesAndHandsOnTheChosenSettings)
{
    orvel::Project project = exporttest::clipProject();
    project.width = 1920;
    project.height = 1080;
    load(project);
    call(dialog(), "openDialog");
    EXPECT_TRUE(dialog()->property("visible").toBool());
    EXPECT_EQ(idsOf(dialog()->property("scaleOptions")), QStringList({"source", "720p", "480p"}));
    EXPECT_EQ(dialog()->property("targetHeight").toInt(), 0);
    EXPECT_EQ(dialog()->property("videoBitrateKbps").toInt(), 16000);
    EXPECT_EQ(dialog()->property("videoCodecId").toString(), "h264");
    EXPECT_FALSE(dialog()->property("advancedOpen").toBool());

    // A codec without quality numbers switches to bitrate; back on H.265 its own defaults return.
    dialog()->setProperty("videoCodecId", "mpeg4");
    QMetaObject::invokeMethod(dialog(), "applyVideoCodecDefaults",
                              Q_ARG(QVariant, dialog()->property("videoCodec")));
    EXPECT_EQ(dialog()->property("rateControl").toString(), "bitrate");
    dialog()->setProperty("videoCodecId", "h265");
    QMetaObject::invokeMethod(dialog(), "applyVideoCodecDefaults",
                              Q_ARG(QVariant, dialog()->property("videoCodec")));
    EXPECT_EQ(dialog()->property("rateControl").toString(), "crf");
    EXPECT_EQ(dialog()->property("crf").toInt(), 28);

    dialog()->setProperty("videoCodecId", "h264");
    dialog()->setProperty("audioCodecId", "flac");
    dialog()->setProperty("advancedOpen", true);
    screenshot("export-dialog");
    QTemporaryDir dir;
    call(harness, "answerWith", QUrl::fromLocalFile(dir.filePath("film.mkv")).toString());
    QSignalSpy finished(editor, &AppController::exportFinished);
    QMetaObject::invokeMethod(dialog(), "accept");
    const QVariantList asked = harness->property("asked").toList();
    ASSERT_EQ(asked.size(), 2);
    EXPECT_EQ(asked[1].toString(), "mkv") << "H.264 with FLAC needs Matroska";
    EXPECT_EQ(asked[0].toStringList().value(0), "Matroska video (*.mkv)");

    // The job runs, and its dialog opens with it and stops it.
    EXPECT_TRUE(editor->exportInProgress());
    EXPECT_TRUE(progress()->property("visible").toBool());
    EXPECT_EQ(progress()->property("title").toString(), "Exporting video");
    screenshot("export-progress");
    QMetaObject::invokeMethod(progress(), "acceptClicked");
    ASSERT_TRUE(finished.wait(30000));
    EXPECT_EQ(editor->lastMessage(), "Export cancelled");
    EXPECT_EQ(progress()->property("title").toString(), "Export");
    EXPECT_EQ(progress()->property("acceptText").toString(), "");
    QMetaObject::invokeMethod(progress(), "close");
}
