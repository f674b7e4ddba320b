// orvel-render: renders one instant of a project, or exports it, without the editor, for scripts,
// render farms and checking frames. All the work is the libraries'; this file only reads the
// command line and the project file and reports.
#include "app/cli/ExportCommands.h"
#include "core/document/json/ProjectJson.h"
#include "render/effects/CatalogEffectHooks.h"
#include "render/scene/FrameCompositor.h"
#include "render/scene/SceneJson.h"

extern "C" {
#include <libavutil/log.h>
}

#include <QCommandLineParser>
#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonParseError>

#include <cmath>
#include <cstdio>
#include <optional>

namespace {

// Library warnings are for diagnosing; a script wants one line that says what went wrong.
void quietMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

bool verboseRequested(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--verbose") == 0)
            return true;
    }
    return false;
}

int fail(const QString &message)
{
    std::fprintf(stderr, "orvel-render: %s\n", qPrintable(message));
    return 1;
}

bool loadProject(const QString &path, orvel::Project *project, QString *error)
{
    QFile file(path);
    if (!file.exists()) {
        *error = QStringLiteral("project file %1 does not exist").arg(path);
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read project file %1: %2").arg(path, file.errorString());
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        *error = QStringLiteral("%1 is not a project: %2")
                     .arg(path, parseError.error != QJsonParseError::NoError
                                    ? parseError.errorString()
                                    : QStringLiteral("not a JSON object"));
        return false;
    }
    *project = orvel::projectFromJson(document.object());
    return true;
}

// Seconds as given on the command line, as microseconds; nothing for a bad or negative value.
std::optional<orvel::TimeUs> parseSeconds(const QString &text)
{
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    if (!ok || !std::isfinite(seconds) || seconds < 0.0)
        return std::nullopt;
    return orvel::TimeUs(seconds * 1e6);
}

int dumpScene(const orvel::Project &project, orvel::TimeUs timeUs, double scale)
{
    orvel::FrameCompositor compositor(&project);
    orvel::FrameCompositor::RenderOptions options;
    options.previewScale = scale;
    orvel::GpuScene scene;
    compositor.prepare(timeUs, options, &scene);
    const QByteArray json = QJsonDocument(orvel::sceneToJson(scene)).toJson(QJsonDocument::Indented);
    std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
    return 0;
}

int writeFrame(const orvel::Project &project, orvel::TimeUs timeUs, double scale, const QString &outPath)
{
    orvel::FrameCompositor compositor(&project);
    orvel::FrameCompositor::RenderOptions options;
    options.previewScale = scale;
    const QImage frame = compositor.render(timeUs, options);
    if (frame.isNull())
        return fail(QStringLiteral("no frame was drawn: the GPU compositor is unavailable"));
    if (!frame.save(outPath, "PNG"))
        return fail(QStringLiteral("cannot write %1").arg(outPath));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    // Without a display there is nothing to draw with, but scenes can still be built and dumped.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!verboseRequested(argc, argv)) {
        qInstallMessageHandler(quietMessages);
        // The encoders' statistics would bury the one line a script looks for.
        av_log_set_level(AV_LOG_ERROR);
    }
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("orvel-render"));
    orvel::installCatalogEffectHooks();

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Renders frames of an Orvel project, or exports it to a video file."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("project"), QStringLiteral("The project document (JSON)."));
    const QCommandLineOption dumpOption(QStringLiteral("dump-scene"),
                                        QStringLiteral("Print the scene built at SECONDS as JSON."),
                                        QStringLiteral("SECONDS"));
    const QCommandLineOption frameOption(
        QStringLiteral("frame"), QStringLiteral("Render the frame at SECONDS."), QStringLiteral("SECONDS"));
    const QCommandLineOption outOption(
        QStringLiteral("out"), QStringLiteral("PNG file the frame is written to."), QStringLiteral("FILE"));
    const QCommandLineOption scaleOption(QStringLiteral("scale"),
                                         QStringLiteral("Canvas scale from 0.1 to 1 (default 1)."),
                                         QStringLiteral("S"), QStringLiteral("1"));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Show the render library's warnings on stderr."));
    const QCommandLineOption exportOption(QStringLiteral("export"),
                                          QStringLiteral("Export the film (or one --segment) to FILE."),
                                          QStringLiteral("FILE"));
    const QCommandLineOption exportAudioOption(QStringLiteral("export-audio"),
                                               QStringLiteral("Export the whole soundtrack alone to FILE."),
                                               QStringLiteral("FILE"));
    const QCommandLineOption joinOption(
        QStringLiteral("join"),
        QStringLiteral("Join the segments given as arguments, and --audio, into FILE."),
        QStringLiteral("FILE"));
    const QCommandLineOption audioOption(
        QStringLiteral("audio"), QStringLiteral("With --join: the soundtrack file."), QStringLiteral("FILE"));
    const QCommandLineOption quietOption(QStringLiteral("quiet"), QStringLiteral("No progress line."));
    parser.addOptions({dumpOption, frameOption, outOption, scaleOption, verboseOption, exportOption,
                       exportAudioOption, joinOption, audioOption, quietOption});
    orvelcli::ExportOptions::addTo(parser);
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);

    int modes = 0;
    for (const QCommandLineOption *mode :
         {&dumpOption, &frameOption, &exportOption, &exportAudioOption, &joinOption})
        modes += parser.isSet(*mode) ? 1 : 0;
    if (modes != 1)
        return fail(QStringLiteral(
            "give one of --dump-scene, --frame, --export, --export-audio, --join (see --help)"));
    const QStringList positional = parser.positionalArguments();
    if (parser.isSet(joinOption)) {
        if (positional.isEmpty())
            return fail(QStringLiteral("--join needs the segment files as arguments"));
        return orvelcli::runJoinCommand(positional, parser.value(audioOption), parser.value(joinOption));
    }
    if (positional.size() != 1)
        return fail(QStringLiteral("expected exactly one project file (see --help)"));
    orvel::Project project;
    QString error;
    if (!loadProject(positional.first(), &project, &error))
        return fail(error);
    if (parser.isSet(exportOption) || parser.isSet(exportAudioOption)) {
        orvel::ExportSettings settings;
        orvel::ExportPart part;
        if (!orvelcli::ExportOptions::read(parser, project, &settings, &part, &error))
            return fail(error);
        if (parser.isSet(exportAudioOption)) {
            part = orvel::ExportPart{};
            part.video = false;
        }
        orvelcli::installInterruptHandler();
        return orvelcli::runExportCommand(
            project, settings, part,
            parser.value(parser.isSet(exportOption) ? exportOption : exportAudioOption),
            parser.isSet(quietOption));
    }

    const bool dumping = parser.isSet(dumpOption);
    const std::optional<orvel::TimeUs> timeUs =
        parseSeconds(parser.value(dumping ? dumpOption : frameOption));
    if (!timeUs)
        return fail(QStringLiteral("the time must be a number of seconds, 0 or more"));
    bool scaleOk = false;
    const double scale = parser.value(scaleOption).toDouble(&scaleOk);
    if (!scaleOk || !(scale >= 0.1 && scale <= 1.0))
        return fail(QStringLiteral("--scale must be a number from 0.1 to 1"));
    if (!dumping && parser.value(outOption).isEmpty())
        return fail(QStringLiteral("--frame needs --out FILE.png"));
    return dumping ? dumpScene(project, *timeUs, scale)
                   : writeFrame(project, *timeUs, scale, parser.value(outOption));
}
