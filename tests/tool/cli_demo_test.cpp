// lut2d demo and lut2d plot, end to end.

#include <gtest/gtest.h>

#include "chart.h"
#include "image_io.h"
#include "library.h"
#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;
using lut2d_tool::Rect;
using lut2d_tool::RgbImage;
using lut2d_tool::YuvFrame;

TEST(Demo, WritesEveryPictureIntoTheFolderItNamesWithEachModesTime) {
    ScratchDir dir;
    const RunResult r = dir.run({"demo", "--output", "out"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("wrote into " + fs::canonical(dir / "out").string() + ":"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("full resolution "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("low resolution "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(" ms for the frame"), std::string::npos) << r.out;
    const std::set<std::string> expected = {
        "after-full.png", "after-low.png",        "before.png",   "compare.png",
        "hs-planes.png",  "lightness-weight.png", "showcase.json"};
    std::set<std::string> written;
    for (const auto& e : fs::directory_iterator(dir / "out")) written.insert(e.path().filename());
    EXPECT_EQ(written, expected);
    for (const char* name : {"before.png", "after-full.png", "after-low.png"}) {
        const RgbImage img = lut2d_tool::readPicture(dir / "out" / name);
        EXPECT_EQ(img.width, 1920u);
        EXPECT_EQ(img.height, 1080u);
    }
    EXPECT_EQ(dir.run({"record", "check", "out/showcase.json"}).exitCode, 0);
    const RgbImage compare = lut2d_tool::readPicture(dir / "out" / "compare.png");
    EXPECT_GT(compare.width, 1920u);
    EXPECT_GT(compare.height, 1080u);
    // The before picture is the chart as the library receives it.
    const RgbImage chart = lut2d_tool::makeTestChart();
    EXPECT_EQ(
        lut2d_tool::readPicture(dir / "out" / "before.png"),
        lut2d_tool::yuvToRgb(lut2d_tool::rgbToYuv(chart, lut2d_tool::ChromaOrder::Nv12, 1920)));
    EXPECT_EQ(r.out.find("note: no pixel changed") == std::string::npos, libraryAdjustsFrames());
}

TEST(Demo, ShowcaseChangesFoliageAndSkyAndLeavesTheRestUntouched) {
    if (!libraryAdjustsFrames())
        GTEST_SKIP() << "the library leaves frames unchanged in this build";
    ScratchDir dir;
    ASSERT_EQ(dir.run({"demo", "--output", "."}).exitCode, 0);
    const lut2d_tool::ChartLayout L = lut2d_tool::chartLayout();
    const YuvFrame source =
        lut2d_tool::rgbToYuv(lut2d_tool::makeTestChart(), lut2d_tool::ChromaOrder::Nv12, 1920);
    const struct {
        Lut2DMode mode;
        const char* file;
    } runs[] = {{LUT2D_MODE_CHRUS, "after-full.png"}, {LUT2D_MODE_YDS, "after-low.png"}};
    for (const auto& run : runs) {
        YuvFrame showcase = source, neutral = source;
        lut2d_tool::LibraryHandle(lut2d_tool::showcaseRecord(), source.geometry, run.mode)
            .process(showcase);
        lut2d_tool::LibraryHandle(lut2d_tool::neutralRecord(), source.geometry, run.mode)
            .process(neutral);
        // The demo shows what the library makes of the chart ...
        EXPECT_EQ(lut2d_tool::readPicture(dir / run.file), lut2d_tool::yuvToRgb(showcase));
        // ... and the tuning moves foliage and sky and nothing of the rest.
        EXPECT_FALSE(sameInside(neutral, showcase, L.foliagePatch)) << run.file;
        EXPECT_FALSE(sameInside(neutral, showcase, L.skyPatch)) << run.file;
        for (const Rect& untouched :
             {L.greyRamp, L.skinPatch, L.hairPatch, L.shirtPatch, L.roadPatch}) {
            EXPECT_TRUE(sameInside(neutral, showcase, untouched))
                << run.file << " at " << untouched.x << "," << untouched.y;
        }
    }
}

TEST(Plot, DrawsThePlanesAndTheLightnessWeight) {
    ScratchDir dir;
    lut2d_tool::writeRecordFile(dir / "s.bin", lut2d_tool::showcaseRecord());
    const RunResult r = dir.run({"plot", "s.bin", "plots"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "wrote plots/hs-planes.png\nwrote plots/lightness-weight.png\n");
    const RgbImage planes = lut2d_tool::readPicture(dir / "plots" / "hs-planes.png");
    EXPECT_GT(planes.width, 1440u);
    const RgbImage weight = lut2d_tool::readPicture(dir / "plots" / "lightness-weight.png");
    EXPECT_GT(weight.width, 1024u);

    // Plotting refuses an unusable record and writes nothing.
    ISP2DLUTInStruct_V10 bad = lut2d_tool::showcaseRecord();
    bad.lut_1d_h[24] = 12000;
    lut2d_tool::writeRecordFile(dir / "bad.bin", bad);
    const RunResult refused = dir.run({"plot", "bad.bin", "bad-plots"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("bad.bin: lut_1d_h[24] = 12000 must be 12288"), std::string::npos)
        << refused.err;
    EXPECT_FALSE(fs::exists(dir / "bad-plots"));
}

}  // namespace
