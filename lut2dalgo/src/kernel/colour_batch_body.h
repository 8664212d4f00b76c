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
//   static V table(const int32_t* t, V i);       // t[i[k]] in each lane
//   static V table16(const uint16_t* t, V i);    // t[i[k]] in each lane, zero-extended
//   static void cells(const GridCell* c, V i, V (&w)[7]);  // words 0..6 of c[i[k]]
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../common/int_math.h"
#include "colour_batch.h"
#include "kernel_constants.h"

namespace lut2d::vec {

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

// Q(a, n) = ((reciprocal[n] * a >> shift[n]) + 1) >> 1 with the constant tables:
// reciprocal <= 8177 and a <= 1023, so the product stays below 2^23.
template <class Lanes>
LUT2D_FORCE_INLINE V tableDivide(V a, V n) {
    const V word = Lanes::table(kDivisionWords.data(), n);
    const U p = (U)(word & 0xFFFF) * (U)a;
    const U v = p >> (U)highHalf(word);
    return (V)((v + 1u) >> 1);
}

// ((w * diff + 8192) >> 14) + base along the hue axis: w < 2^15 and |diff| <= 2^15, so the
// product stays within 2^30.
LUT2D_FORCE_INLINE V lerpHue(V w, V pair) {
    return ((w * highHalf(pair) + 8192) >> 14) + lowHalf(pair);
}

// a + ((w * (b - a) + 1024) >> 11) along the saturation axis: |a|, |b| < 98,304 and
// w < 4096, so the product stays below 2^30.
LUT2D_FORCE_INLINE V lerpSat(V w, V a, V b) {
    return a + ((w * (b - a) + 1024) >> 11);
}

// What the stages below hand on for eight colours.
struct Stage {
    V rgb;  // the colour's own clamped R | G << 10 | B << 20, for a neutral cell
    V h, s, l;
    V cell, w;  // grid cell index and lightness weight
};

// Stage 1: YUV -> RGB -> HSL.
template <class Lanes>
LUT2D_FORCE_INLINE void toHsl(V key, Stage& o) {
    // YUV -> RGB: (1024 y + x + 512) >> 10 = y + ((x + 512) >> 10) for the arithmetic shift.
    const V y = lsr(key, 20);
    const V u = (lsr(key, 10) & 1023) - 512;
    const V v = (key & 1023) - 512;
    const V g0 = clamp1023(y + ((-354 * u - 734 * v + 512) >> 10));
    const V b0 = clamp1023(y + ((1822 * u + 512) >> 10));
    const V r0 = clamp1023(y + ((1441 * v + 512) >> 10));
    o.rgb = r0 | g0 << 10 | b0 << 20;

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
    const V den = l < 1024 ? l : 2046 - l;
    const V chroma = ch != 0;
    const V q = tableDivide<Lanes>(mid - mn, ch);
    o.s = chroma & tableDivide<Lanes>(ch, den);
    o.h = chroma & (((q ^ negative) - negative) + (sector << 12));  // 0 .. 12287
    o.l = l;
}

// Stage 2: the intervals, the grid cell and the lightness weight.
template <class Lanes>
LUT2D_FORCE_INLINE void locate(const BatchTables& t, Stage& o) {
    const V hIdx = vmin(Lanes::table16(t.tables.hueIndex, o.h), splat(24));
    const V sIdx = Lanes::table(t.satInterval, o.s);
    o.cell = hIdx * 16 + sIdx;
    o.w = Lanes::table16(t.tables.lightWeight, o.l);  // at most kMaxVectorWeight
}

// Stage 3: the grid offsets, the moved hue and saturation, HSL -> RGB -> YUV.
template <class Lanes>
LUT2D_FORCE_INLINE V finish(const BatchTables& t, const Stage& o) {
    const V h = o.h, s = o.s, l = o.l;
    V cell[7];
    Lanes::cells(t.cells, o.cell, cell);
    const V lowSat = s < splat(static_cast<int32_t>(t.satLowest));
    const V neutral = ~lowSat & cell[6];

    // Weights: wH = (inv * ((h - node) mod 2^16)) mod 2^15, wS likewise mod 2^12.
    const V wH = (V)((U)lsr(cell[4], 16) * (U)((h - cell[4]) & 0xFFFF)) & 0x7FFF;
    const V wS = (V)((U)lsr(cell[5], 16) * (U)((s - cell[5]) & 0xFFFF)) & 0xFFF;
    const V hA = lerpHue(wH, cell[0]);
    const V hB = lerpHue(wH, cell[1]);
    const V sA = lerpHue(wH, cell[2]);
    const V sB = lerpHue(wH, cell[3]);
    const V dH = lerpSat(wS, hA, hB);  // |dH| < 491,520
    const V dS = lerpSat(wS, sA, sB);

    // Weighted offsets (w <= kMaxVectorWeight keeps them in 32 bits), hue wrap, clamp.
    const V hMoved = h + ((dH * o.w + 1024) >> 11);
    const V hWrapped = (hMoved + ((hMoved < 0) & 12288) + ((hMoved > 12287) & 4096)) & 16383;
    const V sMoved = vmin(vmax(s + ((dS * o.w + 1024) >> 11), splat(0)), splat(2048));
    const V h2 = lowSat ? h : hWrapped;
    const V s2 = lowSat ? s : sMoved;

    // HSL -> RGB; the hue's row is k mod 3 for k = (h + 2048) >> 12 in 0..4.
    const V den = l < 1024 ? l : 2046 - l;
    const V ch2 = (den * s2 + 1024) >> 11;
    const V t2 = h2 + 2048;
    const V k = t2 >> 12;
    const V f = h2 - (t2 & ~4095);
    const V x = (ch2 * (f < 0 ? -f : f) + 1024) >> 11;
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
    const V r = neutral ? (o.rgb & 1023) : r1;
    const V g = neutral ? (lsr(o.rgb, 10) & 1023) : g1;
    const V b = neutral ? lsr(o.rgb, 20) : b1;
    // From RGB in 0..1023 every output lies in 0..1023 without the clamp: the luma row sums to
    // 1024, and each chroma row's positive and negative weights sum to 510 and -510.
    const V yo = (601 * g + 117 * b + 306 * r + 512) >> 10;
    const V uo = ((-338 * g + 510 * b - 172 * r + 512) >> 10) + 512;
    const V vo = ((-427 * g - 83 * b + 510 * r + 512) >> 10) + 512;
    return (yo << 20) | (uo << 10) | vo;
}

// Colours go through the three stages a block of kBlock at a time, so that the table reads
// of one group of eight overlap the arithmetic of the others instead of waiting in turn.
inline constexpr size_t kBlockGroups = 8;

template <class Lanes>
LUT2D_FORCE_INLINE void adjustGroups(const BatchTables& t, const V* keys, V* results,
                                     size_t groups) {
    Stage st[kBlockGroups];
    for (size_t g = 0; g < groups; ++g) toHsl<Lanes>(keys[g], st[g]);
    for (size_t g = 0; g < groups; ++g) locate<Lanes>(t, st[g]);
    for (size_t g = 0; g < groups; ++g) results[g] = finish<Lanes>(t, st[g]);
}

// The low-resolution mode's 8-bit keys as 10-bit colours, and its results (blockColour and
// blockResult in kernel_inline.h).
LUT2D_FORCE_INLINE V blockColours(V key) {
    return lsr(key, 16) << 22 | (lsr(key, 8) & 255) << 12 | (key & 255) << 2;
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

// Table reads lane by lane: the indices are stored once and each lane loaded on its own.
struct ScalarLanes {
    template <class T>
    LUT2D_FORCE_INLINE static V read(const T* t, V i) {
        int32_t idx[kLanes];
        std::memcpy(idx, &i, sizeof idx);
        return V{t[idx[0]], t[idx[1]], t[idx[2]], t[idx[3]],
                 t[idx[4]], t[idx[5]], t[idx[6]], t[idx[7]]};
    }
    LUT2D_FORCE_INLINE static V table(const int32_t* t, V i) { return read(t, i); }
    LUT2D_FORCE_INLINE static V table16(const uint16_t* t, V i) { return read(t, i); }
    LUT2D_FORCE_INLINE static void cells(const GridCell* c, V i, V (&w)[7]) {
        int32_t idx[kLanes];
        std::memcpy(idx, &i, sizeof idx);
        for (int k = 0; k < 7; ++k) {
            const int32_t* base = &c[0].hueLo + k;
            w[k] = V{base[8 * idx[0]], base[8 * idx[1]], base[8 * idx[2]], base[8 * idx[3]],
                     base[8 * idx[4]], base[8 * idx[5]], base[8 * idx[6]], base[8 * idx[7]]};
        }
    }
};

}  // namespace lut2d::vec
