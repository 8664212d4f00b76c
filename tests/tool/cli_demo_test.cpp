// lut2d demo and lut2d plot, end to end.

#include <gtest/gtest.h>

#include <set>

#include "chart.h"
#include "image_io.h"
#include "library.h"
#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;

TEST(Demo, ShowsTheShowcaseMovingFoliageAndSkyAndNothingElse) {
    ScratchDir dir;
    const RunResult r = dir.run("demo --output out");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    std::set<std::string> written;
    for (const auto& [name, bytes] : snapshot(dir / "out")) written.insert(name);
    EXPECT_EQ(written,
              (std::set<std::string>{"after-full.png", "after-low.png", "before.png", "compare.png",
                                     "hs-planes.png", "lightness-weight.png", "showcase.json"}));
    EXPECT_EQ(readText(dir / "out/showcase.json"), recordToJson(showcaseRecord()));
    // The plot command draws the same planes as the demo.
    ASSERT_EQ(dir.run("plot out/showcase.json plots").exitCode, 0);
    EXPECT_EQ(readText(dir / "plots/hs-planes.png"), readText(dir / "out/hs-planes.png"));

    const ChartLayout L = chartLayout();
    const YuvFrame source = rgbToYuv(makeTestChart(), ChromaOrder::Nv12, kChartWidth);
    EXPECT_EQ(loadPicture(dir / "out/before.png"), yuvToRgb(source));
    for (const auto& [mode, file] : {std::pair{LUT2D_MODE_CHRUS, "after-full.png"},
                                     std::pair{LUT2D_MODE_YDS, "after-low.png"}}) {
        YuvFrame showcase = source, neutral = source;
        LibraryHandle(showcaseRecord(), source.geometry, mode).process(showcase);
        LibraryHandle(neutralRecord(), source.geometry, mode).process(neutral);
        EXPECT_EQ(loadPicture(dir / "out" / file), yuvToRgb(showcase)) << file;
        EXPECT_FALSE(same(neutral, showcase, L.foliagePatch)) << file;
        EXPECT_FALSE(same(neutral, showcase, L.skyPatch)) << file;
        for (const Rect& kept : {L.greyRamp, L.skinPatch, L.hairPatch, L.shirtPatch, L.roadPatch}) {
            EXPECT_TRUE(same(neutral, showcase, kept)) << file << " at " << kept.x << "," << kept.y;
        }
    }
}

}  // namespace
