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
// the base are taken as signed 16 bits (the difference is formed modulo 2^32).
LUT2D_FORCE_INLINE int32_t lerpHueAxis(int32_t w, int32_t a, int32_t b) {
    const int32_t diff =
        toInt16(static_cast<int32_t>(static_cast<uint32_t>(b) - static_cast<uint32_t>(a)));
    return shiftRightArith(w * diff + 8192, 14) + toInt16(a);  // |w * diff| <= 2^30
}

// One step along the saturation axis: weight w has 11 fraction bits (0..4095); a and b come
// from lerpHueAxis, so |a|, |b| < 98304 and the product stays below 2^30.
LUT2D_FORCE_INLINE int32_t lerpSatAxis(int32_t w, int32_t a, int32_t b) {
    return a + shiftRightArith(w * (b - a) + 1024, 11);
}

// Offsets at hue h and saturation s in hue interval hIdx and saturation interval sIdx:
// interpolated along hue first (weight masked to 15 bits), then along saturation (weight
// masked to 12 bits). Grid values are scaled by h_shift and s_shift under the signed shift
// rule. Interval indices beyond 24 or 15 are treated as 24 or 15.
LUT2D_FORCE_INLINE GridOffsets bilinearOffsets(const ISP2DLUTInStruct_V10& cfg, uint32_t h,
                                               uint32_t s, uint32_t hIdx, uint32_t sIdx) {
    const uint32_t hi = hIdx > 24 ? 24 : hIdx;
    const uint32_t si = sIdx > 15 ? 15 : sIdx;
    const uint32_t hNext = hi >= 23 ? 24 : hi + 1;
    const uint32_t sNext = si >= 14 ? 15 : si + 1;
    const uint32_t i00 = hi * 16 + si, i01 = hi * 16 + sNext;
    const uint32_t i10 = hNext * 16 + si, i11 = hNext * 16 + sNext;
    const int32_t h00 = cfg.lut_2d_h[i00], h01 = cfg.lut_2d_h[i01];
    const int32_t h10 = cfg.lut_2d_h[i10], h11 = cfg.lut_2d_h[i11];
    const int32_t s00 = cfg.lut_2d_s[i00], s01 = cfg.lut_2d_s[i01];
    const int32_t s10 = cfg.lut_2d_s[i10], s11 = cfg.lut_2d_s[i11];
    if ((h00 | h01 | h10 | h11 | s00 | s01 | s10 | s11) == 0) return {0, 0, true};

    const uint32_t invH = hi <= 23 ? cfg.lut_1d_h_inv[hi] : 0u;
    const uint32_t invS = si <= 14 ? cfg.lut_1d_s_inv[si] : 0u;
    const auto wH = static_cast<int32_t>((invH * ((h - cfg.lut_1d_h[hi]) & 0xFFFFu)) & 0x7FFFu);
    const auto wS = static_cast<int32_t>((invS * ((s - cfg.lut_1d_s[si]) & 0xFFFFu)) & 0xFFFu);

    const int32_t hs = cfg.h_shift;
    const int32_t ss = cfg.s_shift;
    const int32_t hA = lerpHueAxis(wH, signedShift(h00, hs), signedShift(h10, hs));
    const int32_t hB = lerpHueAxis(wH, signedShift(h01, hs), signedShift(h11, hs));
    const int32_t sA = lerpHueAxis(wH, signedShift(s00, ss), signedShift(s10, ss));
    const int32_t sB = lerpHueAxis(wH, signedShift(s01, ss), signedShift(s11, ss));
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
            return 2048;
    }
}

// An offset d scaled by lightness weight w (Q11), rounded.
LUT2D_FORCE_INLINE int32_t weightOffset(int32_t d, int32_t w) {
    return shiftRightArith(checkedAdd<int32_t>(checkedMul<int32_t>(d, w), 1024), 11);
}

// ---- applying the offsets ----------------------------------------------------------------

// Single-period hue wrap with a 14-bit mask: exact for -12288 .. 24575; outside that range
// the mask can leave a value of 12288 or more. Formed modulo 2^32, so it never overflows.
LUT2D_FORCE_INLINE int32_t wrapHue(int32_t h) {
    uint32_t u = static_cast<uint32_t>(h);
    if (h < 0) {
        u += 12288u;
    } else if (h >= 12288) {
        u += 4096u;
    }
    return static_cast<int32_t>(u & 16383u);
}

LUT2D_FORCE_INLINE int32_t clampSaturation(int32_t s) {
    return s < 0 ? 0 : (s > 2048 ? 2048 : s);
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
