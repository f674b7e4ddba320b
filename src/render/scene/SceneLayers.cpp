#include "render/scene/SceneLayers.h"

#include "core/document/timing/ClipTiming.h"
#include "core/document/animation/Keyframes.h"
#include "media/decode/ClipReaderPool.h"
#include "render/effects/CpuEffectChain.h"
#include "render/compositor/GpuCompositor.h"
#include "render/scene/StillImageCache.h"
#include "render/effects/TimeEcho.h"
#include "render/text/TextLayers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvel {

namespace scenedetail {

const QString kTimeEchoId = QStringLiteral("time_echo");

double animatedOr(const AnimatedProperty &property, TimeUs localUs, double fallback)
{
    return property.isEmpty() ? fallback : valueAt(property, localUs);
}

// The clip's own picture for the layer: NV12 straight from the decoder where possible, else an
// image. Returns false when the clip kind has nothing to show at this instant.
bool videoOrImagePicture(const SceneContext &context, const Clip &clip, TimeUs t, GpuLayer &layer)
{
    if (clip.path.isEmpty())
        return true; // no picture: the layer stays invalid further on
    const QSize size = context.outputSize;
    const TimeUs sourceUs = clipSourceTimeUs(clip, t);
    ClipReaderPool &pool = ClipReaderPool::instance();
    if (clip.type == ClipType::video && !hasTimeEcho(clip)) {
        const Nv12Frame frame = pool.decodeVideoNv12(clip.path, sourceUs, size.width(), size.height());
        if (frame.isValid()) {
            layer.nv12 = frame.data;
            layer.nv12Width = frame.width;
            layer.nv12Height = frame.height;
            layer.nv12Colour = frame.colour;
            return true;
        }
    }
    if (hasTimeEcho(clip)) {
        layer.image =
            echoImage(clip, t, size.width(), size.height(), context.project->fps, context.maxEchoFrames);
        return true;
    }
    if (clip.type == ClipType::image)
        layer.image = cachedStillImage(clip.path, size);
    else
        layer.image = pool.decodeVideo(clip.path, sourceUs, size.width(), size.height());
    return true;
}

// One picture builder for each clip kind; each fills the layer's picture and may adjust the
// placement, opacity and effects already in it. Text, subtitles and shapes are rasterised by
// their own modules, which plug in here; until a kind has its builder its clips give no layer.
bool clipPicture(const SceneContext &context, const Clip &clip, TimeUs t, GpuLayer &layer)
{
    switch (clip.type) {
    case ClipType::video:
    case ClipType::image:
        return videoOrImagePicture(context, clip, t, layer);
    case ClipType::text:
    case ClipType::subtitle:
        return textClipPicture(clip, t, context.scale, layer);
    case ClipType::shape:
    case ClipType::audio:
        return false;
    }
    return false;
}

void attachMatte(const SceneContext &context, const Clip &clip, TimeUs t, GpuLayer &layer)
{
    layer.mask = clip.mask;
    layer.mattePath = clip.mask.mattePath;
    layer.matteOffsetUs = clip.mask.matteSrcOffsetUs;
    if (clip.mask.shape != MaskShape::matte || clip.mask.mattePath.isEmpty())
        return;
    const TimeUs matteUs = std::max<TimeUs>(0, clipSourceTimeUs(clip, t) - clip.mask.matteSrcOffsetUs);
    const QSize size = context.outputSize;
    QImage matte =
        ClipReaderPool::instance().decodeVideo(clip.mask.mattePath, matteUs, size.width(), size.height());
    if (!matte.isNull())
        layer.maskImage = matte;
}

} // namespace scenedetail

double shapedFade(FadeCurve curve, double v)
{
    switch (curve) {
    case FadeCurve::linear:
        return v;
    case FadeCurve::smooth:
        return v * v * (3.0 - 2.0 * v);
    case FadeCurve::equalPower:
        return std::sin(v * std::numbers::pi / 2.0);
    }
    return v;
}

double clipOpacityAt(const Clip &clip, TimeUs localUs)
{
    const double track = clip.opacity.isEmpty() ? 1.0 : std::clamp(valueAt(clip.opacity, localUs), 0.0, 1.0);
    if (clip.fadeInUs < 1 && clip.fadeOutUs < 1)
        return track;
    const TimeUs durationUs = clip.timelineDurationUs;
    const TimeUs p = std::clamp<TimeUs>(localUs, 0, std::max<TimeUs>(durationUs, 0));
    double in = 1.0;
    if (clip.fadeInUs > 0 && p < clip.fadeInUs)
        in = double(p) / double(clip.fadeInUs);
    double out = 1.0;
    if (clip.fadeOutUs >= 1 && durationUs - p < clip.fadeOutUs)
        out = double(durationUs - p) / double(clip.fadeOutUs);
    in = shapedFade(clip.fadeCurve, std::clamp(in, 0.0, 1.0));
    out = shapedFade(clip.fadeCurve, std::clamp(out, 0.0, 1.0));
    return in * out * track;
}

