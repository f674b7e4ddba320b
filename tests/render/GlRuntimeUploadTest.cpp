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
using Rgba = std::array<int, 4>;

// Luma from `luma(col, row)`, chroma constant.
QByteArray nv12Planes(int width, int height, const std::function<int(int, int)> &luma, int u, int v)
{
    QByteArray bytes(width * height * 3 / 2, '\0');
    for (int i = 0; i < width * height; ++i)
        bytes[i] = char(luma(i % width, i / width));
    for (int i = width * height; i < bytes.size(); i += 2) {
        bytes[i] = char(u);
        bytes[i + 1] = char(v);
    }
    return bytes;
}

QImage nv12ReadBack(GlRuntime &gl, const QByteArray &bytes, int width, int height,
                    const orvel::VideoColour &colour = {})
{
    QImage image;
    EXPECT_TRUE(gl.run([&] {
        orvel::GlFbo fbo = gl.nv12ToFbo(bytes, width, height, colour);
        if (fbo.isValid())
            image = readBack(fbo);
        gl.releaseFbo(fbo);
    }));
    return image;
}

// R'G'B' in 0..1 from code values, worked out here from each standard's luma weights.
std::array<double, 3> expectedRgb(double kr, double kb, bool fullRange, int y8, int u8, int v8)
{
    const double y = fullRange ? y8 / 255.0 : (y8 - 16) / 219.0;
    const double u = (u8 - 128) / (fullRange ? 255.0 : 224.0);
    const double v = (v8 - 128) / (fullRange ? 255.0 : 224.0);
    const double kg = 1.0 - kr - kb;
    const double r = y + 2 * (1 - kr) * v, b = y + 2 * (1 - kb) * u;
    return {r, (y - kr * r - kb * b) / kg, b};
}

TEST_F(GlRuntimeTest, Nv12ReadsTheFramesMatrixExpandsLimitedRangeAndRefusesBadSizes)
{
    // Greys, limited-range white and black, primaries, values beyond the legal range.
    const std::vector<std::array<int, 3>> colours = {{128, 128, 128}, {235, 128, 128}, {16, 128, 128},
                                                     {63, 102, 240},  {173, 42, 26},   {32, 240, 118},
                                                     {255, 128, 255}, {0, 0, 0},       {200, 255, 10}};
    const struct
    {
        orvel::YuvMatrix matrix;
        double kr, kb;
    } matrices[] = {{orvel::YuvMatrix::bt601, 0.299, 0.114},
                    {orvel::YuvMatrix::bt709, 0.2126, 0.0722},
                    {orvel::YuvMatrix::bt2020, 0.2627, 0.0593}};
    for (const auto &m : matrices) {
        for (const bool fullRange : {false, true}) {
            orvel::VideoColour colour;
            colour.matrix = m.matrix;
            colour.fullRange = fullRange;
            for (const auto &[y8, u8, v8] : colours) {
                const QImage image = nv12ReadBack(gl(),
                                                  nv12Planes(
                                                      8, 6, [y8](int, int) { return y8; }, u8, v8),
                                                  8, 6, colour);
                ASSERT_EQ(image.size(), QSize(8, 6));
                const auto want = expectedRgb(m.kr, m.kb, fullRange, y8, u8, v8);
                const Rgba got = storedRgba(image, 3, 2);
                for (int c = 0; c < 3; ++c)
                    EXPECT_NEAR(got[size_t(c)], std::lround(std::clamp(want[size_t(c)], 0.0, 1.0) * 255.0), 1)
                        << "channel " << c << " of YUV " << y8 << "," << u8 << "," << v8 << " kr " << m.kr
                        << (fullRange ? " full" : " limited");
                EXPECT_EQ(got[3], 255);
            }
        }
    }

    // Row 0 stays row 0; odd sizes and short buffers are refused.
    const auto luma = [](int col, int row) { return 16 + 12 * row + 5 * col; };
    orvel::VideoColour full;
    full.fullRange = true;
    const QImage image = nv12ReadBack(gl(), nv12Planes(16, 12, luma, 128, 128), 16, 12, full);
    ASSERT_EQ(image.size(), QSize(16, 12));
    for (int row = 0; row < 12; ++row)
        for (int col = 0; col < 16; ++col)
            ASSERT_NEAR(storedRgba(image, col, row)[1], luma(col, row), 1) << col << "," << row;

    const QByteArray enough(16 * 24, '\x80');
    EXPECT_TRUE(nv12ReadBack(gl(), enough, 15, 16).isNull());
    EXPECT_TRUE(nv12ReadBack(gl(), enough, 16, 15).isNull());
    EXPECT_TRUE(nv12ReadBack(gl(), enough, 0, 16).isNull());
    EXPECT_TRUE(nv12ReadBack(gl(), enough.left(16 * 24 - 1), 16, 16).isNull());
    EXPECT_FALSE(nv12ReadBack(gl(), enough, 16, 16).isNull());
}

// Rows: red, green, blue.
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

