#pragma once

#include "render/gl/GlRuntime.h"

#include <QImage>
#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <array>
#include <functional>

namespace orvel::test {

// Collects every qWarning while it lives, from any thread (the runtime warns on its GL thread).
class WarningCapture
{
public:
    WarningCapture()
    {
        QMutexLocker lock(&s_mutex);
        s_messages.clear();
        s_previous = qInstallMessageHandler(&WarningCapture::handle);
    }
    ~WarningCapture() { qInstallMessageHandler(s_previous); }

    QStringList startingWith(const QString &prefix) const
    {
        QMutexLocker lock(&s_mutex);
        return s_messages.filter(QRegularExpression("^" + QRegularExpression::escape(prefix)));
    }
    int countStartingWith(const QString &prefix) const { return int(startingWith(prefix).size()); }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtWarningMsg) {
            QMutexLocker lock(&s_mutex);
            s_messages.append(message);
        }
        if (s_previous)
            s_previous(type, context, message);
    }

    static inline QMutex s_mutex;
    static inline QStringList s_messages;
    static inline QtMessageHandler s_previous = nullptr;
};

// Every GL test needs the runtime; a machine without GL fails here rather than deeper down.
class GlRuntimeTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(GlRuntime::instance().ensureStarted()); }

    static GlRuntime &gl() { return GlRuntime::instance(); }
    // Runs `job` on the GL thread and fails the test when it could not run.
    static void onGl(const std::function<void()> &job) { ASSERT_TRUE(GlRuntime::instance().run(job)); }
};

// The bytes of pixel (x, y) as stored, whatever premultiplied label the read-back carries.
inline std::array<int, 4> storedRgba(const QImage &image, int x, int y)
{
    const uchar *pixel = image.constScanLine(y) + 4 * x;
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

// Reads a framebuffer back as stored: row 0 of the image is framebuffer row 0.
inline QImage readBack(const orvel::GlFbo &fbo)
{
    QImage image = fbo.fbo->toImage(false).convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    image.reinterpretAsFormat(QImage::Format_RGBA8888);
    return image;
}

} // namespace orvel::test
