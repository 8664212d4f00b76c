#include "raster.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace lut2d_tool {

namespace {

// 5x7 glyphs, one byte per row, bit 4 = leftmost column.
struct Glyph {
    char c;
    uint8_t rows[7];
};

constexpr Glyph kGlyphs[] = {
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}},
    {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}},
    {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}},
    {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}},
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}},
    {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x0A, 0x04, 0x04, 0x04, 0x04}},
    {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}},
    {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}},
    {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}},
    {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}},
    {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}},
    {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}},
    {',', {0x00, 0x00, 0x00, 0x00, 0x0C, 0x04, 0x08}},
    {':', {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00}},
    {';', {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x04, 0x08}},
    {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}},
    {'+', {0x00, 0x04, 0x04, 0x1F, 0x04, 0x04, 0x00}},
    {'/', {0x00, 0x01, 0x02, 0x04, 0x08, 0x10, 0x00}},
    {'%', {0x18, 0x19, 0x02, 0x04, 0x08, 0x13, 0x03}},
    {'(', {0x02, 0x04, 0x08, 0x08, 0x08, 0x04, 0x02}},
    {')', {0x08, 0x04, 0x02, 0x02, 0x02, 0x04, 0x08}},
    {'=', {0x00, 0x00, 0x1F, 0x00, 0x1F, 0x00, 0x00}},
    {'>', {0x08, 0x04, 0x02, 0x01, 0x02, 0x04, 0x08}},
    {'<', {0x02, 0x04, 0x08, 0x10, 0x08, 0x04, 0x02}},
};

const Glyph* glyphFor(char c) {
    const char up = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const Glyph& g : kGlyphs) {
        if (g.c == up) return &g;
    }
    return nullptr;
}

constexpr int kAdvance = 6;  // glyph cells plus spacing
constexpr Rgb kHeadingBackground{32, 32, 32};
constexpr Rgb kHeadingText{235, 235, 235};

}  // namespace

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

void drawLine(RgbImage& img, int x0, int y0, int x1, int y1, Rgb c, int thickness) {
    const int steps = std::max(std::abs(x1 - x0), std::abs(y1 - y0));
    const int half = thickness / 2;
    for (int i = 0; i <= steps; ++i) {
        const int x = steps == 0 ? x0 : x0 + (x1 - x0) * i / steps;
        const int y = steps == 0 ? y0 : y0 + (y1 - y0) * i / steps;
        fillRect(img, {x - half, y - half, thickness, thickness}, c);
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

void drawText(RgbImage& img, int x, int y, std::string_view text, Rgb c, int scale) {
    for (size_t k = 0; k < text.size(); ++k) {
        const Glyph* g = glyphFor(text[k]);
        if (g == nullptr) continue;
        const int gx = x + static_cast<int>(k) * kAdvance * scale;
        for (int row = 0; row < 7; ++row) {
            for (int col = 0; col < 5; ++col) {
                if ((g->rows[row] >> (4 - col)) & 1) {
                    fillRect(img, {gx + col * scale, y + row * scale, scale, scale}, c);
                }
            }
        }
    }
}

int textWidth(std::string_view text, int scale) {
    return text.empty() ? 0 : (static_cast<int>(text.size()) * kAdvance - 1) * scale;
}

RgbImage labelledGrid(const std::vector<const RgbImage*>& pictures,
                      const std::vector<std::string_view>& labels, int columns, int gap) {
    int cellW = 0, cellH = 0;
    for (const RgbImage* p : pictures) {
        cellW = std::max(cellW, static_cast<int>(p->width));
        cellH = std::max(cellH, static_cast<int>(p->height));
    }
    const int scale = 2;
    const int heading = textHeight(scale) + 12;
    const int count = static_cast<int>(pictures.size());
    const int rows = (count + columns - 1) / columns;
    const int cols = std::min(columns, count);
    RgbImage out(static_cast<uint32_t>(cols * cellW + (cols + 1) * gap),
                 static_cast<uint32_t>(rows * (cellH + heading) + (rows + 1) * gap),
                 kHeadingBackground);
    for (int i = 0; i < count; ++i) {
        const int x = gap + (i % columns) * (cellW + gap);
        const int y = gap + (i / columns) * (cellH + heading + gap);
        if (i < static_cast<int>(labels.size())) {
            drawText(out, x + 4, y + 6, labels[i], kHeadingText, scale);
        }
        blit(out, *pictures[i], x, y + heading);
    }
    return out;
}

}  // namespace lut2d_tool
