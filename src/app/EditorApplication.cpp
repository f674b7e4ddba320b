#include "app/EditorApplication.h"

#include "addons/AddonManager.h"
#include "addons/UpdateChecker.h"
#include "app/FileDialogs.h"
#include "app/ImageProviders.h"
#include "catalog/AudioEffectCatalog.h"
#include "catalog/EffectCatalog.h"
#include "catalog/FontCatalog.h"
#include "catalog/PackageRoots.h"
#include "catalog/TransitionCatalog.h"
#include "core/controller/AppController.h"
#include "media/assets/AssetLibrary.h"
#include "ml/DenoiseScratch.h"
#include "playback/audio/AudioMixer.h"
#include "playback/preview/ClipPreviewPlayer.h"
#include "playback/PreviewItem.h"
#include "render/effects/CatalogEffectHooks.h"
#include "render/gl/GlRuntime.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(OrvelPlugin)

namespace orvel {

namespace {

const char *const kModuleUri = "Orvel";

void configureGraphicsBeforeApplication()
{
    // The compositor's GL thread shares textures with Qt Quick, which needs both of these before
    // the application object exists.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
}

void nameApplication(QApplication &app)
{
    QCoreApplication::setApplicationName(QStringLiteral("Halvern Orvel"));
    QCoreApplication::setOrganizationName(QStringLiteral("Halvern Orvel"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.halvern.Orvel"));
    app.setWindowIcon(QIcon(QStringLiteral(":/app/orvel.png")));
}

struct Services
{
    AssetLibrary *assetLibrary = nullptr;
    EditorState *editor = nullptr;
    FileDialogs *fileDialogs = nullptr;
    AddonManager *addons = nullptr;
    UpdateChecker *updates = nullptr;
};

// Built once, in this order, and destroyed after main returns in the reverse order.
Services constructServices()
{
    static AssetLibrary assetLibrary;
    static EditorState editor(&assetLibrary);
    static FileDialogs fileDialogs;
    static AddonManager addons;
    static UpdateChecker updates;
    return {&assetLibrary, &editor, &fileDialogs, &addons, &updates};
}

void registerSingletons(const Services &services)
{
    qmlRegisterSingletonInstance(kModuleUri, 1, 0, "AssetLibrary", services.assetLibrary);
    qmlRegisterSingletonInstance<AppController>(kModuleUri, 1, 0, "EditorState", services.editor);
    qmlRegisterSingletonInstance<AppController>(kModuleUri, 1, 0, "AppController", services.editor);
    qmlRegisterSingletonInstance(kModuleUri, 1, 0, "FileDialogs", services.fileDialogs);
    qmlRegisterSingletonInstance(kModuleUri, 1, 0, "Addons", services.addons);
    qmlRegisterSingletonInstance(kModuleUri, 1, 0, "Updates", services.updates);
}

// Every sticker pack on disk: a stickers root that is a pack itself, or a pack folder directly
// inside one. An opened project finds the built-in stickers it names in these.
QStringList stickerPackDirectories()
{
    QStringList packs;
    for (const QString &root :
         packageRoots("ORVEL_STICKERS_DIR", QStringLiteral("stickers"), QStringLiteral("stickers"))) {
        const QDir dir(root);
        if (QFileInfo(dir.filePath(QStringLiteral("pack.json"))).isFile())
            packs.append(dir.absolutePath());
        for (const QString &name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            if (QFileInfo(dir.filePath(name + QStringLiteral("/pack.json"))).isFile())
                packs.append(dir.absoluteFilePath(name));
    }
    return packs;
}

} // namespace

QUrl mainComponentUrl()
{
    return QUrl(QStringLiteral("qrc:/qt/qml/Orvel/Main.qml"));
}

AppController *prepareEditorServices()
{
    loadFontCatalog();
    installCatalogEffectHooks();
    // Preview and export mix through the audio effect catalog, which loads itself on first use.
    AudioMixer::setDefaultEffectSpecResolver(
        [](const Clip &clip) { return AudioEffectCatalog::instance().specsFor(clip); });
    loadEmojiFonts();
    sweepStaleDenoiseFiles();

    // GL starts here, on the GUI thread, where its surface must be made; the preview only draws
    // once it runs and never starts it from its own thread. Without GL it stays empty.
    GlRuntime::instance().ensureStarted();
    qmlRegisterType<PreviewItem>(kModuleUri, 1, 0, "PreviewItem");
    const Services services = constructServices();
    services.editor->setAudioEffectCatalogLookup(
        [](const QString &id) { return AudioEffectCatalog::instance().find(id) != nullptr; });
    services.editor->setStickerPackDirectories(stickerPackDirectories());
    // Opening a project names the effects and transitions it uses that are not installed here.
    services.editor->setEffectCatalogLookup([](const QString &id) {
        return EffectCatalog::instance().find(id) != nullptr ||
               TransitionCatalog::instance().find(id) != nullptr;
    });
    // The preview mixes the sound under a transition by its package's curve, as export does.
    services.editor->playback()->mixer()->setTransitionCurveLookup(transitionAudioCurve);
    registerSingletons(services);
    return services.editor;
}

void prepareEditorEngine(QQmlApplicationEngine &engine)
{
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.addImageProvider(QStringLiteral("orvel"), new OrvelImageProvider);
    engine.addImageProvider(QStringLiteral("segment"), new SegmentImageProvider);
    engine.addImageProvider(QStringLiteral("clippreview"), new ClipPreviewImageProvider);
    engine.addImageProvider(QStringLiteral("textstyle"), new TextStylePreviewImageProvider);
}

int runEditor(int argc, char **argv, const QUrl &rootComponent, const EditorStartupHooks &hooks)
{
    configureGraphicsBeforeApplication();
    QApplication app(argc, argv);
    nameApplication(app);

    AppController *editor = prepareEditorServices();
    // Made before the engine so that it outlives every QML item showing its frames.
    ClipPreviewPlayer clipPreview;
    editor->setClipPreviewPlayer(&clipPreview);

    QQmlApplicationEngine engine;
    prepareEditorEngine(engine);
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, &app, [] { QCoreApplication::exit(-1); },
        Qt::QueuedConnection);
    // Qt 6.4 has no loadFromModule: the module's Main lives at its resource path instead.
    engine.load(rootComponent);
    if (hooks.afterLoad)
        hooks.afterLoad(engine);
    return app.exec();
}

} // namespace orvel
