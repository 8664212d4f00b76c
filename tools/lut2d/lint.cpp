#include "lint.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "library.h"
#include "record.h"
#include "yuv.h"

namespace lut2d_tool {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSeamDegrees = 0.5;  // row 0 and row 24 may differ by less
constexpr double kSeamPercent = 0.5;
constexpr double kNearGreyLevels = 2.0;  // a near-grey may move by this much chroma
constexpr double kMinRadius = 6.0;       // chroma radius below which a hue is not judged
// A fold must go back by more than this many levels of chroma: 8-bit rounding on the way in
// and out moves a colour by up to about two.
constexpr double kLevels = 4.0;

// Where the ramps sample: hue ramps at these saturations, saturation ramps at these hues.
constexpr double kHueRampSaturations[] = {20, 35, 50, 65, 80, 100};
constexpr int kHueSamples = 1440;   // 0.25 degrees apart
constexpr int kSatSamples = 401;    // 0.25 percent apart
constexpr int kSatRampHueStep = 5;  // degrees
constexpr int kBandRows = 8;        // each ramp is a band of rows; colours 2 pixels wide

struct Yuv {
    double y, cb, cr;
};

struct Hsl {
    double h, s, l;  // degrees, percent, fraction
};

Yuv hslToYuv(double hueDegrees, double satPercent, double lightness) {
    const double h = std::fmod(std::fmod(hueDegrees, 360.0) + 360.0, 360.0) / 60.0;
    const double c = (1 - std::abs(2 * lightness - 1)) * satPercent / 100.0;
    const double x = c * (1 - std::abs(std::fmod(h, 2.0) - 1));
    const double m = lightness - c / 2;
    double r = m, g = m, b = m;
    switch (static_cast<int>(h)) {
        case 0:
            r += c, g += x;
            break;
        case 1:
            r += x, g += c;
            break;
        case 2:
            g += c, b += x;
            break;
        case 3:
            g += x, b += c;
            break;
        case 4:
            r += x, b += c;
            break;
        default:
            r += c, b += x;
            break;
    }
    r *= 255, g *= 255, b *= 255;
    const double y = 0.299 * r + 0.587 * g + 0.114 * b;
    return {y, 128 + (b - y) / 1.772, 128 + (r - y) / 1.402};
}

Hsl yuvToHsl(Yuv c) {
    auto clamp = [](double v) { return std::clamp(v, 0.0, 255.0); };
    const double r = clamp(c.y + 1.402 * (c.cr - 128));
    const double g = clamp(c.y - 0.344136 * (c.cb - 128) - 0.714136 * (c.cr - 128));
    const double b = clamp(c.y + 1.772 * (c.cb - 128));
    const double mx = std::max({r, g, b}), mn = std::min({r, g, b});
    const double chroma = mx - mn;
    Hsl out{0, 0, (mx + mn) / 510};
    if (chroma <= 0) return out;
    out.s = 100 * chroma / (255 - std::abs(mx + mn - 255));
    double h;
    if (mx == r) {
        h = std::fmod((g - b) / chroma + 6, 6.0);
    } else if (mx == g) {
        h = (b - r) / chroma + 2;
    } else {
        h = (r - g) / chroma + 4;
    }
    out.h = 60 * h;
    return out;
}

double radius(Yuv c) {
    return std::hypot(c.cb - 128, c.cr - 128);
}

// One colour through the library: what went in (as 8-bit YUV) and what came out with the
// record and with a neutral record.
struct Sample {
    Yuv in, out, neutral;
};

// Runs `colours` through the library in full resolution, `perBand` to a band of rows, each
// colour 2 pixels wide, so that every colour is read back from the middle of its band where
// chroma upsampling mixes it only with its neighbours on the ramp.
std::vector<Sample> runColours(const ISP2DLUTInStruct_V10& record, const std::vector<Yuv>& colours,
                               size_t perBand) {
    const size_t bands = (colours.size() + perBand - 1) / perBand;
    const FrameGeometry g{static_cast<uint32_t>(2 * perBand),
                          static_cast<uint32_t>(kBandRows * bands),
                          static_cast<uint32_t>(2 * perBand), ChromaOrder::Nv12};
    YuvFrame frame(g);
    auto byte = [](double v) { return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L)); };
    std::vector<Sample> samples(colours.size());
    for (size_t i = 0; i < colours.size(); ++i) {
        const size_t x = 2 * (i % perBand), band = i / perBand;
        const uint8_t y = byte(colours[i].y), cb = byte(colours[i].cb), cr = byte(colours[i].cr);
        samples[i].in = {double(y), double(cb), double(cr)};
        for (size_t row = band * kBandRows; row < (band + 1) * kBandRows; ++row) {
            frame.luma[row * g.stride + x] = frame.luma[row * g.stride + x + 1] = y;
            if (row % 2 == 0) {
                frame.chroma[row / 2 * g.stride + x] = cb;
                frame.chroma[row / 2 * g.stride + x + 1] = cr;
            }
        }
    }
    YuvFrame neutral = frame;
    LibraryHandle(record, g, LUT2D_MODE_CHRUS).process(frame);
    LibraryHandle(neutralRecord(), g, LUT2D_MODE_CHRUS).process(neutral);
    auto read = [&](const YuvFrame& f, size_t i) {
        const size_t x = 2 * (i % perBand), row = (i / perBand) * kBandRows + kBandRows / 2 - 2;
        const double y = (f.luma[row * g.stride + x] + f.luma[row * g.stride + x + 1] +
                          f.luma[(row + 1) * g.stride + x] + f.luma[(row + 1) * g.stride + x + 1]) /
                         4.0;
        return Yuv{y, double(f.chroma[row / 2 * g.stride + x]),
                   double(f.chroma[row / 2 * g.stride + x + 1])};
    };
    for (size_t i = 0; i < colours.size(); ++i) {
        samples[i].out = read(frame, i);
        samples[i].neutral = read(neutral, i);
    }
    return samples;
}

