// lut2d: the host tool for tuning engineers. Runs the library on pictures and raw frames
// through its public handle functions, and writes, checks, shows, converts and plots
// tuning records.

#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <new>
#include <string>

#include "commands.h"
#include "files.h"
#include "library.h"
#include "orvix_lut2d_version.h"
#include "tool_error.h"

namespace {

using namespace lut2d_tool;

constexpr int kUsageError = 2;

// Runs one command, turning every failure into "lut2d: error: ..." lines and status 1.
template <typename F>
int guarded(F&& command) {
    try {
        return command();
    } catch (const ToolError& e) {
        for (const std::string& line : e.lines()) {
            std::fprintf(stderr, "lut2d: error: %s\n", line.c_str());
        }
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "lut2d: error: out of memory\n");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "lut2d: error: %s\n", e.what());
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    removeTemporaryOutputsOnInterrupt();
    // A file-size limit or a full disk then fails a write, which ends in the usual error
    // path (one line, temporary output removed) instead of killing the process.
    signal(SIGXFSZ, SIG_IGN);

    CLI::App app{
        "lut2d: runs the 2-D hue/saturation LUT colour adjustment on pictures and raw YUV "
        "frames, and writes, checks, shows, converts and plots tuning records."};
    app.set_version_flag("--version", "lut2d " LUT2D_VERSION_STRING);
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Print the library's log lines too");

