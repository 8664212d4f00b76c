// Two-times upscalers: separable bilinear filter with taps 3/4 and 1/4, horizontal pass first,
// each pass truncating, both passes inside the destination.
//
// The inner loops run on whole 16-byte vectors of samples (16 of 8 bits, 8 of 16 bits) using
// the compilers' portable vector extensions, which lower to SSE2 on x86-64 and NEON on 64-bit
// Arm. Each filter step is computed in the samples' own width (see blend), so a vector never
// has to be widened and narrowed again. The samples left over at the end of a row go through
// the same blend one at a time.

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "../common/checked_math.h"
#include "../common/fatal.h"
#include "sw_2dlut_v10.h"

namespace {

// One 16-byte vector of samples of each type.
template <typename S>
struct Lanes;

template <>
struct Lanes<uint8_t> {
    typedef uint8_t Vec __attribute__((vector_size(16)));
};

template <>
struct Lanes<uint16_t> {
    typedef uint16_t Vec __attribute__((vector_size(16)));
};

template <>
struct Lanes<int16_t> {
    typedef int16_t Vec __attribute__((vector_size(16)));
};

template <typename S>
inline constexpr size_t kLanes = 16 / sizeof(S);

// floor((x + y) / 2), formed without leaving the sample type (the shift is arithmetic for
// signed samples).
template <typename T>
inline T halfSum(T x, T y) {
    return static_cast<T>((x & y) + ((x ^ y) >> 1));
}

// One filter step, (3 * near + far) / 4, on samples of type S held in T (S itself or a
// vector of S). The sum 3 * near + far needs two more bits than a sample; it is never formed:
// floor((3a + b) / 4) = floor((a + floor((a + b) / 2)) / 2) holds for all integers, because
// the inner rounding drops a half only where the outer one drops a quarter anyway. Unsigned
// samples take that floor, which is the shift by two. Signed samples truncate toward zero:
// a negative floor gains one when 3a + b is not a multiple of four (its low two bits, which
// come from the low two bits of a and b).
template <typename S, typename T>
inline T blend(T near, T far) {
    const T floor4 = halfSum(near, halfSum(near, far));
    if constexpr (std::is_unsigned_v<S>) {
        return floor4;
    } else {
        constexpr int kSignBit = 8 * sizeof(S) - 1;
        const T rest = static_cast<T>(((near & 3) * 3 + (far & 3)) & 3);
        const T negative = static_cast<T>(0 - (floor4 >> kSignBit));  // 1 or 0
        return static_cast<T>(floor4 + (negative & ((rest | (rest >> 1)) & 1)));
    }
}

template <typename S>
inline typename Lanes<S>::Vec load(const S* p) {
    typename Lanes<S>::Vec v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename S>
inline void store(S* p, typename Lanes<S>::Vec v) {
    std::memcpy(p, &v, sizeof v);
}

// Interleaves the first (kHigh false) or second half of a and b: a0 b0 a1 b1 ...
template <bool kHigh, typename V, size_t... K>
inline V zip(V a, V b, std::index_sequence<K...>) {
    constexpr size_t n = sizeof...(K);
    constexpr size_t base = kHigh ? n / 2 : 0;
    return __builtin_shufflevector(a, b, ((K % 2) != 0 ? n + base + K / 2 : base + K / 2)...);
}

// Horizontal pass: source row s of `width` samples to expanded row e of 2 * width samples.
// For i >= 1: e[2i - 1] leans on s[i - 1], e[2i] on s[i]; the end samples are repeated.
template <typename S>
void expandRow(const S* s, S* e, size_t width) {
    constexpr size_t n = kLanes<S>;
    e[0] = s[0];
    size_t i = 1;
    for (; i + n <= width; i += n) {
        const auto prev = load(s + i - 1);
        const auto cur = load(s + i);
        const auto odd = blend<S>(prev, cur);
        const auto even = blend<S>(cur, prev);
        store(e + 2 * i - 1, zip<false>(odd, even, std::make_index_sequence<n>{}));
        store(e + 2 * i - 1 + n, zip<true>(odd, even, std::make_index_sequence<n>{}));
    }
    for (; i < width; ++i) {
        e[2 * i - 1] = blend<S>(s[i - 1], s[i]);
        e[2 * i] = blend<S>(s[i], s[i - 1]);
    }
    e[2 * width - 1] = s[width - 1];
}

// One vertical step on rows of `count` samples: with a = expanded row j - 1 and b = expanded
// row j, row a becomes (3a + b) / 4 and row mid (between them) (3b + a) / 4.
template <typename S>
void blendRows(S* a, S* mid, const S* b, size_t count) {
    constexpr size_t n = kLanes<S>;
    size_t c = 0;
    for (; c + n <= count; c += n) {
        const auto va = load(a + c);
        const auto vb = load(b + c);
        store(a + c, blend<S>(va, vb));
        store(mid + c, blend<S>(vb, va));
    }
    for (; c < count; ++c) {
        const S va = a[c];
        const S vb = b[c];
        a[c] = blend<S>(va, vb);
        mid[c] = blend<S>(vb, va);
    }
}

// Sizes are below 2^31 each, a plane with rows has columns, and every index the passes form
// (the last one being that of the last destination sample) fits in a signed 32-bit value.
void checkGeometry(unsigned int width, unsigned int pitch, unsigned int height) {
    using lut2d::checkedAdd;
    using lut2d::checkedCast;
    using lut2d::checkedMul;
    for (const unsigned int size : {width, pitch, height}) (void)checkedCast<int32_t>(size);
    if (height == 0) return;
    if (width == 0) lut2d::fatal("a plane of rows without columns to upscale");
    const int32_t dstPitch = checkedMul<int32_t>(2, pitch);
    const int32_t lastRow = checkedMul<int32_t>(checkedMul<int32_t>(2, height) - 1, dstPitch);
    (void)checkedAdd<int32_t>(lastRow, checkedMul<int32_t>(2, width) - 1);
    (void)checkedAdd<int32_t>(checkedMul<int32_t>(height - 1, pitch), width - 1);
}

// Both passes, row by row: expanded row j goes to destination row 2j + 1, and as soon as it
// is there the vertical step j blends it with expanded row j - 1 (still in row 2j - 1). Row 0
// is a copy of expanded row 0; the last row keeps expanded row height - 1.
template <typename S>
void upscale(const S* src, S* dst, unsigned int width, unsigned int pitch, unsigned int height) {
    checkGeometry(width, pitch, height);
    if (height == 0) return;
    const size_t srcPitch = pitch;
    const size_t dstPitch = 2 * size_t{pitch};
    const size_t outWidth = 2 * size_t{width};
    auto row = [&](size_t r) { return dst + r * dstPitch; };

    expandRow(src, row(1), width);
    std::memcpy(row(0), row(1), outWidth * sizeof(S));
    for (size_t j = 1; j < height; ++j) {
        expandRow(src + j * srcPitch, row(2 * j + 1), width);
        blendRows(row(2 * j - 1), row(2 * j), row(2 * j + 1), outWidth);
    }
}

}  // namespace

void SW_2DLut_v10::Upscale2x(unsigned short* src, unsigned short* dst, unsigned int width,
                             unsigned int height) {
    upscale<uint16_t>(src, dst, width, width, height);
}

void SW_2DLut_v10::Upscale2x(short* src, short* dst, unsigned int width, unsigned int height) {
    upscale<int16_t>(src, dst, width, width, height);
}

void SW_2DLut_v10::Upscale2x(unsigned char* src, unsigned char* dst, unsigned int width,
                             unsigned int stride, unsigned int height) {
    upscale<uint8_t>(src, dst, width, stride, height);
}
