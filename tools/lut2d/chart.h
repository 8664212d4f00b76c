// The demo's test chart and showcase tuning.
#pragma once

#include <cstdint>

#include "interface/orvix_lut2d.h"
#include "raster.h"

namespace lut2d_tool {

// Standard HSL: hue in degrees (any value, taken modulo 360), saturation and lightness 0..1.
Rgb hslColour(double hueDegrees, double saturation, double lightness);

// Where the chart puts its parts. The patches lie well inside their regions and away from
// edges, for checking what the showcase tuning does to each.
struct ChartLayout {
    static constexpr int kPanels = 4;
    Rect panels[kPanels];            // hue (x, 0..360) by saturation (y, 1 at the top)
    double panelLightness[kPanels];  // HSL lightness of each panel
    Rect greyRamp;                   // black to white
    Rect hueRamp;                    // every hue at full saturation
    Rect scene;                      // the synthetic landscape with a portrait
    Rect skinPatch, hairPatch, shirtPatch, roadPatch;  // untouched by the showcase tuning
    Rect skyPatch, foliagePatch;                       // changed by it
};

inline constexpr uint32_t kChartWidth = 1920;
inline constexpr uint32_t kChartHeight = 1080;

ChartLayout chartLayout();

// 1920x1080: four hue/saturation panels at lightness 10, 35, 60 and 90 percent, a grey
// ramp, a full-saturation hue ramp and a synthetic scene (sky, hills, meadow, trees, a grey
// road and a person with skin, brown hair and a red shirt), on a neutral grey ground.
RgbImage makeTestChart();

// The showcase tuning: turns foliage greens (60..165 degrees) towards gold and makes them
// richer, deepens and saturates sky blues (195..240 degrees), and leaves every other hue
// (skin, red, yellow, magenta), greys and near-greys exactly where they are. The effect
// grows with saturation, fades in over the darkest and out over the brightest lightness,
// and passes the lint: no red seam, no fold-over, no near-grey push.
ISP2DLUTInStruct_V10 showcaseRecord();

}  // namespace lut2d_tool
