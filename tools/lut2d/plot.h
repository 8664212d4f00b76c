// Pictures of what a tuning record does.
#pragma once

#include <filesystem>
#include <vector>

#include "interface/orvix_lut2d.h"
#include "raster.h"

namespace lut2d_tool {

// The hue (x) by saturation (y) plane at four lightness levels, before and after the
// record, which the library applies in full resolution; ticks mark the record's nodes.
RgbImage plotHueSaturationPlanes(const ISP2DLUTInStruct_V10& record);

// The lightness weight as a curve over lightness 0..2046, with the four boundaries marked.
RgbImage plotLightnessWeight(const ISP2DLUTInStruct_V10& record);

// Writes both pictures into `folder` (created if missing) as hs-planes.png and
// lightness-weight.png; returns their paths.
std::vector<std::filesystem::path> writePlots(const ISP2DLUTInStruct_V10& record,
                                              const std::filesystem::path& folder);

}  // namespace lut2d_tool
