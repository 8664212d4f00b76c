// Colour-space arithmetic of the colour kernel: the fixed-point 3x3 transform and the
// RGB <-> HSL conversions with their table division.
//
// Each step is written once here, force-inlined, and shared by the exported members and by
// the per-pixel path (adjustColour), so the band workers run a whole colour without a call
// per step. Channel values are 10-bit (0..1023); hue 0..12287 (12288 a full turn), saturation
// Q11 (0..2048), lightness max + min (0..2046).
//
// Arguments outside those ranges never make a step read outside a table: a divisor is
// clamped into the division tables, and a sum or product that does not fit in 32 bits
// stops the process through the checked helpers instead of wrapping.
#pragma once

#include <cstdint>

#include "../common/checked_math.h"
#include "../common/int_math.h"
#include "kernel_types.h"

namespace lut2d {

// v limited to 0 .. last: the index of a table entry for a value that may be out of range.
LUT2D_FORCE_INLINE uint32_t clampIndex(int32_t v, uint32_t last) {
    if (v < 0) return 0;
    return static_cast<uint32_t>(v) > last ? last : static_cast<uint32_t>(v);
}

// ---- colour-space transform ------------------------------------------------------------

// Three channel values, in the order a transform takes or gives them.
struct Triple {
    int32_t c1, c2, c3;
};

// Which offsets of a CST_params record a transform applies (the coefficients and the clamp
// are always applied). The specialised forms skip exactly the offsets that are zero in the
// engine's records.
enum CstUse : unsigned {
    kCstInOffset1 = 1u,    // inOffset[0]
    kCstInOffset23 = 2u,   // inOffset[1], inOffset[2]
    kCstOutOffset1 = 4u,   // outOffset[0]
    kCstOutOffset23 = 8u,  // outOffset[1], outOffset[2]
    kCstGeneral = 15u,     // every field: CST
    kCstYuvToRgb = 2u,     // CST_YUV2RGB: inputs Y, U, V; outputs G, B, R
    kCstRgbToYuv = 8u,     // CST_RGB2YUV: inputs G, B, R; outputs Y, U, V
};

// Output k = clamp(((sum_j coef[k][j] * (in_j - inOffset[j]) + 512) >> 10) + outOffset[k]),
// clamped to outMax first, then to outMin, stored as 16 bits.
template <unsigned kUse>
LUT2D_FORCE_INLINE Triple cstTransform(const CST_params& p, int32_t a, int32_t b, int32_t c) {
    const int32_t d[3] = {
        (kUse & kCstInOffset1) ? checkedSub<int32_t>(a, p.inOffset[0]) : a,
        (kUse & kCstInOffset23) ? checkedSub<int32_t>(b, p.inOffset[1]) : b,
        (kUse & kCstInOffset23) ? checkedSub<int32_t>(c, p.inOffset[2]) : c,
    };
    int32_t out[3];
    for (int k = 0; k < 3; ++k) {
        const int16_t* row = &p.coef[3 * k];
        int32_t s = checkedMul<int32_t>(row[0], d[0]);
        s = checkedAdd<int32_t>(s, checkedMul<int32_t>(row[1], d[1]));
        s = checkedAdd<int32_t>(s, checkedMul<int32_t>(row[2], d[2]));
        int32_t t = checkedRoundShift(s, kCstBits);  // |t| < 2^22
        const bool useOut = k == 0 ? (kUse & kCstOutOffset1) != 0 : (kUse & kCstOutOffset23) != 0;
        if (useOut) t += p.outOffset[k];
        const int32_t hi = p.outMax[k];
        const int32_t lo = p.outMin[k];
        out[k] = toInt16(t > hi ? hi : (t < lo ? lo : t));
    }
    return {out[0], out[1], out[2]};
}

// ---- table division --------------------------------------------------------------------

// Q(a, n) = ((reciprocal[n] * a >> shift[n]) + 1) >> 1, about a * 2048 / n, with a and the
// reciprocal taken as unsigned 16 bits. n is clamped into the 1024-entry tables; a shift
// entry is used modulo 32 (the tables hold 0..10, so it only ever shifts right).
LUT2D_FORCE_INLINE int32_t tableDivide(const uint32_t* recip, const uint32_t* shift, int32_t a,
                                       int32_t n) {
    const uint32_t i = clampIndex(n, kDivTableSize - 1);
    const uint32_t p = (recip[i] & 0xFFFFu) * (static_cast<uint32_t>(a) & 0xFFFFu);
    const uint32_t v = p >> (shift[i] & 31u);
    return static_cast<int32_t>((v + 1u) >> 1);  // v <= 0xFFFE0001: no wrap, result < 2^31
}

// Denominator of saturation for lightness L: L below mid-grey, 2046 - L from it on.
LUT2D_FORCE_INLINE int32_t lightnessDenominator(int32_t l) {
    return l < 1024 ? l : 2046 - l;
}

// ---- HSL conversion --------------------------------------------------------------------

struct Hsl {
    int32_t h, s, l;
};

struct Rgb {
    int32_t r, g, b;
};

// Hexcone hue, Q11 saturation and max + min lightness of an RGB colour. Ties between red and
// green go to red. The table pointers are those of the saturation and of the hue division.
LUT2D_FORCE_INLINE Hsl rgbToHsl(int32_t r, int32_t g, int32_t b, const uint32_t* recipSat,
                                const uint32_t* recipHue, const uint32_t* shiftSat,
                                const uint32_t* shiftHue) {
    const bool redFirst = r >= g;
    const int32_t hi = redFirst ? r : g;
    const int32_t lo = redFirst ? g : r;
    int32_t sign = redFirst ? 1 : -1;
    int32_t mx, mid, mn, sector;
    if (hi < b) {  // blue strictly largest
        mx = b, mid = hi, mn = lo, sector = 2;
    } else if (lo < b) {  // blue in the middle
        mx = hi, mid = b, mn = lo;
        sector = redFirst ? 3 : 1;
        sign = redFirst ? -1 : 1;
    } else {  // blue smallest, or tied with the smaller of red and green
        mx = hi, mid = lo, mn = b;
        sector = redFirst ? 0 : 1;
    }
    const int32_t l = checkedAdd<int32_t>(mx, mn);
    const int32_t ch = checkedSub<int32_t>(mx, mn);
    if (ch == 0) return {0, 0, l};
    const int32_t s = tableDivide(recipSat, shiftSat, ch, lightnessDenominator(l));
    // mid - mn lies in 0 .. ch; the quotient is below 2^31 - 12288, so no sum can overflow.
    const int32_t q = tableDivide(recipHue, shiftHue, mid - mn, ch);
    return {sign * q + sector * 4096, s, l};
}

// A channel raised by the lightness offset m, limited to 0..1023.
LUT2D_FORCE_INLINE int32_t liftChannel(int32_t v, int32_t m) {
    const int32_t w = checkedAdd<int32_t>(v, m);
    return w < 0 ? 0 : (w > 1023 ? 1023 : w);
}

// RGB of a hue, saturation and lightness. The hue's sextant row is chosen by
// k = (H + 2048) >> 12 modulo 3 (rows: red, green, blue largest), so a hue one turn above
// the range (12288 .. 16383, k = 4, as the masked hue wrap can produce) or below it gives
// the colour of the same hue inside the range, exactly as k = 3 already does for red.
LUT2D_FORCE_INLINE Rgb hslToRgb(int32_t h, int32_t s, int32_t l) {
    const int32_t ch =
        checkedRoundShift(checkedMul<int32_t>(lightnessDenominator(l), toInt16(s)), kSatBits);
    const int32_t t = checkedAdd<int32_t>(h, 2048);
    const int32_t k = shiftRightArith(t, 12);
    const int32_t f = h - (t & ~int32_t{4095});  // -2048 <= f < 2048
    const int32_t absF = f < 0 ? -f : f;
    const int32_t x = roundShift(toInt16(ch) * toInt16(absF), kHueSixthBits);  // |.| <= 2^26
    int32_t row = k % 3;
    if (row < 0) row += 3;
    Rgb c{};
    switch (row) {
        case 0:
            c = f >= 0 ? Rgb{ch, x, 0} : Rgb{ch, 0, x};
            break;
        case 1:
            c = f >= 0 ? Rgb{0, ch, x} : Rgb{x, ch, 0};
            break;
        default:
            c = f >= 0 ? Rgb{x, 0, ch} : Rgb{0, x, ch};
            break;
    }
    const int32_t m = shiftRightArith(checkedSub<int32_t>(l, ch), 1);
    return {liftChannel(c.r, m), liftChannel(c.g, m), liftChannel(c.b, m)};
}

}  // namespace lut2d
