// The per-pixel colour adjustment, force-inlined for the band workers and for process.
//
// adjustColour runs the whole miss path of one 10-bit colour: YUV -> RGB, RGB -> HSL, the
// index-table reads, the low-saturation bypass, the grid interpolation with its neutral-cell
// bypass, the lightness weight, hue wrap and saturation clamp, HSL -> RGB and RGB -> YUV.
// The result cache (HM_RGB slices of 50,000 entries) is indexed through cacheSlot.
#pragma once

#include <cstdint>

#include "colour_math.h"
#include "lut_math.h"

namespace lut2d {

struct Yuv10 {
    int32_t y, u, v;
};

// Three 10-bit values packed as a << 20 | b << 10 | c, formed in 32 bits (values outside
// 10 bits, negative ones included, spill into the neighbouring fields).
LUT2D_FORCE_INLINE uint32_t packYuv10(int32_t a, int32_t b, int32_t c) {
    return (static_cast<uint32_t>(a) << 20) | (static_cast<uint32_t>(b) << 10) |
           static_cast<uint32_t>(c);
}

// The three fields of a packed result: the top 12 bits, then two 10-bit fields.
LUT2D_FORCE_INLINE Yuv10 unpackYuv10(uint32_t packed) {
    return {static_cast<int32_t>(packed >> 20), static_cast<int32_t>((packed >> 10) & 1023u),
            static_cast<int32_t>(packed & 1023u)};
}

// Slot of a cache key in a 50,000-entry HM_RGB slice: key mod 49999, always in 0..49998.
// Keys are unsigned, so a key whose top bit is set (sign-extended chroma handed to process)
// still lands inside the slice. The last entry of a slice stays idle.
LUT2D_FORCE_INLINE uint32_t cacheSlot(uint32_t key) {
    return key % kCacheModulus;
}

// Adjusted Y', U', V' of one 10-bit colour, from the tables t names. This is the reference
// the batched kernels are checked against.
LUT2D_FORCE_INLINE Yuv10 adjustColour(const KernelTables& t, int32_t y, int32_t u, int32_t v) {
    const ISP2DLUTInStruct_V10& cfg = *t.cfg;
    const Triple gbr = cstTransform<kCstYuvToRgb>(*t.yuvToRgb, y, u, v);
    const Hsl hsl =
        rgbToHsl(gbr.c3, gbr.c1, gbr.c2, t.recipSat, t.recipHue, t.shiftSat, t.shiftHue);
    // Both intervals are looked up for every colour, before the low-saturation test.
    const uint32_t hIdx = hueInterval(t, hsl.h);
    const uint32_t sIdx = satInterval(t, hsl.s);

    Rgb rgb{gbr.c3, gbr.c1, gbr.c2};
    HueSat moved{hsl.h, hsl.s};
    bool neutral = false;
    if (static_cast<uint32_t>(toUint16(hsl.s)) >= cfg.lut_1d_s[0]) {
        const GridOffsets d = bilinearOffsets(cfg, static_cast<uint32_t>(toUint16(hsl.h)),
                                              static_cast<uint32_t>(toUint16(hsl.s)), hIdx, sIdx);
        neutral = d.neutral;
        if (!neutral) moved = moveHueSat(hsl.h, hsl.s, d, lightWeightAt(t, hsl.l));
    }
    // A neutral cell keeps the colour's own (clamped) RGB; every other colour goes back
    // through HSL, even one below the first saturation node.
    if (!neutral) rgb = hslToRgb(moved.h, moved.s, hsl.l);
    const Triple yuv = cstTransform<kCstRgbToYuv>(*t.rgbToYuv, rgb.g, rgb.b, rgb.r);
    return {yuv.c1, yuv.c2, yuv.c3};
}

// The low-resolution mode's 8-bit cache key, Yavg << 16 | U << 8 | V, as the 10-bit colour the
// kernel adjusts (each field times 4).
LUT2D_FORCE_INLINE uint32_t blockColour(uint32_t key) {
    return to10Bit(key >> 16) << 20 | to10Bit(key >> 8 & 255u) << 10 | to10Bit(key & 255u);
}

// The low-resolution mode's result for an 8-bit key and its adjusted 10-bit colour: the luma
// offset byte (Y'' - Yavg + 128) mod 256 (wrapping, deliberately, beyond -128 .. +127), then
// the new 8-bit chroma: offset << 16 | U'' << 8 | V''.
LUT2D_FORCE_INLINE uint32_t blockResult(uint32_t key, uint32_t adjusted) {
    const Yuv10 a = unpackYuv10(adjusted);
    const uint32_t offsetByte = (static_cast<uint32_t>(to8Bit(a.y)) - (key >> 16)) ^ 128u;
    return (offsetByte & 0xFF) << 16 | static_cast<uint32_t>(to8Bit(a.u)) << 8 |
           static_cast<uint32_t>(to8Bit(a.v));
}

// One 10-bit colour through a band's result cache: a colour seen before in this slice returns
// its stored result, even if the tuning record changed since; otherwise it is computed and
// replaces whatever the slot held. Out-of-range inputs still index inside the slice.
LUT2D_FORCE_INLINE Yuv10 processCached(const KernelTables& t, int32_t y, int32_t u, int32_t v,
                                       HM_RGB* cache) {
    const uint32_t key = packYuv10(y, u, v);
    HM_RGB& entry = cache[cacheSlot(key)];
    if (entry.key == key) return unpackYuv10(entry.result);
    const Yuv10 out = adjustColour(t, y, u, v);
    entry.result = packYuv10(out.y, out.u, out.v);
    entry.key = key;
    return out;
}

}  // namespace lut2d
