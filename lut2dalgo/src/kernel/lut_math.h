// Table step of the colour kernel: interval lookups, bilinear interpolation of the tuning
// grid, the lightness weight, and the hue wrap and saturation clamp that apply the offsets.
//
// Force-inlined and shared by the exported members and the per-pixel path. Grid and table
// reads are always inside their arrays: an interval index beyond the last interval is
// clamped to it, and a hue, saturation or lightness beyond its table is clamped to the
// table's last entry (a negative one to the first).
#pragma once

#include <cstdint>

#include "colour_math.h"

namespace lut2d {

// ---- engine table reads ----------------------------------------------------------------

// Hue interval (0..24) that holds hue h, from the hue index table.
LUT2D_FORCE_INLINE uint32_t hueInterval(const KernelTables& t, int32_t h) {
    return t.hueIndex[clampIndex(h, kHueIndexEntries - 1)];
}

// Saturation interval (0..15) that holds saturation s, from the saturation index table.
LUT2D_FORCE_INLINE uint32_t satInterval(const KernelTables& t, int32_t s) {
    return t.satIndex[clampIndex(s, kSatIndexEntries - 1)];
}

// Lightness weight of lightness l (Q11), from the lightness weight table.
LUT2D_FORCE_INLINE int32_t lightWeightAt(const KernelTables& t, int32_t l) {
    return t.lightWeight[clampIndex(l, kLightWeightEntries - 1)];
}

// ---- bilinear interpolation of the grid ------------------------------------------------

// Interpolated hue and saturation offsets of one pixel; neutral when all eight grid values
// around it are zero (the offsets are then zero and the pixel needs no adjustment).
struct GridOffsets {
    int32_t dH, dS;
    bool neutral;
};

// One step along the hue axis: weight w has 14 fraction bits (0..32767), the difference and
// the base are taken as signed 16 bits, so |w x difference| <= 2^30.
LUT2D_FORCE_INLINE int32_t lerpHueAxis(int32_t w, int32_t a, int32_t b) {
    return interpolationStep(w, difference16(b, a), toInt16(a), kHueWeightBits);
}

// One step along the saturation axis: weight w has 11 fraction bits (0..4095); a and b come
// from lerpHueAxis, so |a|, |b| < 98304 and the product stays below 2^30.
LUT2D_FORCE_INLINE int32_t lerpSatAxis(int32_t w, int32_t a, int32_t b) {
    return interpolationStep(w, b - a, a, kSatWeightBits);
}

// Interpolation weight of hue h in hue interval hi (0..24): (inverse spacing x (h - node),
// the difference taken modulo 2^16) kept to 15 bits, 14 of them fraction. The last node
// starts no interval: its weight is 0.
LUT2D_FORCE_INLINE int32_t hueWeight(const ISP2DLUTInStruct_V10& cfg, uint32_t h, uint32_t hi) {
    const uint32_t inv = hi < kHueIntervals ? cfg.lut_1d_h_inv[hi] : 0u;
    return static_cast<int32_t>((inv * ((h - cfg.lut_1d_h[hi]) & 0xFFFFu)) & 0x7FFFu);
}

// The same for saturation s in saturation interval si (0..15), kept to 12 bits (11 fraction).
LUT2D_FORCE_INLINE int32_t satWeight(const ISP2DLUTInStruct_V10& cfg, uint32_t s, uint32_t si) {
    const uint32_t inv = si < kSatIntervals ? cfg.lut_1d_s_inv[si] : 0u;
    return static_cast<int32_t>((inv * ((s - cfg.lut_1d_s[si]) & 0xFFFFu)) & 0xFFFu);
}

// Flat grid indices of the four nodes around hue interval hi and saturation interval si (at
// most 24 and 15): [hue node][saturation node], the next node capped at the last one.
struct CellNodes {
    uint32_t at[2][2];
};

LUT2D_FORCE_INLINE CellNodes cellNodes(uint32_t hi, uint32_t si) {
    const uint32_t hNext = hi >= kHueNodes - 2 ? kHueNodes - 1 : hi + 1;
    const uint32_t sNext = si >= kSatNodes - 2 ? kSatNodes - 1 : si + 1;
    return {{{gridEntry(hi, si), gridEntry(hi, sNext)},
             {gridEntry(hNext, si), gridEntry(hNext, sNext)}}};
}

// Whether all eight grid values around the cell are zero: its pixels need no adjustment.
LUT2D_FORCE_INLINE bool cellIsNeutral(const ISP2DLUTInStruct_V10& cfg, const CellNodes& c) {
    int32_t any = 0;
    for (const auto& row : c.at) {
        for (const uint32_t i : row) any |= cfg.lut_2d_h[i] | cfg.lut_2d_s[i];
    }
    return any == 0;
}

// The grid values of a node scaled by h_shift and s_shift under the signed shift rule.
LUT2D_FORCE_INLINE int32_t scaledHueOffset(const ISP2DLUTInStruct_V10& cfg, uint32_t i) {
    return signedShift(cfg.lut_2d_h[i], cfg.h_shift);
}

LUT2D_FORCE_INLINE int32_t scaledSatOffset(const ISP2DLUTInStruct_V10& cfg, uint32_t i) {
    return signedShift(cfg.lut_2d_s[i], cfg.s_shift);
}

// Offsets at hue h and saturation s in hue interval hIdx and saturation interval sIdx:
// interpolated along hue first (weight masked to 15 bits), then along saturation (weight
// masked to 12 bits). Grid values are scaled by h_shift and s_shift under the signed shift
// rule. Interval indices beyond 24 or 15 are treated as 24 or 15.
LUT2D_FORCE_INLINE GridOffsets bilinearOffsets(const ISP2DLUTInStruct_V10& cfg, uint32_t h,
                                               uint32_t s, uint32_t hIdx, uint32_t sIdx) {
    const uint32_t hi = hIdx < kHueNodes ? hIdx : kHueNodes - 1;
    const uint32_t si = sIdx < kSatNodes ? sIdx : kSatNodes - 1;
    const CellNodes c = cellNodes(hi, si);
    if (cellIsNeutral(cfg, c)) return {0, 0, true};

    const int32_t wH = hueWeight(cfg, h, hi);
    const int32_t wS = satWeight(cfg, s, si);
    auto hue = [&](int hn, int sn) { return scaledHueOffset(cfg, c.at[hn][sn]); };
    auto sat = [&](int hn, int sn) { return scaledSatOffset(cfg, c.at[hn][sn]); };
    const int32_t hA = lerpHueAxis(wH, hue(0, 0), hue(1, 0));
    const int32_t hB = lerpHueAxis(wH, hue(0, 1), hue(1, 1));
    const int32_t sA = lerpHueAxis(wH, sat(0, 0), sat(1, 0));
    const int32_t sB = lerpHueAxis(wH, sat(0, 1), sat(1, 1));
    return {lerpSatAxis(wS, hA, hB), lerpSatAxis(wS, sA, sB), false};
}

// ---- lightness weight ------------------------------------------------------------------

// Where lightness l lies against the four boundaries: 3 outside (start A, end B), 2 on the
// rising ramp, 1 on the falling ramp, 0 on the plateau.
LUT2D_FORCE_INLINE int32_t boundaryClass(uint32_t l, uint32_t startA, uint32_t endA,
                                         uint32_t startB, uint32_t endB) {
    if (l <= startA || l >= endB) return 3;
    if (l < startB) return 2;
    if (l > endA) return 1;
    return 0;
}

// Ramp value (a - b) * c, the difference taken modulo 2^16 and the product truncated to its
// low 16 bits.
LUT2D_FORCE_INLINE uint16_t boundaryRamp(uint32_t a, uint32_t b, uint32_t c) {
    return static_cast<uint16_t>(((a - b) & 0xFFFFu) * (c & 0xFFFFu));
}

// Lightness weight of l in 1/2048 as the record's boundaries give it: 0 outside, 2048 on the
// plateau, the ramps kept to their low 12 bits (an overshooting inverse wraps).
LUT2D_FORCE_INLINE uint16_t lightnessWeight(const ISP2DLUTInStruct_V10& cfg, uint32_t l) {
    switch (boundaryClass(l, cfg.l_boundary_start_A, cfg.l_boundary_end_A, cfg.l_boundary_start_B,
                          cfg.l_boundary_end_B)) {
        case 3:
            return 0;
        case 2:
            return boundaryRamp(l, cfg.l_boundary_start_A, cfg.l_boundary_start_inv) & 4095u;
        case 1:
            return boundaryRamp(cfg.l_boundary_end_B, l, cfg.l_boundary_end_inv) & 4095u;
        default:
            return kLightInvFull;
    }
}

// An offset d scaled by lightness weight w (Q11), rounded.
LUT2D_FORCE_INLINE int32_t weightOffset(int32_t d, int32_t w) {
    return checkedRoundShift(checkedMul<int32_t>(d, w), kLightWeightBits);
}

// ---- applying the offsets ----------------------------------------------------------------

// Single-period hue wrap with a 14-bit mask: exact for -12288 .. 24575; outside that range
// the mask can leave a value of 12288 or more. Formed modulo 2^32, so it never overflows.
LUT2D_FORCE_INLINE int32_t wrapHue(int32_t h) {
    uint32_t u = static_cast<uint32_t>(h);
    if (h < 0) {
        u += kHueTurn;
    } else if (h >= kHueTurn) {
        u += kHueWrapMask + 1 - kHueTurn;
    }
    return static_cast<int32_t>(u & kHueWrapMask);
}

LUT2D_FORCE_INLINE int32_t clampSaturation(int32_t s) {
    return s < 0 ? 0 : (s > kSatFull ? kSatFull : s);
}

struct HueSat {
    int32_t h, s;
};

// Hue and saturation moved by the grid offsets, faded by lightness weight w, then wrapped
// and clamped.
LUT2D_FORCE_INLINE HueSat moveHueSat(int32_t h, int32_t s, const GridOffsets& d, int32_t w) {
    return {wrapHue(checkedAdd<int32_t>(h, weightOffset(d.dH, w))),
            clampSaturation(checkedAdd<int32_t>(s, weightOffset(d.dS, w)))};
}

}  // namespace lut2d