bool hasTimeEcho(const Clip &clip)
{
    return std::any_of(clip.effects.cbegin(), clip.effects.cend(),
                       [](const EffectInstance &e) { return e.catalogId == scenedetail::kTimeEchoId; });
}

QList<EffectInstance> effectsAt(const Clip &clip, TimeUs localUs)
{
    QList<EffectInstance> result;
    result.reserve(clip.effects.size());
    for (const EffectInstance &effect : clip.effects) {
        if (effect.catalogId == scenedetail::kTimeEchoId)
            continue;
        EffectInstance evaluated = effect;
        for (auto it = effect.paramKeyframes.cbegin(); it != effect.paramKeyframes.cend(); ++it) {
            if (!it.value().isEmpty())
                evaluated.parameters.insert(it.key(), valueAt(it.value(), localUs));
        }
        result.append(evaluated);
    }
    return result;
}

std::optional<TransitionAtTime> transitionAt(const Track &track, TimeUs t)
{
    for (const Transition &transition : track.transitions) {
        const Clip *from = clipById(track, transition.fromClipId);
        const Clip *to = clipById(track, transition.toClipId);
        if (!from || !to)
            continue;
        const std::optional<TransitionWindow> window = transitionWindow(*from, *to, transition.durationUs);
        if (!window || t < window->startUs || t >= window->endUs)
            continue;
        return TransitionAtTime{&transition, from, to, *window, transitionProgress(*window, t)};
    }
    return std::nullopt;
}

GpuLayer buildLayer(const SceneContext &context, const Clip &clip, TimeUs t)
{
    using namespace scenedetail;
    GpuLayer layer;
    const Project &project = *context.project;
    const TimeUs localUs = t - clip.timelineStartUs;
    const double s = context.scale;
    layer.rect = QRectF(animatedOr(clip.x, localUs, 0.0) * s, animatedOr(clip.y, localUs, 0.0) * s,
                        animatedOr(clip.width, localUs, project.width) * s,
                        animatedOr(clip.height, localUs, project.height) * s);
    if (layer.rect.width() <= 0.5 || layer.rect.height() <= 0.5)
        return layer;
    // Placement, opacity and effects come first, so that a kind's picture builder can adjust
    // them: animated text moves its rectangle, fades itself and may add a blur.
    layer.rotationDegrees = animatedOr(clip.rotation, localUs, 0.0);
    layer.flipH = clip.flipH;
    layer.flipV = clip.flipV;
    layer.opacity = clipOpacityAt(clip, localUs);
    layer.localTimeUs = localUs;
    layer.effects = effectsAt(clip, localUs);
    if (!clipPicture(context, clip, t, layer) || (layer.nv12.isEmpty() && layer.image.isNull()))
        return layer;
    attachMatte(context, clip, t, layer);
    // Face boxes are wanted only by effects that declare they need faces, which the effect
    // catalog tells; without it no effect asks, so the list stays empty.
    layer.valid = true;
    return layer;
}

void multiplyAlphaByMask(QImage &rgba, const QImage &mask)
{
    if (rgba.size() != mask.size() || rgba.format() != QImage::Format_RGBA8888 ||
        mask.format() != QImage::Format_Grayscale8)
        return;
    for (int y = 0; y < rgba.height(); ++y) {
        uchar *row = rgba.scanLine(y);
        const uchar *m = mask.constScanLine(y);
        for (int x = 0; x < rgba.width(); ++x)
            row[4 * x + 3] = uchar(int(row[4 * x + 3]) * int(m[x]) / 255);
    }
}

QImage renderClipImage(const SceneContext &context, const Clip &clip, TimeUs t)
{
    // Shapes are drawn by the shape rasteriser, which is not part of the scene yet.
    if (clip.type == ClipType::shape || clip.path.isEmpty())
        return {};
    if (clip.type != ClipType::video && clip.type != ClipType::image)
        return {};
    const QSize size = context.outputSize;
    QImage image;
    if (hasTimeEcho(clip))
        image = echoImage(clip, t, size.width(), size.height(), context.project->fps, context.maxEchoFrames);
    else if (clip.type == ClipType::image)
        image = cachedStillImage(clip.path, size);
    else
        image = ClipReaderPool::instance().decodeVideo(clip.path, clipSourceTimeUs(clip, t), size.width(),
                                                       size.height());
    if (image.isNull())
        return {};
    const QList<EffectInstance> effects = effectsAt(clip, t - clip.timelineStartUs);
    if (!effects.isEmpty())
        image = applyEffectChain(image, effects, t - clip.timelineStartUs, {});
    if (clip.mask.shape != MaskShape::none && clip.mask.shape != MaskShape::matte) {
        const QImage mask = rasterMask(clip.mask, image.width(), image.height());
        if (!mask.isNull()) {
            image = image.convertToFormat(QImage::Format_RGBA8888);
            multiplyAlphaByMask(image, mask.convertToFormat(QImage::Format_Grayscale8));
        }
    }
    return image;
}

} // namespace orvel
