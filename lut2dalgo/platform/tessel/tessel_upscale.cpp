// Portable implementation of the vision library's Gaussian 2x upscale.
//
// The classic Gaussian pyramid expand: along each dimension output 2i is
// s(i-1) + 6 s(i) + s(i+1) and output 2i+1 is 4 (s(i) + s(i+1)), with s(-1) = s(1) (s(0) for
// a single sample) and s(n) = s(n-1). Rows are expanded first, then columns, on the integer
// sums (weights total 64), rounded once at the end.

#include <cstdlib>
#include <cstring>

#include "tessel.h"

namespace {

// Expands one source row of n samples into 2n horizontal sums (each up to 8 x 255).
void expandRow(const uint8_t* s, uint32_t n, uint16_t* out) {
    if (n == 1) {
        out[0] = static_cast<uint16_t>(8 * s[0]);
        out[1] = static_cast<uint16_t>(8 * s[0]);
        return;
    }
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t prev = i == 0 ? s[1] : s[i - 1];
        const uint32_t next = i + 1 == n ? s[n - 1] : s[i + 1];
        out[2 * i] = static_cast<uint16_t>(prev + 6 * s[i] + next);
        out[2 * i + 1] = static_cast<uint16_t>(4 * (s[i] + next));
    }
}

inline uint8_t round64(uint32_t sum) {
    return static_cast<uint8_t>((sum + 32) >> 6);
}

int scaleUp(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
            uint32_t dstStride) {
    if (width == 0 || height == 0) return 0;
    const size_t outWidth = size_t{2} * width;
    // Three expanded rows: source rows i-1, i and i+1 (reflected at the borders).
    auto* rows = static_cast<uint16_t*>(std::malloc(3 * outWidth * sizeof(uint16_t)));
    if (rows == nullptr) {
        // The destination region is still defined: a neutral mid-grey.
        for (size_t y = 0; y < size_t{2} * height; ++y)
            std::memset(dst + y * dstStride, 128, outWidth);
        return -1;
    }
    uint16_t* prev = rows;
    uint16_t* cur = rows + outWidth;
    uint16_t* next = rows + 2 * outWidth;
    auto srcRow = [&](uint32_t i) { return src + size_t{i} * srcStride; };

    expandRow(srcRow(0), width, cur);
    if (height > 1) {
        expandRow(srcRow(1), width, next);
        std::memcpy(prev, next, outWidth * sizeof(uint16_t));  // row -1 reflects row 1
    } else {
        std::memcpy(prev, cur, outWidth * sizeof(uint16_t));
        std::memcpy(next, cur, outWidth * sizeof(uint16_t));
    }
    for (uint32_t i = 0; i < height; ++i) {
        uint8_t* even = dst + size_t{2} * i * dstStride;
        uint8_t* odd = even + dstStride;
        for (size_t x = 0; x < outWidth; ++x) {
            even[x] = round64(prev[x] + 6u * cur[x] + next[x]);
            odd[x] = round64(4u * (cur[x] + next[x]));
        }
        // Advance: row i+1 becomes current; the row after it is read or replicated.
        uint16_t* recycled = prev;
        prev = cur;
        cur = next;
        next = recycled;
        if (i + 2 < height) {
            expandRow(srcRow(i + 2), width, next);
        } else {
            std::memcpy(next, cur, outWidth * sizeof(uint16_t));
        }
    }
    std::free(rows);
    return 0;
}

}  // namespace

extern "C" {

int tslSetOperationMode(int mode) {
    return mode >= 0 && mode <= 3 ? 0 : -1;
}

int tslScaleUpBy2Gaussian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint8_t* dst) {
    return scaleUp(src, srcWidth, srcHeight, srcWidth, dst, 2 * srcWidth);
}

int tslScaleUpBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    return scaleUp(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
}
