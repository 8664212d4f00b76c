// Checked integer arithmetic for sizes, indices and counts.
//
// An overflow in any of these is a programming error that must stop the process, never a
// status code and never a silent wrap: each helper stops through fatal (fatal.h), whose log
// line names the values, the type they did not fit and the place of the call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "fatal.h"
#include "int_math.h"

namespace lut2d {

// What an overflow of a result of type R stops with.
template <typename R, typename A, typename B>
[[noreturn]] LUT2D_FORCE_INLINE void overflowOf(char op, A a, B b, SourceSite where) {
    overflowStop(op, stopValue(a), stopValue(b), std::is_signed_v<R>, 8 * sizeof(R), where);
}

// a * b as R; a product that does not fit in R stops the process.
template <typename R, typename A, typename B>
LUT2D_FORCE_INLINE R checkedMul(A a, B b, SourceSite where = SourceSite::current()) {
    R r;
    if (__builtin_mul_overflow(a, b, &r)) overflowOf<R>('*', a, b, where);
    return r;
}

// a + b as R; a sum that does not fit in R stops the process.
template <typename R, typename A, typename B>
LUT2D_FORCE_INLINE R checkedAdd(A a, B b, SourceSite where = SourceSite::current()) {
    R r;
    if (__builtin_add_overflow(a, b, &r)) overflowOf<R>('+', a, b, where);
    return r;
}

// a - b as R; a difference that does not fit in R stops the process.
template <typename R, typename A, typename B>
LUT2D_FORCE_INLINE R checkedSub(A a, B b, SourceSite where = SourceSite::current()) {
    R r;
    if (__builtin_sub_overflow(a, b, &r)) overflowOf<R>('-', a, b, where);
    return r;
}

// roundShift(v, n) (int_math.h); a sum v + 2^(n - 1) beyond 32 bits stops the process.
LUT2D_FORCE_INLINE int32_t checkedRoundShift(int32_t v, uint32_t n,
                                             SourceSite where = SourceSite::current()) {
    (void)checkedAdd<int32_t>(v, roundingHalf(n), where);
    return roundShift(v, n);
}

// The value v converted to R; a value out of R's range stops the process.
template <typename R, typename V>
LUT2D_FORCE_INLINE R checkedCast(V v, SourceSite where = SourceSite::current()) {
    R r;
    if (__builtin_add_overflow(v, 0, &r)) overflowOf<R>(0, v, 0, where);
    return r;
}

}  // namespace lut2d
