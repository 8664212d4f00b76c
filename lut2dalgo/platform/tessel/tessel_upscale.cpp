// Portable implementation of the vision library's Gaussian 2x upscale.
//
// The classic Gaussian pyramid expand: along each dimension output 2i is
// s(i-1) + 6 s(i) + s(i+1) and output 2i+1 is 4 (s(i) + s(i+1)), with s(-1) = s(1) (s(0) for
// a single sample) and s(n) = s(n-1). The 2-D weights total 64 and the sum is rounded once
// at the end: (sum + 32) >> 6.
//
// The sums are exact integers, so the order of the two passes does not change them. Each
// output row is made on its own from its two or three source rows: the vertical pass first,
// into a stack buffer of 16-bit column sums (at most 8 x 255) for a chunk of columns, then the
// horizontal pass from that buffer to the row's bytes (sums at most 64 x 255, still 16 bits).
// Both passes run on 8 columns at a time with the compilers' portable vector extensions (SSE2
// on x86-64, NEON on arm64); the columns left over at the end of a chunk go one at a time.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../../src/common/luma_offset_add.h"
#include "tessel.h"
#include "tessel_rows.h"

namespace {

typedef uint8_t Bytes8 __attribute__((vector_size(8)));
typedef uint16_t Sums __attribute__((vector_size(16)));
constexpr size_t kLanes = 8;

// Source columns per pass over the column-sum buffer.
constexpr size_t kChunk = 512;

constexpr bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

inline Sums widen(const uint8_t* p) {
    Bytes8 b;
    std::memcpy(&b, p, sizeof b);
    return __builtin_convertvector(b, Sums);
}

inline Sums loadSums(const uint16_t* p) {
    Sums v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline uint8_t round64(uint32_t sum) {
    return static_cast<uint8_t>((sum + 32) >> 6);
}

struct Source {
    const uint8_t* data;
    size_t width;
    size_t height;
    size_t stride;

    const uint8_t* row(size_t i) const { return data + i * stride; }
};

// Vertical pass over columns [lo, hi) into sums[0 .. hi - lo). An even output row weighs
// source rows above, here and below 1 6 1; an odd one weighs here and below 4 4.
template <bool kOdd>
void columnSums(const uint8_t* above, const uint8_t* here, const uint8_t* below, size_t lo,
                size_t hi, uint16_t* sums) {
    size_t x = lo;
    for (; x + kLanes <= hi; x += kLanes) {
        const Sums b = widen(here + x);
        const Sums c = widen(below + x);
        Sums v;
        if constexpr (kOdd) {
            v = (b + c) * 4;
        } else {
            v = widen(above + x) + b * 6 + c;
        }
        std::memcpy(sums + (x - lo), &v, sizeof v);
    }
    for (; x < hi; ++x) {
        sums[x - lo] = static_cast<uint16_t>(kOdd ? 4 * (here[x] + below[x])
                                                  : above[x] + 6 * here[x] + below[x]);
    }
}

// Horizontal pass: v[k] is the column sum of source column x0 - 1 + k for k in 0 .. n + 1;
// output bytes 2 x0 .. 2 (x0 + n) - 1 of the row go to out[0 .. 2n).
void rowBytes(const uint16_t* v, size_t n, uint8_t* out) {
    size_t k = 0;
    for (; k + kLanes <= n; k += kLanes) {
        const Sums prev = loadSums(v + k);
        const Sums cur = loadSums(v + k + 1);
        const Sums next = loadSums(v + k + 2);
        const Sums even = (prev + cur * 6 + next + 32) >> 6;
        const Sums odd = ((cur + next) * 4 + 32) >> 6;
        // Both fit in a byte: one 16-bit lane holds an even and odd output pair in memory order.
        const Sums pairs = kLittleEndian ? (even | odd << 8) : (even << 8 | odd);
        std::memcpy(out + 2 * k, &pairs, sizeof pairs);
    }
    for (; k < n; ++k) {
        out[2 * k] = round64(v[k] + 6u * v[k + 1] + v[k + 2]);
        out[2 * k + 1] = round64(4u * (v[k + 1] + v[k + 2]));
    }
}

// Output row y (2 width bytes) into out, or (kAdd) added to the luma bytes there, a chunk at a
// time through a stack buffer.
template <bool kAdd>
void outputRow(const Source& s, size_t y, uint8_t* out) {
    const size_t i = y / 2;
    const size_t above = i > 0 ? i - 1 : (s.height > 1 ? 1 : 0);
    const size_t below = i + 1 < s.height ? i + 1 : s.height - 1;
    const bool odd = (y & 1) != 0;
    const size_t w = s.width;
    uint16_t v[kChunk + 2];
    uint8_t bytes[kAdd ? 2 * kChunk : 1];
    for (size_t x0 = 0; x0 < w; x0 += kChunk) {
        const size_t x1 = std::min(x0 + kChunk, w);
        const size_t n = x1 - x0;
        // Column sums of x0 - 1 .. x1 where they exist; v[k] is column x0 - 1 + k.
        const size_t lo = x0 > 0 ? x0 - 1 : 0;
        const size_t hi = x1 < w ? x1 + 1 : w;
        uint16_t* first = v + (lo + 1 - x0);
        if (odd) {
            columnSums<true>(s.row(above), s.row(i), s.row(below), lo, hi, first);
        } else {
            columnSums<false>(s.row(above), s.row(i), s.row(below), lo, hi, first);
        }
        // Borders: column -1 reflects column 1 (column 0 alone), column w repeats w - 1.
        if (x0 == 0) v[0] = w > 1 ? v[2] : v[1];
        if (x1 == w) v[n + 1] = v[n];
        if constexpr (kAdd) {
            rowBytes(v, n, bytes);
            lut2d::addLumaOffsets(out + 2 * x0, bytes, 2 * n);
        } else {
            rowBytes(v, n, out + 2 * x0);
        }
    }
}

// Output rows [rowBegin, min(rowEnd, 2 height)); row y at dst + y * dstStride.
template <bool kAdd>
void outputRows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                uint8_t* dst, uint32_t dstStride, size_t rowBegin, size_t rowEnd) {
    if (width == 0 || height == 0) return;
    const Source s{src, width, height, srcStride};
    const size_t end = std::min(rowEnd, size_t{2} * height);
    for (size_t y = rowBegin; y < end; ++y) outputRow<kAdd>(s, y, dst + y * dstStride);
}

}  // namespace

namespace lut2d::tessel {

int scaleUpBy2Gaussian5x5Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride,
                              uint32_t rowBegin, uint32_t rowEnd) {
    outputRows<false>(src, srcWidth, srcHeight, srcStride, dst, dstStride, rowBegin, rowEnd);
    return 0;
}

void scaleUpBy2Gaussian5x5AddRows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* luma, uint32_t lumaStride,
                                  uint32_t rowBegin, uint32_t rowEnd) {
    outputRows<true>(src, srcWidth, srcHeight, srcStride, luma, lumaStride, rowBegin, rowEnd);
}

}  // namespace lut2d::tessel

extern "C" {

int tslSetOperationMode(int mode) {
    return mode >= 0 && mode <= 3 ? 0 : -1;
}

int tslScaleUpBy2Gaussian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint8_t* dst) {
    outputRows<false>(src, srcWidth, srcHeight, srcWidth, dst, 2 * srcWidth, 0, SIZE_MAX);
    return 0;
}

int tslScaleUpBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    outputRows<false>(src, srcWidth, srcHeight, srcStride, dst, dstStride, 0, SIZE_MAX);
    return 0;
}
}
