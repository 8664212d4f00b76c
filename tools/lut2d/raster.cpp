#include "raster.h"

#include <algorithm>

namespace lut2d_tool {

RgbImage::RgbImage(uint32_t w, uint32_t h, Rgb fill) : width(w), height(h) {
    pixels.resize(static_cast<size_t>(w) * h * 3);
    for (size_t i = 0; i < pixels.size(); i += 3) {
        pixels[i] = fill.r;
        pixels[i + 1] = fill.g;
        pixels[i + 2] = fill.b;
    }
}

void fillRect(RgbImage& img, Rect r, Rgb c) {
    const int x0 = std::max(r.x, 0);
    const int y0 = std::max(r.y, 0);
    const int x1 = std::min(r.x + r.w, static_cast<int>(img.width));
    const int y1 = std::min(r.y + r.h, static_cast<int>(img.height));
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) img.set(x, y, c);
    }
}

void blit(RgbImage& dst, const RgbImage& src, int x, int y) {
    for (uint32_t sy = 0; sy < src.height; ++sy) {
        const int dy = y + static_cast<int>(sy);
        if (dy < 0 || dy >= static_cast<int>(dst.height)) continue;
        for (uint32_t sx = 0; sx < src.width; ++sx) {
            const int dx = x + static_cast<int>(sx);
            if (dx >= 0 && dx < static_cast<int>(dst.width)) dst.set(dx, dy, src.at(sx, sy));
        }
    }
}

RgbImage halve(const RgbImage& img) {
    RgbImage out(img.width / 2, img.height / 2);
    for (uint32_t y = 0; y < out.height; ++y) {
        for (uint32_t x = 0; x < out.width; ++x) {
            const Rgb a = img.at(2 * x, 2 * y), b = img.at(2 * x + 1, 2 * y);
            const Rgb c = img.at(2 * x, 2 * y + 1), d = img.at(2 * x + 1, 2 * y + 1);
            auto mean = [](int p, int q, int r, int s) {
                return static_cast<uint8_t>((p + q + r + s + 2) / 4);
            };
            out.set(x, y,
                    {mean(a.r, b.r, c.r, d.r), mean(a.g, b.g, c.g, d.g), mean(a.b, b.b, c.b, d.b)});
        }
    }
    return out;
}

}  // namespace lut2d_tool
