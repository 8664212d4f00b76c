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

// b - a formed modulo 2^32 and read as a signed 16-bit number: "the difference taken as 16
// bits", whatever the two values.
inline constexpr int32_t difference16(int32_t b, int32_t a) {
    return toInt16(static_cast<int32_t>(static_cast<uint32_t>(b) - static_cast<uint32_t>(a)));
}

// 2^(n - 1), which a shift right by n adds first to round (the count taken modulo 32).
inline constexpr int32_t roundingHalf(uint32_t n) {
    return shiftLeft(1, n - 1u);
}

// The rounded arithmetic shift: v / 2^n to the nearest integer, halves up, as
// (v + 2^(n - 1)) >> n with the shift sign-propagating (the count taken modulo 32). T is
// int32_t or a vector of int32_t lanes; the caller keeps the sum inside 32 bits, or checks it
// (checkedRoundShift).
template <class T>
LUT2D_FORCE_INLINE constexpr T roundShift(T v, uint32_t n) {
    return (v + roundingHalf(n)) >> (n & 31u);
}

// One step of a linear interpolation: base + w x diff, where the weight w has `bits` fraction
// bits, rounded as roundShift does. The caller keeps w x diff inside 32 bits.
template <class T>
LUT2D_FORCE_INLINE constexpr T interpolationStep(T w, T diff, T base, uint32_t bits) {
    return base + roundShift(w * diff, bits);
}

// An 8-bit sample as the kernel's 10-bit value (times four), and a 10-bit value back as an
// 8-bit sample (the two fraction bits dropped, not rounded). T is a 32-bit integer or a
// vector of them, so that nothing narrower truncates the result.
template <class T>
LUT2D_FORCE_INLINE constexpr T to10Bit(T sample8) {
    static_assert(sizeof(T) >= sizeof(int32_t));
    return sample8 << 2;
}

template <class T>
LUT2D_FORCE_INLINE constexpr T to8Bit(T value10) {
    static_assert(sizeof(T) >= sizeof(int32_t));
    return value10 >> 2;
}

}  // namespace lut2d