// A stretch of a ramp where the output goes backwards: from the input `peakIn` (output
// `peakOut`) the output falls, by more than the tolerance, to `valleyOut` at `valleyIn`, and
// only regains `peakOut` at `recoverIn`.
struct Fold {
    double peakIn, peakOut, valleyIn, valleyOut, recoverIn;
};

std::vector<Fold> findFolds(const std::vector<double>& in, const std::vector<double>& out,
                            const std::vector<double>& tolerance) {
    std::vector<Fold> folds;
    double maxOut = -std::numeric_limits<double>::infinity();
    size_t maxAt = 0;
    bool folding = false;
    Fold f{};
    for (size_t i = 0; i < in.size(); ++i) {
        if (!folding) {
            if (out[i] >= maxOut) {
                maxOut = out[i];
                maxAt = i;
            } else if (out[i] < maxOut - tolerance[i] && i + 1 < in.size() &&
                       out[i + 1] < maxOut - tolerance[i + 1]) {
                // Two samples in a row below the peak: a fold, not a rounding blip.
                folding = true;
                f = {in[maxAt], maxOut, in[i], out[i], in.back()};
            }
            continue;
        }
        if (out[i] < f.valleyOut) f.valleyIn = in[i], f.valleyOut = out[i];
        if (out[i] >= maxOut) {
            f.recoverIn = in[i];
            folds.push_back(f);
            folding = false;
            maxOut = out[i];
            maxAt = i;
        }
    }
    if (folding) folds.push_back(f);
    return folds;
}

// ---- naming grid entries -----------------------------------------------------------------

double hueUnitsOf(double degrees) {
    return std::fmod(std::fmod(degrees, 360.0) + 360.0, 360.0) * kHueTurn / 360.0;
}

int hueIntervalOf(const ISP2DLUTInStruct_V10& r, double degrees) {
    return nodeInterval(r.lut_1d_h, kHueNodes, static_cast<uint16_t>(hueUnitsOf(degrees)));
}

int satIntervalOf(const ISP2DLUTInStruct_V10& r, double percent) {
    return nodeInterval(r.lut_1d_s, kSatNodes, static_cast<uint16_t>(percent * kSatFull / 100.0));
}

// `v` with `decimals` digits after the point.
std::string num(double v, int decimals) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    return buf;
}

std::string degrees(double d) {
    return num(d, 1);
}

std::string span(int a, int b) {
    return a == b ? std::to_string(a) : std::to_string(a) + ".." + std::to_string(b);
}

std::string lightnessSpan(double a, double b) {
    return a == b ? num(a * 100, 0) + " %" : num(a * 100, 0) + ".." + num(b * 100, 0) + " %";
}

