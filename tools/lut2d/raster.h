// 8-bit RGB pictures in memory and the little drawing the tool needs: rectangles, lines,
// side-by-side layouts, halving, and short labels in a built-in 5x7 pixel font.
#pragma once

#include <cstdint>
#include <string_view>
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

// A line of the given thickness from (x0, y0) to (x1, y1).
void drawLine(RgbImage& img, int x0, int y0, int x1, int y1, Rgb c, int thickness = 1);

// Copies `src` into `dst` with its top-left corner at (x, y).
void blit(RgbImage& dst, const RgbImage& src, int x, int y);

// Half the size, each output pixel the rounded mean of a 2x2 block (odd edges dropped).
RgbImage halve(const RgbImage& img);

// Text in the built-in font: capital letters, digits and . , : ; - + / % ( ) = > < and
// blank; lower-case letters are drawn as capitals. Each glyph is 5x7 cells on a 6x9 grid,
// every cell `scale` pixels square; (x, y) is the top-left corner.
void drawText(RgbImage& img, int x, int y, std::string_view text, Rgb c, int scale = 2);
int textWidth(std::string_view text, int scale = 2);
inline int textHeight(int scale = 2) {
    return 7 * scale;
}

// Pictures side by side with a labelled heading strip above each: `columns` pictures per
// row, every cell as large as the largest picture, `gap` pixels between cells.
RgbImage labelledGrid(const std::vector<const RgbImage*>& pictures,
                      const std::vector<std::string_view>& labels, int columns, int gap = 8);

}  // namespace lut2d_tool
