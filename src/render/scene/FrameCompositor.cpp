#include "render/scene/FrameCompositor.h"

#include "catalog/TransitionCatalog.h"
#include "core/document/timing/ClipTiming.h"
#include "media/decode/ClipReaderPool.h"
#include "render/gl/GlRuntime.h"
#include "render/compositor/GpuCompositor.h"
#include "render/text/TextLayers.h"
#include "render/text/TextRaster.h"

#include <QSet>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace {

bool coversTime(const Clip &clip, TimeUs t)
{
    return clip.timelineStartUs <= t && t < clip.timelineEndUs();
}

// Tracks whose clips can be seen: audio tracks have no picture and hidden ones are switched off.
bool drawsPictures(const Track &track)
{
    return !track.hidden && track.type != TrackType::audio;
}

// Without a package of the kind, or with one whose pipeline did not load, the key, pipeline and
// parameters stay empty and the compositor crossfades.
void attachTransitionPackage(GpuSceneEntry &entry, const Transition &transition)
{
    const std::shared_ptr<const TransitionDescriptor> descriptor =
        TransitionCatalog::instance().findShared(transition.kind);
    if (!descriptor || !descriptor->pipeline.valid)
        return;
    entry.transitionKey = QStringLiteral("transition:") + descriptor->id;
    // The pipeline shares the descriptor's lifetime, so a catalog reload cannot pull it from under
    // a frame that is being drawn.
    entry.transitionPipeline = std::shared_ptr<const EffectPipeline>(descriptor, &descriptor->pipeline);
    entry.transitionParams = TransitionCatalog::mergedParams(transition, *descriptor);
}

} // namespace

double FrameCompositor::clampScale(double previewScale)
{
    return std::clamp(previewScale, 0.1, 1.0);
}

QSize FrameCompositor::outputSize(const Project &project, double scale)
{
    return QSize(std::max(1, int(std::lround(project.width * scale))),
                 std::max(1, int(std::lround(project.height * scale))));
}

QImage FrameCompositor::render(TimeUs timeUs)
{
    return render(timeUs, RenderOptions{});
}

QImage FrameCompositor::render(TimeUs timeUs, const RenderOptions &options)
{
    GpuScene scene;
    if (!prepare(timeUs, options, &scene))
        return {};
    return GpuCompositor::render(scene);
}

GpuFrameTexture FrameCompositor::renderToTexture(TimeUs timeUs, const RenderOptions &options)
{
    if (!GlRuntime::instance().ensureStarted())
        return {};
    GpuScene scene;
    if (!prepare(timeUs, options, &scene))
        return {};
    return GpuCompositor::renderToTexture(scene);
}

bool FrameCompositor::prepare(TimeUs timeUs, const RenderOptions &options, GpuScene *scene)
{
    if (!m_project)
        return false;
    const double scale = clampScale(options.previewScale);
    const QSize size = outputSize(*m_project, scale);
    startReaders(timeUs);
    ClipReaderPool::instance().setReadAhead(std::max<TimeUs>(0, options.readAheadUs));
    requestDecodes(timeUs, size);
    if (scene)
        *scene = buildScene(timeUs, size, scale, options);
    return true;
}

// Readers are opened for every clip under the playhead before any decode is asked for, so that
// files open in parallel.
void FrameCompositor::startReaders(TimeUs timeUs) const
{
    QSet<QString> videoPaths;
    QSet<QString> audioPaths;
    for (const Track &track : m_project->tracks) {
        if (track.hidden)
            continue;
        for (const Clip &clip : track.clips) {
            if (!coversTime(clip, timeUs))
                continue;
            if (clip.mask.shape == MaskShape::matte && !clip.mask.mattePath.isEmpty())
                videoPaths.insert(clip.mask.mattePath);
            if (clip.path.isEmpty() || clip.type == ClipType::shape)
                continue;
            const bool pictureTrack = track.type == TrackType::video || track.type == TrackType::shape;
            if (pictureTrack && clip.type != ClipType::text)
                videoPaths.insert(clip.path);
            if (track.type == TrackType::audio ||
                (track.type == TrackType::video && clip.type == ClipType::video))
                audioPaths.insert(clip.path);
        }
    }
    ClipReaderPool::instance().ensureReaders(QStringList(videoPaths.cbegin(), videoPaths.cend()),
                                             QStringList(audioPaths.cbegin(), audioPaths.cend()));
}

