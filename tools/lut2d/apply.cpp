// lut2d apply: adjusts pictures, single raw frames or raw frame sequences with one handle.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "commands.h"
#include "files.h"
#include "image_io.h"
#include "library.h"
#include "raster.h"
#include "record_io.h"
#include "tool_error.h"

namespace lut2d_tool {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// "1920x1080" -> width and height.
void parseSize(const std::string& text, uint32_t& width, uint32_t& height) {
    unsigned long w = 0, h = 0;
    char x = 0;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%lu%c%lu%c", &w, &x, &h, &extra) != 3 ||
        (x != 'x' && x != 'X') || w == 0 || h == 0 || w > UINT32_MAX || h > UINT32_MAX) {
        throw ToolError("--size " + text + ": expected WIDTHxHEIGHT, for example 1920x1080");
    }
    width = static_cast<uint32_t>(w);
    height = static_cast<uint32_t>(h);
}

// Raw frames read one by one from a file holding a whole number of them.
class RawReader {
  public:
    RawReader(const fs::path& path, const FrameGeometry& g) : path_(path), geometry_(g) {
        std::error_code ec;
        if (fs::is_directory(path, ec))
            throw ToolError(path.string() + ": is a folder, not a file");
        const uintmax_t bytes = fs::file_size(path, ec);
        in_.open(path, std::ios::binary);
        if (ec || !in_) {
            throw ToolError(path.string() +
                            ": cannot open: " + (ec ? ec.message() : std::string("not readable")));
        }
        const size_t frameBytes = g.frameBytes();
        if (bytes == 0 || bytes % frameBytes != 0) {
            throw ToolError(path.string() + ": " + std::to_string(bytes) +
                            " bytes is not a whole number of " + std::to_string(g.width) + "x" +
                            std::to_string(g.height) + " frames (stride " +
                            std::to_string(g.stride) + ": " + std::to_string(frameBytes) +
                            " bytes each); check --size and --stride");
        }
        frames_ = static_cast<size_t>(bytes / frameBytes);
    }
    size_t frames() const { return frames_; }
    void read(YuvFrame& f) {
        in_.read(reinterpret_cast<char*>(f.luma.data()),
                 static_cast<std::streamsize>(f.luma.size()));
        in_.read(reinterpret_cast<char*>(f.chroma.data()),
                 static_cast<std::streamsize>(f.chroma.size()));
        if (!in_) throw ToolError(path_.string() + ": cannot read: the file ended early");
    }

  private:
    fs::path path_;
    FrameGeometry geometry_;
    std::ifstream in_;
    size_t frames_ = 0;
};

// A progress bar on standard error, shown only when it is a terminal.
class Progress {
  public:
    explicit Progress(size_t total) : total_(total), shown_(total > 1 && isatty(2) != 0) {}
    ~Progress() { finish(); }
    // Ends the bar's line, so that what follows starts on a line of its own.
    void finish() {
        if (shown_ && drawn_) std::fputc('\n', stderr);
        drawn_ = false;
    }
    void update(size_t done) {
        if (!shown_) return;
        const auto now = Clock::now();
        if (done != total_ && drawn_ && now - last_ < std::chrono::milliseconds(100)) return;
        last_ = now;
        drawn_ = true;
        constexpr int kWidth = 40;
        const int filled = static_cast<int>(done * kWidth / total_);
        std::fprintf(stderr, "\r[%.*s%*s] %zu/%zu frames", filled,
                     "========================================", kWidth - filled, "", done, total_);
        std::fflush(stderr);
    }

  private:
    size_t total_;
    bool shown_;
    bool drawn_ = false;
    Clock::time_point last_{};
};

// The chroma order of raw frames: --format, else what a raw file's name says (.nv12, .nv21),
// else NV12. A name that contradicts --format or the other file's name is refused.
ChromaOrder chromaOrderFor(const ApplyOptions& o) {
    std::optional<ChromaOrder> order = o.order;
    std::string decidedBy = "--format";
    for (const fs::path& p : {o.input, o.output}) {
        const std::string ext = extensionOf(p);
        if (ext != ".nv12" && ext != ".nv21") continue;
        const ChromaOrder named = ext == ".nv21" ? ChromaOrder::Nv21 : ChromaOrder::Nv12;
        if (order && *order != named) {
            throw ToolError(p.string() + ": the name says " + ext.substr(1) +
                            " but the frames are " +
                            (*order == ChromaOrder::Nv21 ? "nv21" : "nv12") + " (by " + decidedBy +
                            "); raw frames are written in the order they are read");
        }
        order = named;
        decidedBy = p.string();
    }
    return order.value_or(ChromaOrder::Nv12);
}

