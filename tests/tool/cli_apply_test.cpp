// lut2d apply end to end, and how every command refuses bad input.

#include <gtest/gtest.h>

#include <algorithm>

#include "chart.h"
#include "image_io.h"
#include "library.h"
#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;

// An NV21 frame of 33 flat 24-pixel patches, 11 to a row: eight greys, then Cb and Cr each 64..192.
// Comparisons leave out 8 pixels at each patch edge, where low-resolution processing mixes patches.
constexpr int kPatch = 24, kPatches = 33;

YuvFrame patchFrame() {
    YuvFrame f(FrameGeometry{11 * kPatch, 3 * kPatch, 280, ChromaOrder::Nv21});
    for (int y = 0; y < 3 * kPatch; ++y)
        for (int x = 0; x < 11 * kPatch; ++x) {
            const int i = y / kPatch * 11 + x / kPatch, j = i - 8;
            const int u = j < 0 ? 128 : 64 + j / 5 * 32, v = j < 0 ? 128 : 64 + j % 5 * 32;
            f.luma[y * 280 + x] = static_cast<uint8_t>(j < 0 ? 16 + 32 * i : 80 + (u + v) / 8);
            f.chroma[y / 2 * 280 + (x & ~1)] = static_cast<uint8_t>(v);
            f.chroma[y / 2 * 280 + (x & ~1) + 1] = static_cast<uint8_t>(u);
        }
    return f;
}

// True when the colour at the corner of `r` comes back as itself from the library's colour
// round trip: 10-bit YUV to RGB with clamping and back with its full-range BT.601 constants,
// truncated to 8 bits. A neutral record leaves exactly such colours unchanged.
bool roundTripIsExact(const YuvFrame& f, Rect r) {
    const uint32_t s = f.geometry.stride, cb = f.geometry.order == ChromaOrder::Nv12 ? 0 : 1;
    const int y = f.luma[r.y * s + r.x], u = f.chroma[r.y / 2 * s + r.x + cb],
              v = f.chroma[r.y / 2 * s + r.x + 1 - cb];
    auto clamp = [](int x) { return std::clamp(x, 0, 1023); };
    const int y10 = 4 * y, u10 = 4 * u - 512, v10 = 4 * v - 512;
    const int g = clamp((1024 * y10 - 354 * u10 - 734 * v10 + 512) >> 10);
    const int b = clamp((1024 * y10 + 1822 * u10 + 512) >> 10);
    const int r10 = clamp((1024 * y10 + 1441 * v10 + 512) >> 10);
    const int y2 = clamp((601 * g + 117 * b + 306 * r10 + 512) >> 10);
    const int u2 = clamp(512 + ((-338 * g + 510 * b - 172 * r10 + 512) >> 10));
    const int v2 = clamp(512 + ((-427 * g - 83 * b + 510 * r10 + 512) >> 10));
    return (y2 >> 2) == y && (u2 >> 2) == u && (v2 >> 2) == v;
}

// Compares `out` with `want` in each patch whose colour in `source` survives the round trip;
// returns how many patches that was.
template <class Image>
int compareExactPatches(const Image& out, const Image& want, const YuvFrame& source) {
    int compared = 0;
    for (int i = 0; i < kPatches; ++i) {
        const Rect interior{i % 11 * kPatch + 8, i / 11 * kPatch + 8, kPatch - 16, kPatch - 16};
        if (!roundTripIsExact(source, interior)) continue;
        ++compared;
        EXPECT_TRUE(same(out, want, interior)) << "patch " << i;
    }
    return compared;
}

TEST(Apply, NeutralRecordChangesNothingButTheYuvRoundTripAndDisabledNothingAtAll) {
    ScratchDir dir;
    writeRecordFile(dir / "n.json", neutralRecord());
    const YuvFrame in = patchFrame();
    writeText(dir / "in.nv21", frameBytes(in));
    const RgbImage picture = yuvToRgb(in);
    savePicture(dir / "in.png", picture);
    // What the library receives from the picture, and the picture the tool makes of it untouched.
    const YuvFrame fromPicture = rgbToYuv(picture, ChromaOrder::Nv12, picture.width);
    // A disabled record: the frame from the picture, untouched, in the order and stride asked.
    ISP2DLUTInStruct_V10 off = neutralRecord();
    off.enable = 0;
    writeRecordFile(dir / "off.bin", off);
    const RunResult passed = dir.run("apply in.png raw.nv21 -r off.bin --stride 300");
    EXPECT_EQ(passed.err, "lut2d: note: off.bin has enable 0: frames pass through unchanged\n");
    EXPECT_EQ(readText(dir / "raw.nv21"), frameBytes(rgbToYuv(picture, ChromaOrder::Nv21, 300)));
    for (const std::string mode : {"full", "low"}) {
        SCOPED_TRACE(mode);
        dir.run("apply in.nv21 " + mode + ".nv21 -r n.json --size 264x72 --stride 280 -m " + mode);
        dir.run("apply in.png " + mode + ".png -r n.json -m " + mode);
        const std::string bytes = readText(dir / (mode + ".nv21"));
        ASSERT_EQ(bytes.size(), in.geometry.frameBytes());
        YuvFrame out(in.geometry);
        std::copy_n(bytes.begin(), out.luma.size(), out.luma.begin());
        std::copy(bytes.begin() + out.luma.size(), bytes.end(), out.chroma.begin());
        EXPECT_GE(compareExactPatches(out, in, in), 10);
        const RgbImage outPicture = readPicture(dir / (mode + ".png"));
        EXPECT_GE(compareExactPatches(outPicture, yuvToRgb(fromPicture), fromPicture), 10);
    }
}

