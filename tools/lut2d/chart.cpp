#include "chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "canvas.h"
#include "record.h"

namespace lut2d_tool {

namespace {

constexpr Rgb kGround{112, 112, 112};
constexpr Rgb kLabel{228, 228, 228};
constexpr int kMargin = 16;
constexpr int kLabelHeight = 20;

// ---- smooth noise for natural-looking texture -----------------------------------------

double hash01(int x, int y, int seed) {
    uint32_t h = static_cast<uint32_t>(x) * 374761393u + static_cast<uint32_t>(y) * 668265263u +
                 static_cast<uint32_t>(seed) * 2246822519u;
    h = (h ^ (h >> 13)) * 1274126177u;
    h ^= h >> 16;
    return (h & 0xFFFFFF) / double(0xFFFFFF);
}

double smooth(double t) {
    return t * t * (3 - 2 * t);
}

double valueNoise(double x, double y, int seed) {
    const int ix = static_cast<int>(std::floor(x));
    const int iy = static_cast<int>(std::floor(y));
    const double fx = smooth(x - ix), fy = smooth(y - iy);
    const double a = hash01(ix, iy, seed), b = hash01(ix + 1, iy, seed);
    const double c = hash01(ix, iy + 1, seed), d = hash01(ix + 1, iy + 1, seed);
    return (a + (b - a) * fx) + ((c + (d - c) * fx) - (a + (b - a) * fx)) * fy;
}

// Fractal noise in 0..1: four octaves.
double fbm(double x, double y, int seed) {
    double sum = 0, amp = 0.5, norm = 0;
    for (int o = 0; o < 4; ++o) {
        sum += amp * valueNoise(x, y, seed + o);
        norm += amp;
        x *= 2.03;
        y *= 2.03;
        amp *= 0.5;
    }
    return sum / norm;
}

// ---- colour helpers ---------------------------------------------------------------------

struct Col {
    double r, g, b;  // 0..255
};

Col mix(Col a, Col b, double t) {
    t = std::clamp(t, 0.0, 1.0);
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

Col scaled(Col c, double k) {
    return {c.r * k, c.g * k, c.b * k};
}

Rgb toRgb(Col c) {
    auto q = [](double v) { return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0, 255.0))); };
    return {q(c.r), q(c.g), q(c.b)};
}

// Coverage of a soft edge: 0 well outside (d > w), 1 well inside (d < -w).
double inside(double d, double w) {
    return std::clamp(0.5 - d / (2 * w), 0.0, 1.0);
}

// ---- the scene ----------------------------------------------------------------------------

