// Pictures to frames and back: full-range BT.601, 2x2 chroma, NV12/NV21, geometry limits,
// and the JPEG codec (PNG is lossless: the end-to-end tests rely on it).

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "image_io.h"
#include "tool_error.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;

TEST(RgbToYuv, UsesFullRangeBt601AveragesChromaPerBlockAndComesBackWithinRounding) {
    RgbImage img(4, 2, {255, 0, 0});
    fillRect(img, {2, 0, 2, 2}, {0, 0, 255});
    img.set(1, 1, {0, 255, 0});  // one green pixel in the red block
    const YuvFrame f = rgbToYuv(img, ChromaOrder::Nv12, 6);
    // Luma 0.299, 0.587 and 0.114 times 255, then padding.
    EXPECT_EQ(std::vector<uint8_t>(f.luma.begin(), f.luma.begin() + 12),
              (std::vector<uint8_t>{76, 76, 29, 29, 0, 0, 76, 150, 29, 29, 0, 0}));
    // Red: Cb 128 - 0.1687 * 255 = 85, Cr 255; with one green pixel of four the block means
    // are Cb (3 * -43.02 - 84.47) / 4 and Cr (3 * 127.5 - 106.77) / 4, plus 128. Blue: Cb
    // 255, Cr 128 - 0.0813 * 255 = 107. Then padding.
    EXPECT_EQ(f.chroma, (std::vector<uint8_t>{75, 197, 255, 107, 128, 128}));
    const YuvFrame nv21 = rgbToYuv(img, ChromaOrder::Nv21, 4);
    EXPECT_EQ(nv21.chroma, (std::vector<uint8_t>{197, 75, 107, 255}));
    EXPECT_EQ(yuvToRgb(nv21), yuvToRgb(f));
    // Flat greys come back exactly, flat colours within rounding.
    for (int c = 0; c < 256 + 216; ++c) {
        const int k = c - 256;
        const Rgb in =
            c < 256 ? Rgb{uint8_t(c), uint8_t(c), uint8_t(c)}
                    : Rgb{uint8_t(k % 6 * 51), uint8_t(k / 6 % 6 * 51), uint8_t(k / 36 * 51)};
        const YuvFrame flat = rgbToYuv(RgbImage(2, 2, in), ChromaOrder::Nv12, 2);
        const Rgb back = yuvToRgb(flat).at(1, 1);
        const int error =
            std::max({std::abs(back.r - in.r), std::abs(back.g - in.g), std::abs(back.b - in.b)});
        EXPECT_LE(error, c < 256 ? 0 : 2) << c;
        EXPECT_TRUE(c >= 256 ||
                    (flat.luma[0] == c && flat.chroma == std::vector<uint8_t>{128, 128}))
            << c;
    }
}

TEST(Geometry, RefusesWhatTheLibraryCannotProcess) {
    const struct {
        uint32_t w, h, stride;
        std::string message;  // how the refusal starts; empty when accepted
    } cases[] = {

        {2, 2, 2, ""},
        {640, 6, 704, ""},
        {641, 480, 642, "frame size 641x480: width and height must be even and at least 2"},
        {640, 4, 640, "frame size 640x4: a height of 4 rows cannot be split"},
        {640, 480, 638, "stride 638 must be even, at least the width 640 and at most 65534"},
        {65536, 2, 65536, "frame size 65536x2"}};
    for (const auto& c : cases) {
        std::string message;
        try {
            checkGeometry({c.w, c.h, c.stride}, "in.yuv");
        } catch (const ToolError& e) {
            message = e.what();
        }
        EXPECT_EQ(message.rfind("in.yuv: " + c.message, 0),
                  c.message.empty() ? std::string::npos : 0)
            << message;
    }
}

TEST(Pictures, JpegComesBackClose) {
    ScratchDir dir;
    RgbImage img(64, 32);
    for (uint32_t y = 0; y < 32; ++y)
        for (uint32_t x = 0; x < 64; ++x) img.set(x, y, {uint8_t(x * 4), uint8_t(y * 8), 90});
    savePicture(dir / "a.JPG", img, 100);
    const RgbImage jpeg = readPicture(dir / "a.JPG");
    ASSERT_EQ(jpeg.pixels.size(), img.pixels.size());
    for (size_t i = 0; i < img.pixels.size(); ++i)
        EXPECT_LE(std::abs(jpeg.pixels[i] - img.pixels[i]), 12) << i;
    writeText(dir / "x.jpeg", "not a picture");
    EXPECT_THROW(readPicture(dir / "x.jpeg"), ToolError);
}

}  // namespace