TEST_F(GlRuntimeTest, ImagesLandWithRowZeroAtRowZeroInStraightAlphaWhateverTheirRowPadding)
{
    // Five pixels a row with 12 bytes of padding after each, as a decoder's buffer may be.
    const int width = 5, height = 3, stride = width * 4 + 12;
    std::vector<uchar> buffer(size_t(stride * height), 0xEE);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uchar *pixel = buffer.data() + y * stride + x * 4;
            pixel[0] = uchar(40 * x);
            pixel[1] = uchar(100 * y);
            pixel[2] = 7;
            pixel[3] = 255;
        }
    const QImage padded(buffer.data(), width, height, stride, QImage::Format_RGBA8888);
    QImage translucent(2, 2, QImage::Format_ARGB32);
    translucent.fill(QColor(200, 40, 0, 128));
    std::vector<QImage> images;
    onGl([&] {
        // A framebuffer of the null image's size waits in the pool with opaque pixels in it.
        orvel::GlFbo dirty = gl().imageToFbo(threeBandImage(QImage::Format_RGBA8888).scaled(5, 7), {});
        gl().releaseFbo(dirty);
        std::vector<orvel::GlFbo> fbos;
        fbos.push_back(gl().imageToFbo(threeBandImage(QImage::Format_RGB32), {}));
        fbos.push_back(gl().cachedImageToFbo(threeBandImage(QImage::Format_RGBA8888), {}));
        fbos.push_back(gl().imageToFbo(translucent, {}));
        fbos.push_back(gl().imageToFbo(QImage(), QSize(5, 7)));
        fbos.push_back(gl().cachedImageToFbo(QImage(), QSize(5, 7)));
        for (const auto &[upload, flip] :
             {std::pair{threeBandImage(QImage::Format_RGBA8888), false},
              std::pair{threeBandImage(QImage::Format_RGBA8888), true}, std::pair{padded, false}}) {
            const GLuint texture = gl().uploadTexture(upload, flip);
            fbos.push_back(gl().acquireFbo(upload.width(), upload.height()));
            EXPECT_TRUE(gl().copyTextureToFbo(texture, fbos.back()));
            gl().extraFunctions()->glDeleteTextures(1, &texture);
        }
        for (orvel::GlFbo &fbo : fbos) {
            images.push_back(fbo.isValid() ? readBack(fbo) : QImage());
            gl().releaseFbo(fbo);
        }
    });
    ASSERT_EQ(images.size(), 8u);
    for (const int i : {0, 1, 5}) {
        ASSERT_EQ(images[size_t(i)].size(), QSize(4, 3)) << i;
        EXPECT_EQ(storedRgba(images[size_t(i)], 1, 0), (Rgba{255, 0, 0, 255})) << i;
        EXPECT_EQ(storedRgba(images[size_t(i)], 1, 1), (Rgba{0, 255, 0, 255})) << i;
        EXPECT_EQ(storedRgba(images[size_t(i)], 1, 2), (Rgba{0, 0, 255, 255})) << i;
    }
    EXPECT_EQ(storedRgba(images[2], 0, 0), (Rgba{200, 40, 0, 128}));
    for (const int i : {3, 4}) {
        ASSERT_EQ(images[size_t(i)].size(), QSize(5, 7)) << i;
        EXPECT_EQ(storedRgba(images[size_t(i)], 4, 6), (Rgba{0, 0, 0, 0})) << i;
    }
    EXPECT_EQ(storedRgba(images[6], 0, 0), (Rgba{0, 0, 255, 255})); // mirrored only when asked
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            EXPECT_EQ(storedRgba(images[7], x, y), (Rgba{40 * x, 100 * y, 7, 255})) << x << "," << y;
}

TEST_F(GlRuntimeTest, ImageTextureCacheHitsOnTheSameRgbaImageAndEvictsTheLeastRecentlyUsed)
{
    std::vector<QImage> images;
    for (int i = 0; i < 50; ++i) {
        images.emplace_back(2, 2, QImage::Format_RGBA8888);
        images.back().fill(QColor(i, 0, 0));
    }
    onGl([&] {
        // Forty-eight distinct pictures fill the cache whatever it held before.
        for (int i = 0; i < 48; ++i)
            ASSERT_NE(gl().cachedImageTexture(images[size_t(i)]), 0u);
        const GLuint first = gl().cachedImageTexture(images[0]); // a hit, now the most recent
        const QImage sharedCopy = images[0];
        EXPECT_EQ(gl().cachedImageTexture(sharedCopy), first);
        gl().cachedImageTexture(images[48]);
        EXPECT_EQ(gl().cachedImageTextureCount(), 48);
        EXPECT_TRUE(gl().hasCachedImageTexture(images[0].cacheKey()));
        EXPECT_FALSE(gl().hasCachedImageTexture(images[1].cacheKey()));
        gl().cachedImageTexture(images[49]);
        EXPECT_FALSE(gl().hasCachedImageTexture(images[2].cacheKey()));
        EXPECT_TRUE(gl().hasCachedImageTexture(images[49].cacheKey()));
        EXPECT_EQ(gl().cachedImageTexture(images[0]), first);

        QImage changed = images[0];
        changed.setPixelColor(0, 0, Qt::black); // detaches: a new picture, a new key
        EXPECT_NE(gl().cachedImageTexture(changed), first);
        // A picture in another format (cached text is premultiplied) is still uploaded once.
        QImage argb(8, 8, QImage::Format_ARGB32_Premultiplied);
        argb.fill(Qt::magenta);
        EXPECT_EQ(gl().cachedImageTexture(argb), gl().cachedImageTexture(argb));
        EXPECT_EQ(gl().cachedImageTexture(QImage()), 0u);
    });
}

} // namespace
