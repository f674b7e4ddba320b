#pragma once

#include "core/document/model/Project.h"

#include <QString>
#include <QStringList>

// Generated sources and ffprobe read-backs for the export tests.
namespace exporttest {

// Runs a tool and returns its standard output; empty with the error output in *error on failure.
QString runTool(const QString &program, const QStringList &arguments, QString *error = nullptr);

QByteArray fileContents(const QString &path);
bool writeFileBytes(const QString &path, const QByteArray &bytes);

// A 2 s 320x180 25 fps clip of a moving test picture with a 440 Hz stereo tone at 48 kHz,
// made once per test process.
QString sourceClip();

// A 320x180 project at 25 fps and 48 kHz holding the source clip for durationUs.
orvel::Project clipProject(orvel::TimeUs durationUs = 2'000'000);

struct Probe
{
    QString videoCodec;
    QString pixelFormat;
    int width = 0;
    int height = 0;
    long long videoFrames = 0; // decoded, as a player would show them, not merely stored
    double durationSeconds = 0.0;
    QString audioCodec;
    long long audioSamples = 0; // decoded stereo frames
};

Probe probe(const QString &path);

// Mean PSNR in dB of the video streams of two files, as ffmpeg's psnr filter computes it.
double psnr(const QString &a, const QString &b);

// The lowest PSNR in dB over the frames of two files' video, frame against frame.
double minFramePsnr(const QString &a, const QString &b);
struct PlanePsnr
{
    double y = -1.0, u = -1.0, v = -1.0;
};

// The same, plane by plane; both files are first brought to `pixelFormat`, as ffmpeg's scale
// filter converts (a JPEG-style source is moved from full to limited range on the way).
PlanePsnr planePsnr(const QString &a, const QString &b, const QString &pixelFormat);

} // namespace exporttest
