// lut2d demo: the showcase tuning on the built-in test chart, in both modes.

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "canvas.h"
#include "chart.h"
#include "commands.h"
#include "files.h"
#include "image_io.h"
#include "library.h"
#include "plot.h"
#include "raster.h"
#include "record.h"
#include "record_io.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsBetween(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double, std::milli>(b - a).count();
}

struct ModeRun {
    Lut2DMode mode;
    const char* file;
    double setupMs = 0;
    double frameMs = 0;
    size_t changedPixels = 0;
    RgbImage after;
    RgbImage changes;
};

// Pixels whose luma or chroma pair differ between two frames.
std::vector<bool> changedPixels(const YuvFrame& a, const YuvFrame& b) {
    const FrameGeometry& g = a.geometry;
    std::vector<bool> changed(size_t{g.width} * g.height);
    for (uint32_t y = 0; y < g.height; ++y) {
        for (uint32_t x = 0; x < g.width; ++x) {
            const size_t l = size_t{y} * g.stride + x;
            const size_t c = size_t{y / 2} * g.stride + 2 * (x / 2);
            changed[size_t{y} * g.width + x] = a.luma[l] != b.luma[l] ||
                                               a.chroma[c] != b.chroma[c] ||
                                               a.chroma[c + 1] != b.chroma[c + 1];
        }
    }
    return changed;
}

// Changed pixels in their new colour; unchanged ones as a dim grey for orientation.
RgbImage changeMap(const RgbImage& before, const RgbImage& after,
                   const std::vector<bool>& changed) {
    RgbImage out(after.width, after.height);
    for (uint32_t y = 0; y < out.height; ++y) {
        for (uint32_t x = 0; x < out.width; ++x) {
            if (changed[size_t{y} * out.width + x]) {
                out.set(x, y, after.at(x, y));
            } else {
                const Rgb p = before.at(x, y);
                const auto dim = static_cast<uint8_t>((p.r + p.g + p.b) / 12);
                out.set(x, y, {dim, dim, dim});
            }
        }
    }
    return out;
}

}  // namespace

int runDemo(const DemoOptions& options) {
    const fs::path folder = options.output;
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) throw ToolError(folder.string() + ": cannot create the folder: " + ec.message());

    const ISP2DLUTInStruct_V10 record = showcaseRecord();
    const RgbImage chart = makeTestChart();
    const YuvFrame source = rgbToYuv(chart, ChromaOrder::Nv12, chart.width);
    // What the library receives, seen as a picture: the chart after the YUV 4:2:0 round trip.
    const RgbImage before = yuvToRgb(source);

    std::printf("lut2d demo: the showcase tuning on a %ux%u test chart\n", chart.width,
                chart.height);
    ModeRun runs[] = {{LUT2D_MODE_CHRUS, "after-full.png", 0, 0, 0, {}, {}},
                      {LUT2D_MODE_YDS, "after-low.png", 0, 0, 0, {}, {}}};
    bool libraryChangedFrames = false;
    for (ModeRun& run : runs) {
        YuvFrame frame = source;
        const auto t0 = Clock::now();
        LibraryHandle handle(record, frame.geometry, run.mode);
        const auto t1 = Clock::now();
        handle.process(frame);
        const auto t2 = Clock::now();
        run.setupMs = millisecondsBetween(t0, t1);
        run.frameMs = millisecondsBetween(t1, t2);
        libraryChangedFrames = libraryChangedFrames || !(frame == source);

        // The library takes every pixel through RGB and back, which may move a colour by a
        // level even where the tuning changes nothing; a neutral record shows that alone, so
        // the pixels the tuning changed are those that differ from the neutral result.
        YuvFrame reference = source;
        LibraryHandle(neutralRecord(), reference.geometry, run.mode).process(reference);
        const std::vector<bool> changed = changedPixels(reference, frame);
        for (bool c : changed) run.changedPixels += c ? 1 : 0;
        run.after = yuvToRgb(frame);
        run.changes = changeMap(before, run.after, changed);
        std::printf(
            "  %-16s %7.1f ms for the frame (set-up %.1f ms), %4.1f %% of pixels changed by the "
            "tuning\n",
            modeName(run.mode), run.frameMs, run.setupMs,
            100.0 * static_cast<double>(run.changedPixels) / static_cast<double>(changed.size()));
    }

    const RgbImage halfBefore = halve(before);
    const RgbImage halfFull = halve(runs[0].after);
    const RgbImage halfLow = halve(runs[1].after);
    const RgbImage halfChanges = halve(runs[0].changes);
    int gain = 0;
    const RgbImage diffFull = differencePicture(halfBefore, halfFull, 0, gain);
    const RgbImage diffLow = differencePicture(halfBefore, halfLow, gain, gain);
    const std::string diffLabel = "Difference |after - before| x " + std::to_string(gain) + ": ";
    const RgbImage compare =
        labelledGrid({&halfBefore, &halfFull, &halfLow, &halfChanges, &diffFull, &diffLow},
                     {"Before", "After: full resolution", "After: low resolution",
                      "Changed by the tuning (full resolution), the rest in grey",
                      diffLabel + "full resolution", diffLabel + "low resolution"},
                     3);

    savePicture(folder / "before.png", before);
    savePicture(folder / runs[0].file, runs[0].after);
    savePicture(folder / runs[1].file, runs[1].after);
    savePicture(folder / "compare.png", compare);
    writeRecordFile(folder / "showcase.json", record);
    writePlots(record, folder);

    const fs::path shown = fs::absolute(folder).lexically_normal();
    std::printf("\nwrote into %s:\n", shown.string().c_str());
    std::printf("  before.png            the chart as the library receives it (YUV 4:2:0)\n");
    std::printf("  after-full.png        adjusted in full resolution\n");
    std::printf("  after-low.png         adjusted in low resolution\n");
    std::printf(
        "  compare.png           before, both results, the changed pixels and the "
        "differences\n");
    std::printf("  showcase.json         the tuning record (lut2d record show / convert)\n");
    std::printf("  hs-planes.png         hue x saturation before and after, 4 lightness levels\n");
    std::printf("  lightness-weight.png  how the effect fades with lightness\n");
    if (!libraryChangedFrames) {
        std::printf(
            "\nnote: no pixel changed in either mode: this build of the library leaves "
            "frames as they are, so the after pictures equal the before picture\n");
    }
    return 0;
}

}  // namespace lut2d_tool
