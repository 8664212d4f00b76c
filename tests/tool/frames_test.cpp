// Pictures to frames and back: full-range BT.601, 2x2 chroma, NV12/NV21, geometry limits,
// and the PNG and JPEG codecs.

#include <gtest/gtest.h>

#include <cstdlib>

#include "image_io.h"
#include "tool_error.h"
#include "tool_support.h"
#include "yuv.h"

namespace {

using namespace lut2d_tool;
using lut2d_tool_test::ScratchDir;

TEST(RgbToYuv, GreysKeepTheirLevelAndNeutralChroma) {
    RgbImage img(256, 2);
    for (uint32_t x = 0; x < 256; ++x) {
        const auto v = static_cast<uint8_t>(x);
        img.set(x, 0, {v, v, v});
        img.set(x ^ 1, 1, {v, v, v});  // the block's other row holds the neighbouring grey
    }
    const YuvFrame f = rgbToYuv(img, ChromaOrder::Nv12, 256);
    for (uint32_t x = 0; x < 256; ++x) EXPECT_EQ(f.luma[x], x);
    for (uint8_t c : f.chroma) EXPECT_EQ(c, 128);
    EXPECT_EQ(yuvToRgb(f), img);
}

TEST(RgbToYuv, UsesFullRangeBt601AndAveragesChromaOverEachBlock) {
    RgbImage img(4, 2, {255, 0, 0});
    fillRect(img, {2, 0, 2, 2}, {0, 0, 255});
    img.set(1, 1, {0, 255, 0});  // one green pixel in the red block
    const YuvFrame f = rgbToYuv(img, ChromaOrder::Nv12, 6);
    EXPECT_EQ(f.luma[0], 76);       // 0.299 * 255
    EXPECT_EQ(f.luma[6 + 1], 150);  // 0.587 * 255
    EXPECT_EQ(f.luma[2], 29);       // 0.114 * 255
    // Red: Cb 128 - 0.1687 * 255 = 85, Cr 255; with one green pixel of four the block means
    // are Cb (3 * -43.02 - 84.47) / 4 and Cr (3 * 127.5 - 106.77) / 4, plus 128.
    EXPECT_EQ(f.chroma[0], 75);
    EXPECT_EQ(f.chroma[1], 197);
    EXPECT_EQ(f.chroma[2], 255);  // blue: Cb 255, Cr 128 - 0.0813 * 255 = 107
    EXPECT_EQ(f.chroma[3], 107);
    EXPECT_EQ(f.luma[4], 0);  // padding
    EXPECT_EQ(f.chroma[4], 128);

    const YuvFrame nv21 = rgbToYuv(img, ChromaOrder::Nv21, 4);
    EXPECT_EQ(nv21.chroma[0], 197);
    EXPECT_EQ(nv21.chroma[1], 75);
    EXPECT_EQ(yuvToRgb(nv21), yuvToRgb(f));
}

TEST(RgbToYuv, FlatColoursComeBackWithinRounding) {
    std::srand(3);
    for (int i = 0; i < 500; ++i) {
        const Rgb c{static_cast<uint8_t>(std::rand()), static_cast<uint8_t>(std::rand()),
                    static_cast<uint8_t>(std::rand())};
        const RgbImage back = yuvToRgb(rgbToYuv(RgbImage(2, 2, c), ChromaOrder::Nv12, 2));
        const Rgb b = back.at(1, 1);
        EXPECT_LE(std::abs(b.r - c.r), 2);
        EXPECT_LE(std::abs(b.g - c.g), 2);
        EXPECT_LE(std::abs(b.b - c.b), 2);
    }
}

TEST(Geometry, RefusesWhatTheLibraryCannotProcess) {
    auto message = [](uint32_t w, uint32_t h, uint32_t stride) -> std::string {
        try {
            checkGeometry({w, h, stride, ChromaOrder::Nv12}, "in.yuv");
        } catch (const ToolError& e) {
            return e.what();
        }
        return "";
    };
    EXPECT_EQ(message(640, 480, 640), "");
    EXPECT_EQ(message(2, 2, 2), "");
    EXPECT_EQ(message(640, 6, 704), "");
    EXPECT_EQ(message(641, 480, 642),
              "in.yuv: frame size 641x480: width and height must be even and at least 2 (4:2:0 "
              "chroma covers 2x2 blocks)");
    EXPECT_NE(message(640, 481, 640), "");
    EXPECT_NE(message(0, 480, 640), "");
    EXPECT_EQ(message(640, 4, 640),
              "in.yuv: frame size 640x4: a height of 4 rows cannot be split into the library's "
              "four bands; use 2 or at least 6 rows");
    EXPECT_EQ(message(640, 480, 638),
              "in.yuv: stride 638 must be even, at least the width 640 and at most 65534");
    EXPECT_NE(message(640, 480, 641), "");
    EXPECT_NE(message(65536, 2, 65536), "");
}

TEST(Pictures, PngIsLosslessAndJpegClose) {
    ScratchDir dir;
    RgbImage img(64, 32);
    for (uint32_t y = 0; y < 32; ++y) {
        for (uint32_t x = 0; x < 64; ++x) {
            img.set(x, y, {static_cast<uint8_t>(x * 4), static_cast<uint8_t>(y * 8), 90});
        }
    }
    savePicture(dir / "a.png", img);
    EXPECT_EQ(readPicture(dir / "a.png"), img);
    savePicture(dir / "a.JPG", img, 100);
    const RgbImage jpeg = readPicture(dir / "a.JPG");
    ASSERT_EQ(jpeg.width, 64u);
    ASSERT_EQ(jpeg.height, 32u);
    for (size_t i = 0; i < img.pixels.size(); ++i) {
        EXPECT_LE(std::abs(jpeg.pixels[i] - img.pixels[i]), 12) << i;
    }
    EXPECT_EQ(dir.files(), (std::set<std::string>{"a.png", "a.JPG"}));
}

TEST(Pictures, UnreadableFilesAreNamed) {
    ScratchDir dir;
    lut2d_tool_test::writeText(dir / "x.png", "not a picture");
    lut2d_tool_test::writeText(dir / "x.jpeg", "not a picture");
    EXPECT_THROW(
        {
            try {
                readPicture(dir / "x.png");
            } catch (const ToolError& e) {
                EXPECT_EQ(std::string(e.what()).rfind(
                              (dir / "x.png").string() + ": not a readable PNG", 0),
                          0u);
                throw;
            }
        },
        ToolError);
    EXPECT_THROW(readPicture(dir / "x.jpeg"), ToolError);
    EXPECT_THROW(readPicture(dir / "missing.png"), ToolError);
}

}  // namespace
