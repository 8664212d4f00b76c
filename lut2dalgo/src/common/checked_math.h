// Checked integer arithmetic for sizes, indices and counts.
//
// An overflow in any of these is a programming error that must stop the process, never a
// status code and never a silent wrap: each helper traps on purpose.
#pragma once

#include <cstddef>
#include <cstdint>

#include "int_math.h"

namespace lut2d {

[[noreturn]] inline void overflowTrap() {
    __builtin_trap();
}

// a * b as R, trapping when the exact product does not fit in R.
template <typename R, typename A, typename B>
inline R checkedMul(A a, B b) {
    R r;
    if (__builtin_mul_overflow(a, b, &r)) overflowTrap();
    return r;
}

// a + b as R, trapping when the exact sum does not fit in R.
template <typename R, typename A, typename B>
inline R checkedAdd(A a, B b) {
    R r;
    if (__builtin_add_overflow(a, b, &r)) overflowTrap();
    return r;
}

// a - b as R, trapping when the exact difference does not fit in R.
template <typename R, typename A, typename B>
inline R checkedSub(A a, B b) {
    R r;
    if (__builtin_sub_overflow(a, b, &r)) overflowTrap();
    return r;
}

// roundShift(v, n) (int_math.h), trapping when v + 2^(n - 1) does not fit in 32 bits.
inline int32_t checkedRoundShift(int32_t v, uint32_t n) {
    (void)checkedAdd<int32_t>(v, roundingHalf(n));
    return roundShift(v, n);
}

// The value v converted to R, trapping when it is out of R's range.
template <typename R, typename V>
inline R checkedCast(V v) {
    R r;
    if (__builtin_add_overflow(v, 0, &r)) overflowTrap();
    return r;
}

}  // namespace lut2d
