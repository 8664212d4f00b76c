#include "canvas.h"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string>

#include "tool_error.h"

namespace lut2d_tool {

namespace {

constexpr const char* kFont = "DejaVu Sans";
constexpr Rgb kGridBackground{32, 32, 32};
constexpr Rgb kHeadingText{235, 235, 235};

void setColour(cairo_t* cr, Rgb c, double alpha = 1.0) {
    cairo_set_source_rgba(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0, alpha);
}

// A Pango layout of `text` in the tool's font at `size` pixels.
PangoLayout* layoutFor(cairo_t* cr, std::string_view text, double size, bool bold) {
    PangoLayout* layout = pango_cairo_create_layout(cr);
    PangoFontDescription* font = pango_font_description_from_string(kFont);
    pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
    if (bold) pango_font_description_set_weight(font, PANGO_WEIGHT_BOLD);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    return layout;
}

double layoutWidth(PangoLayout* layout) {
    int w = 0, h = 0;
    pango_layout_get_pixel_size(layout, &w, &h);
    return w;
}

}  // namespace

Canvas::Canvas(int width, int height, Rgb background) : width_(width), height_(height) {
    surface_ = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cr_ = cairo_create(surface_);
    if (cairo_status(cr_) != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(cr_);
        cairo_surface_destroy(surface_);
        throw ToolError("cannot draw a " + std::to_string(width) + "x" + std::to_string(height) +
                        " picture: out of memory");
    }
    fill(0, 0, width, height, background);
}

Canvas::~Canvas() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
}

void Canvas::picture(const RgbImage& img, double x, double y, double scale) {
    cairo_surface_t* src = cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, static_cast<int>(img.width), static_cast<int>(img.height));
    cairo_surface_flush(src);
    unsigned char* data = cairo_image_surface_get_data(src);
    const int stride = cairo_image_surface_get_stride(src);
    for (uint32_t row = 0; row < img.height; ++row) {
        auto* out = reinterpret_cast<uint32_t*>(data + size_t(row) * size_t(stride));
        for (uint32_t col = 0; col < img.width; ++col) {
            const Rgb p = img.at(col, row);
            out[col] = 0xFF000000u | (uint32_t{p.r} << 16) | (uint32_t{p.g} << 8) | p.b;
        }
    }
    cairo_surface_mark_dirty(src);
    cairo_save(cr_);
    cairo_translate(cr_, x, y);
    cairo_scale(cr_, scale, scale);
    cairo_set_source_surface(cr_, src, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr_),
                             scale < 1.0 ? CAIRO_FILTER_GOOD : CAIRO_FILTER_NEAREST);
    cairo_rectangle(cr_, 0, 0, img.width, img.height);
    cairo_fill(cr_);
    cairo_restore(cr_);
    cairo_surface_destroy(src);
}

void Canvas::fill(double x, double y, double w, double h, Rgb c, double alpha) {
    setColour(cr_, c, alpha);
    cairo_rectangle(cr_, x, y, w, h);
    cairo_fill(cr_);
}

void Canvas::frame(double x, double y, double w, double h, Rgb c, double lineWidth, bool dashed) {
    cairo_save(cr_);
    setColour(cr_, c);
    cairo_set_line_width(cr_, lineWidth);
    if (dashed) {
        const double dash[] = {4 * lineWidth, 3 * lineWidth};
        cairo_set_dash(cr_, dash, 2, 0);
    }
    cairo_rectangle(cr_, x, y, w, h);
    cairo_stroke(cr_);
    cairo_restore(cr_);
}

void Canvas::line(double x0, double y0, double x1, double y1, Rgb c, double lineWidth,
                  bool dashed) {
    cairo_save(cr_);
    setColour(cr_, c);
    cairo_set_line_width(cr_, lineWidth);
    if (dashed) {
        const double dash[] = {4 * lineWidth, 3 * lineWidth};
        cairo_set_dash(cr_, dash, 2, 0);
    }
    cairo_move_to(cr_, x0, y0);
    cairo_line_to(cr_, x1, y1);
    cairo_stroke(cr_);
    cairo_restore(cr_);
}

void Canvas::polyline(const std::vector<std::pair<double, double>>& points, Rgb c,
                      double lineWidth) {
    if (points.size() < 2) return;
    cairo_save(cr_);
    setColour(cr_, c);
    cairo_set_line_width(cr_, lineWidth);
    cairo_set_line_join(cr_, CAIRO_LINE_JOIN_ROUND);
    cairo_move_to(cr_, points[0].first, points[0].second);
    for (size_t i = 1; i < points.size(); ++i)
        cairo_line_to(cr_, points[i].first, points[i].second);
    cairo_stroke(cr_);
    cairo_restore(cr_);
}

