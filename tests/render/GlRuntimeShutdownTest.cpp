// Shutdown frees every GL object the runtime holds and leaves it unavailable for good. Kept in
// its own program, since nothing can use the runtime after this.
#include "GlRuntimeTestSupport.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFunctions>

#include <vector>

namespace {

using orvel::test::GlRuntimeTest;

// How many of `textures` still exist, asked of the share group from a context on this thread.
int existingTextures(const std::vector<GLuint> &textures)
{
    QOpenGLContext *shared = QOpenGLContext::globalShareContext();
    QOffscreenSurface surface;
    surface.setFormat(shared->format());
    surface.create();
    QOpenGLContext probe;
    probe.setShareContext(shared);
    probe.setFormat(shared->format());
    if (!probe.create() || !probe.makeCurrent(&surface))
        return -1;
    int count = 0;
    for (const GLuint texture : textures)
        count += probe.functions()->glIsTexture(texture) ? 1 : 0;
    probe.doneCurrent();
    return count;
}

TEST_F(GlRuntimeTest, ShutdownReleasesEveryObjectAndTheRuntimeStaysDown)
{
    std::vector<GLuint> textures;
    onGl([&] {
        QImage image(8, 8, QImage::Format_RGBA8888);
        image.fill(Qt::yellow);
        textures.push_back(gl().cachedImageTexture(image));
        gl().fileTextures()[QStringLiteral("/packages/fx/noise.png")] = gl().uploadTexture(image, true);
        gl().fileTextures()[QStringLiteral("/packages/fx/missing.png")] = 0;
        textures.push_back(gl().fileTextures().at(QStringLiteral("/packages/fx/noise.png")));

        orvel::GlFbo pooled = gl().nv12ToFbo(QByteArray(16 * 24, '\x80'), 16, 16);
        textures.push_back(pooled.texture());
        gl().releaseFbo(pooled);
        orvel::GlFbo &slot = gl().acquirePresentTarget(16, 16);
        textures.push_back(slot.texture());
        gl().publishPresentTarget(slot);
        gl().extraFunctions()->glFinish();
    });
    ASSERT_EQ(textures.size(), 4u);
    EXPECT_EQ(existingTextures(textures), 4);

    gl().shutdown();
    EXPECT_EQ(existingTextures(textures), 0);
    bool ran = false;
    EXPECT_FALSE(gl().run([&ran] { ran = true; }));
    EXPECT_FALSE(ran);
    EXPECT_FALSE(gl().ensureStarted());
    EXPECT_EQ(gl().extraFunctions(), nullptr);
    gl().shutdown(); // a second call, like the one at application exit, does nothing
}

} // namespace
