#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

#include "canvas.h"
#include "chart.h"
#include "image_io.h"
#include "library.h"
#include "record.h"
#include "tool_error.h"
#include "yuv.h"

namespace lut2d_tool {

namespace {

constexpr Rgb kBackground{32, 32, 32};
constexpr Rgb kText{228, 228, 228};
constexpr Rgb kDim{150, 150, 150};
constexpr Rgb kGrid{70, 70, 70};
constexpr Rgb kCurve{255, 196, 64};
constexpr Rgb kFoldMark{255, 255, 255};
constexpr Rgb kSeamMark{255, 64, 200};
constexpr Rgb kGreyMark{255, 220, 0};

constexpr int kPlaneW = 720;  // two pixels per degree of hue
constexpr int kPlaneH = 256;  // saturation 100 % at the top, 0 % at the bottom
constexpr int kPlaneGap = 8;  // grey rows between the planes in the processed frame
constexpr double kLevels[] = {0.10, 0.35, 0.60, 0.90};
constexpr int kLevelCount = 4;
constexpr double kTitle = 20, kLabel = 14, kSmall = 12;

// Every plane in one frame, one colour per 2x2 block so that chroma subsampling keeps it.
RgbImage planeFrame() {
    RgbImage img(kPlaneW, kLevelCount * (kPlaneH + kPlaneGap), {128, 128, 128});
    for (int k = 0; k < kLevelCount; ++k) {
        for (int y = 0; y < kPlaneH; y += 2) {
            const double sat = 1.0 - (y + 1.0) / kPlaneH;
            for (int x = 0; x < kPlaneW; x += 2) {
                const Rgb c = hslColour(360.0 * (x + 1.0) / kPlaneW, sat, kLevels[k]);
                fillRect(img, {x, k * (kPlaneH + kPlaneGap) + y, 2, 2}, c);
            }
        }
    }
    return img;
}

RgbImage crop(const RgbImage& img, Rect r) {
    RgbImage out(r.w, r.h);
    for (int y = 0; y < r.h; ++y) {
        for (int x = 0; x < r.w; ++x) out.set(x, y, img.at(r.x + x, r.y + y));
    }
    return out;
}

// Axes of a plane whose top-left corner is at (x, y): hue in degrees below with a tick per
// hue node, saturation in percent on the left with a tick per saturation node.
void planeAxes(Canvas& c, const ISP2DLUTInStruct_V10& r, double x, double y) {
    c.frame(x - 0.5, y - 0.5, kPlaneW + 1, kPlaneH + 1, kDim, 1);
    for (int i = 0; i < kHueNodes; ++i) {
        const double tx = x + r.lut_1d_h[i] * double(kPlaneW) / kHueTurn;
        c.line(tx, y + kPlaneH, tx, y + kPlaneH + 4, kDim, 1);
    }
    const char* names[] = {"0 red",    "60 yellow",   "120 green", "180 cyan",
                           "240 blue", "300 magenta", "360"};
    for (int d = 0; d <= 6; ++d) {
        const double tx = x + d * kPlaneW / 6.0;
        c.line(tx, y + kPlaneH, tx, y + kPlaneH + 8, kText, 1);
        c.text(tx, y + kPlaneH + 9, names[d], kSmall, kText,
               d == 0   ? Align::Left
               : d == 6 ? Align::Right
                        : Align::Centre);
    }
    for (int j = 0; j < kSatNodes; ++j) {
        const double ty = y + kPlaneH - r.lut_1d_s[j] * double(kPlaneH) / kSatFull;
        c.line(x - 4, ty, x, ty, kDim, 1);
    }
    for (int p = 0; p <= 100; p += 25) {
        const double ty = y + kPlaneH - p * kPlaneH / 100.0;
        c.line(x - 8, ty, x, ty, kText, 1);
        c.text(x - 10, ty - kSmall * 0.6, std::to_string(p) + "%", kSmall, kText, Align::Right);
    }
}

// A lint region on the plane at (x, y), split where it runs past 0 or 360 degrees.
void markRegion(Canvas& c, const LintRegion& g, double x, double y, Rgb colour, bool dashed) {
    const double top = y + kPlaneH * (1 - g.sat1 / 100), bottom = y + kPlaneH * (1 - g.sat0 / 100);
    for (double shift : {-360.0, 0.0, 360.0}) {
        const double h0 = std::max(0.0, g.hue0 + shift), h1 = std::min(360.0, g.hue1 + shift);
        if (h1 <= h0) continue;
        c.frame(x + h0 * kPlaneW / 360, top, (h1 - h0) * kPlaneW / 360, std::max(2.0, bottom - top),
                colour, 2, dashed);
    }
}

Rgb markColour(LintWarning::Kind kind) {
    switch (kind) {
        case LintWarning::Kind::RedSeam:
            return kSeamMark;
        case LintWarning::Kind::NearGreyPush:
            return kGreyMark;
        default:
            return kFoldMark;
    }
}

}  // namespace

RgbImage plotHueSaturationPlanes(const ISP2DLUTInStruct_V10& record,
                                 const std::vector<LintWarning>& warnings) {
    const RgbImage source = planeFrame();
    YuvFrame frame = rgbToYuv(source, ChromaOrder::Nv12, source.width);
    const RgbImage before = yuvToRgb(frame);
    {
        LibraryHandle handle(record, frame.geometry, LUT2D_MODE_CHRUS);
        handle.process(frame);
    }
    const RgbImage after = yuvToRgb(frame);

    const int left = 90, gap = 90, top = 56, rowLabel = 30, axis = 34, rowGap = 18, legend = 60;
    const int rowH = rowLabel + kPlaneH + axis + rowGap;
    const std::vector<int32_t> weights = lightnessWeights(record);
    Canvas c(left + 2 * kPlaneW + gap + 30, top + kLevelCount * rowH + legend, kBackground);
    c.text(left, 16, "Before: hue across, saturation up", kTitle, kText, Align::Left, true);
    c.text(left + kPlaneW + gap, 16, "After the record (full resolution)", kTitle, kText,
           Align::Left, true);
    for (int k = 0; k < kLevelCount; ++k) {
        const int y = top + k * rowH;
        // The record's lightness of an HSL lightness: max + min of the 10-bit components.
        const int l10 = static_cast<int>(std::lround(kLevels[k] * 2 * 1023));
        const double weight = 100.0 * weights[l10] / kLightInvFull;
        char text[128];
        std::snprintf(text, sizeof text,
                      "Lightness %.0f %% (L = %d of 2046): offsets applied at %.0f %%",
                      kLevels[k] * 100, l10, weight);
        c.text(left, y + 6, text, kLabel, kText);
        const Rect src{0, k * (kPlaneH + kPlaneGap), kPlaneW, kPlaneH};
        for (int side = 0; side < 2; ++side) {
            const int x = left + side * (kPlaneW + gap);
            c.picture(crop(side == 0 ? before : after, src), x, y + rowLabel);
            planeAxes(c, record, x, y + rowLabel);
            c.verticalText(x - 58, y + rowLabel + kPlaneH / 2.0, "saturation", kSmall, kDim);
        }
        const int ax = left + kPlaneW + gap;
        // One outline per warning and level: around all its regions at this lightness.
        for (const LintWarning& w : warnings) {
            std::optional<LintRegion> box;
            for (const LintRegion& g : w.regions) {
                if (std::abs(g.lightness - kLevels[k]) > 1e-9) continue;
                if (!box) {
                    box = g;
                    continue;
                }
                box->hue0 = std::min(box->hue0, g.hue0), box->hue1 = std::max(box->hue1, g.hue1);
                box->sat0 = std::min(box->sat0, g.sat0), box->sat1 = std::max(box->sat1, g.sat1);
            }
            if (box) {
                markRegion(c, *box, ax, y + rowLabel, markColour(w.kind),
                           w.kind == LintWarning::Kind::SaturationFold);
            }
        }
    }
    const double ly = top + kLevelCount * rowH + 4;
    c.text(left, ly, "Hue in degrees, saturation in percent; small ticks mark the record's nodes.",
           kLabel, kText);
    std::string marks = "Lint marks on the after side: ";
    marks += warnings.empty() ? "none (no seam, fold-over or near-grey push found)."
                              : "white = hue fold-over, white dashed = saturation fold-over, "
                                "magenta = red seam, yellow = near-grey push.";
    c.text(left, ly + 24, marks, kLabel, warnings.empty() ? kText : kCurve);
    return c.image();
}

RgbImage plotLightnessWeight(const ISP2DLUTInStruct_V10& record) {
    const int x0 = 90, y0 = 60, w = 1024, h = 320;
    Canvas c(x0 + w + 40, y0 + h + 80, kBackground);
    c.text(x0, 16, "Lightness weight: share of the offsets applied", kTitle, kText, Align::Left,
           true);
    auto px = [&](double l) { return x0 + l * (w - 1) / 2046.0; };
    auto py = [&](double weight) { return y0 + h - 1 - weight * (h - 1) / kLightInvFull; };
    for (int q = 0; q <= 4; ++q) {
        const double yy = py(q * kLightInvFull / 4.0);
        c.line(x0, yy, x0 + w, yy, kGrid, 1);
        c.text(x0 - 10, yy - kSmall * 0.6, std::to_string(q * 25) + "%", kSmall, kText,
               Align::Right);
    }
    for (int l : {0, 256, 512, 768, 1024, 1280, 1536, 1792, 2046}) {
        c.line(px(l), y0, px(l), y0 + h, kGrid, 1);
        c.text(px(l), y0 + h + 6, std::to_string(l), kSmall, kText, Align::Centre);
    }
    c.frame(x0 - 0.5, y0 - 0.5, w + 1, h + 1, kDim, 1);
    const struct {
        const char* name;
        int value;
    } marks[] = {{"start A", record.l_boundary_start_A},
                 {"start B", record.l_boundary_start_B},
                 {"end A", record.l_boundary_end_A},
                 {"end B", record.l_boundary_end_B}};
    for (int m = 0; m < 4; ++m) {
        const double x = px(marks[m].value);
        c.line(x, y0, x, y0 + h, kDim, 1, true);
        // Start labels to the right of their line, end labels to the left, in two rows.
        const std::string t = std::string(marks[m].name) + " " + std::to_string(marks[m].value);
        c.text(m < 2 ? x + 5 : x - 5, y0 + 6 + 18 * (m % 2), t, kSmall, kDim,
               m < 2 ? Align::Left : Align::Right);
    }
    std::vector<std::pair<double, double>> curve;
    const std::vector<int32_t> weights = lightnessWeights(record);
    for (int l = 0; l <= lut2d::kLightnessMax; ++l) curve.emplace_back(px(l), py(weights[l]));
    c.polyline(curve, kCurve, 2.5);
    c.text(x0 + w / 2.0, y0 + h + 26,
           "Lightness L = max + min of the 10-bit R, G, B (0..2046); HSL lightness = L / 2046",
           kLabel, kText, Align::Centre);
    c.verticalText(x0 - 60, y0 + h / 2.0, "weight", kLabel, kText);
    return c.image();
}

std::vector<std::filesystem::path> writePlots(const ISP2DLUTInStruct_V10& record,
                                              const std::filesystem::path& folder) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) throw ToolError(folder.string() + ": cannot create the folder: " + ec.message());
    const std::filesystem::path planes = folder / "hs-planes.png";
    const std::filesystem::path weight = folder / "lightness-weight.png";
    const RgbImage planesImg = plotHueSaturationPlanes(record, lintRecord(record));
    const RgbImage weightImg = plotLightnessWeight(record);
    OutputFile a(planes), b(weight);
    writePicture(a, planesImg);
    writePicture(b, weightImg);
    a.commit();
    b.commit();
    return {planes, weight};
}

}  // namespace lut2d_tool
