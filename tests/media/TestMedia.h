#pragma once

#include <QString>
#include <QStringList>

// Tiny media files made with the ffmpeg command-line tool on first request, in one temporary
// folder per test process. The thumbnail cache is pointed into the same folder, so a run never
// sees posters left over from another.
class TestMedia
{
public:
    static TestMedia &instance();

    // Absolute path of a named sample, generated when first asked for; fails the test (and
    // returns an empty string) when ffmpeg can't make it. Names:
    //   av.mp4        160x90, 25 fps, 1 s, H.264 + stereo AAC at 44100 Hz
    //   rotated.mp4   av.mp4 with a display matrix of -90 degrees
    //   rotated90.mp4 av.mp4 with a display matrix of +90 degrees
    //   anamorphic.mp4 160x90 with a 2:1 sample aspect ratio, no audio
    //   silent.mp4    64x64, 1 s, video only
    //   cover.mp3     1 s mono mp3 with a PNG cover
    //   two_audio.mp4 video, stereo AAC at 44100 Hz, then mono AAC at 22050 Hz
    //   still.png     640x360;  small.png 64x64
    //   fake.png, fake.mp4  plain text under a media suffix
    QString path(const QString &name);

    // Copies of one sample under distinct names, for imports that need many files.
    QStringList copies(const QString &name, int count);

    QString dir() const;

private:
    TestMedia();
    bool generate(const QString &name, const QString &target);
};

// Runs ffmpeg with the arguments (after "-hide_banner -loglevel error -y"); true on exit code 0.
bool runFfmpeg(const QStringList &arguments);
