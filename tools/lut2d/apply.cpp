// lut2d apply: adjusts a picture, or the frames of a raw file or y4m clip with one handle.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "canvas.h"
#include "commands.h"
#include "files.h"
#include "frame_io.h"
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

std::string extensionText(const fs::path& p) {
    const std::string ext = extensionOf(p);
    return ext.empty() ? "a name without an extension" : "a " + ext + " name";
}

// The layouts of the raw input and output, from --format and the names.
struct Layouts {
    RawLayout input = RawLayout::Nv12;
    RawLayout output = RawLayout::Nv12;
};

Layouts rawLayouts(const ApplyOptions& o, FileKind inKind, FileKind outKind) {
    Layouts l;
    const std::string ask =
        " does not say how its frames are laid out; give --format i420, "
        "yv12, nv12 or nv21";
    if (inKind == FileKind::Raw) {
        const std::optional<RawLayout> named = layoutOfName(o.input);
        if (!o.format && !named) throw ToolError(o.input.string() + ":" + ask);
        l.input = o.format ? *o.format : *named;
    }
    if (outKind == FileKind::Raw) {
        const std::optional<RawLayout> named = layoutOfName(o.output);
        if (named && o.format && inKind != FileKind::Raw && *named != *o.format) {
            throw ToolError(o.output.string() + ": the name says " + layoutName(*named) +
                            " but --format says " + layoutName(*o.format));
        }
        if (named) {
            l.output = *named;
        } else if (inKind == FileKind::Raw) {
            l.output = l.input;
        } else if (o.format) {
            l.output = *o.format;
        } else {
            throw ToolError(o.output.string() + ":" + ask);
        }
    }
    return l;
}

// Where the frames come from: a picture (one frame) or a FrameReader.
struct Input {
    std::unique_ptr<FrameReader> reader;
    std::unique_ptr<YuvFrame> frame;
    uint32_t pictureWidth = 0, pictureHeight = 0;  // a picture's own size (before extending)
    size_t frames = 1;
};

Input openInput(const ApplyOptions& o, FileKind inKind, const Layouts& layouts) {
    Input in;
    const std::string source = o.input.string();
    if (inKind == FileKind::Picture) {
        const DecodedPicture picture = readPicture(o.input, o.maxPixels);
        for (const std::string& note : picture.notes) {
            std::fprintf(stderr, "lut2d: warning: %s: %s\n", source.c_str(), note.c_str());
        }
        in.pictureWidth = picture.image.width;
        in.pictureHeight = picture.image.height;
        const RgbImage even = extendForLibrary(picture.image);
        const FrameGeometry g{even.width, even.height, o.stride.value_or(even.width),
                              ChromaOrder::Nv12};
        checkGeometry(g, source);
        in.frame = std::make_unique<YuvFrame>(rgbToYuv(even, g.order, g.stride));
        return in;
    }
    uint64_t bytes = 0;
    std::unique_ptr<std::istream> stream = openForReading(o.input, bytes);
    if (inKind == FileKind::Y4m) {
        in.reader =
            FrameReader::y4m(std::move(stream), bytes, o.stride.value_or(0), o.maxPixels, source);
    } else {
        FrameGeometry g;
        if (o.size) {
            parseSize(*o.size, "--size " + *o.size, g.width, g.height);
        } else if (const auto named = sizeFromName(o.input)) {
            g.width = named->first;
            g.height = named->second;
        } else {
            throw ToolError(source +
                            ": raw frames need --size WIDTHxHEIGHT, or a name that carries it "
                            "(clip_1920x1080.nv12)");
        }
        g.stride = o.stride.value_or(g.width);
        g.order = layouts.input == RawLayout::Nv21 ? ChromaOrder::Nv21 : ChromaOrder::Nv12;
        in.reader =
            FrameReader::raw(std::move(stream), bytes, g, layouts.input, o.maxPixels, source);
    }
    in.frames = in.reader->frames();
    in.frame = std::make_unique<YuvFrame>(in.reader->geometry());
    return in;
}

}  // namespace

