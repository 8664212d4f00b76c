// Pictures of what a tuning record does.
#pragma once

#include <filesystem>
#include <vector>

#include "interface/orvix_lut2d.h"
#include "lint.h"
#include "raster.h"

namespace lut2d_tool {

// The hue (x) by saturation (y) plane at four lightness levels, before and after the
// record, which the library applies in full resolution; axes in degrees and percent, ticks
// at the record's nodes, and the places the lint warns about outlined on the after side.
RgbImage plotHueSaturationPlanes(const ISP2DLUTInStruct_V10& record,
                                 const std::vector<LintWarning>& warnings);

// The lightness weight as a curve over lightness 0..2046, with the four boundaries marked.
RgbImage plotLightnessWeight(const ISP2DLUTInStruct_V10& record);

// Writes both pictures into `folder` (created if missing) as hs-planes.png and
// lightness-weight.png, the lint run on the record for the first; returns their paths.
std::vector<std::filesystem::path> writePlots(const ISP2DLUTInStruct_V10& record,
                                              const std::filesystem::path& folder);

}  // namespace lut2d_tool