// Colour of the scene at (u, v) in 0..1 (v downwards), for a scene `aspect` wide per unit of
// height. Painted back to front, each layer blended in by its soft coverage.
Col scenePixel(double u, double v, double aspect, double px) {
    const double x = u * aspect;  // horizontal position in units of the scene's height

    // Sky: deep blue at the top to a pale haze at the horizon, with soft clouds.
    Col c = mix({58, 108, 190}, {168, 198, 228}, std::pow(v / 0.5, 1.4));
    const double cloudBand = inside(std::abs(v - 0.17) - 0.1, 0.06);
    if (cloudBand > 0) {
        const double cloud = fbm(x * 2.2, v * 5.5, 11);
        c = mix(c, {236, 239, 244}, smooth(std::clamp((cloud - 0.52) * 4.0, 0.0, 1.0)) * cloudBand);
    }

    // Distant hills, hazy blue-green.
    const double ridge = 0.40 + 0.07 * fbm(x * 1.3, 0.5, 21) - 0.03 * std::sin(x * 2.1);
    const double meadowTop = 0.52 + 0.05 * fbm(x * 2.0, 1.5, 31);
    if (v > ridge - 2 * px && v < meadowTop + 2 * px) {
        const double hillShade = 0.85 + 0.25 * fbm(x * 6, v * 6, 23);
        c = mix(c, scaled({92, 128, 118}, hillShade), inside(ridge - v, px));
    }

    // Meadow and foliage: greens from yellowish to deep, with grass texture.
    if (v > meadowTop - 2 * px) {
        const double n = fbm(x * 9, v * 14, 33);
        const double grain = fbm(x * 60, v * 90, 35);
        Col meadow = mix({112, 146, 52}, {42, 104, 44}, fbm(x * 2.5, v * 3, 37) * 1.3 - 0.1);
        meadow = scaled(meadow, 0.7 + 0.45 * n + 0.2 * (grain - 0.5) + 0.25 * (v - meadowTop));
        c = mix(c, meadow, inside(meadowTop - v, px));
    }

    // Red flowers dotted over the near meadow.
    const double fx = x * 40, fy = v * 40;
    const double fcx = std::floor(fx) + 0.5, fcy = std::floor(fy) + 0.5;
    const double pick = hash01(static_cast<int>(fcx), static_cast<int>(fcy), 41);
    if (v > meadowTop + 0.12 && pick > 0.93) {
        const double d = std::hypot(fx - fcx, fy - fcy) - 0.22;
        c = mix(c, {196, 38, 48}, inside(d, px * 40));
    }

    // A grey stone road winding from the bottom towards the hills.
    const double roadCentre = 0.36 * aspect + 0.12 * std::sin(v * 7.0) * (v - 0.5);
    const double roadHalf = 0.01 + 0.16 * std::max(0.0, v - meadowTop);
    if (v > meadowTop && std::abs(x - roadCentre) < roadHalf + 2 * px) {
        const double stone = 0.86 + 0.22 * fbm(x * 30, v * 30, 51);
        const double g = 138 * stone;
        c = mix(c, {g, g, g}, inside(std::abs(x - roadCentre) - roadHalf, px));
    }

    // Trees: round canopies on short trunks.
    const struct {
        double cx, cy, r;
    } trees[] = {{0.16, 0.50, 0.11}, {0.30, 0.47, 0.08}, {0.74, 0.50, 0.12}, {1.18, 0.46, 0.07},
                 {1.30, 0.49, 0.09}, {2.62, 0.47, 0.09}, {2.82, 0.50, 0.12}, {3.05, 0.46, 0.07}};
    for (const auto& t : trees) {
        const double tx = t.cx, ty = t.cy;
        if (std::abs(x - tx) > 1.2 * t.r || v < ty - 1.2 * t.r || v > ty + 2.0 * t.r) continue;
        const double trunk =
            std::max(std::abs(x - tx) - t.r * 0.13, std::abs(v - (ty + t.r)) - t.r * 0.9);
        c = mix(c, {86, 60, 36}, inside(trunk, px));
        const double wobble = 0.18 * t.r * (fbm(x * 14, v * 14, 61) - 0.5);
        const double d = std::hypot(x - tx, (v - ty) * 1.1) - t.r - wobble;
        const double light =
            0.65 + 0.55 * fbm(x * 18, v * 18, 63) - 1.2 * (v - ty) + 0.8 * (tx - x);
        c = mix(c, scaled({46, 108, 42}, std::clamp(light, 0.45, 1.35)), inside(d, px));
    }

    // A person on the right: red shirt, skin-toned face and neck, brown hair.
    const double pcx = 0.84 * aspect, headY = 0.50, headR = 0.15;
    if (std::abs(x - pcx) > 0.36 || v < headY - 1.2 * headR) return c;
    const double shoulders =
        std::max(std::hypot((x - pcx) / 0.32, (v - 1.12) / 0.40) - 1.0, 0.70 - v);
    const double fold = 0.85 + 0.25 * fbm(x * 8, v * 8, 71);
    c = mix(c, scaled({178, 40, 46}, fold), inside(shoulders * 0.3, px));
    const double neck = std::max(std::abs(x - pcx) - 0.055, std::abs(v - 0.70) - 0.08);
    c = mix(c, {196, 144, 114}, inside(neck, px));
    const double face = std::hypot((x - pcx) / 0.82, v - headY) - headR;
    const double shade = 1.06 - 0.9 * std::hypot(x - pcx + 0.03, v - headY + 0.04);
    c = mix(c, scaled({226, 172, 138}, std::clamp(shade, 0.78, 1.08)), inside(face, px));
    const double hair = std::max(std::hypot((x - pcx) / 0.86, v - headY + 0.02) - headR * 1.08,
                                 v - (headY - 0.06 + 0.5 * std::abs(x - pcx)));
    const double strands = 0.8 + 0.35 * fbm(x * 40, v * 12, 81);
    c = mix(c, scaled({78, 50, 32}, strands), inside(hair, px));
    return c;
}

