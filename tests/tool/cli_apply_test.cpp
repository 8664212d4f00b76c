// lut2d apply, end to end: pictures and raw frames in and out, round trips through a neutral
// record, sequences, and every kind of bad input.

#include <gtest/gtest.h>

#include <map>

#include "chart.h"
#include "image_io.h"
#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;
using lut2d_tool::ChromaOrder;
using lut2d_tool::FrameGeometry;
using lut2d_tool::Rect;
using lut2d_tool::Rgb;
using lut2d_tool::RgbImage;
using lut2d_tool::YuvFrame;

// Records every test uses: neutral, disabled (enable 0: frames pass untouched) and showcase.
class ApplyTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ISP2DLUTInStruct_V10 off = lut2d_tool::neutralRecord();
        off.enable = 0;
        lut2d_tool::writeRecordFile(dir / "neutral.json", lut2d_tool::neutralRecord());
        lut2d_tool::writeRecordFile(dir / "off.bin", off);
        lut2d_tool::writeRecordFile(dir / "showcase.bin", lut2d_tool::showcaseRecord());
    }

    RunResult apply(std::vector<std::string> args) {
        args.insert(args.begin(), "apply");
        return dir.run(args);
    }

    std::map<std::string, std::vector<uint8_t>> snapshot() const {
        std::map<std::string, std::vector<uint8_t>> files;
        for (const std::string& name : dir.files()) files[name] = readBytes(dir / name);
        return files;
    }

    // A refused command: status, one line naming the problem, no file added or changed.
    void expectRefused(const std::vector<std::string>& args, const std::string& message,
                       int status = 1) {
        const auto before = snapshot();
        const RunResult r = apply(args);
        EXPECT_EQ(r.exitCode, status) << r.err;
        EXPECT_NE(r.err.find(message), std::string::npos) << "expected: " << message << "\n"
                                                          << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_TRUE(snapshot() == before) << "files changed by: " << r.err;
    }

    ScratchDir dir;
};

// Flat patches of 8-bit YUV colours, greys and colours across the chroma plane.
std::vector<std::array<uint8_t, 3>> patchColours() {
    std::vector<std::array<uint8_t, 3>> colours;
    for (int y = 16; y <= 240; y += 32) colours.push_back({static_cast<uint8_t>(y), 128, 128});
    for (int u = 64; u <= 192; u += 32) {
        for (int v = 64; v <= 192; v += 32) {
            colours.push_back({static_cast<uint8_t>(80 + (u + v) / 8), static_cast<uint8_t>(u),
                               static_cast<uint8_t>(v)});
        }
    }
    return colours;
}

YuvFrame patchFrame(const PatchChart& layout, const std::vector<std::array<uint8_t, 3>>& colours,
                    uint32_t stride, ChromaOrder order) {
    const uint32_t rows =
        static_cast<uint32_t>((colours.size() + layout.columns - 1) / layout.columns);
    YuvFrame f(FrameGeometry{static_cast<uint32_t>(layout.columns * layout.patch),
                             rows * layout.patch, stride, order});
    const size_t cb = order == ChromaOrder::Nv12 ? 0 : 1;
    for (size_t i = 0; i < colours.size(); ++i) {
        const int x0 = static_cast<int>(i % layout.columns) * layout.patch;
        const int y0 = static_cast<int>(i / layout.columns) * layout.patch;
        for (int y = y0; y < y0 + layout.patch; ++y) {
            for (int x = x0; x < x0 + layout.patch; ++x) {
                f.luma[size_t(y) * stride + x] = colours[i][0];
                uint8_t* pair = &f.chroma[size_t(y / 2) * stride + 2 * (x / 2)];
                pair[cb] = colours[i][1];
                pair[1 - cb] = colours[i][2];
            }
        }
    }
    return f;
}

