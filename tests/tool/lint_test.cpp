// The tuning linter on records with a known seam, fold or near-grey push, and on clean ones.

#include <gtest/gtest.h>

#include <cmath>

#include "chart.h"
#include "lint.h"
#include "plot.h"
#include "record.h"

namespace {

using namespace lut2d_tool;

// Hue units per degree at h_shift 2.
constexpr double kHueStep = kHueTurn / 360.0 / 4;

std::vector<LintWarning::Kind> kinds(const std::vector<LintWarning>& warnings) {
    std::vector<LintWarning::Kind> out;
    for (const LintWarning& w : warnings) out.push_back(w.kind);
    return out;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Lint, RaisesNoFalseAlarm) {
    ISP2DLUTInStruct_V10 off = showcaseRecord();
    off.enable = 0;
    ISP2DLUTInStruct_V10 uniform = neutralRecord();  // every red turned by the same 10 degrees
    uniform.h_shift = 2;
    for (int k = 0; k < kHueNodes * kSatNodes; ++k) {
        if (k % kSatNodes >= 2) uniform.lut_2d_h[k] = int16_t(10 * kHueStep);
    }
    for (const ISP2DLUTInStruct_V10& r : {neutralRecord(), showcaseRecord(), off, uniform}) {
        const std::vector<LintWarning> warnings = lintRecord(r);
        EXPECT_TRUE(warnings.empty()) << warnings.front().text;
    }
}

TEST(Lint, FindsTheRedSeamWithTheJumpPerSaturationNode) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    for (int j = 0; j < kSatNodes; ++j)
        r.lut_2d_h[24 * kSatNodes + j] = int16_t(-80 * std::min(j, 5));
    r.lut_2d_s[24 * kSatNodes + 15] = 11;  // 0.5 % more saturation at 360 degrees only
    const std::vector<LintWarning> w = lintRecord(r);
    ASSERT_EQ(kinds(w), (std::vector{LintWarning::Kind::RedSeam, LintWarning::Kind::RedSeam}));
    EXPECT_EQ(w[0].text,
              "red seam: lut_2d_h row 0 (0 degrees) and row 24 (360 degrees) are both red but "
              "differ, largest jump 11.7 degrees at saturation node 5 (33 %); jump per saturation "
              "node: 0.0 2.3 4.7 7.0 9.4 11.7 11.7 11.7 11.7 11.7 11.7 11.7 11.7 11.7 11.7 11.7; "
              "make lut_2d_h[24][1..15] equal lut_2d_h[0][1..15]");
    EXPECT_TRUE(contains(w[1].text, "largest jump 0.5 %")) << w[1].text;
    EXPECT_TRUE(contains(w[1].text, "make lut_2d_s[24][15] equal lut_2d_s[0][15]")) << w[1].text;
}

TEST(Lint, FindsHueFoldWhereNeighbouringOffsetsStepMoreThanTheSpacing) {
    // Hue node 8 (120 degrees) turned back by 40 degrees, its neighbours 15 degrees away
    // left alone: hues just below 120 overtake those above.
    ISP2DLUTInStruct_V10 r = neutralRecord();
    r.h_shift = 2;
    for (int j = 4; j < kSatNodes; ++j) r.lut_2d_h[8 * kSatNodes + j] = int16_t(-40 * kHueStep);
    const std::vector<LintWarning> w = lintRecord(r);
    ASSERT_EQ(kinds(w), std::vector{LintWarning::Kind::HueFold});
    EXPECT_TRUE(contains(w[0].text, "hue fold-over: hues 10")) << w[0].text;
    EXPECT_TRUE(
        contains(w[0].text, "lut_2d_h rows 7..8 (105.0..120.0 degrees), saturation nodes 5..15"))
        << w[0].text;
    // It is marked at every lightness level where the offsets apply in full.
    size_t at60 = 0;
    for (const LintRegion& g : w[0].regions) at60 += g.lightness == 0.60 ? 1 : 0;
    EXPECT_GE(at60, 3u);
    // The plot outlines it.
    EXPECT_NE(plotHueSaturationPlanes(r, w), plotHueSaturationPlanes(r, {}));
}

TEST(Lint, FindsSaturationFold) {
    // Greens: saturation up by 30 % below node 7 and down by 30 % from it, a drop of 60 %
    // across a 6.7 % interval.
    ISP2DLUTInStruct_V10 fold = neutralRecord();
    fold.s_shift = 1;
    for (int i = 7; i <= 9; ++i) {
        for (int j = 1; j < kSatNodes; ++j)
            fold.lut_2d_s[i * kSatNodes + j] = int16_t(j < 7 ? 300 : -300);
    }
    const std::vector<LintWarning> w = lintRecord(fold);
    ASSERT_FALSE(w.empty());
    EXPECT_EQ(w[0].kind, LintWarning::Kind::SaturationFold) << w[0].text;
    EXPECT_TRUE(contains(w[0].text, "lut_2d_s rows 7..9")) << w[0].text;
    EXPECT_TRUE(contains(w[0].text, "saturation nodes 6..7")) << w[0].text;
}

// Blues: 8 % more saturation already at saturation node 0.
TEST(Lint, FindsNearGreyPush) {
    ISP2DLUTInStruct_V10 push = neutralRecord();
    for (int j = 0; j < kSatNodes; ++j) push.lut_2d_s[15 * kSatNodes + j] = 160;
    const std::vector<LintWarning> w = lintRecord(push);
    ASSERT_EQ(kinds(w), std::vector{LintWarning::Kind::NearGreyPush});
    EXPECT_TRUE(contains(w[0].text, "near-grey push: colours below 5 % saturation at hues 2"))
        << w[0].text;
    EXPECT_TRUE(contains(w[0].text, "bring to 0 lut_2d_h and lut_2d_s rows 13..17")) << w[0].text;
    EXPECT_TRUE(contains(w[0].text, "saturation nodes 0..1")) << w[0].text;
}

}  // namespace