TEST(Apply, SequenceIsProcessedFrameByFrameWithOneHandle) {
    ScratchDir dir;
    writeRecordFile(dir / "showcase.bin", showcaseRecord());
    const RgbImage chart = makeTestChart();
    LibraryHandle handle(showcaseRecord(), {320, 240, 320}, LUT2D_MODE_YDS);
    std::string in, expected;
    for (int k = 0; k < 3; ++k) {
        RgbImage part(320, 240);
        blit(part, chart, -400 * k - 200, -640);
        YuvFrame frame = rgbToYuv(part, ChromaOrder::Nv12, 320);
        in += frameBytes(frame);
        handle.process(frame);
        expected += frameBytes(frame);
    }
    ASSERT_NE(in, expected);
    writeText(dir / "seq.nv12", in);
    const RunResult r = dir.run(
        "apply seq.nv12 out.nv12 -r showcase.bin --size 320x240 -m low --compare first.png");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("wrote out.nv12: 3 frames of 320x240, low resolution"), std::string::npos)
        << r.out;
    EXPECT_EQ(readText(dir / "out.nv12"), expected);
    EXPECT_GT(readPicture(dir / "first.png").width, 640u);
}

// Every refusal: its status, its lines (the last naming the problem), and no file added,
// changed or left behind.
TEST(Commands, RefuseBadInputWithoutTouchingAnyFile) {
    ScratchDir dir;
    std::string json = recordToJson(neutralRecord());
    writeText(dir / "n.json", json);
    writeText(dir / "nofield.json", json.replace(json.find("\"s_shift\": 0,"), 13, ""));
    ISP2DLUTInStruct_V10 order = neutralRecord();
    setLightnessRamps(order, 0, 128, 100, 2046);
    writeRecordFile(dir / "order.bin", order);
    writeText(dir / "short.bin", std::string(1000, '\0'));
    writeText(dir / "fake.png", "hello");
    writeText(dir / "f.nv12", frameBytes(YuvFrame({64, 48, 64})));
    writeText(dir / "two.nv12", readText(dir / "f.nv12") + readText(dir / "f.nv12"));
    savePicture(dir / "p.png", RgbImage(64, 48));
    savePicture(dir / "odd.png", RgbImage(33, 32));
    const std::string raw = "apply f.nv12 -r n.json --size 64x48 ";
    const struct {
        std::string args, message;
        int status = 1;
        long lines = 1;
    } cases[] = {
        {"apply missing.png o.png -r n.json", "missing.png: cannot open"},
        {"apply fake.png o.png -r n.json", "fake.png: not a readable PNG file"},
        {"apply odd.png o.png -r n.json", "frame size 33x32: width and height must be even"},
        {"apply p.png o.png -r nofield.json", "nofield.json: missing field \"s_shift\""},
        {"apply p.png o.png -r order.bin", "order.bin: l_boundary_end_A = 100 must not be below"},
        {"apply p.png o.png -r n.json --size 64x48", "--size: only raw input frames need a size"},
        {"apply f.nv12 o.nv12 -r n.json", "f.nv12: raw frames need --size"},
        {"apply f.nv12 o.nv12 -r n.json --size 64by48", "--size 64by48: expected WIDTHxHEIGHT"},
        {"apply f.nv12 o.nv12 -r n.json --size 64x46",
         "f.nv12: 4608 bytes is not a whole number of 64x46 frames (stride 64: 4416 bytes each)"},
        {raw + "o.nv12 --stride 62", "f.nv12: stride 62 must be even, at least the width"},
        {raw + "o.nv21", "o.nv21: the name says nv21 but the frames are nv12"},
        {raw + "f.nv12", "f.nv12: is also an input (f.nv12)"},
        {raw + "n.json", "n.json: is also an input"},
        {raw + "o.nv12 --compare c.yuv", "--compare c.yuv: the comparison is a picture"},
        // The output is under way when the comparison turns out unwritable.
        {raw + "o.nv12 --compare no/dir/c.png", "no/dir/c.png: cannot write in"},
        {"apply two.nv12 o.png -r n.json --size 64x48",
         "two.nv12 holds 2 frames; write them to a raw file, not to the picture o.png"},
        {raw + "o.nv12 --bogus", "The following argument was not expected: --bogus", 2},
        {"record show short.bin", "a binary tuning record is 1784 bytes, this file has 1000"},
        {"record convert order.bin o.json", "not converted; o.json is not written", 1, 2},
        {"plot order.bin plots",
         "order.bin: l_boundary_end_A = 100 must not be below l_boundary_start_B = 128"},
        {"record", "record needs a command", 2},
    };
    const auto before = snapshot(dir / ".");
    for (const auto& c : cases) {
        const RunResult r = dir.run(c.args);
        EXPECT_EQ(r.exitCode, c.status) << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.message << "\n" << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), c.lines) << r.err;
        EXPECT_TRUE(snapshot(dir / ".") == before) << "files changed by: " << r.err;
    }
}

}  // namespace