double Canvas::text(double x, double y, std::string_view text, double size, Rgb c, Align align,
                    bool bold) {
    PangoLayout* layout = layoutFor(cr_, text, size, bold);
    const double w = layoutWidth(layout);
    const double left = align == Align::Left ? x : align == Align::Centre ? x - w / 2 : x - w;
    setColour(cr_, c);
    cairo_move_to(cr_, left, y);
    pango_cairo_show_layout(cr_, layout);
    g_object_unref(layout);
    return w;
}

double Canvas::textWidth(std::string_view text, double size, bool bold) {
    PangoLayout* layout = layoutFor(cr_, text, size, bold);
    const double w = layoutWidth(layout);
    g_object_unref(layout);
    return w;
}

void Canvas::verticalText(double x, double y, std::string_view text, double size, Rgb c) {
    cairo_save(cr_);
    cairo_translate(cr_, x, y);
    cairo_rotate(cr_, -M_PI / 2);
    PangoLayout* layout = layoutFor(cr_, text, size, false);
    int w = 0, h = 0;
    pango_layout_get_pixel_size(layout, &w, &h);
    setColour(cr_, c);
    cairo_move_to(cr_, -w / 2.0, -h / 2.0);
    pango_cairo_show_layout(cr_, layout);
    g_object_unref(layout);
    cairo_restore(cr_);
}

RgbImage Canvas::image() {
    cairo_surface_flush(surface_);
    const unsigned char* data = cairo_image_surface_get_data(surface_);
    const int stride = cairo_image_surface_get_stride(surface_);
    RgbImage out(static_cast<uint32_t>(width_), static_cast<uint32_t>(height_));
    for (int row = 0; row < height_; ++row) {
        const auto* in = reinterpret_cast<const uint32_t*>(data + size_t(row) * size_t(stride));
        for (int col = 0; col < width_; ++col) {
            const uint32_t p = in[col];
            out.set(col, row,
                    {static_cast<uint8_t>(p >> 16), static_cast<uint8_t>(p >> 8),
                     static_cast<uint8_t>(p)});
        }
    }
    return out;
}

RgbImage labelledGrid(const std::vector<const RgbImage*>& pictures,
                      const std::vector<std::string_view>& labels, int columns) {
    int cellW = 0, cellH = 0;
    for (const RgbImage* p : pictures) {
        cellW = std::max(cellW, static_cast<int>(p->width));
        cellH = std::max(cellH, static_cast<int>(p->height));
    }
    const double size = std::max(16.0, std::round(cellW / 40.0));
    const int gap = static_cast<int>(std::round(size / 2));
    const int heading = static_cast<int>(std::round(size * 1.7));
    const int count = static_cast<int>(pictures.size());
    const int rows = (count + columns - 1) / columns;
    const int cols = std::min(columns, count);
    Canvas canvas(cols * cellW + (cols + 1) * gap, rows * (cellH + heading) + (rows + 1) * gap,
                  kGridBackground);
    for (int i = 0; i < count; ++i) {
        const int x = gap + (i % columns) * (cellW + gap);
        const int y = gap + (i / columns) * (cellH + heading + gap);
        if (i < static_cast<int>(labels.size())) {
            canvas.text(x + size * 0.3, y + size * 0.25, labels[i], size, kHeadingText);
        }
        canvas.picture(*pictures[i], x, y + heading);
    }
    return canvas.image();
}

RgbImage differencePicture(const RgbImage& before, const RgbImage& after, int gain, int& gainUsed) {
    RgbImage out(after.width, after.height);
    std::array<size_t, 256> histogram{};
    for (size_t i = 0; i < out.pixels.size(); ++i) {
        const int d = std::abs(int{after.pixels[i]} - int{before.pixels[i]});
        out.pixels[i] = static_cast<uint8_t>(d);
        ++histogram[d];
    }
    if (gain <= 0) {
        // The 99.5th percentile of the differences, at least 1.
        size_t seen = 0, p995 = 1;
        for (int d = 0; d < 256; ++d) {
            seen += histogram[d];
            if (seen * 1000 >= out.pixels.size() * 995) {
                p995 = std::max(1, d);
                break;
            }
        }
        gain = 1;
        while (gain < 64 && static_cast<size_t>(gain) * 2 * p995 <= 255) gain *= 2;
    }
    for (uint8_t& v : out.pixels) v = static_cast<uint8_t>(std::min(255, v * gain));
    gainUsed = gain;
    return out;
}

}  // namespace lut2d_tool
