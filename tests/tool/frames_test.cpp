// Pictures to frames and back (full-range BT.601, 2x2 chroma, smooth chroma on the way back),
// geometry limits, colour range, raw layouts, y4m clips and sizes in file names.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "image_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;

TEST(RgbToYuv, UsesFullRangeBt601AndAveragesChromaPerBlock) {
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
}

TEST(RgbToYuv, FlatGreysComeBackExactlyFlatColoursWithinRounding) {
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
        EXPECT_TRUE(c >= 256 || (flat.chroma == std::vector<uint8_t>{128, 128})) << c;
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
        const std::string message = refusal([&] { checkGeometry({c.w, c.h, c.stride}, "in.yuv"); });
        EXPECT_EQ(message.rfind("in.yuv: " + c.message, 0),
                  c.message.empty() ? std::string::npos : 0)
            << message;
    }
}

TEST(YuvToRgb, UpsamplesChromaSmoothlyBetweenBlocks) {
    // Grey luma; Cr 200 in the left two blocks, 56 in the right two.
    YuvFrame f(FrameGeometry{8, 2, 8, ChromaOrder::Nv12});
    std::fill(f.luma.begin(), f.luma.end(), uint8_t{128});
    f.chroma = {128, 200, 128, 200, 128, 56, 128, 56};
    const RgbImage img = yuvToRgb(f);
    std::vector<int> red;
    for (uint32_t x = 0; x < 8; ++x) red.push_back(img.at(x, 0).r);
    // Flat ends exactly as a per-block conversion: 128 + 1.402 * 72 and 128 - 1.402 * 72.
    // Next to the edge each pixel takes 3/4 of its own block and 1/4 of its neighbour's:
    // Cr 164 and 92.
    EXPECT_EQ(red, (std::vector<int>{229, 229, 229, 178, 78, 27, 27, 27}));
    EXPECT_EQ(img.at(3, 1), img.at(3, 0));
}

TEST(ColourRange, ConvertsKnownValues) {
    YuvFrame f(FrameGeometry{4, 2, 6, ChromaOrder::Nv12});
    f.luma = {16, 235, 126, 0, 9, 9, 255, 128, 16, 16, 9, 9};
    f.chroma = {16, 240, 128, 100, 9, 9};
    YuvFrame full = f;
    limitedToFull(full);
    // Y' = (Y - 16) * 255 / 219, C' = 128 + (C - 128) * 255 / 224, rounded and clamped;
    // the padding (9) is left alone.
    EXPECT_EQ(full.luma, (std::vector<uint8_t>{0, 255, 128, 0, 9, 9, 255, 130, 0, 0, 9, 9}));
    EXPECT_EQ(full.chroma, (std::vector<uint8_t>{1, 255, 128, 96, 9, 9}));
    fullToLimited(full);
    EXPECT_EQ(full.luma, (std::vector<uint8_t>{16, 235, 126, 16, 9, 9, 235, 128, 16, 16, 9, 9}));
    EXPECT_EQ(full.chroma, (std::vector<uint8_t>{16, 240, 128, 100, 9, 9}));
}

TEST(RawLayouts, InterleavePlanarChroma) {
    // 4x2 with stride 6: luma 12 bytes; I420 chroma: a Cb plane of 3 bytes, a Cr plane of 3.
    const std::vector<uint8_t> i420 = {1,  2,  3,  4,  5,  6,  7,  8,  9,
                                       10, 11, 12, 20, 21, 22, 30, 31, 32};
    YuvFrame nv12(FrameGeometry{4, 2, 6, ChromaOrder::Nv12});
    unpackRawFrame(i420, RawLayout::I420, nv12);
    EXPECT_EQ(nv12.chroma, (std::vector<uint8_t>{20, 30, 21, 31, 22, 32}));
    EXPECT_EQ(
        packRawFrame(nv12, RawLayout::Nv21),
        (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 30, 20, 31, 21, 32, 22}));
    EXPECT_EQ(
        packRawFrame(nv12, RawLayout::Yv12),
        (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 30, 31, 32, 20, 21, 22}));
}

