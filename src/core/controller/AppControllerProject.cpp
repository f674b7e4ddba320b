// The project's canvas, frame rate, background and metadata, and the first-asset setup prompt.
#include "core/controller/AppController.h"

#include "core/bridge/BridgeMaps.h"
#include "core/document/model/EnumStrings.h"
#include "core/document/model/ProjectSetup.h"

#include <QSettings>

#include <cmath>

namespace {
const QString kProjectAuthorKey = QStringLiteral("authorName");

int roundedPixels(double value)
{
    if (!std::isfinite(value))
        return 0;
    return int(std::lround(std::clamp(value, -1e9, 1e9)));
}
} // namespace

// Both setup slots end here. Clips that follow the canvas size get their present size pinned
// before the canvas changes, so nothing on screen jumps.
void AppController::resizeCanvas(int width, int height, int fps)
{
    const int newWidth = orvel::clampCanvasWidth(width);
    const int newHeight = orvel::clampCanvasHeight(height);
    const int newFps = orvel::clampProjectFps(fps);
    const bool sizeChanges = newWidth != m_project.width || newHeight != m_project.height;
    if (!sizeChanges && newFps == m_project.fps)
        return;
    const orvel::Project before = m_project;
    if (sizeChanges)
        orvel::pinVisualClipSizes(m_project);
    m_project.width = newWidth;
    m_project.height = newHeight;
    m_project.fps = newFps;
    commitEdit(before, tr("Project setup"), tr("Project setup updated"));
}

void AppController::setProjectSetup(int width, int height, int fps)
{
    resizeCanvas(width, height, fps);
}

void AppController::setProjectResolution(int width, int height)
{
    resizeCanvas(width, height, m_project.fps);
}

void AppController::applyCanvasCrop(double x, double y, double width, double height)
{
    const orvel::Project before = m_project;
    if (!orvel::cropCanvas(m_project, roundedPixels(x), roundedPixels(y), roundedPixels(width),
                           roundedPixels(height)))
        return;
    commitEdit(before, tr("Crop canvas"),
               tr("Video size cropped to %1×%2").arg(m_project.width).arg(m_project.height));
}

void AppController::setBackground(const QVariantMap &background)
{
    orvel::ProjectBackground next = m_project.background;
    if (background.contains(QStringLiteral("kind")))
        next.kind = orvel::backgroundKindFromName(background.value(QStringLiteral("kind")).toString());
    if (background.contains(QStringLiteral("color"))) {
        const QVariant color = background.value(QStringLiteral("color"));
        const QColor parsed = color.typeId() == QMetaType::QColor ? color.value<QColor>()
                                                                  : QColor::fromString(color.toString());
        if (parsed.isValid())
            next.color = parsed;
    }
    bool numeric = false;
    const double blur = background.value(QStringLiteral("blurStrength")).toDouble(&numeric);
    if (numeric && std::isfinite(blur))
        next.blurStrength = std::max(0.0, blur);
    const orvel::Project before = m_project;
    m_project.background = next;
    commitEdit(before, tr("Change background"), tr("Background updated"));
}

QVariantMap AppController::background() const
{
    return orvel::backgroundToMap(m_project.background);
}

void AppController::setProjectMetadata(const QString &title, const QString &author,
                                       const QString &description)
{
    const QString name = title.trimmed().isEmpty() ? m_project.name : title.trimmed();
    if (name == m_project.name && author == m_project.author && description == m_project.description)
        return;
    const orvel::Project before = m_project;
    m_project.name = name;
    m_project.author = author;
    m_project.description = description;
    // The author of the last edit is taken as the author of every new project.
    QSettings().setValue(kProjectAuthorKey, author);
    commitEdit(before, tr("Project properties"), tr("Project properties updated"));
}

QVariantMap AppController::projectMetadata() const
{
    return {{QStringLiteral("title"), m_project.name},
            {QStringLiteral("author"), m_project.author},
            {QStringLiteral("description"), m_project.description}};
}

bool AppController::timelineHasVisualClips() const
{
    return orvel::projectHasVisualClips(m_project);
}

bool AppController::shouldConfigureProjectForAsset(int assetIndex) const
{
    if (m_projectLayoutChosen)
        return false;
    const orvel::Asset *asset = assetAtIndex(assetIndex);
    if (!asset || (asset->kind != orvel::AssetKind::video && asset->kind != orvel::AssetKind::image))
        return false;
    for (const orvel::Track &track : m_project.tracks)
        for (const orvel::Clip &clip : track.clips)
            if (clip.type == orvel::ClipType::video || clip.type == orvel::ClipType::image)
                return false;
    return true;
}

QVariantMap AppController::suggestedProjectSetupForAsset(int assetIndex) const
{
    QVariantMap setup{{QStringLiteral("width"), m_project.width},
                      {QStringLiteral("height"), m_project.height},
                      {QStringLiteral("fps"), m_project.fps},
                      {QStringLiteral("aspect"), QStringLiteral("custom")}};
    const orvel::Asset *asset = assetAtIndex(assetIndex);
    if (!asset)
        return setup;
    const bool quarterTurn = std::abs(asset->rotationDegrees) % 180 == 90;
    const int width = quarterTurn ? asset->height : asset->width;
    const int height = quarterTurn ? asset->width : asset->height;
    if (width > 0 && height > 0) {
        setup.insert(QStringLiteral("width"), width);
        setup.insert(QStringLiteral("height"), height);
    }
    const double ratio =
        setup.value(QStringLiteral("width")).toDouble() / setup.value(QStringLiteral("height")).toDouble();
    setup.insert(QStringLiteral("aspect"), orvel::nearestNamedAspect(ratio));
    if (asset->fps > 0.0)
        setup.insert(QStringLiteral("fps"), asset->fps);
    if (!asset->name.isEmpty())
        setup.insert(QStringLiteral("name"), asset->name);
    setup.insert(QStringLiteral("kind"), orvel::assetKindName(asset->kind));
    return setup;
}

void AppController::markProjectLayoutChosen()
{
    m_projectLayoutChosen = true;
    emit projectLayoutChosenChanged();
}
