// Exact fixed-point integer helpers shared by the colour kernel and the frame engine.
//
// These name the few integer rules the arithmetic relies on, so every use reads the same
// way and none of them relies on undefined behaviour.
#pragma once

#include <cstdint>

// Every step of the per-pixel path is inlined into its caller, whatever the optimiser thinks.
#define LUT2D_FORCE_INLINE __attribute__((always_inline)) inline

namespace lut2d {

// The low 16 bits of v, read as a signed number ("taken as 16 bits").
inline constexpr int32_t toInt16(int32_t v) {
    return static_cast<int16_t>(static_cast<uint16_t>(v));
}

// The low 16 bits of v, read as an unsigned number.
inline constexpr int32_t toUint16(int32_t v) {
    return static_cast<uint16_t>(v);
}

// Left shift that keeps two's-complement wrap for negative values (no undefined behaviour).
inline constexpr int32_t shiftLeft(int32_t v, uint32_t n) {
    return static_cast<int32_t>(static_cast<uint32_t>(v) << (n & 31u));
}

// Arithmetic (sign-propagating) right shift.
inline constexpr int32_t shiftRightArith(int32_t v, uint32_t n) {
    return v >> (n & 31u);
}

// Shift by a signed 16-bit amount: left when the amount is non-negative, arithmetically
// right by its magnitude when negative. Only the low five bits of the count are used.
inline constexpr int32_t signedShift(int32_t v, int32_t amount) {
    const int32_t n = toInt16(amount);
    if (n >= 0) return shiftLeft(v, static_cast<uint32_t>(n));
    return shiftRightArith(v, static_cast<uint32_t>(-n));
}

}  // namespace lut2d
