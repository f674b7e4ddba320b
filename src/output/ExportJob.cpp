#include "output/ExportJob.h"

#include "catalog/TransitionCatalog.h"
#include "output/ExportEncoder.h"
#include "playback/AudioMixer.h"
#include "render/FrameCompositor.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QFile>

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

// Draws and mixes every frame into the encoder. False with a message, or with cancelled set.
bool encodeFrames(const Project &project, const EncoderSetup &setup, long long totalFrames,
                  long long totalAudioFrames, const ExportProgressCallback &progress, ExportEncoder &encoder,
                  bool *cancelled)
{
    FrameCompositor compositor(&project);
    AudioMixer mixer;
    mixer.setProject(&project);
    mixer.setTransitionCurveLookup(transitionAudioCurve);
    std::vector<float> block;
    long long audioWritten = 0;
    for (long long i = 0; i < totalFrames; ++i) {
        if (progress && !progress(double(i) / double(totalFrames))) {
            *cancelled = true;
            return false;
        }
        const TimeUs timeUs = std::llround(double(i) * 1e6 / setup.fps);
        const QImage picture = normalisedPicture(compositor.render(timeUs), setup.projectSize);
        if (!encoder.writeVideo(picture, i))
            return false;
        // Audio follows the video frame by frame, so the two never drift apart in the file.
        const long long target = std::min(totalAudioFrames, setup.sampleRate * (i + 1) / setup.fps);
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

} // namespace exportdetail

ExportResult runExport(const Project &project, const ExportSettings &settings, const QString &outputPath,
                       const ExportProgressCallback &progress)
{
    exportdetail::EncoderSetup setup;
    const QString setupError = exportdetail::resolveSetup(project, settings, &setup);
    if (!setupError.isEmpty())
        return exportdetail::failed(setupError);
    const TimeUs durationUs = projectDurationUs(project);
    if (durationUs <= 0)
        return exportdetail::failed(QStringLiteral("Timeline is empty"));
    const long long totalFrames = std::max(std::llround(setup.fps * double(durationUs) / 1e6), 1LL);
    const long long totalAudioFrames =
        std::max(std::llround(setup.sampleRate * double(durationUs) / 1e6), 0LL);

    const QString partPath = outputPath + QStringLiteral(".part");
    QFile::remove(partPath);
    bool cancelled = false;
    bool ok = false;
    QString message;
    {
        exportdetail::ExportEncoder encoder;
        ok = encoder.open(setup, settings, outputPath, partPath) &&
             exportdetail::encodeFrames(project, setup, totalFrames, totalAudioFrames, progress, encoder,
                                        &cancelled) &&
             encoder.finish();
        message = encoder.error();
    } // the encoder closes the ".part" file here, before it is renamed or removed
    if (!ok) {
        QFile::remove(partPath);
        return cancelled ? ExportResult{false, true, {}} : exportdetail::failed(message);
    }
    QFile::remove(outputPath);
    if (!QFile::rename(partPath, outputPath)) {
        QFile::remove(partPath);
        return exportdetail::failed(QStringLiteral("Could not finalize the output file"));
    }
    return ExportResult{true, false, {}};
}

} // namespace orvel
