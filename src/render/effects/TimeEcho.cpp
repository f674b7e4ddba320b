#include "render/effects/TimeEcho.h"

#include "catalog/EffectCatalog.h"
#include "core/document/timing/ClipTiming.h"
#include "core/document/animation/Keyframes.h"
#include "media/decode/ClipReaderPool.h"
#include "render/effects/GpuEffectExecutor.h"
#include "render/scene/StillImageCache.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace timeechodetail {

const QString kEchoId = QStringLiteral("time_echo");

QImage plainFrame(const Clip &clip, TimeUs t, int width, int height)
{
    if (clip.type == ClipType::image)
        return cachedStillImage(clip.path, QSize(width, height));
    const QImage frame =
        ClipReaderPool::instance().decodeVideo(clip.path, clipSourceTimeUs(clip, t), width, height);
    return frame.isNull() ? frame : frame.convertToFormat(QImage::Format_RGBA8888);
}

const EffectInstance *echoInstance(const Clip &clip)
{
    for (const EffectInstance &effect : clip.effects) {
        if (effect.catalogId == kEchoId)
            return &effect;
    }
    return nullptr;
}

// The panel offers the mode as a number (its slider), projects may store the word.
int blendModeCode(const QVariant &value)
{
    const QString mode = value.toString().trimmed().toLower();
    if (mode == QLatin1String("add") || mode == QLatin1String("1"))
        return 1;
    if (mode == QLatin1String("screen") || mode == QLatin1String("2"))
        return 2;
    return 0;
}

} // namespace timeechodetail

QImage echoImage(const Clip &clip, TimeUs t, int width, int height, double fps, int maxFrames)
{
    using namespace timeechodetail;
    if (clip.path.isEmpty())
        return {};
    const EffectInstance *echo = echoInstance(clip);
    if (!echo)
        return plainFrame(clip, t, width, height);
    const EffectDescriptor *descriptor = EffectCatalog::instance().find(kEchoId);
    if (!descriptor)
        return {};
    const TimeUs localUs = t - clip.timelineStartUs;
    EffectInstance evaluated = *echo;
    for (auto it = echo->paramKeyframes.cbegin(); it != echo->paramKeyframes.cend(); ++it) {
        if (!it.value().isEmpty())
            evaluated.parameters.insert(it.key(), valueAt(it.value(), localUs));
    }
    const QVariantMap params = EffectCatalog::mergedParams(evaluated, *descriptor);
    int frames = std::clamp(int(params.value(QStringLiteral("frames"), 4).toDouble()), 1, 10);
    if (maxFrames >= 0)
        frames = std::min(frames, maxFrames);
    const double decay = std::clamp(params.value(QStringLiteral("decay"), 0.55).toDouble(), 0.0, 1.0);
    const int mode = blendModeCode(params.value(QStringLiteral("blendMode")));
    const TimeUs stepUs = fps > 0.0 ? TimeUs(1000000.0 / fps) : TimeUs(33333);

    const QImage current = plainFrame(clip, t, width, height);
    if (current.isNull())
        return {};
    QList<QImage> list{current};
    for (int k = 1; k <= frames; ++k) {
        const TimeUs pastUs = localUs - k * stepUs;
        if (pastUs < 0)
            break;
        const QImage frame = plainFrame(clip, clip.timelineStartUs + pastUs, width, height);
        if (!frame.isNull())
            list.append(frame);
    }
    return blendEchoFrames(list, decay, mode);
}

QImage blendEchoFrames(const QList<QImage> &frames, double decay, int mode)
{
    if (frames.isEmpty())
        return {};
    const QImage blended = GpuEffectExecutor::instance().blendTimeEcho(frames, decay, mode);
    return blended.isNull() ? blendEchoFramesOnCpu(frames, decay, mode) : blended;
}

QImage blendEchoFramesOnCpu(const QList<QImage> &frames, double decay, int mode)
{
    const double base = std::clamp(decay, 0.0, 1.0);
    QImage result;
    for (qsizetype i = frames.size() - 1; i >= 0; --i) {
        if (frames.at(i).isNull())
            continue;
        const double weight = i == 0 ? 1.0 : std::pow(base, double(i));
        if (weight <= 0.0)
            continue;
        const QImage frame = frames.at(i).convertToFormat(QImage::Format_RGBA8888);
        if (result.isNull()) {
            result = frame;
            continue;
        }
        if (frame.size() != result.size())
            continue;
        QPainter painter(&result);
        painter.setOpacity(std::clamp(weight, 0.0, 1.0));
        painter.setCompositionMode(mode == 1   ? QPainter::CompositionMode_Plus
                                   : mode == 2 ? QPainter::CompositionMode_Screen
                                               : QPainter::CompositionMode_SourceOver);
        painter.drawImage(0, 0, frame);
    }
    return result;
}

} // namespace orvel
