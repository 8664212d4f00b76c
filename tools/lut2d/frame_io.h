// YUV 4:2:0 frames in files: raw frames in four layouts and y4m clips, their colour range,
// and which kind of file a name stands for.
//
// In memory a frame is always semi-planar, as the library takes it (YuvFrame). Planar
// layouts are interleaved on reading and split again on writing, whole rows at a time
// including their padding, so any layout read and written back in the same layout comes
// back byte for byte. Planar frames with a stride keep each chroma plane at half the stride.
#pragma once

#include <cstdint>
#include <filesystem>
#include <istream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "yuv.h"

namespace lut2d_tool {

namespace fs = std::filesystem;

// Byte layout of a raw 4:2:0 frame: luma plane, then
enum class RawLayout {
    I420,  // a Cb plane, then a Cr plane
    Yv12,  // a Cr plane, then a Cb plane
    Nv12,  // Cb, Cr pairs (the library's format 0)
    Nv21,  // Cr, Cb pairs (the library's format 1)
};

const char* layoutName(RawLayout layout);  // "i420", "yv12", "nv12", "nv21"
std::optional<RawLayout> layoutFromName(const std::string& name);

// What a file name stands for, by its extension.
enum class FileKind {
    Picture,  // .png .jpg .jpeg .webp .tif .tiff .heic .heif
    Y4m,      // .y4m
    Raw,      // .nv12 .nv21 .i420 .yv12 (the layout they name), .yuv .raw (layout unnamed)
    Unknown,
};
FileKind fileKindOf(const fs::path& path);
// The layout a raw file's name gives (.nv12, .nv21, .i420, .yv12); none for .yuv and .raw.
std::optional<RawLayout> layoutOfName(const fs::path& path);
// The names lut2d knows, for messages: ".png, .jpg, ... .yuv, .raw".
std::string knownNames();

// "1920x1080" -> width and height; throws a ToolError starting with `what` otherwise.
void parseSize(const std::string& text, const std::string& what, uint32_t& width, uint32_t& height);
// The WIDTHxHEIGHT a file name carries ("clip_1920x1080.nv12"), when it carries exactly one
// (the same size twice counts once); throws a ToolError when it carries two different ones.
std::optional<std::pair<uint32_t, uint32_t>> sizeFromName(const fs::path& path);

// Colour range of 8-bit YUV. The library works in full range.
enum class ColourRange {
    Full,     // Y, Cb, Cr 0..255
    Limited,  // Y 16..235, Cb and Cr 16..240 (video range)
};
const char* rangeName(ColourRange range);  // "full", "limited"

// Limited to full range and back, on the frame's pixels (row padding stays as it is):
// Y' = (Y - 16) * 255 / 219 and C' = (C - 128) * 255 / 224 + 128, rounded and clamped.
// Values inside the limited range come back exactly from full to limited.
void limitedToFull(YuvFrame& frame);
void fullToLimited(YuvFrame& frame);

// Largest frame or picture the tool decodes unless told otherwise, in pixels.
inline constexpr uint64_t kDefaultMaxPixels = 200'000'000;

// Throws a ToolError starting with `what` when width x height exceeds `maxPixels`.
void checkPixelBudget(uint64_t width, uint64_t height, uint64_t maxPixels, const std::string& what);

// Bytes of one raw frame in any layout (the same for all four).
inline size_t rawFrameBytes(const FrameGeometry& g) {
    return g.frameBytes();
}
// One raw frame in `layout` into `frame` (whose geometry says size, stride and chroma
// order), and back.
void unpackRawFrame(std::span<const uint8_t> bytes, RawLayout layout, YuvFrame& frame);
std::vector<uint8_t> packRawFrame(const YuvFrame& frame, RawLayout layout);

// A y4m stream header: "YUV4MPEG2 W.. H.. [F..] [I..] [A..] [C..] [X..]".
struct Y4mHeader {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<std::string> tokens;   // every parameter as read, W and H included, in order
    std::optional<ColourRange> range;  // from XCOLORRANGE=FULL or LIMITED
    // The header line, ending in a newline, with the colour range tag set to `range` (added
    // when the tokens have none and `addRange` is set).
    std::string text(ColourRange range, bool addRange) const;
};

// Parses a header line (without its newline); throws a ToolError starting with `source` for
// a header that is not 8-bit 4:2:0 y4m or lacks a size.
Y4mHeader parseY4mHeader(const std::string& line, const std::string& source);
// A header for frames of `g` at 25 frames per second, centred chroma, in `range`.
Y4mHeader makeY4mHeader(const FrameGeometry& g);

// Frames read one by one from a stream: raw frames of one layout, or a y4m clip. The size,
// the number of frames and, for y4m, that every frame is complete are checked when the
// reader is made, before any frame is allocated.
class FrameReader {
  public:
    // Raw frames: the stream holds `totalBytes`, a whole number of frames of geometry `g`
    // in `layout`.
    static std::unique_ptr<FrameReader> raw(std::unique_ptr<std::istream> in, uint64_t totalBytes,
                                            const FrameGeometry& g, RawLayout layout,
                                            uint64_t maxPixels, const std::string& source);
    // A y4m clip; frames are returned as NV12 with row pitch `stride` (0: the width).
    static std::unique_ptr<FrameReader> y4m(std::unique_ptr<std::istream> in, uint64_t totalBytes,
                                            uint32_t stride, uint64_t maxPixels,
                                            const std::string& source);

    const FrameGeometry& geometry() const { return geometry_; }
    size_t frames() const { return offsets_.size(); }
    const std::optional<Y4mHeader>& y4mHeader() const { return header_; }
    // The next frame, in the reader's geometry.
    void read(YuvFrame& frame);

  private:
    FrameReader() = default;

    std::unique_ptr<std::istream> in_;
    std::string source_;
    FrameGeometry geometry_;
    RawLayout layout_ = RawLayout::Nv12;
    std::optional<Y4mHeader> header_;
    std::vector<uint64_t> offsets_;  // where each frame's pixels start
    size_t next_ = 0;
    std::vector<uint8_t> buffer_;
};

// Opens a file for a FrameReader: the stream and its size.
std::unique_ptr<std::istream> openForReading(const fs::path& path, uint64_t& size);

// In-memory forms of the readers (for tests and fuzzing): every frame of a buffer.
std::vector<YuvFrame> decodeRawFrames(std::span<const uint8_t> bytes, const FrameGeometry& g,
                                      RawLayout layout, uint64_t maxPixels,
                                      const std::string& source);
struct Y4mClip {
    Y4mHeader header;
    std::vector<YuvFrame> frames;  // NV12, row pitch the width
};
Y4mClip decodeY4m(std::span<const uint8_t> bytes, uint64_t maxPixels, const std::string& source);

// A y4m frame as written: "FRAME\n" and the three planes.
std::vector<uint8_t> y4mFrameBytes(const YuvFrame& frame);

}  // namespace lut2d_tool