void writeRaw(OutputFile& out, const YuvFrame& f) {
    out.write(f.luma);
    out.write(f.chroma);
}

}  // namespace

int runApply(const ApplyOptions& o) {
    const FileKind inKind = fileKindOf(o.input);
    const FileKind outKind = fileKindOf(o.output);
    refuseToOverwriteInputs(o.output, {o.input, o.record});
    if (!o.compare.empty()) {
        refuseToOverwriteInputs(o.compare, {o.input, o.record, o.output});
        if (fileKindOf(o.compare) == FileKind::Raw) {
            throw ToolError("--compare " + o.compare.string() +
                            ": the comparison is a picture; give it a .png or .jpg name");
        }
    }
    if (inKind != FileKind::Raw && o.size) {
        throw ToolError("--size: only raw input frames need a size; " + o.input.string() +
                        " is a picture with its own size");
    }
    if (inKind == FileKind::Raw && !o.size) {
        throw ToolError(o.input.string() +
                        ": raw frames need --size WIDTHxHEIGHT (name pictures .png or .jpg)");
    }

    const ChromaOrder order = chromaOrderFor(o);
    const ISP2DLUTInStruct_V10 record = readUsableRecord(o.record);

    // The input: one picture, or a file of raw frames.
    std::unique_ptr<RawReader> raw;
    std::unique_ptr<YuvFrame> frame;
    size_t frameCount = 1;
    if (inKind == FileKind::Raw) {
        FrameGeometry g;
        parseSize(*o.size, g.width, g.height);
        g.stride = o.stride.value_or(g.width);
        g.order = order;
        checkGeometry(g, o.input.string());
        raw = std::make_unique<RawReader>(o.input, g);
        frameCount = raw->frames();
        frame = std::make_unique<YuvFrame>(g);
    } else {
        const RgbImage picture = readPicture(o.input);
        const FrameGeometry g{picture.width, picture.height, o.stride.value_or(picture.width),
                              order};
        checkGeometry(g, o.input.string());
        frame = std::make_unique<YuvFrame>(rgbToYuv(picture, g.order, g.stride));
    }
    if (frameCount > 1 && outKind != FileKind::Raw) {
        throw ToolError(o.input.string() + " holds " + std::to_string(frameCount) +
                        " frames; write them to a raw file, not to the picture " +
                        o.output.string());
    }
    if (record.enable == 0) {
        std::fprintf(stderr, "lut2d: note: %s has enable 0: frames pass through unchanged\n",
                     o.record.string().c_str());
    }

    LibraryHandle handle(record, frame->geometry, o.mode);
    OutputFile out(o.output);
    std::unique_ptr<OutputFile> compare;
    if (!o.compare.empty()) compare = std::make_unique<OutputFile>(o.compare);

    Progress progress(frameCount);
    double processMs = 0;
    for (size_t i = 0; i < frameCount; ++i) {
        if (raw) raw->read(*frame);
        std::unique_ptr<RgbImage> before;
        if (compare && i == 0) before = std::make_unique<RgbImage>(yuvToRgb(*frame));
        const auto start = Clock::now();
        handle.process(*frame);
        processMs += millisecondsSince(start);
        if (outKind == FileKind::Raw) {
            writeRaw(out, *frame);
        } else {
            writePicture(out, yuvToRgb(*frame), o.jpegQuality);
        }
        if (before) {
            const RgbImage after = yuvToRgb(*frame);
            const std::string afterLabel = std::string("AFTER (") + modeName(o.mode) + ")";
            writePicture(*compare, labelledGrid({before.get(), &after}, {"BEFORE", afterLabel}, 2),
                         o.jpegQuality);
        }
        progress.update(i + 1);
    }
    progress.finish();
    out.commit();
    if (compare) compare->commit();

    const FrameGeometry& g = frame->geometry;
    std::printf("wrote %s: %zu frame%s of %ux%u, %s, %.1f ms per frame\n",
                o.output.string().c_str(), frameCount, frameCount == 1 ? "" : "s", g.width,
                g.height, modeName(o.mode), processMs / static_cast<double>(frameCount));
    if (compare) std::printf("wrote %s: before | after\n", o.compare.string().c_str());
    return 0;
}

}  // namespace lut2d_tool
