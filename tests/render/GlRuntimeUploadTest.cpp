// Images and NV12 frames into framebuffers: real pixels read back, orientation kept.
#include "GlRuntimeTestSupport.h"

#include <QOpenGLExtraFunctions>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using orvel::test::GlRuntimeTest;
using orvel::test::readBack;
using orvel::test::storedRgba;

struct Yuv
{
    int y = 0;
    int u = 0;
    int v = 0;
};

QByteArray nv12Planes(int width, int height, const std::function<int(int, int)> &luma, Yuv chroma)
{
    QByteArray bytes(width * height + width * height / 2, '\0');
    for (int row = 0; row < height; ++row)
        for (int col = 0; col < width; ++col)
            bytes[row * width + col] = char(luma(col, row));
    char *uv = bytes.data() + width * height;
    for (int i = 0; i < width * height / 4; ++i) {
        uv[2 * i] = char(chroma.u);
        uv[2 * i + 1] = char(chroma.v);
    }
    return bytes;
}

// The BT.709 conversion on unexpanded values, worked out here independently of the shader.
std::array<int, 3> expectedRgb(Yuv in)
{
    const double y = in.y / 255.0;
    const double u = in.u / 255.0 - 0.5;
    const double v = in.v / 255.0 - 0.5;
    const double rgb[3] = {y + 1.5748 * v, y - 0.1873 * u - 0.4681 * v, y + 1.8556 * u};
    std::array<int, 3> out{};
    for (int i = 0; i < 3; ++i)
        out[size_t(i)] = int(std::lround(std::clamp(rgb[i], 0.0, 1.0) * 255.0));
    return out;
}

TEST_F(GlRuntimeTest, Nv12ConvertsWithTheBt709MatrixWithoutRangeExpansion)
{
    // Greys, limited-range white and black (which must stay 235 and 16), saturated primaries and
    // values that clamp.
    const std::vector<Yuv> colours = {{128, 128, 128}, {235, 128, 128}, {16, 128, 128},
                                      {63, 102, 240},  {173, 42, 26},   {32, 240, 118},
                                      {255, 128, 255}, {0, 0, 0},       {200, 255, 10}};
    for (const Yuv colour : colours) {
        const QByteArray bytes = nv12Planes(
            8, 6, [&](int, int) { return colour.y; }, colour);
        QImage image;
        onGl([&] {
            orvel::GlFbo fbo = gl().nv12ToFbo(bytes, 8, 6);
            ASSERT_TRUE(fbo.isValid());
            EXPECT_EQ(fbo.fbo->size(), QSize(8, 6));
            image = readBack(fbo);
            gl().releaseFbo(fbo);
        });
        ASSERT_FALSE(image.isNull());
        const std::array<int, 3> want = expectedRgb(colour);
        const std::array<int, 4> got = storedRgba(image, 3, 2);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(got[size_t(c)], want[size_t(c)], 1)
                << "channel " << c << " of YUV " << colour.y << "," << colour.u << "," << colour.v;
        EXPECT_EQ(got[3], 255);
    }
}

TEST_F(GlRuntimeTest, Nv12KeepsRowZeroAtRowZeroAndColumnsInPlace)
{
    const int width = 16;
    const int height = 12;
    const auto luma = [](int col, int row) { return 16 + 12 * row + 5 * col; };
    const QByteArray bytes = nv12Planes(width, height, luma, {0, 128, 128});
    QImage image;
    onGl([&] {
        orvel::GlFbo fbo = gl().nv12ToFbo(bytes, width, height);
        ASSERT_TRUE(fbo.isValid());
        image = readBack(fbo);
        gl().releaseFbo(fbo);
    });
    ASSERT_EQ(image.size(), QSize(width, height));
    for (int row = 0; row < height; ++row)
        for (int col = 0; col < width; ++col)
            ASSERT_NEAR(storedRgba(image, col, row)[1], luma(col, row), 1) << col << "," << row;
}

TEST_F(GlRuntimeTest, Nv12RefusesOddSizesAndShortBuffers)
{
    onGl([&] {
        const QByteArray enough(16 * 24, '\x80');
        EXPECT_FALSE(gl().nv12ToFbo(enough, 15, 16).isValid());
        EXPECT_FALSE(gl().nv12ToFbo(enough, 16, 15).isValid());
        EXPECT_FALSE(gl().nv12ToFbo(enough, 0, 16).isValid());
        EXPECT_FALSE(gl().nv12ToFbo(enough.left(16 * 24 - 1), 16, 16).isValid());
        orvel::GlFbo exact = gl().nv12ToFbo(enough, 16, 16);
        EXPECT_TRUE(exact.isValid());
        gl().releaseFbo(exact);
    });
}

QImage threeBandImage(QImage::Format format)
{
    QImage image(4, 3, format);
    image.fill(Qt::green);
    for (int x = 0; x < 4; ++x) {
        image.setPixelColor(x, 0, Qt::red);
        image.setPixelColor(x, 2, Qt::blue);
    }
    return image;
}

TEST_F(GlRuntimeTest, ImagesLandWithRowZeroAtFramebufferRowZeroAndStraightAlpha)
{
    QImage translucent(2, 2, QImage::Format_ARGB32);
    translucent.fill(QColor(200, 40, 0, 128));
    QImage plain, cached, alpha;
    onGl([&] {
        orvel::GlFbo a = gl().imageToFbo(threeBandImage(QImage::Format_RGB32), {});
        orvel::GlFbo b = gl().cachedImageToFbo(threeBandImage(QImage::Format_RGBA8888), {});
        orvel::GlFbo c = gl().imageToFbo(translucent, {});
        ASSERT_TRUE(a.isValid() && b.isValid() && c.isValid());
        plain = readBack(a);
        cached = readBack(b);
        alpha = readBack(c);
        gl().releaseFbo(a);
        gl().releaseFbo(b);
        gl().releaseFbo(c);
    });
    for (const QImage &image : {plain, cached}) {
        ASSERT_EQ(image.size(), QSize(4, 3));
        EXPECT_EQ(storedRgba(image, 1, 0), (std::array<int, 4>{255, 0, 0, 255}));
        EXPECT_EQ(storedRgba(image, 1, 1), (std::array<int, 4>{0, 255, 0, 255}));
        EXPECT_EQ(storedRgba(image, 1, 2), (std::array<int, 4>{0, 0, 255, 255}));
    }
    EXPECT_EQ(storedRgba(alpha, 0, 0), (std::array<int, 4>{200, 40, 0, 128}));
}

