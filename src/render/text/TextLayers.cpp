#include "render/text/TextLayers.h"

#include "render/scene/SceneLayers.h"
#include "render/text/TextRaster.h"
#include "render/text/TextWords.h"

#include "core/document/animation/Keyframes.h"

#include <algorithm>

namespace orvel {

namespace textlayers_detail {

const SubtitleCue *cueAt(const Clip &clip, TimeUs localUs)
{
    for (const SubtitleCue &cue : clip.subtitleCues) {
        if (cue.startUs <= localUs && localUs < cue.endUs)
            return &cue;
    }
    return nullptr;
}

// The karaoke word only matters to a karaoke style; elsewhere it stays -1 so the cached raster
// serves every frame.
int karaokeIndexFor(const TextStyle &style, const QString &text, TimeUs startUs, TimeUs endUs, TimeUs localUs)
{
    if (style.accent.rule != TextAccentRule::karaoke)
        return -1;
    return karaokeWordIndex(text, startUs, endUs, localUs);
}

double animatedOr(const AnimatedProperty &property, TimeUs localUs, double fallback)
{
    return property.isEmpty() ? fallback : valueAt(property, localUs);
}

} // namespace textlayers_detail

bool textClipPicture(const Clip &clip, TimeUs t, double scale, GpuLayer &layer)
{
    using namespace textlayers_detail;
    const TextStyle &style = clip.textStyle;
    const TimeUs localUs = t - clip.timelineStartUs;
    TextRaster raster;
    TextAnimState anim;
    if (clip.type == ClipType::subtitle) {
        const SubtitleCue *cue = cueAt(clip, localUs);
        if (!cue || cue->text.trimmed().isEmpty())
            return false;
        const int karaoke = karaokeIndexFor(style, cue->text, cue->startUs, cue->endUs, localUs);
        raster = rasterText(clip, cue->text, layer.rect, scale, karaoke);
        if (raster.image.isNull())
            return false;
        anim = animStateForCue(clip, *cue, localUs, raster.rect, scale);
    } else {
        const int karaoke =
            karaokeIndexFor(style, clipDisplayText(clip), 0, clip.timelineDurationUs, localUs);
        raster = rasterClipText(clip, layer.rect, scale, karaoke);
        if (raster.image.isNull())
            return false;
        anim = animStateForClip(clip, localUs, raster.rect, scale);
    }
    layer.image = raster.image;
    layer.rect = raster.rect;
    applyTextAnimState(layer, anim);
    return true;
}

void applyTextAnimState(GpuLayer &layer, const TextAnimState &state)
{
    layer.rect.translate(state.offsetX, state.offsetY);
    if (!qFuzzyCompare(state.scale, 1.0)) {
        const QPointF centre = layer.rect.center();
        layer.rect.setSize(layer.rect.size() * state.scale);
        layer.rect.moveCenter(centre);
    }
    layer.opacity *= state.opacity;
    if (state.blur > 0.5) {
        EffectInstance blur;
        blur.catalogId = QStringLiteral("builtin.effects.gaussian_blur");
        blur.parameters.insert(QStringLiteral("u_blurRadius"), state.blur);
        layer.effects.append(blur);
    }
}

QList<GpuSceneEntry> unitTextEntries(const SceneContext &context, const Clip &clip, TimeUs t)
{
    using namespace textlayers_detail;
    const TimeUs localUs = t - clip.timelineStartUs;
    const Project &project = *context.project;
    const double s = context.scale;
    const QRectF box(animatedOr(clip.x, localUs, 0.0) * s, animatedOr(clip.y, localUs, 0.0) * s,
                     animatedOr(clip.width, localUs, project.width) * s,
                     animatedOr(clip.height, localUs, project.height) * s);
    QList<GpuSceneEntry> entries;
    if (box.width() <= 0.5 || box.height() <= 0.5)
        return entries;
    // The in-animation's unit cuts the text; an exit alone cuts it by its own unit.
    const TextStyle &style = clip.textStyle;
    const TextAnimUnit unit =
        style.animIn.kind != TextAnimKind::none && style.animIn.unit != TextAnimUnit::block
            ? style.animIn.unit
            : style.animOut.unit;
    const int karaoke = karaokeIndexFor(style, clipDisplayText(clip), 0, clip.timelineDurationUs, localUs);
    const QList<TextUnitPiece> pieces = rasterUnits(clip, box, s, unit, karaoke);
    int unitCount = 0;
    for (const TextUnitPiece &piece : pieces)
        unitCount = std::max(unitCount, int(piece.unitCount));
    const double opacity = clipOpacityAt(clip, localUs);
    const QList<EffectInstance> effects = effectsAt(clip, localUs);
    const double rotation = animatedOr(clip.rotation, localUs, 0.0);
    for (const TextUnitPiece &piece : pieces) {
        if (piece.image.isNull())
            continue;
        GpuSceneEntry entry;
        entry.blendMode = int32_t(clip.blendMode);
        GpuLayer &layer = entry.layer;
        layer.image = piece.image;
        layer.effects = effects;
        layer.rect = piece.rect;
        layer.opacity = opacity;
        if (piece.unitIndex >= 0)
            applyTextAnimState(layer,
                               animStateForUnit(clip, localUs, piece.unitIndex, unitCount, piece.rect, s));
        if (layer.opacity <= 0.001)
            continue;
        layer.rotationDegrees = rotation;
        layer.flipH = clip.flipH;
        layer.flipV = clip.flipV;
        layer.localTimeUs = localUs;
        layer.valid = true;
        entries.append(entry);
    }
    return entries;
}

} // namespace orvel
