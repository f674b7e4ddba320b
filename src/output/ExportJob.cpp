#include "output/ExportJob.h"

#include "catalog/TransitionCatalog.h"
#include "output/ExportEncoder.h"
#include "playback/audio/AudioMixer.h"
#include "render/scene/FrameCompositor.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QFile>

#include <algorithm>
#include <cmath>
#include <vector>

namespace orvel {

namespace exportdetail {

ExportResult failed(const QString &message)
{
    return ExportResult{false, false, message.isEmpty() ? QStringLiteral("Export failed") : message};
}

// Checks the project and the settings and resolves the encoders; an empty message means go.
QString resolveSetup(const Project &project, const ExportSettings &settings, EncoderSetup *setup)
{
    if (project.width < 1 || project.height < 1)
        return QStringLiteral("Invalid project resolution");
    setup->fps = std::max(project.fps, 1);
    setup->sampleRate = project.sampleRate < 1 ? 48000 : project.sampleRate;
    setup->videoRow = findVideoCodecRow(settings.videoCodecId);
    setup->audioRow = findAudioCodecRow(settings.audioCodecId);
    if (!setup->videoRow || !setup->audioRow)
        return QStringLiteral("Unknown codec selection");
    const QString videoName = firstInstalledEncoder(setup->videoRow->encoderNames);
    const QString audioName = firstInstalledEncoder(setup->audioRow->encoderNames);
    if (videoName.isEmpty() || audioName.isEmpty())
        return QStringLiteral("Selected encoder is not available");
    setup->videoCodec = avcodec_find_encoder_by_name(videoName.toLatin1().constData());
    setup->audioCodec = avcodec_find_encoder_by_name(audioName.toLatin1().constData());
    setup->projectSize = QSize(project.width, project.height);
    setup->outputSize = exportOutputSize(project.width, project.height, settings.targetHeight);
    return {};
}

// The drawn frame as the encoder's scaler wants it: RGBA8888 at the project's size.
QImage normalisedPicture(QImage picture, QSize projectSize)
{
    if (picture.isNull()) {
        picture = QImage(projectSize, QImage::Format_RGBA8888);
        picture.fill(Qt::black);
    }
    if (picture.format() != QImage::Format_RGBA8888)
        picture = picture.convertToFormat(QImage::Format_RGBA8888);
    if (picture.size() != projectSize)
        picture = picture.scaled(projectSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return picture;
}

struct FrameSpan
{
    long long first = 0;
    long long end = 0;
    long long totalAudioFrames = 0;
};

// Draws and mixes the frames of the span into the encoder. False with a message, or with
// cancelled set.
bool encodeFrames(const Project &project, const EncoderSetup &setup, const FrameSpan &span,
                  const ExportProgressCallback &progress, ExportEncoder &encoder, bool *cancelled)
{
    FrameCompositor compositor(&project);
    AudioMixer mixer;
    mixer.setProject(&project);
    mixer.setTransitionCurveLookup(transitionAudioCurve);
    std::vector<float> block;
    long long audioWritten = std::min(span.totalAudioFrames, setup.sampleRate * span.first / setup.fps);
    const double count = double(span.end - span.first);
    for (long long i = span.first; i < span.end; ++i) {
        if (progress && !progress(double(i - span.first) / count)) {
            *cancelled = true;
            return false;
        }
        if (setup.withVideo) {
            const TimeUs timeUs = std::llround(double(i) * 1e6 / setup.fps);
            const QImage picture = normalisedPicture(compositor.render(timeUs), setup.projectSize);
            // A segment's timestamps start at zero: the join places it after the ones before.
            if (!encoder.writeVideo(picture, i - span.first))
                return false;
        }
        if (!setup.withAudio)
            continue;
        // Audio follows the video frame by frame, so the two never drift apart in the file.
        const long long target = std::min(span.totalAudioFrames, setup.sampleRate * (i + 1) / setup.fps);
        const long long shortfall = target - audioWritten;
        if (shortfall <= 0)
            continue;
        block.assign(size_t(2 * shortfall), 0.0f);
        mixer.mix(audioWritten * 1000000 / setup.sampleRate, int(shortfall), setup.sampleRate, block.data());
        if (!encoder.queueAudio(block.data(), int(shortfall)))
            return false;
        audioWritten = target;
    }
    return true;
}

ExportResult publish(const QString &partPath, const QString &outputPath)
{
    QFile::remove(outputPath);
    if (!QFile::rename(partPath, outputPath)) {
        QFile::remove(partPath);
        return failed(QStringLiteral("Could not finalize the output file"));
    }
    return ExportResult{true, false, {}};
}

} // namespace exportdetail

long long exportTotalFrames(const Project &project)
{
    const TimeUs durationUs = projectDurationUs(project);
    if (durationUs <= 0)
        return 0;
    return std::max(std::llround(std::max(project.fps, 1) * double(durationUs) / 1e6), 1LL);
}

ExportFrameRange exportSegmentRange(long long totalFrames, int gopFrames, int index, int count)
{
    if (totalFrames < 1 || gopFrames < 1 || count < 1 || index < 0 || index >= count)
        return {};
    const long long groups = (totalFrames + gopFrames - 1) / gopFrames;
    // Rounded up, so that when groups run short it is the last segments that come out empty.
    const long long firstGroup = (groups * index + count - 1) / count;
    const long long endGroup = (groups * (index + 1) + count - 1) / count;
    return {std::min(firstGroup * gopFrames, totalFrames), std::min(endGroup * gopFrames, totalFrames)};
}

ExportResult runExport(const Project &project, const ExportSettings &settings, const QString &outputPath,
                       const ExportProgressCallback &progress, const ExportPart &part)
{
    exportdetail::EncoderSetup setup;
    const QString setupError = exportdetail::resolveSetup(project, settings, &setup);
    if (!setupError.isEmpty())
        return exportdetail::failed(setupError);
    const TimeUs durationUs = projectDurationUs(project);
    if (durationUs <= 0)
        return exportdetail::failed(QStringLiteral("Timeline is empty"));
    setup.withVideo = part.video;
    setup.withAudio = part.audio;
    exportdetail::FrameSpan span;
    const long long totalFrames = exportTotalFrames(project);
    span.first = std::clamp(part.firstFrame, 0LL, totalFrames);
    span.end = part.endFrame < 0 ? totalFrames : std::clamp(part.endFrame, span.first, totalFrames);
    span.totalAudioFrames = std::max(std::llround(setup.sampleRate * double(durationUs) / 1e6), 0LL);
    // What the frame loop below mixes in all: it stops at the last frame's end.
    setup.audioFrames = std::min(span.totalAudioFrames, setup.sampleRate * totalFrames / setup.fps);
    if (span.end <= span.first || (!part.video && !part.audio))
        return exportdetail::failed(QStringLiteral("Nothing to export"));

    const QString partPath = outputPath + QStringLiteral(".part");
    QFile::remove(partPath);
    bool cancelled = false;
    bool ok = false;
    QString message;
    {
        exportdetail::ExportEncoder encoder;
        ok = encoder.open(setup, settings, outputPath, partPath) &&
             exportdetail::encodeFrames(project, setup, span, progress, encoder, &cancelled) &&
             encoder.finish();
        message = encoder.error();
    } // the encoder closes the ".part" file here, before it is renamed or removed
    if (!ok) {
        QFile::remove(partPath);
        return cancelled ? ExportResult{false, true, {}} : exportdetail::failed(message);
    }
    return exportdetail::publish(partPath, outputPath);
}

} // namespace orvel