TEST_F(GlRuntimeTest, NullImageGivesATransparentFramebufferOfTheRequestedSize)
{
    onGl([&] {
        // A used framebuffer of that size waits in the pool with opaque pixels in it.
        orvel::GlFbo dirty = gl().imageToFbo(threeBandImage(QImage::Format_RGBA8888).scaled(5, 7), {});
        gl().releaseFbo(dirty);
        orvel::GlFbo a = gl().imageToFbo(QImage(), QSize(5, 7));
        orvel::GlFbo b = gl().cachedImageToFbo(QImage(), QSize(5, 7));
        ASSERT_TRUE(a.isValid() && b.isValid());
        for (const orvel::GlFbo *fbo : {&a, &b}) {
            EXPECT_EQ(fbo->fbo->size(), QSize(5, 7));
            const QImage image = readBack(*fbo);
            EXPECT_EQ(storedRgba(image, 2, 0), (std::array<int, 4>{0, 0, 0, 0}));
            EXPECT_EQ(storedRgba(image, 4, 6), (std::array<int, 4>{0, 0, 0, 0}));
        }
        gl().releaseFbo(a);
        gl().releaseFbo(b);
    });
}

TEST_F(GlRuntimeTest, UploadFlipsOnlyWhenAsked)
{
    QImage straight, flipped;
    onGl([&] {
        const QImage image = threeBandImage(QImage::Format_RGBA8888);
        for (const bool flip : {false, true}) {
            const GLuint texture = gl().uploadTexture(image, flip);
            ASSERT_NE(texture, 0u);
            orvel::GlFbo fbo = gl().acquireFbo(4, 3);
            ASSERT_TRUE(gl().copyTextureToFbo(texture, fbo));
            (flip ? flipped : straight) = readBack(fbo);
            gl().extraFunctions()->glDeleteTextures(1, &texture);
            gl().releaseFbo(fbo);
        }
    });
    EXPECT_EQ(storedRgba(straight, 0, 0)[0], 255);
    EXPECT_EQ(storedRgba(flipped, 0, 0)[2], 255);
    EXPECT_EQ(storedRgba(flipped, 0, 2)[0], 255);
}

TEST_F(GlRuntimeTest, ImageTextureCacheHitsOnTheSameRgbaImageAndMissesOtherFormats)
{
    onGl([&] {
        QImage rgba(8, 8, QImage::Format_RGBA8888);
        rgba.fill(Qt::cyan);
        const GLuint first = gl().cachedImageTexture(rgba);
        ASSERT_NE(first, 0u);
        const QImage sharedCopy = rgba;
        EXPECT_EQ(gl().cachedImageTexture(sharedCopy), first);
        EXPECT_TRUE(gl().hasCachedImageTexture(rgba.cacheKey()));

        QImage changed = rgba;
        changed.setPixelColor(0, 0, Qt::black); // detaches: a new picture, a new key
        EXPECT_NE(gl().cachedImageTexture(changed), first);
        EXPECT_TRUE(gl().hasCachedImageTexture(changed.cacheKey()));
        EXPECT_EQ(gl().cachedImageTexture(rgba), first);

        QImage argb(8, 8, QImage::Format_ARGB32);
        argb.fill(Qt::magenta);
        const GLuint a = gl().cachedImageTexture(argb);
        const GLuint b = gl().cachedImageTexture(argb);
        EXPECT_NE(a, b);
        EXPECT_FALSE(gl().hasCachedImageTexture(argb.cacheKey()));
        EXPECT_EQ(gl().cachedImageTexture(QImage()), 0u);
    });
}

TEST_F(GlRuntimeTest, ImageTextureCacheEvictsTheLeastRecentlyUsedBeyondFortyEight)
{
    std::vector<QImage> images;
    for (int i = 0; i < 50; ++i) {
        QImage image(2, 2, QImage::Format_RGBA8888);
        image.fill(QColor(i, 0, 0));
        images.push_back(image);
    }
    onGl([&] {
        for (int i = 0; i < 48; ++i)
            ASSERT_NE(gl().cachedImageTexture(images[size_t(i)]), 0u);
        EXPECT_EQ(gl().cachedImageTextureCount(), 48);
        const GLuint kept = gl().cachedImageTexture(images[0]); // now the most recent

        gl().cachedImageTexture(images[48]);
        EXPECT_EQ(gl().cachedImageTextureCount(), 48);
        EXPECT_TRUE(gl().hasCachedImageTexture(images[0].cacheKey()));
        EXPECT_FALSE(gl().hasCachedImageTexture(images[1].cacheKey()));
        EXPECT_TRUE(gl().hasCachedImageTexture(images[2].cacheKey()));
        EXPECT_EQ(gl().cachedImageTexture(images[0]), kept);

        gl().cachedImageTexture(images[49]);
        EXPECT_FALSE(gl().hasCachedImageTexture(images[2].cacheKey()));
        EXPECT_TRUE(gl().hasCachedImageTexture(images[49].cacheKey()));
    });
}

} // namespace