// "rows 4..7 (60.0..105.0 degrees), saturation nodes 5..15 (33..100 %)".
std::string entryText(const ISP2DLUTInStruct_V10& r, int row0, int row1, int col0, int col1) {
    std::string rows =
        row1 >= row0 ? span(row0, row1) : span(row0, kHueNodes - 1) + " and " + span(0, row1);
    return "rows " + rows + " (" + degrees(r.lut_1d_h[row0] * 360.0 / kHueTurn) + ".." +
           degrees(r.lut_1d_h[row1] * 360.0 / kHueTurn) + " degrees), saturation nodes " +
           span(col0, col1) + " (" + num(r.lut_1d_s[col0] * 100.0 / kSatFull, 0) + ".." +
           num(r.lut_1d_s[col1] * 100.0 / kSatFull, 0) + " %)";
}

// The hue rows whose intervals hold hues h0..h1 and the saturation nodes whose intervals
// hold s0..s1.
struct Entries {
    int row0, row1, col0, col1;
};

Entries entriesAround(const ISP2DLUTInStruct_V10& r, double h0, double h1, double s0, double s1) {
    Entries e{hueIntervalOf(r, h0), hueIntervalOf(r, h1) + 1, satIntervalOf(r, s0),
              std::min(satIntervalOf(r, s1) + 1, kSatNodes - 1)};
    if (h1 - h0 >= 360) e.row0 = 0, e.row1 = kHueNodes - 1;
    return e;
}

// Within `e`, the neighbouring grid entries whose offsets fall by more than the spacing of
// their nodes (along hue for the hue grid, along saturation for the saturation grid): the
// ones to edit. `e` itself when no pair does (the fold then comes from several together).
Entries steepPairs(const ISP2DLUTInStruct_V10& r, Entries e, bool alongHue) {
    if (e.row1 < e.row0) return e;
    Entries found{kHueNodes, -1, kSatNodes, -1};
    const int16_t* grid = alongHue ? r.lut_2d_h : r.lut_2d_s;
    const double step = gridStep(alongHue ? r.h_shift : r.s_shift);
    for (int i = e.row0; i <= e.row1; ++i) {
        for (int j = e.col0; j <= e.col1; ++j) {
            const int i1 = alongHue ? i + 1 : i, j1 = alongHue ? j : j + 1;
            if (i1 > e.row1 || j1 > e.col1) continue;
            const double spacing =
                alongHue ? r.lut_1d_h[i1] - r.lut_1d_h[i] : r.lut_1d_s[j1] - r.lut_1d_s[j];
            const double drop = (grid[i * kSatNodes + j] - grid[i1 * kSatNodes + j1]) * step;
            if (drop <= spacing) continue;
            found.row0 = std::min(found.row0, i), found.row1 = std::max(found.row1, i1);
            found.col0 = std::min(found.col0, j), found.col1 = std::max(found.col1, j1);
        }
    }
    return found.row1 < 0 ? e : found;
}

std::string entryText(const ISP2DLUTInStruct_V10& r, const Entries& e) {
    return entryText(r, e.row0, e.row1, e.col0, e.col1);
}

// ---- the checks -----------------------------------------------------------------------------

void redSeam(const ISP2DLUTInStruct_V10& r, std::vector<LintWarning>& out) {
    struct Grid {
        const char* name;
        const int16_t* values;
        double unit;  // degrees or percent per grid step
        const char* unitName;
        double limit;
    } grids[] = {
        {"lut_2d_h", r.lut_2d_h, gridStep(r.h_shift) * 360.0 / kHueTurn, "degrees", kSeamDegrees},
        {"lut_2d_s", r.lut_2d_s, gridStep(r.s_shift) * 100.0 / kSatFull, "%", kSeamPercent},
    };
    for (const Grid& g : grids) {
        double worst = 0;
        int worstAt = 0, first = -1, last = -1;
        std::string perNode;
        for (int j = 0; j < kSatNodes; ++j) {
            const double jump =
                std::abs(g.values[j] - g.values[(kHueNodes - 1) * kSatNodes + j]) * g.unit;
            if (j > 0) perNode += ' ';
            perNode += num(jump, 1);
            if (jump <= g.limit) continue;
            if (first < 0) first = j;
            last = j;
            if (jump > worst) worst = jump, worstAt = j;
        }
        if (first < 0) continue;
        LintWarning w{LintWarning::Kind::RedSeam,
                      std::string("red seam: ") + g.name + " row 0 (0 degrees) and row 24 (360 " +
                          "degrees) are both red but differ, largest jump " + num(worst, 1) + " " +
                          g.unitName + " at saturation node " + std::to_string(worstAt) + " (" +
                          num(r.lut_1d_s[worstAt] * 100.0 / kSatFull, 0) + " %" + "); jump per " +
                          "saturation node: " + perNode + "; make " + g.name + "[24][" +
                          span(first, last) + "] equal " + g.name + "[0][" + span(first, last) +
                          "]",
                      {}};
        for (double l : kLintLightness) {
            w.regions.push_back({l, -2, 2, r.lut_1d_s[first] * 100.0 / kSatFull,
                                 r.lut_1d_s[last] * 100.0 / kSatFull});
        }
        out.push_back(std::move(w));
    }
}