void paintPanel(RgbImage& img, const Rect& r, double lightness) {
    for (int y = 0; y < r.h; ++y) {
        const double sat = 1.0 - static_cast<double>(y) / (r.h - 1);
        for (int x = 0; x < r.w; ++x) {
            const double hue = 360.0 * x / r.w;
            img.set(r.x + x, r.y + y, hslColour(hue, sat, lightness));
        }
    }
}

// The patch of `size` centred on (cx, cy) in scene coordinates (units of scene height).
Rect scenePatch(const Rect& scene, double cx, double cy, int w, int h) {
    const int x = scene.x + static_cast<int>(cx * scene.h) - w / 2;
    const int y = scene.y + static_cast<int>(cy * scene.h) - h / 2;
    return {x & ~1, y & ~1, w, h};
}

}  // namespace

Rgb hslColour(double hueDegrees, double saturation, double lightness) {
    const double h = std::fmod(std::fmod(hueDegrees, 360.0) + 360.0, 360.0) / 60.0;
    const double chroma = (1 - std::abs(2 * lightness - 1)) * saturation;
    const double x = chroma * (1 - std::abs(std::fmod(h, 2.0) - 1));
    double r = 0, g = 0, b = 0;
    switch (static_cast<int>(h)) {
        case 0:
            r = chroma, g = x;
            break;
        case 1:
            r = x, g = chroma;
            break;
        case 2:
            g = chroma, b = x;
            break;
        case 3:
            g = x, b = chroma;
            break;
        case 4:
            r = x, b = chroma;
            break;
        default:
            r = chroma, b = x;
            break;
    }
    const double m = lightness - chroma / 2;
    return toRgb({(r + m) * 255, (g + m) * 255, (b + m) * 255});
}

ChartLayout chartLayout() {
    ChartLayout L{};
    const int w = static_cast<int>(kChartWidth);
    const int panelW = ((w - 5 * kMargin) / 4) & ~1;
    const int panelTop = kMargin + kLabelHeight;
    const double lightness[ChartLayout::kPanels] = {0.10, 0.35, 0.60, 0.90};
    for (int i = 0; i < ChartLayout::kPanels; ++i) {
        L.panels[i] = {kMargin + i * (panelW + kMargin), panelTop, panelW, 300};
        L.panelLightness[i] = lightness[i];
    }
    int y = panelTop + 300 + kMargin + kLabelHeight;
    L.greyRamp = {kMargin, y, w - 2 * kMargin, 48};
    y += 48 + kMargin + kLabelHeight;
    L.hueRamp = {kMargin, y, w - 2 * kMargin, 40};
    y += 40 + kMargin + kLabelHeight;
    L.scene = {kMargin, y, w - 2 * kMargin, static_cast<int>(kChartHeight) - kMargin - y};
    const double aspect = static_cast<double>(L.scene.w) / L.scene.h;
    L.skinPatch = scenePatch(L.scene, 0.84 * aspect + 0.02, 0.53, 24, 24);
    L.hairPatch = scenePatch(L.scene, 0.84 * aspect, 0.36, 16, 8);
    L.shirtPatch = scenePatch(L.scene, 0.84 * aspect + 0.2, 0.92, 24, 16);
    L.roadPatch = scenePatch(L.scene, 0.36 * aspect, 0.95, 24, 16);
    L.skyPatch = scenePatch(L.scene, 2.0, 0.33, 48, 16);
    L.foliagePatch = scenePatch(L.scene, 1.9, 0.75, 48, 24);
    return L;
}