TEST_F(ApplyTest, NeutralRecordLeavesRawFramesUnchangedWhereTheRoundTripIsExact) {
    const PatchChart layout;
    const auto colours = patchColours();
    size_t exact = 0;
    for (const auto& c : colours) exact += roundTripIsExact(c[0], c[1], c[2]) ? 1 : 0;
    ASSERT_GE(exact, 10u) << "too few colours to test with";
    for (const ChromaOrder order : {ChromaOrder::Nv12, ChromaOrder::Nv21}) {
        const YuvFrame in = patchFrame(layout, colours, 208, order);
        const std::string name = order == ChromaOrder::Nv12 ? "in.nv12" : "in.nv21";
        writeFrames(dir / name, {in});
        const std::string size =
            std::to_string(in.geometry.width) + "x" + std::to_string(in.geometry.height);
        for (const char* mode : {"full", "low"}) {
            const RunResult r =
                apply({name, "out.yuv", "-r", "neutral.json", "--size", size, "--stride", "208",
                       "--mode", mode, "--format", order == ChromaOrder::Nv12 ? "nv12" : "nv21"});
            ASSERT_EQ(r.exitCode, 0) << r.err;
            const std::vector<YuvFrame> out = readFrames(dir / "out.yuv", in.geometry);
            ASSERT_EQ(out.size(), 1u);
            for (size_t i = 0; i < colours.size(); ++i) {
                if (!roundTripIsExact(colours[i][0], colours[i][1], colours[i][2])) continue;
                EXPECT_TRUE(sameInside(in, out[0], layout.interior(i)))
                    << mode << " mode, patch " << i << ": " << int(colours[i][0]) << ","
                    << int(colours[i][1]) << "," << int(colours[i][2]);
            }
        }
    }
}

TEST_F(ApplyTest, PngThroughANeutralRecordDiffersOnlyByTheYuvRoundTrip) {
    PatchChart layout;
    for (int i = 0; i < 48; ++i) {
        layout.colours.push_back(
            lut2d_tool::hslColour(i * 7.5, (i % 4 + 1) / 4.0, 0.2 + (i % 7) * 0.1));
    }
    for (int g : {0, 60, 128, 200, 255}) {
        layout.colours.push_back(
            {static_cast<uint8_t>(g), static_cast<uint8_t>(g), static_cast<uint8_t>(g)});
    }
    const RgbImage picture = layout.picture();
    lut2d_tool::savePicture(dir / "in.png", picture);
    // The frames the library receives, and the pictures the tool makes of them untouched.
    const YuvFrame frame = lut2d_tool::rgbToYuv(picture, ChromaOrder::Nv12, picture.width);
    ASSERT_EQ(apply({"in.png", "roundtrip.png", "-r", "off.bin"}).exitCode, 0);
    const RgbImage roundTrip = lut2d_tool::readPicture(dir / "roundtrip.png");
    EXPECT_EQ(roundTrip, lut2d_tool::yuvToRgb(frame));
    for (const char* mode : {"full", "low"}) {
        const RunResult r = apply({"in.png", "out.png", "-r", "neutral.json", "-m", mode});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const RgbImage out = lut2d_tool::readPicture(dir / "out.png");
        ASSERT_EQ(out.width, picture.width);
        for (size_t i = 0; i < layout.colours.size(); ++i) {
            const Rect in = layout.interior(i);
            const size_t l = size_t(in.y) * frame.geometry.stride + in.x;
            const size_t c = size_t(in.y / 2) * frame.geometry.stride + in.x;
            if (!roundTripIsExact(frame.luma[l], frame.chroma[c], frame.chroma[c + 1])) continue;
            EXPECT_TRUE(samePixels(out, roundTrip, in)) << mode << " mode, patch " << i;
        }
        for (size_t i = layout.colours.size() - 5; i < layout.colours.size(); ++i) {
            EXPECT_TRUE(samePixels(out, picture, layout.interior(i))) << "grey patch " << i;
        }
    }
}

