// Decoded frames carry their source's colour description, and both the NV12 bytes read with it
// and the RGBA images give back the colour the source was made from.
#include "TestMedia.h"

#include "media/ClipReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

using namespace orvel;

namespace {

constexpr std::array<int, 3> kSourceRgb = {48, 80, 208};

// NV12 at one pixel to RGB, worked out from the luma weights and the range, without the
// program's own matrix.
std::array<double, 3> nv12Rgb(const Nv12Frame &f, int x, int y, double kr, double kb)
{
    const auto byte = [&f](qsizetype i) { return double(uchar(f.data[i])); };
    const qsizetype chroma = qsizetype(f.width) * f.height + qsizetype(y / 2) * f.width + (x / 2) * 2;
    const bool full = f.colour.fullRange;
    const double luma = (byte(qsizetype(y) * f.width + x) - (full ? 0 : 16)) / (full ? 255.0 : 219.0);
    const double u = (byte(chroma) - 128) / (full ? 255.0 : 224.0);
    const double v = (byte(chroma + 1) - 128) / (full ? 255.0 : 224.0);
    const double r = luma + 2 * (1 - kr) * v, b = luma + 2 * (1 - kb) * u;
    const double g = (luma - kr * r - kb * b) / (1 - kr - kb);
    return {r * 255, g * 255, b * 255};
}

} // namespace

TEST(VideoColour, FramesCarryTheirSourcesMatrixAndRange)
{
    const struct
    {
        const char *file;
        YuvMatrix matrix;
        bool fullRange;
        double kr, kb;
    } cases[] = {
        {"colour-sd.mkv", YuvMatrix::bt601, false, 0.299, 0.114},      // untagged, below 720 lines
        {"colour-hd.mkv", YuvMatrix::bt709, false, 0.2126, 0.0722},    // untagged, 720 lines
        {"colour-sd709.mkv", YuvMatrix::bt709, false, 0.2126, 0.0722}, // the tag wins over the size
        {"colour-jpeg.mkv", YuvMatrix::bt601, true, 0.299, 0.114},     // yuvj420p
        {"colour-10bit.mkv", YuvMatrix::bt601, false, 0.299, 0.114},   // 10-bit into NV12
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        ClipReader reader;
        ASSERT_TRUE(reader.open(testmedia::path(c.file)));
        const Nv12Frame frame = reader.decodeVideoNv12(0, 0, 0);
        ASSERT_TRUE(frame.isValid());
        EXPECT_EQ(frame.colour.matrix, c.matrix);
        EXPECT_EQ(frame.colour.fullRange, c.fullRange);
        const int x = frame.width / 2, y = frame.height / 2;
        const auto fromNv12 = nv12Rgb(frame, x, y, c.kr, c.kb);
        const QColor fromRgba = reader.decodeVideo(0, 0, 0).pixelColor(x, y);
        const int rgba[3] = {fromRgba.red(), fromRgba.green(), fromRgba.blue()};
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(fromNv12[i], kSourceRgb[i], 2.0) << "NV12 channel " << i;
            EXPECT_NEAR(rgba[i], kSourceRgb[i], 2) << "RGBA channel " << i;
        }
    }
}
