// The portable Gaussian 2x upscale's rows, written once over the compilers' portable vector
// extensions and compiled once per instruction set (sixteen 16-bit lanes with AVX2, eight
// otherwise).
//
// The classic Gaussian pyramid expand: along each dimension output 2i is
// s(i-1) + 6 s(i) + s(i+1) and output 2i+1 is 4 (s(i) + s(i+1)), with s(-1) = s(1) (s(0) for
// a single sample) and s(n) = s(n-1). The 2-D weights total 64 and the sum is rounded once
// at the end: (sum + 32) >> 6.
//
// The sums are exact integers, so the order of the two passes does not change them. Output
// rows are made a pair at a time from the two or three source rows they share (2i from rows
// i - 1, i, i + 1; 2i + 1 from rows i, i + 1): the vertical pass first, into stack buffers of
// 16-bit column sums (at most 8 x 255) for a chunk of columns, then the horizontal pass from
// those buffers to the rows' bytes (sums at most 64 x 255, still 16 bits).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../../src/common/luma_offset_add.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

#ifndef LUT2D_ISA_TAG
#define LUT2D_ISA_TAG portable
#endif

namespace lut2d::tessel {
inline namespace LUT2D_ISA_TAG {

#if defined(__AVX2__)
typedef uint16_t Sums __attribute__((vector_size(32)));
#else
typedef uint16_t Sums __attribute__((vector_size(16)));
#endif
constexpr size_t kLanes = sizeof(Sums) / sizeof(uint16_t);

// Source columns per pass over the column-sum buffers.
constexpr size_t kChunk = 512;

constexpr bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

// kLanes bytes as 16-bit lanes.
LUT2D_FORCE_INLINE Sums widen(const uint8_t* p) {
#if defined(__AVX2__)
    return (Sums)_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
#else
    typedef uint8_t Bytes __attribute__((vector_size(kLanes)));
    Bytes b;
    std::memcpy(&b, p, sizeof b);
    return __builtin_convertvector(b, Sums);
#endif
}

LUT2D_FORCE_INLINE Sums loadSums(const uint16_t* p) {
    Sums v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

LUT2D_FORCE_INLINE uint8_t round64(uint32_t sum) {
    return static_cast<uint8_t>((sum + 32) >> 6);
}

struct Source {
    const uint8_t* data;
    size_t width;
    size_t height;
    size_t stride;

    const uint8_t* row(size_t i) const { return data + i * stride; }
    // The rows an output pair reads: source row i and its neighbours, the edges reflected
    // above (row 1 for row -1, row 0 alone) and repeated below.
    size_t above(size_t i) const { return i > 0 ? i - 1 : (height > 1 ? 1 : 0); }
    size_t below(size_t i) const { return i + 1 < height ? i + 1 : height - 1; }
};

// Vertical pass over columns [lo, hi) into even[0 .. hi - lo) (weights 1 6 1 on the rows
// above, here, below) and, when odd is not null, odd[...] (weights 4 4 on here and below).
LUT2D_FORCE_INLINE void columnSums(const uint8_t* above, const uint8_t* here, const uint8_t* below,
                                   size_t lo, size_t hi, uint16_t* even, uint16_t* odd) {
    size_t x = lo;
    for (; x + kLanes <= hi; x += kLanes) {
        const Sums b = widen(here + x);
        const Sums c = widen(below + x);
        if (even != nullptr) {
            const Sums v = widen(above + x) + b * 6 + c;
            std::memcpy(even + (x - lo), &v, sizeof v);
        }
        if (odd != nullptr) {
            const Sums v = (b + c) * 4;
            std::memcpy(odd + (x - lo), &v, sizeof v);
        }
    }
    for (; x < hi; ++x) {
        if (even != nullptr)
            even[x - lo] = static_cast<uint16_t>(above[x] + 6 * here[x] + below[x]);
        if (odd != nullptr) odd[x - lo] = static_cast<uint16_t>(4 * (here[x] + below[x]));
    }
}

// Horizontal pass: v[k] is the column sum of source column x0 - 1 + k for k in 0 .. n + 1;
// output bytes 2 x0 .. 2 (x0 + n) - 1 of the row go to out[0 .. 2n).
LUT2D_FORCE_INLINE void rowBytes(const uint16_t* v, size_t n, uint8_t* out) {
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

// A row's column sums v (filled from v[1] on for x0 > 0, from v[1] at column x0 otherwise),
// given their borders, made into bytes stored at out or (kAdd) added to the luma bytes there.
template <bool kAdd>
LUT2D_FORCE_INLINE void finishRow(uint16_t* v, size_t x0, size_t n, size_t w, uint8_t* out) {
    // Borders: column -1 reflects column 1 (column 0 alone), column w repeats w - 1.
    if (x0 == 0) v[0] = w > 1 ? v[2] : v[1];
    if (x0 + n == w) v[n + 1] = v[n];
    if constexpr (kAdd) {
        uint8_t bytes[2 * kChunk];
        rowBytes(v, n, bytes);
        lut2d::addLumaOffsets(out + 2 * x0, bytes, 2 * n);
    } else {
        rowBytes(v, n, out + 2 * x0);
    }
}

// Output rows 2i (to outEven, unless null) and 2i + 1 (to outOdd, unless null), a chunk of
// columns at a time.
template <bool kAdd>
void outputRows(const Source& s, size_t i, uint8_t* outEven, uint8_t* outOdd) {
    const size_t w = s.width;
    uint16_t even[kChunk + 2], odd[kChunk + 2];
    for (size_t x0 = 0; x0 < w; x0 += kChunk) {
        const size_t x1 = std::min(x0 + kChunk, w);
        const size_t n = x1 - x0;
        // Column sums of x0 - 1 .. x1 where they exist; v[k] is column x0 - 1 + k.
        const size_t lo = x0 > 0 ? x0 - 1 : 0;
        const size_t hi = x1 < w ? x1 + 1 : w;
        const size_t first = lo + 1 - x0;
        columnSums(s.row(s.above(i)), s.row(i), s.row(s.below(i)), lo, hi,
                   outEven != nullptr ? even + first : nullptr,
                   outOdd != nullptr ? odd + first : nullptr);
        if (outEven != nullptr) finishRow<kAdd>(even, x0, n, w, outEven);
        if (outOdd != nullptr) finishRow<kAdd>(odd, x0, n, w, outOdd);
    }
}

// Output rows [rowBegin, min(rowEnd, 2 height)); row y at dst + y * dstStride.
template <bool kAdd>
void outputRowRange(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                    uint8_t* dst, uint32_t dstStride, size_t rowBegin, size_t rowEnd) {
    if (width == 0 || height == 0) return;
    const Source s{src, width, height, srcStride};
    const size_t end = std::min(rowEnd, size_t{2} * height);
    for (size_t y = rowBegin; y < end;) {
        uint8_t* row = dst + y * dstStride;
        if (y % 2 == 0 && y + 1 < end) {  // both rows of a source row
            outputRows<kAdd>(s, y / 2, row, row + dstStride);
            y += 2;
        } else {
            outputRows<kAdd>(s, y / 2, y % 2 == 0 ? row : nullptr, y % 2 == 0 ? nullptr : row);
            y += 1;
        }
    }
}

}  // namespace LUT2D_ISA_TAG
}  // namespace lut2d::tessel
