#pragma once

#include <QIODevice>

namespace orvel {

class PlaybackAudioOutput;

// The QIODevice that QAudioSink pulls: every read mixes the next block at the clock's written
// time, or silence while stopped. It never reports a shortage, so the sink never sees an
// underrun at this level; a slow decoder only delays the read. Lives on "PlaybackAudio".
class AudioPlaybackIODevice final : public QIODevice
{
    Q_OBJECT
public:
    explicit AudioPlaybackIODevice(PlaybackAudioOutput *output, QObject *parent = nullptr);

    bool isSequential() const override;
    // Data can always be had.
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 maxSize) override;

private:
    PlaybackAudioOutput *m_output;
};

} // namespace orvel
