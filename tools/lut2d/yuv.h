// 8-bit YUV 4:2:0 semi-planar frames, as the library adjusts them, and their conversion
// to and from RGB pictures with full-range BT.601 (the JPEG/JFIF form).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "interface/orvix_lut2d.h"
#include "raster.h"

namespace lut2d_tool {

// Byte order of a chroma pair; the value is the library's `format`.
enum class ChromaOrder : uint32_t {
    Nv12 = 0,  // Cb first
    Nv21 = 1,  // Cr first
};

struct FrameGeometry {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t stride = 0;  // row pitch of both planes, in bytes
    ChromaOrder order = ChromaOrder::Nv12;

    size_t lumaBytes() const { return size_t{stride} * height; }
    size_t chromaBytes() const { return size_t{stride} * (height / 2); }
    size_t frameBytes() const { return lumaBytes() + chromaBytes(); }
    Lut2DImageInfo info() const { return {width, height, stride, static_cast<uint32_t>(order)}; }
    bool operator==(const FrameGeometry&) const = default;
};

// Throws a ToolError, starting with `what` (the file or argument the size came from), unless
// the library can process frames of this geometry: width and height even and at least 2,
// stride even and not below the width, all at most 65534 (the library keeps them in 16
// bits), and a height other than 4 (too small for the library's four row bands).
void checkGeometry(const FrameGeometry& g, const std::string& what);

struct YuvFrame {
    FrameGeometry geometry;
    std::vector<uint8_t> luma;    // lumaBytes()
    std::vector<uint8_t> chroma;  // chromaBytes(), pairs in geometry.order

    explicit YuvFrame(const FrameGeometry& g)
        : geometry(g), luma(g.lumaBytes(), 0), chroma(g.chromaBytes(), 128) {}
    Lut2DImageData data() { return {luma.data(), chroma.data()}; }
    bool operator==(const YuvFrame&) const = default;
};

// RGB to YUV: Y = 0.299 R + 0.587 G + 0.114 B per pixel; Cb and Cr from the mean of the
// four pixels of each 2x2 block, rounded. Greys give Cb = Cr = 128 exactly. The picture's
// width and height must be even. Row padding (stride beyond the width) is filled with 0 in
// luma and 128 in chroma.
YuvFrame rgbToYuv(const RgbImage& img, ChromaOrder order, uint32_t stride);

// YUV to RGB for viewing: chroma upsampled smoothly (bilinear, each sample at the centre of
// its 2x2 block, edges repeated), results rounded and clamped to 0..255. Flat areas come
// back exactly as a per-block conversion would give them.
RgbImage yuvToRgb(const YuvFrame& frame);

}  // namespace lut2d_tool
