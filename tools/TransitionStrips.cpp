// Draws every transition package under one directory between two fixed pictures with the
// compositor, at eight even steps of progress, and writes each package's preview_strip.png: the
// eight square frames side by side. Usage: orvel-transition-strips <packages/transitions>
#include "catalog/TransitionCatalog.h"
#include "render/effects/CatalogEffectHooks.h"
#include "render/gl/GlRuntime.h"
#include "render/compositor/GpuCompositor.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>

#include <cstdio>

namespace {

constexpr int kFrames = 8;
constexpr int kDrawSide = 128; // drawn larger, then scaled down, so thin edges stay smooth
constexpr int kFrameSide = 64;

// Flat shapes in two clearly different palettes, so every step of a transition reads at a glance
// and the strip compresses well.
QImage stripPicture(bool incoming)
{
    QImage image(kDrawSide, kDrawSide, QImage::Format_RGBA8888);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const int s = kDrawSide;
    if (!incoming) {
        painter.fillRect(image.rect(), QColor(246, 170, 70));
        painter.setBrush(QColor(255, 236, 150));
        painter.drawEllipse(QPointF(s * 0.68, s * 0.36), s * 0.16, s * 0.16);
        painter.setBrush(QColor(40, 120, 110));
        painter.drawRect(QRectF(0, s * 0.66, s, s * 0.34));
        painter.setBrush(QColor(200, 60, 50));
        painter.drawRect(QRectF(s * 0.14, s * 0.44, s * 0.18, s * 0.3));
    } else {
        painter.fillRect(image.rect(), QColor(60, 50, 130));
        painter.setBrush(QColor(235, 235, 250));
        painter.drawEllipse(QPointF(s * 0.3, s * 0.3), s * 0.13, s * 0.13);
        painter.setBrush(QColor(30, 170, 220));
        painter.drawRect(QRectF(0, s * 0.72, s, s * 0.28));
        painter.setBrush(QColor(250, 210, 60));
        painter.drawRect(QRectF(s * 0.6, s * 0.5, s * 0.22, s * 0.22));
    }
    return image;
}

orvel::GpuLayer fullLayer(const QImage &image)
{
    orvel::GpuLayer layer;
    layer.image = image;
    layer.rect = QRectF(0, 0, kDrawSide, kDrawSide);
    layer.valid = true;
    return layer;
}

QImage renderStrip(const std::shared_ptr<const orvel::TransitionDescriptor> &descriptor)
{
    QImage strip(kFrameSide * kFrames, kFrameSide, QImage::Format_RGB888);
    QPainter painter(&strip);
    orvel::GpuScene scene;
    scene.size = QSize(kDrawSide, kDrawSide);
    orvel::GpuSceneEntry entry;
    entry.isTransition = true;
    entry.fromLayer = fullLayer(stripPicture(false));
    entry.toLayer = fullLayer(stripPicture(true));
    entry.transitionKey = QStringLiteral("transition:") + descriptor->id;
    entry.transitionPipeline =
        std::shared_ptr<const orvel::EffectPipeline>(descriptor, &descriptor->pipeline);
    entry.transitionParams = orvel::TransitionCatalog::mergedParams(orvel::Transition{}, *descriptor);
    for (int i = 0; i < kFrames; ++i) {
        entry.transitionProgress = double(i) / double(kFrames - 1);
        entry.transitionTimeUs = orvel::TimeUs(i) * 100'000;
        scene.entries = {entry};
        const QImage frame = orvel::GpuCompositor::render(scene);
        if (frame.isNull())
            return {};
        painter.drawImage(
            QRect(i * kFrameSide, 0, kFrameSide, kFrameSide),
            frame.scaled(kFrameSide, kFrameSide, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    return strip;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: orvel-transition-strips <transitions directory>\n");
        return 2;
    }
    if (!GlRuntime::instance().ensureStarted()) {
        std::fprintf(stderr, "no OpenGL\n");
        return 1;
    }
    orvel::installCatalogEffectHooks();
    const QDir root(QString::fromLocal8Bit(argv[1]));
    orvel::TransitionCatalog &catalog = orvel::TransitionCatalog::instance();
    catalog.reload({root.absolutePath()});
    int failures = 0;
    for (const orvel::TransitionDescriptor &listed : catalog.all()) {
        const QImage strip = renderStrip(catalog.findShared(listed.id));
        const QString target = root.filePath(listed.id + QStringLiteral("/preview_strip.png"));
        if (strip.isNull() || !strip.save(target)) {
            std::fprintf(stderr, "no strip for %s\n", qPrintable(listed.id));
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}