RgbImage makeTestChart() {
    const ChartLayout L = chartLayout();
    RgbImage img(kChartWidth, kChartHeight, kGround);
    std::vector<std::pair<Rect, std::string>> labels;
    for (int i = 0; i < ChartLayout::kPanels; ++i) {
        paintPanel(img, L.panels[i], L.panelLightness[i]);
        char text[64];
        std::snprintf(text, sizeof text, "hue 0-360 across, saturation up; lightness %d %%",
                      static_cast<int>(std::lround(L.panelLightness[i] * 100)));
        labels.emplace_back(L.panels[i], text);
    }
    const Rect& g = L.greyRamp;
    for (int x = 0; x < g.w; ++x) {
        const auto v = static_cast<uint8_t>(x * 255 / (g.w - 1));
        fillRect(img, {g.x + x, g.y, 1, g.h}, {v, v, v});
    }
    labels.emplace_back(g, "Greys: untouched");
    const Rect& h = L.hueRamp;
    for (int x = 0; x < h.w; ++x) {
        fillRect(img, {h.x + x, h.y, 1, h.h}, hslColour(360.0 * x / h.w, 1.0, 0.5));
    }
    labels.emplace_back(
        h, "Hues 0-360 at full saturation: foliage greens turn golden, sky blues deepen");
    const Rect& s = L.scene;
    const double aspect = static_cast<double>(s.w) / s.h;
    for (int y = 0; y < s.h; ++y) {
        for (int x = 0; x < s.w; ++x) {
            const double u = (x + 0.5) / s.w, v = (y + 0.5) / s.h;
            img.set(s.x + x, s.y + y, toRgb(scenePixel(u, v, aspect, 1.0 / s.h)));
        }
    }
    labels.emplace_back(s, "Scene: skin, hair, red shirt and grey road untouched");
    Canvas canvas(kChartWidth, kChartHeight, kGround);
    canvas.picture(img, 0, 0);
    for (const auto& [below, text] : labels) {
        canvas.text(below.x, below.y - kLabelHeight + 1, text, 14, kLabel);
    }
    return canvas.image();
}

ISP2DLUTInStruct_V10 showcaseRecord() {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    r.h_shift = 2;  // hue offsets in steps of 4 hue units
    r.s_shift = 1;  // saturation offsets in steps of 2 saturation units
    // Per hue node (15 degrees apart): hue turn in degrees and saturation gain as a fraction
    // of full. Neighbouring turns differ by at most 6 degrees, well under the node spacing,
    // so the order of hues is kept; rows 0 and 24 (both red) stay at 0.
    struct Effect {
        int node;
        double hueDegrees;
        double saturation;
    };
    const Effect effects[] = {
        // Foliage (60..165 degrees): greens towards gold, richer.
        {4, -6, 0.04},
        {5, -12, 0.10},
        {6, -18, 0.16},
        {7, -22, 0.20},
        {8, -22, 0.20},
        {9, -18, 0.16},
        {10, -12, 0.10},
        {11, -6, 0.04},
        // Sky (195..240 degrees): blues deeper and more saturated.
        {13, 4, 0.08},
        {14, 8, 0.16},
        {15, 6, 0.16},
        {16, 0, 0.08},
    };
    const double hueStep = static_cast<double>(kHueTurn) / 360.0 / gridStep(r.h_shift);
    const double satStep = static_cast<double>(kSatFull) / gridStep(r.s_shift);
    for (const Effect& e : effects) {
        for (int j = 0; j < kSatNodes; ++j) {
            // Nothing up to saturation node 1 (6.7 %), so greys and near-greys stay as they
            // are; rising smoothly to full strength at node 8 (53 %), so that hazy, greyish
            // colours are touched only lightly.
            const double t = std::clamp((j - 1) / 7.0, 0.0, 1.0);
            const double ramp = t * t * (3 - 2 * t);
            r.lut_2d_h[e.node * kSatNodes + j] =
                static_cast<int16_t>(std::lround(e.hueDegrees * hueStep * ramp));
            r.lut_2d_s[e.node * kSatNodes + j] =
                static_cast<int16_t>(std::lround(e.saturation * satStep * ramp));
        }
    }
    setLightnessRamps(r, 32, 288, 1760, 2016);
    return r;
}

}  // namespace lut2d_tool
