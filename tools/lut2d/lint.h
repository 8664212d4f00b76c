// The tuning linter: what a valid record can still do wrong to pictures.
//
// - Red seam: hue rows 0 and 24 both describe red (0 and 360 degrees); where they differ,
//   reds on either side of 0 degrees move differently and red areas get blotches.
// - Hue and saturation fold-over: neighbouring offsets that differ by more than their node
//   spacing turn the order of hues (or saturations) around, so smooth gradients get streaks
//   and noise is amplified. Found by running the library on dense hue and saturation ramps
//   at several lightness levels and looking for outputs that go backwards.
// - Near-grey push: colours of a few percent saturation that the record moves visibly, so
//   greys and hazy colours get a tint.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "interface/orvix_lut2d.h"

namespace lut2d_tool {

// HSL lightness levels the ramps are run at (fractions).
inline constexpr std::array<double, 7> kLintLightness = {0.10, 0.25, 0.35, 0.45, 0.60, 0.75, 0.90};
// Colours at or below this HSL saturation (percent) count as near-grey.
inline constexpr double kNearGreySaturation = 5.0;

// A part of the hue x saturation plane at one lightness level where a warning applies.
struct LintRegion {
    double lightness;   // fraction, one of kLintLightness
    double hue0, hue1;  // degrees, hue0 <= hue1 (may run past 360)
    double sat0, sat1;  // percent
};

struct LintWarning {
    enum class Kind { RedSeam, HueFold, SaturationFold, NearGreyPush } kind;
    std::string text;  // one line, naming the grid entries to edit
    std::vector<LintRegion> regions;
};

// Every warning for a record that the library accepts and that keeps the invariants
// (recordProblems() empty). A disabled record changes nothing and gets none.
std::vector<LintWarning> lintRecord(const ISP2DLUTInStruct_V10& record);

}  // namespace lut2d_tool