int runApply(const ApplyOptions& o) {
    const FileKind inKind = fileKindOf(o.input);
    const FileKind outKind = fileKindOf(o.output);
    if (inKind == FileKind::Unknown) {
        throw ToolError(o.input.string() + ": lut2d does not know what " + extensionText(o.input) +
                        " holds; it reads " + knownNames());
    }
    if (outKind == FileKind::Unknown ||
        (outKind == FileKind::Picture && !isWritablePictureName(o.output))) {
        throw ToolError(o.output.string() + ": lut2d cannot write " + extensionText(o.output) +
                        "; it writes pictures .png, .jpg, .webp, .tif, y4m clips .y4m and raw "
                        "frames .nv12, .nv21, .i420, .yv12, .yuv, .raw");
    }
    refuseToOverwriteInputs(o.output, {o.input, o.record});
    if (!o.compare.empty()) {
        refuseToOverwriteInputs(o.compare, {o.input, o.record, o.output});
        if (!isWritablePictureName(o.compare)) {
            throw ToolError("--compare " + o.compare.string() +
                            ": the comparison is a picture; give it a .png, .jpg, .webp or .tif "
                            "name");
        }
    }
    if (inKind != FileKind::Raw && o.size) {
        throw ToolError("--size: only raw input frames need a size; " + o.input.string() +
                        " carries its own");
    }
    if (o.format && inKind != FileKind::Raw && outKind != FileKind::Raw) {
        throw ToolError("--format: neither " + o.input.string() + " nor " + o.output.string() +
                        " holds raw frames");
    }
    const Layouts layouts = rawLayouts(o, inKind, outKind);
    const ISP2DLUTInStruct_V10 record = readUsableRecord(o.record);

    Input in = openInput(o, inKind, layouts);
    if (in.frames > 1 && outKind == FileKind::Picture) {
        throw ToolError(o.input.string() + " holds " + std::to_string(in.frames) +
                        " frames; write them to a raw file or y4m clip, not to the picture " +
                        o.output.string());
    }
    // One colour range for the command: --range, else what a y4m clip says, else full.
    const std::optional<Y4mHeader> inHeader =
        in.reader ? in.reader->y4mHeader() : std::optional<Y4mHeader>();
    ColourRange range = ColourRange::Full;
    if (o.range) {
        range = *o.range;
        if (inHeader && inHeader->range && *inHeader->range != range) {
            std::fprintf(stderr, "lut2d: note: %s is tagged %s range; --range %s overrides it\n",
                         o.input.string().c_str(), rangeName(*inHeader->range), rangeName(range));
        }
    } else if (inHeader && inHeader->range) {
        range = *inHeader->range;
    } else if (inHeader) {
        std::fprintf(stderr,
                     "lut2d: note: %s carries no XCOLORRANGE tag: read as full range (most "
                     "video is limited range: give --range limited)\n",
                     o.input.string().c_str());
    }
    if (record.enable == 0) {
        std::fprintf(stderr, "lut2d: note: %s has enable 0: frames pass through unchanged\n",
                     o.record.string().c_str());
    }

    YuvFrame& frame = *in.frame;
    const FrameGeometry& g = frame.geometry;
    const bool yuvIn = inKind != FileKind::Picture;
    const uint32_t shownW = yuvIn ? g.width : in.pictureWidth;
    const uint32_t shownH = yuvIn ? g.height : in.pictureHeight;
    // What a person sees of a frame: RGB, cropped back to a picture's own size.
    auto picture = [&](const YuvFrame& f) { return cropTo(yuvToRgb(f), shownW, shownH); };

    LibraryHandle handle(record, g, o.mode);
    OutputFile out(o.output);
    std::unique_ptr<OutputFile> compare;
    if (!o.compare.empty()) compare = std::make_unique<OutputFile>(o.compare);
    if (outKind == FileKind::Y4m) {
        const Y4mHeader header = inHeader ? *inHeader : makeY4mHeader(g);
        const std::string text =
            header.text(range, o.range.has_value() || !inHeader || inHeader->range.has_value());
        out.write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    }

    Progress progress(in.frames);
    double processMs = 0;
    for (size_t i = 0; i < in.frames; ++i) {
        if (in.reader) {
            in.reader->read(frame);
            if (range == ColourRange::Limited) limitedToFull(frame);
        }
        std::unique_ptr<RgbImage> before;
        if (compare && i == 0) before = std::make_unique<RgbImage>(picture(frame));
        const auto start = Clock::now();
        handle.process(frame);
        processMs += millisecondsSince(start);
        if (outKind == FileKind::Picture) {
            writePicture(out, picture(frame), o.jpegQuality);
        } else {
            YuvFrame written = frame;
            if (range == ColourRange::Limited) fullToLimited(written);
            out.write(outKind == FileKind::Y4m ? y4mFrameBytes(written)
                                               : packRawFrame(written, layouts.output));
        }
        if (before) {
            const RgbImage after = picture(frame);
            int gain = 0;
            const RgbImage diff = differencePicture(*before, after, 0, gain);
            const std::string afterLabel = std::string("After (") + modeName(o.mode) + ")";
            const std::string diffLabel = "Difference |after - before| x " + std::to_string(gain) +
                                          " (white: " + std::to_string(255 / gain) +
                                          " levels or more)";
            writePicture(
                *compare,
                labelledGrid({before.get(), &after, &diff}, {"Before", afterLabel, diffLabel}, 3),
                o.jpegQuality);
        }
        progress.update(i + 1);
    }
    progress.finish();
    out.commit();
    if (compare) compare->commit();

    std::string form;
    if (outKind == FileKind::Raw) form = std::string(", ") + layoutName(layouts.output);
    if (outKind != FileKind::Picture) form += std::string(", ") + rangeName(range) + " range";
    std::printf("wrote %s: %zu frame%s of %ux%u, %s, %.1f ms per frame%s\n",
                o.output.string().c_str(), in.frames, in.frames == 1 ? "" : "s", shownW, shownH,
                modeName(o.mode), processMs / static_cast<double>(in.frames), form.c_str());
    if (compare) std::printf("wrote %s: before | after | difference\n", o.compare.string().c_str());
    return 0;
}

}  // namespace lut2d_tool
