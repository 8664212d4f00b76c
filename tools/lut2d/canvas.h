// Drawing for the tool's pictures, through Cairo: anti-aliased lines, shapes and text (Pango
// with the DejaVu Sans font), pictures placed and scaled, and the result as an RgbImage.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "raster.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace lut2d_tool {

enum class Align { Left, Centre, Right };

class Canvas {
  public:
    Canvas(int width, int height, Rgb background);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    int width() const { return width_; }
    int height() const { return height_; }

    // `img` with its top-left corner at (x, y), scaled by `scale` (smoothly when below 1).
    void picture(const RgbImage& img, double x, double y, double scale = 1.0);
    void fill(double x, double y, double w, double h, Rgb c, double alpha = 1.0);
    void frame(double x, double y, double w, double h, Rgb c, double lineWidth,
               bool dashed = false);
    void line(double x0, double y0, double x1, double y1, Rgb c, double lineWidth,
              bool dashed = false);
    // A connected line through `points`.
    void polyline(const std::vector<std::pair<double, double>>& points, Rgb c, double lineWidth);
    // Text of `size` pixels (the font's em) with its top at y, aligned to x; returns its width.
    double text(double x, double y, std::string_view text, double size, Rgb c,
                Align align = Align::Left, bool bold = false);
    double textWidth(std::string_view text, double size, bool bold = false);
    // Text turned a quarter left, centred on (x, y) (for a vertical axis title).
    void verticalText(double x, double y, std::string_view text, double size, Rgb c);

    RgbImage image();

  private:
    int width_, height_;
    cairo_surface_t* surface_;
    cairo_t* cr_;
};

// Pictures in a grid with a heading above each: `columns` pictures per row, every cell as
// large as the largest picture. Headings are sized to the cells (at least 16 pixels, about
// 1/40 of a cell's width), so that they stay readable when the whole is shown at a quarter of
// its size.
RgbImage labelledGrid(const std::vector<const RgbImage*>& pictures,
                      const std::vector<std::string_view>& labels, int columns);

// |after - before| per channel, times `gain`, on black. With gain 0 the gain is chosen: the
// largest power of two up to 64 at which the 99.5th percentile of the differences stays
// below full white. `gainUsed` receives the gain.
RgbImage differencePicture(const RgbImage& before, const RgbImage& after, int gain, int& gainUsed);

}  // namespace lut2d_tool
