// The low-resolution finish's addition: luma + (offset - 128), saturated to 0 .. 255, so
// that an offset of 128 leaves a sample as it is. Header-only, so that the engine and the
// portable upscale (which can fuse it into its output rows) share one definition.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "int_math.h"

namespace lut2d {

// 16 bytes on the compilers' portable vector extensions (SSE2 on x86-64, NEON on arm64).
typedef uint8_t OffsetBytes __attribute__((vector_size(16)));

LUT2D_FORCE_INLINE uint8_t addLumaOffset(uint8_t luma, uint8_t offset) {
    const int32_t v = int32_t{luma} + int32_t{offset} - 128;
    return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

// The same on 16 lanes, without leaving 8 bits: an offset of 128 or more adds offset - 128
// with the sum held at 255, a smaller one then takes 128 - offset away with the difference
// held at 0. One of the two steps is always a zero step.
LUT2D_FORCE_INLINE OffsetBytes addLumaOffsets(OffsetBytes luma, OffsetBytes offsets) {
    const OffsetBytes raise = reinterpret_cast<OffsetBytes>(offsets >= 128);  // all ones or 0
    const OffsetBytes up = static_cast<OffsetBytes>(offsets - 128) & raise;
    const OffsetBytes down = static_cast<OffsetBytes>(128 - offsets) & ~raise;
    OffsetBytes v = luma + up;
    v |= reinterpret_cast<OffsetBytes>(v < luma);  // wrapped past 255
    const OffsetBytes belowZero = reinterpret_cast<OffsetBytes>(down > v);
    return static_cast<OffsetBytes>(v - down) & ~belowZero;
}

// Adds offsets[i] to luma[i] for i in 0 .. count - 1, 16 bytes at a time where the span allows
// (any alignment). Every byte is independent, so any sub-span can be done on its own.
LUT2D_FORCE_INLINE void addLumaOffsets(uint8_t* luma, const uint8_t* offsets, size_t count) {
    size_t i = 0;
    for (; i + sizeof(OffsetBytes) <= count; i += sizeof(OffsetBytes)) {
        OffsetBytes l, o;
        std::memcpy(&l, luma + i, sizeof l);
        std::memcpy(&o, offsets + i, sizeof o);
        l = addLumaOffsets(l, o);
        std::memcpy(luma + i, &l, sizeof l);
    }
    for (; i < count; ++i) luma[i] = addLumaOffset(luma[i], offsets[i]);
}

}  // namespace lut2d