// A fold found on one ramp, and where.
struct FoldAt {
    Fold fold;
    double lightness;
    double across;  // the ramp's fixed saturation (hue ramps) or hue (saturation ramps)
};

// Folds whose input ranges overlap, in one warning each.
std::vector<std::vector<FoldAt>> groupFolds(std::vector<FoldAt> folds) {
    std::sort(folds.begin(), folds.end(),
              [](const FoldAt& a, const FoldAt& b) { return a.fold.peakIn < b.fold.peakIn; });
    std::vector<std::vector<FoldAt>> groups;
    double end = 0;
    for (const FoldAt& f : folds) {
        if (groups.empty() || f.fold.peakIn > end) {
            groups.emplace_back();
            end = f.fold.recoverIn;
        }
        end = std::max(end, f.fold.recoverIn);
        groups.back().push_back(f);
    }
    return groups;
}

void hueFolds(const ISP2DLUTInStruct_V10& r, std::vector<LintWarning>& out) {
    std::vector<Yuv> colours;
    for (double l : kLintLightness) {
        for (double s : kHueRampSaturations) {
            for (int k = 0; k < kHueSamples; ++k)
                colours.push_back(hslToYuv(k * 360.0 / kHueSamples, s, l));
        }
    }
    const std::vector<Sample> samples = runColours(r, colours, kHueSamples);
    std::vector<FoldAt> found;
    size_t ramp = 0;
    for (double l : kLintLightness) {
        for (double s : kHueRampSaturations) {
            // Two turns, the output unwrapped by continuity; folds that start in the second
            // turn are kept, so that one crossing 0 degrees is seen whole.
            std::vector<double> in, outHue, tolerance;
            double unwrapped = 0, previous = 0;
            for (int turn = 0; turn < 2; ++turn) {
                for (int k = 0; k < kHueSamples; ++k) {
                    const Sample& sm = samples[ramp * kHueSamples + k];
                    const double h = yuvToHsl(sm.out).h;
                    if (in.empty()) {
                        unwrapped = h;
                    } else {
                        unwrapped += std::remainder(h - previous, 360.0);
                    }
                    previous = h;
                    in.push_back(turn * 360.0 + k * 360.0 / kHueSamples);
                    outHue.push_back(unwrapped);
                    const double rad = radius(sm.in);
                    tolerance.push_back(
                        rad < kMinRadius ? 1e9 : std::max(1.5, kLevels * 180 / kPi / rad));
                }
            }
            for (const Fold& f : findFolds(in, outHue, tolerance)) {
                if (f.peakIn < 360 || f.peakIn >= 720) continue;
                Fold g = f;
                for (double* v : {&g.peakIn, &g.valleyIn, &g.recoverIn}) *v -= 360;
                const double shift = std::floor(g.peakOut / 360) * 360;
                g.peakOut -= shift, g.valleyOut -= shift;
                found.push_back({g, l, s});
            }
            ++ramp;
        }
    }
    for (const std::vector<FoldAt>& group : groupFolds(found)) {
        double h0 = 1e9, h1 = -1e9, s0 = 1e9, s1 = -1e9, l0 = 1e9, l1 = -1e9;
        const FoldAt* worst = &group.front();
        for (const FoldAt& f : group) {
            h0 = std::min(h0, f.fold.peakIn), h1 = std::max(h1, f.fold.valleyIn);
            s0 = std::min(s0, f.across), s1 = std::max(s1, f.across);
            l0 = std::min(l0, f.lightness), l1 = std::max(l1, f.lightness);
            if (f.fold.peakOut - f.fold.valleyOut > worst->fold.peakOut - worst->fold.valleyOut) {
                worst = &f;
            }
        }
        const Fold& w = worst->fold;
        LintWarning warning{
            LintWarning::Kind::HueFold,
            "hue fold-over: hues " + degrees(h0) + ".." + degrees(h1) + " degrees (lightness " +
                lightnessSpan(l0, l1) + ", saturation " + num(s0, 0) + ".." + num(s1, 0) + " %" +
                ") come out in reverse order; worst at lightness " +
                num(worst->lightness * 100, 0) + " %" + ", saturation " + num(worst->across, 0) +
                " %" + ": " + degrees(w.peakIn) + " -> " +
                degrees(std::fmod(w.peakOut + 360, 360)) + ", " + degrees(w.valleyIn) + " -> " +
                degrees(std::fmod(w.valleyOut + 360, 360)) + ", " + degrees(w.recoverIn) + " -> " +
                degrees(std::fmod(w.peakOut + 360, 360)) +
                " degrees; neighbouring hue offsets differ by more than their node spacing: "
                "smooth the steps of lut_2d_h " +
                entryText(r, steepPairs(r, entriesAround(r, h0, h1, s0, s1), true)),
            {}};
        for (const FoldAt& f : group) {
            warning.regions.push_back({f.lightness, f.fold.peakIn, f.fold.recoverIn,
                                       std::max(0.0, f.across - 7.5),
                                       std::min(100.0, f.across + 7.5)});
        }
        out.push_back(std::move(warning));
    }
}

