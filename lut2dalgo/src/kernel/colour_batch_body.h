// The vector form of the batched colour kernel, written once over the compilers' portable
// vector extensions (eight 32-bit lanes) and compiled once per instruction set. Only the
// table reads differ between instruction sets: each including file supplies a Lanes type
// with the three reads below.
//
// Every step is adjustColour's arithmetic (colour_math.h, lut_math.h) on eight colours; the
// comments name the bounds that keep each step inside 32 bits. They hold for inputs of
// 10-bit fields when BatchTables::vectorExact is set (see colour_batch.h).
//
// Lanes must provide, for an index vector V of eight int32 lanes:
//   static V table(const int32_t* t, V i);                 // t[i[k]] in each lane
//   static void cells(const GridCell* c, V i, V (&w)[4]);  // the four words of c[i[k]]
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../common/int_math.h"
#include "colour_batch.h"
#include "kernel_constants.h"

// Each instruction set's copy lives in a namespace of its own (LUT2D_ISA_TAG, set by the
// including file), so that no definition compiled for one instruction set can stand in for
// another's at link time.
#ifndef LUT2D_ISA_TAG
#define LUT2D_ISA_TAG portable
#endif

namespace lut2d::vec {
inline namespace LUT2D_ISA_TAG {

using V = int32_t __attribute__((vector_size(32)));
using U = uint32_t __attribute__((vector_size(32)));
inline constexpr size_t kLanes = 8;

// The constant vectors are built by broadcasting a scalar.
LUT2D_FORCE_INLINE V splat(int32_t x) {
    return V{} + x;
}

LUT2D_FORCE_INLINE V vmin(V a, V b) {
    return a < b ? a : b;
}

LUT2D_FORCE_INLINE V vmax(V a, V b) {
    return a > b ? a : b;
}

LUT2D_FORCE_INLINE V clamp1023(V v) {
    return vmin(vmax(v, splat(0)), splat(1023));
}

// Logical right shift.
LUT2D_FORCE_INLINE V lsr(V v, int n) {
    return (V)((U)v >> n);
}

// The low 16 bits of each lane as a signed number, and the high 16 bits.
LUT2D_FORCE_INLINE V lowHalf(V w) {
    return (V)((U)w << 16) >> 16;
}

LUT2D_FORCE_INLINE V highHalf(V w) {
    return w >> 16;
}

// Q(a, n) = ((reciprocal[n] * a >> shift[n]) + 1) >> 1 with the reciprocal and shift of n
// from the constant tables: reciprocal <= 8177 and a <= 1023, so the product stays below 2^23.
LUT2D_FORCE_INLINE V tableDivide(V a, V reciprocal, V shift) {
    const U v = ((U)reciprocal * (U)a) >> (U)shift;
    return (V)((v + 1u) >> 1);
}

// lerpHueAxis from a cell word, base | diff << 16: w < 2^15 and |diff| <= 2^15, so the
// product stays within 2^30.
LUT2D_FORCE_INLINE V lerpHue(V w, V base, V pair) {
    return interpolationStep(w, highHalf(pair), base, kHueWeightBits);
}

// lerpSatAxis: |a|, |b| < 98,304 and w < 4096, so the product stays below 2^30.
LUT2D_FORCE_INLINE V lerpSat(V w, V a, V b) {
    return interpolationStep(w, b - a, a, kSatWeightBits);
}

// What the stages below hand on for eight colours.
struct Stage {
    V r, g, b;  // the colour's own clamped RGB, for a neutral cell
    V h, s, l;
    V w;                 // lightness weight
    V hueWord, satWord;  // see BatchTables
};

// Stage 1: YUV -> RGB -> HSL, and the lightness weight.
template <class Lanes>
LUT2D_FORCE_INLINE void toHsl(const BatchTables& t, V key, Stage& o) {
    // YUV -> RGB: (1024 y + x + 512) >> 10 = y + ((x + 512) >> 10) for the arithmetic shift.
    const V y = lsr(key, 20);
    const V u = (lsr(key, 10) & 1023) - 512;
    const V v = (key & 1023) - 512;
    const V g0 = clamp1023(y + roundShift(-354 * u - 734 * v, kCstBits));
    const V b0 = clamp1023(y + roundShift(1822 * u, kCstBits));
    const V r0 = clamp1023(y + roundShift(1441 * v, kCstBits));
    o.r = r0;
    o.g = g0;
    o.b = b0;

    // Ties between red and green go to red; sector and sign as in rgbToHsl.
    const V redFirst = r0 >= g0;
    const V hi = vmax(r0, g0);
    const V lo = vmin(r0, g0);
    const V blueTop = hi < b0;
    const V blueMid = ~blueTop & (lo < b0);
    const V mx = vmax(hi, b0);
    const V mn = vmin(lo, b0);
    const V mid = blueTop ? hi : (blueMid ? b0 : lo);
    // sector: blue top 2; blue middle 3 (red first) or 1; else 0 (red first) or 1, from the
    // masks (each -1 or 0).
    const V sector = (~redFirst & ~blueTop & 1) + (blueTop & 2) + (redFirst & blueMid & 3);
    // negative hue step: green first, except blue in the middle, where red first.
    const V negative = blueMid ? redFirst : ~redFirst;
    const V l = mx + mn;
    const V ch = mx - mn;
    const V light = Lanes::table(t.lightWord, l);
    const V division = Lanes::table(kDivisionWords.data(), ch);
    const V chroma = ch != 0;
    const V q = tableDivide(mid - mn, division & 0xFFFF, lsr(division, 16));
    o.s = chroma & tableDivide(ch, lsr(light, 12) & 0x1FFF, lsr(light, 25));
    o.h = chroma & (((q ^ negative) - negative) + (sector << 12));  // 0 .. 12287
    o.l = l;
    o.w = light & 0xFFF;  // at most kMaxVectorWeight
}

// Stage 2: the grid row and hue weight, the saturation interval, weight and low test.
template <class Lanes>
LUT2D_FORCE_INLINE void locate(const BatchTables& t, Stage& o) {
    o.hueWord = Lanes::table(t.hueWord, o.h);
    o.satWord = Lanes::table(t.satWord, o.s);
}

// Stage 3: the grid offsets, the moved hue and saturation, HSL -> RGB -> YUV.
template <class Lanes>
LUT2D_FORCE_INLINE V finish(const BatchTables& t, const Stage& o) {
    const V h = o.h, s = o.s, l = o.l;
    V cell[4];
    Lanes::cells(t.cells, (o.hueWord & 0xFFFF) + (o.satWord & 15), cell);
    const V lowSat = (o.satWord & kSatLowBit) != 0;
    const V neutral = ~lowSat & ((cell[2] & kNeutralBit) != 0);

    const V wH = lsr(o.hueWord, 16);
    const V wS = lsr(o.satWord, 16);
    const V hA = lerpHue(wH, lowHalf(cell[0]), cell[0]);
    const V hB = lerpHue(wH, lowHalf(cell[1]), cell[1]);
    const V sA = lerpHue(wH, (V)((U)cell[2] << 17) >> 17, cell[2]);  // 15-bit bases
    const V sB = lerpHue(wH, (V)((U)cell[3] << 17) >> 17, cell[3]);
    const V dH = lerpSat(wS, hA, hB);  // |dH| < 491,520
    const V dS = lerpSat(wS, sA, sB);

    // Weighted offsets (w <= kMaxVectorWeight keeps them in 32 bits), hue wrap, clamp.
    const V hMoved = h + roundShift(dH * o.w, kLightWeightBits);
    const V hWrapped = (hMoved + ((hMoved < 0) & kHueTurn) +
                        ((hMoved > kHueTurn - 1) & (kHueWrapMask + 1 - kHueTurn))) &
                       kHueWrapMask;
    const V sMoved =
        vmin(vmax(s + roundShift(dS * o.w, kLightWeightBits), splat(0)), splat(kSatFull));
    const V h2 = lowSat ? h : hWrapped;
    const V s2 = lowSat ? s : sMoved;

    // HSL -> RGB; the hue's row is k mod 3 for k = (h + 2048) >> 12 in 0..4.
    const V den = l < 1024 ? l : 2046 - l;
    const V ch2 = roundShift(den * s2, kSatBits);
    const V t2 = h2 + 2048;
    const V k = t2 >> 12;
    const V f = h2 - (t2 & ~4095);
    const V x = roundShift(ch2 * (f < 0 ? -f : f), kHueSixthBits);
    const V row = k >= 3 ? k - 3 : k;
    const V xDown = (f < 0) & x;  // the channel before the largest (f < 0) or after it
    const V xUp = x - xDown;
    const V row0 = row == 0, row1 = row == 1;
    // Lifted by m = (l - ch2) >> 1 >= 0 the channels stay within 0..1023: ch2 <= den, so
    // ch2 + m <= (l + ch2) / 2 <= 1023 on both sides of mid-grey; no clamp is needed.
    const V m = (l - ch2) >> 1;
    const V r1 = (row0 ? ch2 : (row1 ? xDown : xUp)) + m;
    const V g1 = (row0 ? xUp : (row1 ? ch2 : xDown)) + m;
    const V b1 = (row0 ? xDown : (row1 ? xUp : ch2)) + m;

    // A neutral cell keeps the colour's own RGB; then RGB -> YUV.
    const V r = neutral ? o.r : r1;
    const V g = neutral ? o.g : g1;
    const V b = neutral ? o.b : b1;
    // From RGB in 0..1023 every output lies in 0..1023 without the clamp: the luma row sums to
    // 1024, and each chroma row's positive and negative weights sum to 510 and -510.
    const V yo = roundShift(601 * g + 117 * b + 306 * r, kCstBits);
    const V uo = roundShift(-338 * g + 510 * b - 172 * r, kCstBits) + 512;
    const V vo = roundShift(-427 * g - 83 * b + 510 * r, kCstBits) + 512;
    return (yo << 20) | (uo << 10) | vo;
}

// Colours go through the three stages a block of kBlock at a time, so that the table reads
// of one group of eight overlap the arithmetic of the others instead of waiting in turn.
inline constexpr size_t kBlockGroups = 8;

template <class Lanes>
LUT2D_FORCE_INLINE void adjustGroups(const BatchTables& t, const V* keys, V* results,
                                     size_t groups) {
    Stage st[kBlockGroups];
    for (size_t g = 0; g < groups; ++g) toHsl<Lanes>(t, keys[g], st[g]);
    for (size_t g = 0; g < groups; ++g) locate<Lanes>(t, st[g]);
    for (size_t g = 0; g < groups; ++g) results[g] = finish<Lanes>(t, st[g]);
}

// The low-resolution mode's 8-bit keys as 10-bit colours, and its results (blockColour and
// blockResult in kernel_inline.h).
LUT2D_FORCE_INLINE V blockColours(V key) {
    return to10Bit(lsr(key, 16)) << 20 | to10Bit(lsr(key, 8) & 255) << 10 | to10Bit(key & 255);
}

LUT2D_FORCE_INLINE V blockResults(V key, V adjusted) {
    const V offsetByte = ((lsr(adjusted, 22) - lsr(key, 16)) ^ 128) & 0xFF;
    return offsetByte << 16 | (lsr(adjusted, 12) & 255) << 8 | (lsr(adjusted, 2) & 255);
}

template <class Lanes, bool kBlocks>
LUT2D_FORCE_INLINE void adjustColours(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                                      size_t count) {
    constexpr size_t kBlock = kBlockGroups * kLanes;
    V in[kBlockGroups], colour[kBlockGroups], out[kBlockGroups];
    for (size_t i = 0; i < count; i += kBlock) {
        const size_t n = count - i < kBlock ? count - i : kBlock;
        const size_t groups = (n + kLanes - 1) / kLanes;
        if (n < kBlock) std::memset(in, 0, sizeof in);  // the tail, padded with black
        std::memcpy(in, keys + i, n * sizeof(uint32_t));
        for (size_t g = 0; g < groups; ++g) colour[g] = kBlocks ? blockColours(in[g]) : in[g];
        adjustGroups<Lanes>(t, colour, out, groups);
        if (kBlocks) {
            for (size_t g = 0; g < groups; ++g) out[g] = blockResults(in[g], out[g]);
        }
        std::memcpy(results + i, out, n * sizeof(uint32_t));
    }
}

// Table reads lane by lane: the indices are stored once and each lane loaded on its own
// (on the processors measured, faster than hardware gathers).
struct ScalarLanes {
    using U32x4 = uint32_t __attribute__((vector_size(16)));

    // (Indices are read as unsigned: they are never negative, and then need no sign extension.)
    LUT2D_FORCE_INLINE static V table(const int32_t* t, V i) {
        uint32_t idx[kLanes];
        std::memcpy(idx, &i, sizeof idx);
        return V{t[idx[0]], t[idx[1]], t[idx[2]], t[idx[3]],
                 t[idx[4]], t[idx[5]], t[idx[6]], t[idx[7]]};
    }
    // One 16-byte read per lane, then a transpose: lane k of word j is word j of cell i[k].
    LUT2D_FORCE_INLINE static void cells(const GridCell* c, V i, V (&w)[4]) {
        uint32_t idx[kLanes];
        std::memcpy(idx, &i, sizeof idx);
        U32x4 row[kLanes];
        for (size_t k = 0; k < kLanes; ++k) std::memcpy(&row[k], &c[idx[k]], sizeof row[k]);
        // Rows k and k + 4 side by side, then 32-bit and 64-bit interleaves within each half.
        const U a = __builtin_shufflevector(row[0], row[4], 0, 1, 2, 3, 4, 5, 6, 7);
        const U b = __builtin_shufflevector(row[1], row[5], 0, 1, 2, 3, 4, 5, 6, 7);
        const U c2 = __builtin_shufflevector(row[2], row[6], 0, 1, 2, 3, 4, 5, 6, 7);
        const U d = __builtin_shufflevector(row[3], row[7], 0, 1, 2, 3, 4, 5, 6, 7);
        const U ab0 = __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13);
        const U ab1 = __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15);
        const U cd0 = __builtin_shufflevector(c2, d, 0, 8, 1, 9, 4, 12, 5, 13);
        const U cd1 = __builtin_shufflevector(c2, d, 2, 10, 3, 11, 6, 14, 7, 15);
        w[0] = (V)__builtin_shufflevector(ab0, cd0, 0, 1, 8, 9, 4, 5, 12, 13);
        w[1] = (V)__builtin_shufflevector(ab0, cd0, 2, 3, 10, 11, 6, 7, 14, 15);
        w[2] = (V)__builtin_shufflevector(ab1, cd1, 0, 1, 8, 9, 4, 5, 12, 13);
        w[3] = (V)__builtin_shufflevector(ab1, cd1, 2, 3, 10, 11, 6, 7, 14, 15);
    }
};

}  // namespace LUT2D_ISA_TAG
}  // namespace lut2d::vec
