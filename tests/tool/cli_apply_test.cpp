// lut2d apply end to end, and how every command refuses bad input.

#include <gtest/gtest.h>

#include <vips/vips8>

#include <algorithm>

#include "chart.h"
#include "image_io.h"
#include "library.h"
#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;

// A scratch folder holding the showcase record as s.json.
struct Apply : ::testing::Test {
    ScratchDir dir;
    void SetUp() override { writeRecordFile(dir / "s.json", showcaseRecord()); }
};

// The picture's frame in the order and stride asked, untouched.
TEST_F(Apply, DisabledRecordPassesFramesThrough) {
    ISP2DLUTInStruct_V10 off = neutralRecord();
    off.enable = 0;
    writeRecordFile(dir / "off.bin", off);
    RgbImage picture(64, 48);
    blit(picture, makeTestChart(), -1200, -700);  // trees, meadow and sky
    savePicture(dir / "in.png", picture);
    const RunResult passed = dir.run("apply in.png raw.nv21 -r off.bin --stride 300");
    EXPECT_EQ(passed.err, "lut2d: note: off.bin has enable 0: frames pass through unchanged\n");
    EXPECT_EQ(readText(dir / "raw.nv21"), frameBytes(rgbToYuv(picture, ChromaOrder::Nv21, 300)));
}

TEST_F(Apply, SequenceIsProcessedFrameByFrameWithOneHandle) {
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
    const RunResult r =
        dir.run("apply seq.nv12 out.nv12 -r s.json --size 320x240 -m low --compare first.png");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("wrote out.nv12: 3 frames of 320x240, low resolution"), std::string::npos)
        << r.out;
    EXPECT_EQ(readText(dir / "out.nv12"), expected);
    EXPECT_GT(loadPicture(dir / "first.png").width, 640u);
}

TEST_F(Apply, LimitedRangeFramesAreExpandedForTheLibraryAndCompressedBack) {
    const FrameGeometry g{320, 240, 320};
    RgbImage chart(320, 240);
    blit(chart, makeTestChart(), -1200, -700);  // trees, meadow and sky
    YuvFrame full = rgbToYuv(chart, ChromaOrder::Nv12, 320);
    YuvFrame limited = full;
    fullToLimited(limited);
    writeText(dir / "in_320x240.nv12", frameBytes(limited));
    YuvFrame expected = limited;
    limitedToFull(expected);
    LibraryHandle(showcaseRecord(), g, LUT2D_MODE_CHRUS).process(expected);
    fullToLimited(expected);
    ASSERT_EQ(dir.run("apply in_320x240.nv12 out.nv12 -r s.json --range limited").exitCode, 0);
    EXPECT_TRUE(readText(dir / "out.nv12") == frameBytes(expected));
    // A y4m clip tagged limited needs no --range.
    const std::vector<uint8_t> y4mFrame = y4mFrameBytes(limited);
    writeText(dir / "in.y4m", makeY4mHeader(g).text(ColourRange::Limited, true) +
                                  std::string(y4mFrame.begin(), y4mFrame.end()));
    ASSERT_EQ(dir.run("apply in.y4m out.nv12 -r s.json").exitCode, 0);
    EXPECT_TRUE(readText(dir / "out.nv12") == frameBytes(expected));
    // Read as full range, the same bytes give another result: that is what --range is for.
    const RunResult r = dir.run("apply in.y4m wrong.nv12 -r s.json --range full");
    EXPECT_EQ(r.err, "lut2d: note: in.y4m is tagged limited range; --range full overrides it\n");
    EXPECT_FALSE(readText(dir / "wrong.nv12") == frameBytes(expected));
}

// A picture of odd size: extended for the library, processed and cropped back to its size.
TEST_F(Apply, PictureComesOutAsTheLibraryLeavesItsFrame) {
    RgbImage odd(33, 3);
    blit(odd, makeTestChart(), -1500, -900);
    savePicture(dir / "odd.png", odd);
    const RunResult r = dir.run("apply odd.png out.png -r s.json -m full --compare c.png");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("1 frame of 33x3, full resolution"), std::string::npos) << r.out;
    YuvFrame frame = rgbToYuv(extendForLibrary(odd), ChromaOrder::Nv12, 34);
    LibraryHandle(showcaseRecord(), frame.geometry, LUT2D_MODE_CHRUS).process(frame);
    const RgbImage out = loadPicture(dir / "out.png");
    EXPECT_EQ(out, cropTo(yuvToRgb(frame), 33, 3));
    EXPECT_NE(out, odd);  // meadow greens moved
    EXPECT_EQ(loadPicture(dir / "c.png").width, 3 * 33 + 4 * 8u);
}

