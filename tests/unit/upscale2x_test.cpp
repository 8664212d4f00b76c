// The three two-times upscalers against a plain two-pass reference.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "engine/sw_2dlut_v10.h"

namespace {

// The filter as stated, one sample at a time: a horizontal pass into a separate plane, then
// the vertical pass, each truncating. Signed sums divide toward zero.
template <typename S>
S tap(S near, S far) {
    return static_cast<S>((3 * int32_t{near} + int32_t{far}) / 4);
}

// One pass: `n` samples `step` apart become 2n samples `step2` apart, the edges repeated.
template <typename S>
void expand(const S* in, S* out, uint32_t n, size_t step, size_t step2) {
    out[0] = in[0];
    out[(2 * n - 1) * step2] = in[(n - 1) * step];
    for (uint32_t i = 1; i < n; ++i) {
        out[(2 * i - 1) * step2] = tap(in[(i - 1) * step], in[i * step]);
        out[2 * i * step2] = tap(in[i * step], in[(i - 1) * step]);
    }
}

// Every vector block size and tail and a long row; 8-bit rows keep the bytes past twice the
// width.
TEST(Upscale2x, MatchesTheTwoPassReferenceAtEveryWidth) {
    std::mt19937 rng(1);
    // The reference: source rows `pitch` apart, destination rows 2 * pitch apart.
    auto check = [&]<typename S>(S fill, uint32_t w, uint32_t pitch, uint32_t h) {
        std::vector<S> src(size_t{pitch} * h), wide(size_t{2} * w * h), want(4 * src.size(), fill);
        for (auto& x : src) x = static_cast<S>(rng());
        for (uint32_t j = 0; j < h; ++j) expand(&src[j * pitch], &wide[j * 2 * w], w, 1, 1);
        for (uint32_t c = 0; c < 2 * w; ++c) expand(&wide[c], &want[c], h, 2 * w, 2 * pitch);
        // The overload for S, on a destination filled with `fill`; the 16-bit overloads take
        // no pitch (it is the width).
        std::vector<S> dst(want.size(), fill);
        if constexpr (sizeof(S) == 1) SW_2DLut_v10().Upscale2x(src.data(), dst.data(), w, pitch, h);
        if constexpr (sizeof(S) == 2) SW_2DLut_v10().Upscale2x(src.data(), dst.data(), w, h);
        EXPECT_EQ(dst, want) << sizeof(S) << " bytes, " << w << " / " << pitch << " x " << h;
    };
    for (uint32_t w = 1; w <= 41; ++w) {
        const uint32_t width = w <= 40 ? w : 1923;
        for (uint32_t h : {1u, 2u, 5u}) {
            check(uint16_t{0xA5}, width, width, h);
            check(int16_t{-0xA5}, width, width, h);
            check(uint8_t{0xA5}, width, width + 9 * (h - 1) / 4, h);
        }
    }
}

}  // namespace
