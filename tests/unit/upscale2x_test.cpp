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

template <typename S>
std::vector<S> reference(const std::vector<S>& src, uint32_t width, uint32_t pitch, uint32_t height,
                         std::vector<S> dst) {
    const uint32_t w2 = 2 * width;
    std::vector<S> wide(size_t{w2} * height);
    for (uint32_t j = 0; j < height; ++j) {
        const S* s = &src[size_t{j} * pitch];
        S* e = &wide[size_t{j} * w2];
        e[0] = s[0];
        e[w2 - 1] = s[width - 1];
        for (uint32_t i = 1; i < width; ++i) {
            e[2 * i - 1] = tap(s[i - 1], s[i]);
            e[2 * i] = tap(s[i], s[i - 1]);
        }
    }
    auto out = [&](uint32_t r, uint32_t c) -> S& { return dst[size_t{r} * 2 * pitch + c]; };
    for (uint32_t c = 0; c < w2; ++c) {
        out(0, c) = wide[c];
        for (uint32_t j = 1; j < height; ++j) {
            const S a = wide[size_t{j - 1} * w2 + c];
            const S b = wide[size_t{j} * w2 + c];
            out(2 * j - 1, c) = tap(a, b);
            out(2 * j, c) = tap(b, a);
        }
        out(2 * height - 1, c) = wide[size_t{height - 1} * w2 + c];
    }
    return dst;
}

template <typename S>
std::vector<S> randomPlane(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<S> v(n);
    for (auto& x : v) x = static_cast<S>(rng());
    return v;
}

// Runs one overload on (width, pitch, height); the destination starts filled with `fill`.
std::vector<uint16_t> run(std::vector<uint16_t> src, uint32_t w, uint32_t h, uint16_t fill = 0) {
    std::vector<uint16_t> dst(size_t{4} * w * h, fill);
    SW_2DLut_v10().Upscale2x(src.data(), dst.data(), w, h);
    return dst;
}
std::vector<int16_t> run(std::vector<int16_t> src, uint32_t w, uint32_t h, int16_t fill = 0) {
    std::vector<int16_t> dst(size_t{4} * w * h, fill);
    SW_2DLut_v10().Upscale2x(src.data(), dst.data(), w, h);
    return dst;
}
std::vector<uint8_t> run(std::vector<uint8_t> src, uint32_t w, uint32_t pitch, uint32_t h,
                         uint8_t fill = 0) {
    std::vector<uint8_t> dst(size_t{4} * pitch * h, fill);
    SW_2DLut_v10().Upscale2x(src.data(), dst.data(), w, pitch, h);
    return dst;
}

TEST(Upscale2x, RowExamples) {
    EXPECT_EQ(run(std::vector<uint16_t>{0, 4}, 2, 1),
              (std::vector<uint16_t>{0, 1, 3, 4, 0, 1, 3, 4}));
    EXPECT_EQ(run(std::vector<uint16_t>{1, 2}, 2, 1),
              (std::vector<uint16_t>{1, 1, 1, 2, 1, 1, 1, 2}));
    EXPECT_EQ(run(std::vector<int16_t>{-1, 0}, 2, 1),
              (std::vector<int16_t>{-1, 0, 0, 0, -1, 0, 0, 0}));
    EXPECT_EQ(run(std::vector<uint8_t>{0, 4, 7, 7}, 2, 4, 1, 9),  // pitch 4: rows of 8 bytes
              (std::vector<uint8_t>{0, 1, 3, 4, 9, 9, 9, 9, 0, 1, 3, 4, 9, 9, 9, 9}));
}

TEST(Upscale2x, OneSampleWidePlaneRepeatsEachSampleAcrossTheRow) {
    // Vertically: rows 2j - 1 and 2j blend neighbours, the outer rows repeat.
    EXPECT_EQ(run(std::vector<uint16_t>{8, 0, 100}, 1, 3),
              (std::vector<uint16_t>{8, 8, 6, 6, 2, 2, 25, 25, 75, 75, 100, 100}));
}