// Every decoder of the frame starts now; the layer building then only collects the results.
void FrameCompositor::requestDecodes(TimeUs timeUs, QSize outputSize) const
{
    QList<FrameRequest> requests;
    for (const Track &track : m_project->tracks) {
        if (!drawsPictures(track))
            continue;
        for (const Clip &clip : track.clips) {
            if (!coversTime(clip, timeUs))
                continue;
            const TimeUs sourceUs = clipSourceTimeUs(clip, timeUs);
            if (clip.mask.shape == MaskShape::matte && !clip.mask.mattePath.isEmpty()) {
                const TimeUs matteUs = std::max<TimeUs>(0, sourceUs - clip.mask.matteSrcOffsetUs);
                requests.append({clip.mask.mattePath, matteUs, outputSize.width(), outputSize.height()});
            }
            if (clip.type == ClipType::video && !clip.path.isEmpty())
                requests.append({clip.path, sourceUs, outputSize.width(), outputSize.height()});
        }
    }
    ClipReaderPool::instance().requestFrames(requests);
}

GpuScene FrameCompositor::buildScene(TimeUs timeUs, QSize outputSize, double scale,
                                     const RenderOptions &options) const
{
    GpuScene scene;
    if (!m_project)
        return scene;
    const SceneContext context{m_project, outputSize, scale, options.maxEchoFrames};
    scene.size = outputSize;
    fillBackground(scene, context, timeUs);
    // The last track lies at the bottom and track 0 on top, so the entries run bottom first.
    for (qsizetype i = m_project->tracks.size() - 1; i >= 0; --i) {
        const Track &track = m_project->tracks.at(i);
        if (drawsPictures(track))
            appendTrackEntries(scene, context, track, timeUs, options.excludedClipId);
    }
    return scene;
}

void FrameCompositor::fillBackground(GpuScene &scene, const SceneContext &context, TimeUs timeUs) const
{
    const ProjectBackground &background = m_project->background;
    if (background.kind != BackgroundKind::blur) {
        scene.backgroundColor = background.color.isValid() ? background.color : QColor(0, 0, 0);
        return;
    }
    scene.backgroundColor = QColor(0, 0, 0);
    scene.backgroundBlur = true;
    scene.blurStrength = background.blurStrength;
    // The lowest visible picture is the one blurred behind everything. The echo history is not
    // limited here: a background is drawn once per frame whatever the playback mode.
    SceneContext unlimited = context;
    unlimited.maxEchoFrames = -1;
    for (qsizetype i = m_project->tracks.size() - 1; i >= 0; --i) {
        const Track &track = m_project->tracks.at(i);
        if (!drawsPictures(track))
            continue;
        for (const Clip &clip : track.clips) {
            if (!coversTime(clip, timeUs) || (clip.type != ClipType::video && clip.type != ClipType::image))
                continue;
            QImage picture = renderClipImage(unlimited, clip, timeUs);
            if (!picture.isNull()) {
                scene.backgroundImage = picture;
                return;
            }
        }
    }
}

void FrameCompositor::appendTrackEntries(GpuScene &scene, const SceneContext &context, const Track &track,
                                         TimeUs timeUs, const QString &excludedClipId) const
{
    const std::optional<TransitionAtTime> transition = transitionAt(track, timeUs);
    if (transition) {
        // Both sides are drawn even when one lies outside its clip (the cut of butt-joined clips),
        // and even for the excluded clip: the transition is the picture at this instant.
        GpuSceneEntry entry;
        entry.isTransition = true;
        entry.fromLayer = buildLayer(context, *transition->from, timeUs);
        entry.toLayer = buildLayer(context, *transition->to, timeUs);
        entry.transitionProgress = transition->progress;
        entry.transitionTimeUs = timeUs - transition->window.startUs;
        attachTransitionPackage(entry, *transition->transition);
        scene.entries.append(entry);
    }
    for (const Clip &clip : track.clips) {
        if (!coversTime(clip, timeUs) || clip.id == excludedClipId)
            continue;
        if (transition && (&clip == transition->from || &clip == transition->to))
            continue;
        // Text whose animation moves word by word or letter by letter becomes one entry per unit.
        if (clip.type == ClipType::text && textAnimatesByUnit(clip.textStyle)) {
            scene.entries.append(unitTextEntries(context, clip, timeUs));
            continue;
        }
        GpuSceneEntry entry;
        entry.layer = buildLayer(context, clip, timeUs);
        if (!entry.layer.valid)
            continue;
        entry.blendMode = int32_t(clip.blendMode);
        scene.entries.append(entry);
    }
}

} // namespace orvel
