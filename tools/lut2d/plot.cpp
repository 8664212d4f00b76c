#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

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
constexpr Rgb kDim{140, 140, 140};
constexpr Rgb kGrid{64, 64, 64};
constexpr Rgb kCurve{255, 196, 64};

constexpr int kPlaneW = 720;  // two pixels per degree of hue
constexpr int kPlaneH = 256;  // saturation 100 % at the top, 0 % at the bottom
constexpr int kPlaneGap = 8;  // grey rows between the planes in the processed frame
constexpr double kLevels[] = {0.10, 0.35, 0.60, 0.90};
constexpr int kLevelCount = 4;

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

// Hue axis under a plane at (x, y): a tick per hue node, labels every 60 degrees.
void hueAxis(RgbImage& img, const ISP2DLUTInStruct_V10& r, int x, int y) {
    for (int i = 0; i < kHueNodes; ++i) {
        const int tx = x + r.lut_1d_h[i] * kPlaneW / kHueTurn;
        fillRect(img, {std::min(tx, x + kPlaneW - 1), y + 1, 1, 5}, kDim);
    }
    const char* names[] = {"0 R", "60 Y", "120 G", "180 C", "240 B", "300 M", "360"};
    for (int d = 0; d <= 6; ++d) {
        const int tx = x + d * kPlaneW / 6;
        const int w = textWidth(names[d], 1);
        drawText(img, std::clamp(tx - w / 2, x - 10, x + kPlaneW - w + 10), y + 9, names[d], kText,
                 1);
    }
}

// Saturation axis left of a plane at (x, y): a tick per saturation node.
void saturationAxis(RgbImage& img, const ISP2DLUTInStruct_V10& r, int x, int y) {
    for (int j = 0; j < kSatNodes; ++j) {
        const int ty = y + kPlaneH - 1 - r.lut_1d_s[j] * (kPlaneH - 1) / kSatFull;
        fillRect(img, {x - 6, ty, 5, 1}, kDim);
    }
    drawText(img, x - 6 - textWidth("100%", 1) - 3, y, "100%", kText, 1);
    drawText(img, x - 6 - textWidth("0%", 1) - 3, y + kPlaneH - 7, "0%", kText, 1);
}

}  // namespace

RgbImage plotHueSaturationPlanes(const ISP2DLUTInStruct_V10& record) {
    const RgbImage source = planeFrame();
    YuvFrame frame = rgbToYuv(source, ChromaOrder::Nv12, source.width);
    const RgbImage before = yuvToRgb(frame);
    {
        LibraryHandle handle(record, frame.geometry, LUT2D_MODE_CHRUS);
        handle.process(frame);
    }
    const RgbImage after = yuvToRgb(frame);

    const int left = 70, gap = 60, title = 44, rowLabel = 26, axis = 28, rowGap = 14;
    const int rowH = rowLabel + kPlaneH + axis + rowGap;
    RgbImage out(left + 2 * kPlaneW + gap + 20, title + kLevelCount * rowH, kBackground);
    drawText(out, left, 12, "BEFORE: HUE (ACROSS) X SATURATION (UP)", kText, 2);
    drawText(out, left + kPlaneW + gap, 12, "AFTER THE RECORD (FULL RESOLUTION)", kText, 2);
    for (int k = 0; k < kLevelCount; ++k) {
        const int y = title + k * rowH;
        // The record's lightness of an HSL lightness: max + min of the 10-bit components.
        const int l10 = static_cast<int>(std::lround(kLevels[k] * 2 * 1023));
        const double weight = 100.0 * lightnessWeight(record, l10) / kLightInvFull;
        char text[96];
        std::snprintf(text, sizeof text, "LIGHTNESS %.0f%% (L = %d OF 2046), WEIGHT %.0f%%",
                      kLevels[k] * 100, l10, weight);
        drawText(out, left, y + 6, text, kText, 1);
        const Rect src{0, k * (kPlaneH + kPlaneGap), kPlaneW, kPlaneH};
        for (int side = 0; side < 2; ++side) {
            const int x = left + side * (kPlaneW + gap);
            blit(out, crop(side == 0 ? before : after, src), x, y + rowLabel);
            hueAxis(out, record, x, y + rowLabel + kPlaneH);
            saturationAxis(out, record, x, y + rowLabel);
        }
    }
    return out;
}

RgbImage plotLightnessWeight(const ISP2DLUTInStruct_V10& record) {
    const int x0 = 80, y0 = 50, w = 1024, h = 320;
    RgbImage out(x0 + w + 40, y0 + h + 56, kBackground);
    drawText(out, x0, 14, "LIGHTNESS WEIGHT: SHARE OF THE OFFSETS APPLIED", kText, 2);
    auto px = [&](int l) { return x0 + l * (w - 1) / 2046; };
    auto py = [&](int weight) { return y0 + h - 1 - weight * (h - 1) / kLightInvFull; };
    for (int q = 0; q <= 4; ++q) {
        const int yy = py(q * kLightInvFull / 4);
        fillRect(out, {x0, yy, w, 1}, kGrid);
        const std::string t = std::to_string(q * 25) + "%";
        drawText(out, x0 - textWidth(t, 1) - 8, yy - 3, t, kText, 1);
    }
    for (int l : {0, 512, 1024, 1536, 2046}) {
        fillRect(out, {px(l), y0, 1, h}, kGrid);
        const std::string t = std::to_string(l);
        drawText(out, px(l) - textWidth(t, 1) / 2, y0 + h + 8, t, kText, 1);
    }
    const struct {
        const char* name;
        int value;
    } marks[] = {{"START A", record.l_boundary_start_A},
                 {"START B", record.l_boundary_start_B},
                 {"END A", record.l_boundary_end_A},
                 {"END B", record.l_boundary_end_B}};
    for (int m = 0; m < 4; ++m) {
        const int x = px(marks[m].value);
        for (int yy = y0; yy < y0 + h; yy += 6) fillRect(out, {x, yy, 1, 3}, kDim);
        // Start labels to the right of their line, end labels to the left, in two rows.
        const std::string t = std::string(marks[m].name) + " " + std::to_string(marks[m].value);
        const int tw = textWidth(t, 1);
        const int tx = m < 2 ? x + 4 : x - tw - 4;
        drawText(out, tx, y0 + 6 + 12 * (m % 2), t, kDim, 1);
    }
    int prevX = px(0), prevY = py(lightnessWeight(record, 0));
    for (int l = 1; l <= 2046; ++l) {
        const int x = px(l), y = py(lightnessWeight(record, l));
        drawLine(out, prevX, prevY, x, y, kCurve, 2);
        prevX = x;
        prevY = y;
    }
    drawText(out, x0, y0 + h + 30, "LIGHTNESS = MAX + MIN OF THE 10-BIT R, G, B (0..2046)", kText,
             1);
    return out;
}

std::vector<std::filesystem::path> writePlots(const ISP2DLUTInStruct_V10& record,
                                              const std::filesystem::path& folder) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) throw ToolError(folder.string() + ": cannot create the folder: " + ec.message());
    const std::filesystem::path planes = folder / "hs-planes.png";
    const std::filesystem::path weight = folder / "lightness-weight.png";
    const RgbImage planesImg = plotHueSaturationPlanes(record);
    const RgbImage weightImg = plotLightnessWeight(record);
    OutputFile a(planes), b(weight);
    writePicture(a, planesImg);
    writePicture(b, weightImg);
    a.commit();
    b.commit();
    return {planes, weight};
}

}  // namespace lut2d_tool