void saturationChecks(const ISP2DLUTInStruct_V10& r, std::vector<LintWarning>& out) {
    std::vector<Yuv> colours;
    for (double l : kLintLightness) {
        for (int h = 0; h < 360; h += kSatRampHueStep) {
            for (int k = 0; k < kSatSamples; ++k) {
                colours.push_back(hslToYuv(h, k * 100.0 / (kSatSamples - 1), l));
            }
        }
    }
    const std::vector<Sample> samples = runColours(r, colours, kSatSamples);
    std::vector<FoldAt> folds;
    struct Push {
        double hue, lightness, levels, satFrom, satTo;
    };
    std::vector<Push> pushes;
    size_t ramp = 0;
    for (double l : kLintLightness) {
        for (int h = 0; h < 360; h += kSatRampHueStep) {
            const double full = radius(hslToYuv(h, 100, l));
            const double tol = std::max(1.5, kLevels * 100 / std::max(full, 1.0));
            std::vector<double> in, outSat, tolerance;
            Push worst{double(h), l, 0, 0, 0};
            for (int k = 0; k < kSatSamples; ++k) {
                const Sample& sm = samples[ramp * kSatSamples + k];
                const double s = k * 100.0 / (kSatSamples - 1);
                in.push_back(s);
                outSat.push_back(yuvToHsl(sm.out).s);
                // Near-greys are judged by the push check: their hue, and so the hue row
                // that adjusts them, is too uncertain after 8-bit rounding to judge an order.
                tolerance.push_back(full < kMinRadius || s <= kNearGreySaturation ? 1e9 : tol);
                if (s > kNearGreySaturation) continue;
                const double push =
                    std::hypot(sm.out.cb - sm.neutral.cb, sm.out.cr - sm.neutral.cr);
                if (push > worst.levels) {
                    worst = {double(h), l, push, yuvToHsl(sm.neutral).s, yuvToHsl(sm.out).s};
                }
            }
            if (worst.levels > kNearGreyLevels) pushes.push_back(worst);
            for (const Fold& f : findFolds(in, outSat, tolerance))
                folds.push_back({f, l, double(h)});
            ++ramp;
        }
    }

    // Saturation folds: grouped by hue (neighbouring ramps), each group one warning.
    std::sort(folds.begin(), folds.end(),
              [](const FoldAt& a, const FoldAt& b) { return a.across < b.across; });
    for (size_t i = 0; i < folds.size();) {
        size_t j = i + 1;
        while (j < folds.size() && folds[j].across - folds[j - 1].across <= kSatRampHueStep) ++j;
        double h0 = 1e9, h1 = -1e9, s0 = 1e9, s1 = -1e9, l0 = 1e9, l1 = -1e9;
        const FoldAt* worst = &folds[i];
        LintWarning warning{LintWarning::Kind::SaturationFold, "", {}};
        for (size_t k = i; k < j; ++k) {
            const FoldAt& f = folds[k];
            h0 = std::min(h0, f.across), h1 = std::max(h1, f.across);
            s0 = std::min(s0, f.fold.peakIn), s1 = std::max(s1, f.fold.valleyIn);
            l0 = std::min(l0, f.lightness), l1 = std::max(l1, f.lightness);
            if (f.fold.peakOut - f.fold.valleyOut > worst->fold.peakOut - worst->fold.valleyOut) {
                worst = &f;
            }
            warning.regions.push_back(
                {f.lightness, f.across - 2.5, f.across + 2.5, f.fold.peakIn, f.fold.recoverIn});
        }
        const Fold& w = worst->fold;
        warning.text =
            "saturation fold-over: saturations " + num(s0, 0) + ".." + num(s1, 0) + " %" +
            " (hues " + degrees(h0) + ".." + degrees(h1) + " degrees, lightness " +
            lightnessSpan(l0, l1) + ") come out in reverse order; worst at hue " +
            degrees(worst->across) + ", lightness " + num(worst->lightness * 100, 0) + " %" + ": " +
            num(w.peakIn, 1) + " -> " + num(w.peakOut, 1) + ", " + num(w.valleyIn, 1) + " -> " +
            num(w.valleyOut, 1) + ", " + num(w.recoverIn, 1) + " -> " + num(w.peakOut, 1) + " %" +
            "; neighbouring saturation offsets fall by more than their node spacing: "
            "smooth the steps of lut_2d_s " +
            entryText(r, steepPairs(r, entriesAround(r, h0, h1, s0, s1), false));
        out.push_back(std::move(warning));
        i = j;
    }

    // Near-grey push: grouped by hue likewise.
    std::sort(pushes.begin(), pushes.end(),
              [](const Push& a, const Push& b) { return a.hue < b.hue; });
    for (size_t i = 0; i < pushes.size();) {
        size_t j = i + 1;
        while (j < pushes.size() && pushes[j].hue - pushes[j - 1].hue <= kSatRampHueStep) ++j;
        const Push* worst = &pushes[i];
        double l0 = 1e9, l1 = -1e9;
        LintWarning warning{LintWarning::Kind::NearGreyPush, "", {}};
        for (size_t k = i; k < j; ++k) {
            if (pushes[k].levels > worst->levels) worst = &pushes[k];
            l0 = std::min(l0, pushes[k].lightness), l1 = std::max(l1, pushes[k].lightness);
            warning.regions.push_back({pushes[k].lightness, pushes[k].hue - 2.5,
                                       pushes[k].hue + 2.5, 0, kNearGreySaturation});
        }
        const double h0 = pushes[i].hue, h1 = pushes[j - 1].hue;
        warning.text = "near-grey push: colours below " + num(kNearGreySaturation, 0) + " %" +
                       " saturation at hues " + degrees(h0) + ".." + degrees(h1) +
                       " degrees (lightness " + lightnessSpan(l0, l1) + ") move by up to " +
                       num(worst->levels, 1) + " levels of chroma (at hue " + degrees(worst->hue) +
                       ", lightness " + num(worst->lightness * 100, 0) + " %" + ": saturation " +
                       num(worst->satFrom, 1) + " -> " + num(worst->satTo, 1) + " %" +
                       "), tinting greys and hazy colours; bring to 0 lut_2d_h and lut_2d_s " +
                       entryText(r, entriesAround(r, h0 - 2.5, h1 + 2.5, 0, kNearGreySaturation));
        out.push_back(std::move(warning));
        i = j;
    }
}

}  // namespace

std::vector<LintWarning> lintRecord(const ISP2DLUTInStruct_V10& record) {
    std::vector<LintWarning> out;
    if (record.enable == 0) return out;
    redSeam(record, out);
    hueFolds(record, out);
    saturationChecks(record, out);
    return out;
}

}  // namespace lut2d_tool