// A phone portrait: stored sideways with an orientation tag (6: a quarter turn clockwise),
// large enough that turning it reads rows far out of order.
TEST_F(Apply, PicturesComeOutUprightByTheirOrientation) {
    RgbImage sideways(1600, 1200, {200, 40, 40});
    fillRect(sideways, {0, 0, 1600, 600}, {40, 40, 200});  // top half blue
    vips::VImage v = vips::VImage::new_from_memory(sideways.pixels.data(), sideways.pixels.size(),
                                                   1600, 1200, 3, VIPS_FORMAT_UCHAR)
                         .copy();
    v.set(VIPS_META_ORIENTATION, 6);
    v.write_to_file((dir / "portrait.jpg").c_str());
    const RunResult r = dir.run("apply portrait.jpg upright.png -r s.json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "lut2d: warning: portrait.jpg: turned upright by its EXIF orientation (6)\n");
    const RgbImage upright = loadPicture(dir / "upright.png");
    ASSERT_EQ(std::pair(upright.width, upright.height), std::pair(1200u, 1600u));
    EXPECT_GT(upright.at(1000, 800).b, 150);  // the stored top is now on the right
    EXPECT_GT(upright.at(200, 800).r, 150);
}

TEST_F(Apply, FileSizeLimitEndsInOneLineAndLeavesNothingBehind) {
    writeText(dir / "big_640x480.nv12", std::string(640 * 480 * 3 / 2, '\x80'));
    const auto before = snapshot(dir / ".");
    const RunResult r = dir.run("apply big_640x480.nv12 out.nv12 -r s.json", "ulimit -f 200");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "lut2d: error: out.nv12: cannot write: File too large\n");
    EXPECT_TRUE(snapshot(dir / ".") == before);
}

using Commands = Apply;

// Every refusal: its status, its lines (the last naming the problem), and no file added,
// changed or left behind.
TEST_F(Commands, RefuseBadInputWithoutTouchingAnyFile) {
    std::string json = recordToJson(neutralRecord());
    writeText(dir / "nofield.json", json.replace(json.find("\"s_shift\": 0,"), 13, ""));
    ISP2DLUTInStruct_V10 order = neutralRecord();
    setLightnessRamps(order, 0, 128, 100, 2046);
    writeRecordFile(dir / "order.bin", order);
    writeText(dir / "short.bin", std::string(1000, '\0'));
    writeText(dir / "f.nv12", frameBytes(YuvFrame({64, 48, 64})));
    writeText(dir / "two.nv12", readText(dir / "f.nv12") + readText(dir / "f.nv12"));
    savePicture(dir / "p.png", RgbImage(64, 48));
    writeText(dir / "f_64x48_64x46.nv12", readText(dir / "f.nv12"));
    writeText(dir / "bad.y4m", "YUV4MPEG2 W64 H48 C422\nFRAME\n");
    const std::string raw = "apply f.nv12 -r s.json --size 64x48 ";
    const struct {
        std::string args, message;
        int status = 1;
        long lines = 1;
    } cases[] = {
        {"apply missing.png o.png -r s.json", "missing.png: cannot open"},
        {"apply p.png o.bmp -r s.json", "o.bmp: lut2d cannot write a .bmp"},
        {"apply p.xyz o.png -r s.json", "p.xyz: lut2d does not know what"},
        {"apply f.yuv o.nv12 -r s.json --size 64x48", "f.yuv: does not say how its"},
        {"apply p.png o.yuv -r s.json", "o.yuv: does not say how its frames are laid out"},
        {"apply p.png o.nv12 -r s.json --format i420", "o.nv12: the name says nv12 but"},
        {"apply p.png o.png -r s.json --format i420", "--format: neither p.png nor o.png"},
        {"apply bad.y4m o.y4m -r s.json", "bad.y4m: y4m colour space 422 is not 8-bit 4:2:0"},
        {"apply p.png o.png -r s.json --range video", "--range: video not in {full,limited}", 2},
        {"apply p.png o.png -r nofield.json", "nofield.json: missing field \"s_shift\""},
        {"apply p.png o.png -r order.bin", "order.bin: l_boundary_end_A = 100 must not"},
        {"apply p.png o.png -r s.json --size 64x48", "--size: only raw input frames need a size"},
        {"apply f.nv12 o.nv12 -r s.json", "f.nv12: raw frames need --size"},
        {"apply f_64x48_64x46.nv12 o.nv12 -r s.json", "carries two sizes, 64x48 and 64x46"},
        {"apply f.nv12 o.nv12 -r s.json --size 64by48", "--size 64by48: expected WIDTHxHEIGHT"},
        {"apply f.nv12 o.nv12 -r s.json --size 64x46", "not a whole number of 64x46 frames"},
        {raw + "f.nv12", "f.nv12: is also an input (f.nv12)"},
        {raw + "o.nv12 --compare c.yuv", "--compare c.yuv: the comparison is a picture"},
        // The output is under way when the comparison turns out unwritable.
        {raw + "o.nv12 --compare no/dir/c.png", "no/dir/c.png: cannot write in"},
        {"apply two.nv12 o.png -r s.json --size 64x48", "two.nv12 holds 2 frames; write"},
        {raw + "o.nv12 --bogus", "The following argument was not expected: --bogus", 2},
        {"record show short.bin", "a binary tuning record is 1784 bytes, this file has 1000"},
        {"record convert order.bin o.json", "not converted; o.json is not written", 1, 2},
        {"plot order.bin plots", "order.bin: l_boundary_end_A = 100 must not"},
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
