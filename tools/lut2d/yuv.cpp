#include "yuv.h"

#include <algorithm>

#include "tool_error.h"

namespace lut2d_tool {

namespace {

// Full-range BT.601 in Q16. Each row of the forward matrix sums to 65536 (luma) or 0
// (chroma), so greys map to themselves and to neutral chroma without rounding error.
constexpr int32_t kYr = 19595, kYg = 38470, kYb = 7471;
constexpr int32_t kCbR = -11059, kCbG = -21709, kCbB = 32768;
constexpr int32_t kCrR = 32768, kCrG = -27439, kCrB = -5329;
constexpr int32_t kRCr = 91881;                  // 1.402
constexpr int32_t kGCb = -22554, kGCr = -46802;  // -0.344136, -0.714136
constexpr int32_t kBCb = 116130;                 // 1.772
constexpr int32_t kHalf = 1 << 15;

static_assert(kYr + kYg + kYb == 65536);
static_assert(kCbR + kCbG + kCbB == 0 && kCrR + kCrG + kCrB == 0);

uint8_t clampByte(int32_t v) {
    return static_cast<uint8_t>(std::clamp(v, 0, 255));
}

}  // namespace

void checkGeometry(const FrameGeometry& g, const std::string& what) {
    const std::string size = std::to_string(g.width) + "x" + std::to_string(g.height);
    constexpr uint32_t kLimit = 65534;
    if (g.width < 2 || g.height < 2 || g.width % 2 != 0 || g.height % 2 != 0) {
        throw ToolError(what + ": frame size " + size +
                        ": width and height must be even and at least 2 (4:2:0 chroma covers "
                        "2x2 blocks)");
    }
    if (g.width > kLimit || g.height > kLimit) {
        throw ToolError(what + ": frame size " + size + " is larger than the library's limit of " +
                        std::to_string(kLimit) + " in each direction");
    }
    if (g.height == 4) {
        throw ToolError(what + ": frame size " + size +
                        ": a height of 4 rows cannot be split into the library's four bands; "
                        "use 2 or at least 6 rows");
    }
    if (g.stride < g.width || g.stride % 2 != 0 || g.stride > kLimit) {
        throw ToolError(what + ": stride " + std::to_string(g.stride) +
                        " must be even, at least the width " + std::to_string(g.width) +
                        " and at most " + std::to_string(kLimit));
    }
}

YuvFrame rgbToYuv(const RgbImage& img, ChromaOrder order, uint32_t stride) {
    YuvFrame f(FrameGeometry{img.width, img.height, stride, order});
    const size_t cbAt = order == ChromaOrder::Nv12 ? 0 : 1;
    for (uint32_t y = 0; y < img.height; ++y) {
        for (uint32_t x = 0; x < img.width; ++x) {
            const Rgb p = img.at(x, y);
            f.luma[size_t{y} * stride + x] =
                clampByte((kYr * p.r + kYg * p.g + kYb * p.b + kHalf) >> 16);
        }
    }
    for (uint32_t by = 0; by < img.height / 2; ++by) {
        for (uint32_t bx = 0; bx < img.width / 2; ++bx) {
            int32_t cb = 0, cr = 0;  // sums over the block, Q16
            for (uint32_t k = 0; k < 4; ++k) {
                const Rgb p = img.at(2 * bx + (k & 1), 2 * by + (k >> 1));
                cb += kCbR * p.r + kCbG * p.g + kCbB * p.b;
                cr += kCrR * p.r + kCrG * p.g + kCrB * p.b;
            }
            // Mean of four (Q18), plus 128 and a half before the shift: a rounded result.
            constexpr int32_t kBias = (128 << 18) + (1 << 17);
            uint8_t* pair = &f.chroma[size_t{by} * stride + 2 * bx];
            pair[cbAt] = clampByte((cb + kBias) >> 18);
            pair[1 - cbAt] = clampByte((cr + kBias) >> 18);
        }
    }
    return f;
}

RgbImage yuvToRgb(const YuvFrame& frame) {
    const FrameGeometry& g = frame.geometry;
    RgbImage img(g.width, g.height);
    const size_t cbAt = g.order == ChromaOrder::Nv12 ? 0 : 1;
    const int32_t lastX = static_cast<int32_t>(g.width / 2) - 1;
    const int32_t lastY = static_cast<int32_t>(g.height / 2) - 1;
    // Chroma sample (bx, by) of component k, with the block indices clamped to the plane.
    auto sample = [&](int32_t bx, int32_t by, size_t k) {
        bx = std::clamp(bx, 0, lastX);
        by = std::clamp(by, 0, lastY);
        return int32_t{frame.chroma[size_t(by) * g.stride + 2 * size_t(bx) + k]};
    };
    for (uint32_t y = 0; y < g.height; ++y) {
        // Each chroma sample sits at the centre of its 2x2 block: a pixel takes 3/4 of its
        // own block's sample and 1/4 of the nearer neighbour's, in each direction.
        const int32_t by = static_cast<int32_t>(y / 2), ny = y % 2 == 0 ? by - 1 : by + 1;
        for (uint32_t x = 0; x < g.width; ++x) {
            const int32_t bx = static_cast<int32_t>(x / 2), nx = x % 2 == 0 ? bx - 1 : bx + 1;
            int32_t c[2];
            for (size_t k = 0; k < 2; ++k) {
                c[k] = (9 * sample(bx, by, k) + 3 * sample(nx, by, k) + 3 * sample(bx, ny, k) +
                        sample(nx, ny, k) + 8) >>
                       4;
            }
            const int32_t cb = c[cbAt] - 128;
            const int32_t cr = c[1 - cbAt] - 128;
            const int32_t luma = frame.luma[size_t{y} * g.stride + x];
            img.set(x, y,
                    {clampByte(luma + ((kRCr * cr + kHalf) >> 16)),
                     clampByte(luma + ((kGCb * cb + kGCr * cr + kHalf) >> 16)),
                     clampByte(luma + ((kBCb * cb + kHalf) >> 16))});
        }
    }
    return img;
}

}  // namespace lut2d_tool