TEST(Upscale2x, ConstantPlaneStaysConstant) {
    for (uint32_t w : {1u, 7u, 16u, 37u}) {
        EXPECT_EQ(run(std::vector<uint16_t>(w * 5, 1023), w, 5),
                  std::vector<uint16_t>(w * 20, 1023));
        EXPECT_EQ(run(std::vector<int16_t>(w * 5, -77), w, 5), std::vector<int16_t>(w * 20, -77));
        EXPECT_EQ(run(std::vector<uint8_t>(w * 5, 255), w, w, 5),
                  std::vector<uint8_t>(w * 20, 255));
    }
}

TEST(Upscale2x, EveryWidthMatchesTheTwoPassReference) {
    struct Size {
        uint32_t w, h;
    };
    std::vector<Size> sizes;
    for (uint32_t w = 1; w <= 40; ++w) {
        for (uint32_t h : {1u, 2u, 5u}) sizes.push_back({w, h});
    }
    for (Size s : {Size{1920, 3}, Size{961, 7}, Size{333, 41}}) sizes.push_back(s);

    uint32_t seed = 0;
    for (Size s : sizes) {
        SCOPED_TRACE(::testing::Message() << s.w << "x" << s.h);
        const size_t n = size_t{s.w} * s.h;
        const auto u16 = randomPlane<uint16_t>(n, ++seed);
        EXPECT_EQ(run(u16, s.w, s.h), reference(u16, s.w, s.w, s.h, std::vector<uint16_t>(4 * n)));
        const auto s16 = randomPlane<int16_t>(n, ++seed);
        EXPECT_EQ(run(s16, s.w, s.h), reference(s16, s.w, s.w, s.h, std::vector<int16_t>(4 * n)));
        const auto u8 = randomPlane<uint8_t>(n, ++seed);
        EXPECT_EQ(run(u8, s.w, s.w, s.h),
                  reference(u8, s.w, s.w, s.h, std::vector<uint8_t>(4 * n)));
    }
}

TEST(Upscale2x, EightBitRowsKeepTheBytesPastTwiceTheWidth) {
    for (uint32_t w : {1u, 15u, 16u, 17u, 40u}) {
        for (uint32_t pitch : {w + 1, w + 9}) {
            const uint32_t h = 4;
            const auto src = randomPlane<uint8_t>(size_t{pitch} * h, w * pitch);
            const std::vector<uint8_t> fill(size_t{4} * pitch * h, 0xA5);
            EXPECT_EQ(run(src, w, pitch, h, 0xA5), reference(src, w, pitch, h, fill))
                << w << " / " << pitch;
        }
    }
}

TEST(Upscale2x, EmptyPlaneIsLeftAlone) {
    SW_2DLut_v10 e;
    e.Upscale2x(static_cast<unsigned short*>(nullptr), nullptr, 0, 0);
    e.Upscale2x(static_cast<short*>(nullptr), nullptr, 5, 0);
    e.Upscale2x(static_cast<unsigned char*>(nullptr), nullptr, 5, 5, 0);
}

using Upscale2xDeathTest = ::testing::Test;

TEST(Upscale2xDeathTest, SizesOutOfSigned32BitRangeStopTheProcess) {
    SW_2DLut_v10 e;
    unsigned short* u = nullptr;
    unsigned char* b = nullptr;
    EXPECT_DEATH(e.Upscale2x(u, u, 0x80000000u, 0), "");
    EXPECT_DEATH(e.Upscale2x(u, u, 0, 1), "");               // rows without columns
    EXPECT_DEATH(e.Upscale2x(u, u, 32768, 16384), "");       // last index 2^31
    EXPECT_DEATH(e.Upscale2x(b, b, 4, 0x40000000u, 2), "");  // destination pitch 2^31
}

}  // namespace