    DemoOptions demo;
    CLI::App* demoCmd = app.add_subcommand(
        "demo",
        "Apply the showcase tuning to a built-in test chart in both modes and write the "
        "pictures into a folder");
    demoCmd->add_option("-o,--output", demo.output, "Folder for the pictures")
        ->capture_default_str()
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);

    ApplyOptions apply;
    std::string mode = "full";
    std::string format;
    std::string range;
    std::string size;
    uint32_t stride = 0;
    uint64_t maxMegapixels = kDefaultMaxPixels / 1'000'000;
    CLI::App* applyCmd = app.add_subcommand(
        "apply",
        "Adjust a picture, raw YUV 4:2:0 frames or a y4m clip with a tuning record. Kinds of "
        "file go by their names: pictures .png .jpg .jpeg .webp .tif .tiff (.heic .heif to "
        "read), y4m clips .y4m, raw frames .nv12 .nv21 .i420 .yv12 (.yuv .raw with --format)");
    applyCmd->add_option("input", apply.input, "Input picture, raw frames or y4m clip")->required();
    applyCmd->add_option("output", apply.output, "Output picture, raw frames or y4m clip")
        ->required();
    applyCmd->add_option("-r,--record", apply.record, "Tuning record: .json or binary")->required();
    applyCmd->add_option("-m,--mode", mode, "full (every pixel) or low (one colour per 2x2 block)")
        ->check(CLI::IsMember({"full", "low"}))
        ->capture_default_str();
    CLI::Option* sizeOpt = applyCmd->add_option(
        "--size", size,
        "Size of raw frames, WIDTHxHEIGHT (e.g. 1920x1080); default: taken from the input's "
        "name (clip_1920x1080.nv12)");
    CLI::Option* strideOpt = applyCmd->add_option(
        "--stride", stride,
        "Row pitch in bytes of the frames the library gets and of raw files (planar chroma "
        "planes: half of it); default: the width");
    CLI::Option* formatOpt =
        applyCmd
            ->add_option("--format", format,
                         "Layout of raw input frames, over what the name says: i420 (Cb plane, "
                         "Cr plane), yv12 (Cr plane, Cb plane), nv12 (Cb, Cr pairs) or nv21 "
                         "(Cr, Cb pairs). A raw output is laid out as its name says, else like "
                         "the input")
            ->check(CLI::IsMember({"i420", "yv12", "nv12", "nv21"}));
    CLI::Option* rangeOpt =
        applyCmd
            ->add_option("--range", range,
                         "Colour range of the YUV frames read and written: full (0..255) or "
                         "limited (Y 16..235, Cb and Cr 16..240, as ffmpeg's plain -pix_fmt nv12 "
                         "and most video). The library works in full range (full-range BT.601, "
                         "as camera pipelines and JPEG use), so limited frames are expanded for "
                         "it and compressed back. Default: a y4m clip's XCOLORRANGE tag, else "
                         "full")
            ->check(CLI::IsMember({"full", "limited"}));
    applyCmd->add_option("--compare", apply.compare,
                         "Also write a picture of the first frame: before | after | difference");
    applyCmd
        ->add_option("--quality", apply.jpegQuality, "JPEG and WebP quality of pictures, 1..100")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    applyCmd
        ->add_option("--max-megapixels", maxMegapixels,
                     "Largest picture or frame to decode, in megapixels (checked before "
                     "anything is allocated)")
        ->check(CLI::Range(uint64_t{1}, uint64_t{4300}))
        ->capture_default_str();

    CLI::App* recordCmd =
        app.add_subcommand("record", "Write, check, show or convert tuning records");
    std::string recordIn, recordOut;
    bool showcase = false;
    CLI::App* newCmd = recordCmd->add_subcommand(
        "new", "Write a neutral record (nodes evenly spaced, offsets 0): .json or binary");
    newCmd->add_option("output", recordOut, "The new record")->required();
    newCmd->add_flag("--showcase", showcase, "Write the demo's showcase tuning instead");
    bool strict = false;
    CLI::App* checkCmd = recordCmd->add_subcommand(
        "check",
        "Validate a record as the library does and the invariants it relies on, then lint it: "
        "red seam, hue and saturation fold-over, near-grey push");
    checkCmd->add_option("record", recordIn, "Record: .json or binary")->required();
    checkCmd->add_flag("--strict", strict, "Treat lint warnings as errors (exit status 1)");
    CLI::App* showCmd = recordCmd->add_subcommand("show", "Print a record readably");
    showCmd->add_option("record", recordIn, "Record: .json or binary")->required();
    CLI::App* convertCmd = recordCmd->add_subcommand(
        "convert", "Convert between JSON and the 1784-byte binary record (by the names)");
    convertCmd->add_option("input", recordIn, "Record to read")->required();
    convertCmd->add_option("output", recordOut, "Record to write: .json for JSON, else binary")
        ->required();

    std::string plotFolder;
    CLI::App* plotCmd = app.add_subcommand(
        "plot",
        "Draw what a record does: hue x saturation planes before and after (with the places "
        "the lint warns about outlined), and the lightness weight");
    plotCmd->add_option("record", recordIn, "Record: .json or binary")->required();
    plotCmd->add_option("folder", plotFolder, "Folder for hs-planes.png and lightness-weight.png")
        ->required();

    for (CLI::App* sub : {demoCmd, applyCmd, recordCmd, plotCmd}) sub->fallthrough();
    for (CLI::App* sub : {newCmd, checkCmd, showCmd, convertCmd}) sub->fallthrough();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e);  // --help, --version
        std::fprintf(stderr, "lut2d: error: %s (see lut2d --help)\n", e.what());
        return kUsageError;
    }
    setLibraryLogVerbose(verbose);

    if (*demoCmd) return guarded([&] { return runDemo(demo); });
    if (*applyCmd) {
        apply.mode = mode == "low" ? LUT2D_MODE_YDS : LUT2D_MODE_CHRUS;
        if (*formatOpt) apply.format = layoutFromName(format);
        if (*rangeOpt) apply.range = range == "limited" ? ColourRange::Limited : ColourRange::Full;
        apply.maxPixels = maxMegapixels * 1'000'000;
        if (*sizeOpt) apply.size = size;
        if (*strideOpt) apply.stride = stride;
        return guarded([&] { return runApply(apply); });
    }
    if (*newCmd) return guarded([&] { return runRecordNew(recordOut, showcase); });
    if (*checkCmd) return guarded([&] { return runRecordCheck(recordIn, strict); });
    if (*showCmd) return guarded([&] { return runRecordShow(recordIn); });
    if (*convertCmd) return guarded([&] { return runRecordConvert(recordIn, recordOut); });
    if (*plotCmd) return guarded([&] { return runPlot(recordIn, plotFolder); });
    if (*recordCmd) {
        std::fprintf(stderr,
                     "lut2d: error: record needs a command: new, check, show or convert (see lut2d "
                     "record --help)\n");
        return kUsageError;
    }
    std::fputs(app.help().c_str(), stderr);
    return kUsageError;
}