// Any layout, read into either chroma order and written back, is unchanged, padding included.
TEST(RawLayouts, ComeBackByteForByte) {
    const FrameGeometry g{10, 6, 14};
    std::vector<uint8_t> bytes(g.frameBytes());
    std::generate(bytes.begin(), bytes.end(), std::mt19937(3));
    for (RawLayout layout : {RawLayout::I420, RawLayout::Yv12, RawLayout::Nv12, RawLayout::Nv21}) {
        for (ChromaOrder order : {ChromaOrder::Nv12, ChromaOrder::Nv21}) {
            YuvFrame f(FrameGeometry{g.width, g.height, g.stride, order});
            unpackRawFrame(bytes, layout, f);
            EXPECT_EQ(packRawFrame(f, layout), bytes) << layoutName(layout);
        }
    }
}

std::span<const uint8_t> asBytes(const std::string& s) {
    return {reinterpret_cast<const uint8_t*>(s.data()), s.size()};
}

TEST(Y4m, ReadsFfmpegClipsAndWritesThemBackByteForByte) {
    const std::string header =
        "YUV4MPEG2 W8 H6 F30000:1001 Ip A1:1 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=LIMITED\n";
    std::string clip = header;
    for (int k = 0; k < 2; ++k) {
        clip += k == 0 ? "FRAME\n" : "FRAME Ixyz\n";  // frame parameters are allowed
        for (int i = 0; i < 72; ++i) clip += static_cast<char>(16 + 7 * i + k);
    }
    const Y4mClip c = decodeY4m(asBytes(clip), kDefaultMaxPixels, "c.y4m");
    ASSERT_EQ(c.frames.size(), 2u);
    EXPECT_EQ(c.header.range, ColourRange::Limited);
    EXPECT_EQ(c.frames[1].luma[0], 17);
    EXPECT_EQ(c.frames[0].chroma[0], uint8_t(16 + 7 * 48));  // first Cb
    EXPECT_EQ(c.frames[0].chroma[1], uint8_t(16 + 7 * 60));  // first Cr
    std::string back = c.header.text(ColourRange::Limited, false);
    for (const YuvFrame& f : c.frames) {
        const std::vector<uint8_t> b = y4mFrameBytes(f);
        back += std::string(b.begin(), b.end());
    }
    std::string expected = clip;
    expected.replace(expected.find("FRAME Ixyz"), 10, "FRAME");
    EXPECT_EQ(back, expected);
    std::string full = header;
    EXPECT_EQ(c.header.text(ColourRange::Full, false),
              full.replace(full.find("LIMITED"), 7, "FULL"));
    EXPECT_EQ(makeY4mHeader({8, 4, 8}).text(ColourRange::Full, true),
              "YUV4MPEG2 W8 H4 F25:1 Ip A1:1 C420jpeg XYSCSS=420JPEG XCOLORRANGE=FULL\n");

    const struct {
        std::string bytes, message;
    } bad[] = {
        {"YUV4MPEG2 W8\n", "c.y4m: y4m header has no frame size"},
        {"YUV4MPEG W8 H4\n", "c.y4m: not a y4m clip"},
        {header + "FRAME\n" + std::string(71, 'a'), "c.y4m: y4m frame 1 is cut short: 71 of 72"},
        {header + "JUNK\n", "c.y4m: y4m frame 1 does not start with FRAME"},
        {header, "c.y4m: the y4m clip holds no frame"},
        // 40000x40000 needs 2.4 GB per frame: refused before anything is allocated.
        {"YUV4MPEG2 W40000 H40000\nFRAME\n", "c.y4m: 40000x40000 is 1600 megapixels, more "},
    };
    for (const auto& b : bad) {
        const std::string message =
            refusal([&] { decodeY4m(asBytes(b.bytes), kDefaultMaxPixels, "c.y4m"); });
        EXPECT_EQ(message.rfind(b.message, 0), 0u) << message;
    }
}

// Letter case aside, the kinds and layouts of names are the end-to-end refusals'.
TEST(FileNames, GiveKindLayoutAndSize) {
    EXPECT_EQ(fileKindOf("a.HEIC"), FileKind::Picture);
    EXPECT_EQ(layoutOfName("a.YV12"), RawLayout::Yv12);
    using Size = std::optional<std::pair<uint32_t, uint32_t>>;
    EXPECT_EQ(sizeFromName("dir_9x9/clip_1920x1080.nv12"), Size({1920, 1080}));
    EXPECT_EQ(sizeFromName("640X480-and-640x480.yuv"), Size({640, 480}));
    EXPECT_EQ(sizeFromName("x264.nv12"), Size());
    EXPECT_EQ(sizeFromName("a12345678901x2.nv12"), Size());  // too many digits for a size
}

}  // namespace