TEST_F(ApplyTest, SequenceIsProcessedFrameByFrameWithOneHandle) {
    const lut2d_tool::RgbImage chart = lut2d_tool::makeTestChart();
    std::vector<YuvFrame> frames;
    for (int k = 0; k < 3; ++k) {
        RgbImage part(320, 240);
        lut2d_tool::blit(part, chart, -400 * k - 200, -640);
        frames.push_back(lut2d_tool::rgbToYuv(part, ChromaOrder::Nv12, 320));
    }
    writeFrames(dir / "seq.nv12", frames);
    const RunResult r = apply({"seq.nv12", "seq-out.nv12", "-r", "showcase.bin", "--size",
                               "320x240", "-m", "low", "--compare", "first.png"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("wrote seq-out.nv12: 3 frames of 320x240, low resolution"),
              std::string::npos)
        << r.out;
    const std::vector<YuvFrame> out = readFrames(dir / "seq-out.nv12", frames[0].geometry);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(readBytes(dir / "seq-out.nv12").size(), readBytes(dir / "seq.nv12").size());
    for (int k = 0; k < 3; ++k) {
        writeFrames(dir / "one.nv12", {frames[k]});
        ASSERT_EQ(apply({"one.nv12", "one-out.nv12", "-r", "showcase.bin", "--size", "320x240",
                         "-m", "low"})
                      .exitCode,
                  0);
        EXPECT_TRUE(readFrames(dir / "one-out.nv12", frames[0].geometry)[0] == out[k]) << k;
    }
    const RgbImage compare = lut2d_tool::readPicture(dir / "first.png");
    EXPECT_GT(compare.width, 640u);
    EXPECT_GT(compare.height, 240u);
}

TEST_F(ApplyTest, PicturesConvertToAndFromRawFrames) {
    RgbImage picture(64, 48, {30, 140, 60});
    lut2d_tool::fillRect(picture, {0, 0, 32, 48}, {200, 120, 90});
    lut2d_tool::savePicture(dir / "in.png", picture);
    ASSERT_EQ(apply({"in.png", "raw.nv21", "-r", "off.bin", "--stride", "80"}).exitCode, 0);
    const FrameGeometry g{64, 48, 80, ChromaOrder::Nv21};
    const std::vector<YuvFrame> raw = readFrames(dir / "raw.nv21", g);
    ASSERT_EQ(raw.size(), 1u);
    EXPECT_TRUE(raw[0] == lut2d_tool::rgbToYuv(picture, ChromaOrder::Nv21, 80));
    const RunResult r = apply({"raw.nv21", "back.jpg", "-r", "off.bin", "--size", "64x48",
                               "--stride", "80", "--quality", "100"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const RgbImage back = lut2d_tool::readPicture(dir / "back.jpg");
    ASSERT_EQ(back.width, 64u);
    ASSERT_EQ(back.height, 48u);
    EXPECT_NEAR(back.at(50, 20).g, 140, 6);
    EXPECT_NEAR(back.at(10, 20).r, 200, 6);
}

TEST_F(ApplyTest, ShowcaseChangesFoliageAndSkyButNotSkinOrGreys) {
    if (!libraryAdjustsFrames())
        GTEST_SKIP() << "the library leaves frames unchanged in this build";
    // Untouched means: as a neutral record leaves it (every pixel still goes through RGB).
    const lut2d_tool::ChartLayout L = lut2d_tool::chartLayout();
    lut2d_tool::savePicture(dir / "chart.png", lut2d_tool::makeTestChart());
    ASSERT_EQ(apply({"chart.png", "neutral.png", "-r", "neutral.json"}).exitCode, 0);
    ASSERT_EQ(apply({"chart.png", "after.png", "-r", "showcase.bin"}).exitCode, 0);
    const RgbImage neutral = lut2d_tool::readPicture(dir / "neutral.png");
    const RgbImage after = lut2d_tool::readPicture(dir / "after.png");
    EXPECT_FALSE(samePixels(neutral, after, L.foliagePatch));
    EXPECT_FALSE(samePixels(neutral, after, L.skyPatch));
    EXPECT_TRUE(samePixels(neutral, after, L.greyRamp));
    EXPECT_TRUE(samePixels(neutral, after, L.skinPatch));
    EXPECT_TRUE(samePixels(neutral, after, L.roadPatch));
}

TEST_F(ApplyTest, BadInputIsRefusedWithOneLineAndNoOutput) {
    writeFrames(dir / "f.nv12", {YuvFrame(FrameGeometry{64, 48, 64, ChromaOrder::Nv12})});
    lut2d_tool::savePicture(dir / "p.png", RgbImage(64, 48, {10, 20, 30}));
    lut2d_tool::savePicture(dir / "odd.png", RgbImage(33, 32, {10, 20, 30}));
    lut2d_tool::savePicture(dir / "four.png", RgbImage(32, 4, {10, 20, 30}));
    writeText(dir / "fake.png", "hello");
    writeBytes(dir / "short.bin", std::vector<uint8_t>(1000, 0));
    std::string json = readText(dir / "neutral.json");
    writeText(dir / "nofield.json",
              std::string(json).replace(json.find("\"s_shift\": 0,"), 13, ""));
    writeText(dir / "type.json",
              std::string(json).replace(json.find("\"h_shift\": 0"), 12, "\"h_shift\": [0]"));
    writeText(dir / "range.json", std::string(json).replace(json.find("\"l_boundary_end_B\": 2046"),
                                                            24, "\"l_boundary_end_B\": 2048"));
    writeText(dir / "order.json", std::string(json).replace(json.find("\"l_boundary_end_A\": 1918"),
                                                            24, "\"l_boundary_end_A\": 100"));

    const std::vector<std::string> raw = {"--size", "64x48", "-r", "neutral.json"};
    auto with = [](std::vector<std::string> a, const std::vector<std::string>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    expectRefused({"missing.png", "o.png", "-r", "neutral.json"}, "missing.png: cannot open");
    expectRefused({"p.png", "o.png", "-r", "missing.json"}, "missing.json: cannot open");
    expectRefused({"p.png", "o.png", "-r", "short.bin"},
                  "short.bin: a binary tuning record is 1784 bytes, this file has 1000");
    expectRefused({"p.png", "o.png", "-r", "nofield.json"},
                  "nofield.json: missing field \"s_shift\"");
    expectRefused({"p.png", "o.png", "-r", "type.json"},
                  "type.json: h_shift must be an integer, found a JSON array");
    expectRefused({"p.png", "o.png", "-r", "range.json"},
                  "range.json: l_boundary_end_B = 2048 is out of range 0..2047");
    expectRefused({"fake.png", "o.png", "-r", "neutral.json"}, "fake.png: not a readable PNG file");
    expectRefused({"odd.png", "o.png", "-r", "neutral.json"},
                  "odd.png: frame size 33x32: width and height must be even");
    expectRefused({"four.png", "o.png", "-r", "neutral.json"}, "a height of 4 rows");
    expectRefused(with({"f.nv12", "o.nv12"}, {"--size", "64x46", "-r", "neutral.json"}),
                  "f.nv12: 4608 bytes is not a whole number of 64x46 frames (stride 64: 4416 bytes "
                  "each)");
    expectRefused(with({"f.nv12", "o.nv12"}, {"--size", "63x48", "-r", "neutral.json"}),
                  "f.nv12: frame size 63x48: width and height must be even");
    expectRefused(with({"f.nv12", "o.nv12", "--stride", "62"}, raw),
                  "f.nv12: stride 62 must be even, at least the width 64");
    expectRefused(with({"f.nv12", "o.nv12", "--size", "64by48"}, {"-r", "neutral.json"}),
                  "--size 64by48: expected WIDTHxHEIGHT");
    expectRefused({"f.nv12", "o.nv12", "-r", "neutral.json"}, "f.nv12: raw frames need --size");
    expectRefused(with({"p.png", "o.png"}, raw), "--size: only raw input frames need a size");
    expectRefused(with({"f.nv12", "f.nv12"}, raw), "f.nv12: is also an input (f.nv12)");
    expectRefused(with({"f.nv12", "neutral.json"}, raw), "neutral.json: is also an input");
    expectRefused(with({"f.nv12", "o.png", "--compare", "f.nv12"}, raw),
                  "f.nv12: is also an input");
    expectRefused(with({"f.nv12", "o.png", "--compare", "c.yuv"}, raw),
                  "--compare c.yuv: the comparison is a picture");
    expectRefused(with({"f.nv12", "o.nv21"}, raw),
                  "o.nv21: the name says nv21 but the frames are nv12");
    expectRefused(with({"f.nv12", "no/such/dir/o.nv12"}, raw),
                  "no/such/dir/o.nv12: cannot write in");
    expectRefused({"p.png", "o.png", "-r", "order.json"},
                  "order.json: l_boundary_end_A = 100 must not be below l_boundary_start_B = 128");
    expectRefused({"p.png", "o.png", "-r", "neutral.json", "--bogus"},
                  "The following argument was not expected: --bogus", 2);
    expectRefused({"p.png", "o.png", "-r", "neutral.json", "--mode", "fast"},
                  "--mode: fast not in {full,low}", 2);
    expectRefused({"p.png", "o.png"}, "--record is required", 2);

    writeFrames(dir / "two.nv12", {YuvFrame(FrameGeometry{64, 48, 64, ChromaOrder::Nv12}),
                                   YuvFrame(FrameGeometry{64, 48, 64, ChromaOrder::Nv12})});
    expectRefused(with({"two.nv12", "o.png"}, raw),
                  "two.nv12 holds 2 frames; write them to a raw file, not to the picture o.png");
}

TEST_F(ApplyTest, DisabledRecordPassesFramesThroughWithANote) {
    writeFrames(dir / "f.nv12", {patchFrame(PatchChart{}, patchColours(), 192, ChromaOrder::Nv12)});
    const RunResult r = apply({"f.nv12", "o.nv12", "--size", "192x120", "-r", "off.bin"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "lut2d: note: off.bin has enable 0: frames pass through unchanged\n");
    EXPECT_EQ(readBytes(dir / "o.nv12"), readBytes(dir / "f.nv12"));
}

}  // namespace
