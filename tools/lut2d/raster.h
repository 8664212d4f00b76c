// 8-bit RGB pictures in memory and the pixel operations the tool needs: rectangles, copies
// and halving. Lines and text are drawn with Cairo (canvas.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lut2d_tool {

struct Rgb {
    uint8_t r = 0, g = 0, b = 0;
    bool operator==(const Rgb&) const = default;
};

struct RgbImage {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;  // R, G, B per pixel, rows packed

    RgbImage() = default;
    RgbImage(uint32_t w, uint32_t h, Rgb fill = {});

    Rgb at(uint32_t x, uint32_t y) const {
        const uint8_t* p = &pixels[(static_cast<size_t>(y) * width + x) * 3];
        return {p[0], p[1], p[2]};
    }
    void set(uint32_t x, uint32_t y, Rgb c) {
        uint8_t* p = &pixels[(static_cast<size_t>(y) * width + x) * 3];
        p[0] = c.r;
        p[1] = c.g;
        p[2] = c.b;
    }
    bool operator==(const RgbImage&) const = default;
};

// Rectangle of whole pixels; parts outside the picture are ignored when drawing.
struct Rect {
    int x = 0, y = 0, w = 0, h = 0;
};

void fillRect(RgbImage& img, Rect r, Rgb c);

// Copies `src` into `dst` with its top-left corner at (x, y).
void blit(RgbImage& dst, const RgbImage& src, int x, int y);

// Half the size, each output pixel the rounded mean of a 2x2 block (odd edges dropped).
RgbImage halve(const RgbImage& img);

}  // namespace lut2d_tool
