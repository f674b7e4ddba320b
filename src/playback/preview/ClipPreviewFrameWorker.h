#pragma once

#include <QImage>
#include <QObject>
#include <QString>

#include <atomic>

namespace orvel {

// Decodes the clip preview's pictures on the "ClipPreviewDecode" thread. Requests are queued
// calls; the player raises the latest token before posting each one, so when seeks pile up
// every request but the newest returns at once and only one picture is decoded.
class ClipPreviewFrameWorker : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Written by the player's thread before it posts a request.
    void setLatestToken(quint64 token) { m_latestToken.store(token); }
    quint64 latestToken() const { return m_latestToken.load(); }

public slots:
    void decode(const QString &path, qint64 sourceUs, int maxWidth, int maxHeight, quint64 token);

signals:
    void decoded(const QImage &image, quint64 token);

private:
    std::atomic<quint64> m_latestToken{0};
};

} // namespace orvel
