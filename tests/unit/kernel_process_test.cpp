// Colour kernel: the per-pixel adjustment and its result cache, and the luma change of a
// channel change.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "kernel_model.h"

namespace {

using kmodel::V3;

V3 process(SW_2DLut_v10& e, int y, int u, int v, HM_RGB* cache) {
    short a = -1, b = -1, c = -1;
    EXPECT_EQ(e.process(static_cast<short>(y), static_cast<short>(u), static_cast<short>(v), &a, &b,
                        &c, cache),
              0);
    return {a, b, c};
}

uint32_t key(int y, int u, int v) {
    return static_cast<uint32_t>(y << 20 | u << 10 | v);
}

TEST(Process, HueMovedBeyondOneTurn) {
    auto rec = lut2d_test::uniformRecord(-511, 0);
    rec.h_shift = 5;
    kmodel::setLightness(rec, 10, 20, 2000, 2040, 204, 51);
    kmodel::Engine g(&rec);
    EXPECT_EQ(process(g.e, 200, 300, 380, g.cache()), (V3{218, 389, 363}));
    EXPECT_EQ(kmodel::adjust(rec, 200, 300, 380), (V3{218, 389, 363}));
}

TEST(Process, AgreesWithModelOnRandomRecords) {
    std::mt19937 rng(20);
    std::uniform_int_distribution<int> ten(0, 1023);
    for (int k = 0; k < 40; ++k) {
        auto rec = kmodel::randomRecord(rng);
        kmodel::Engine g(&rec);
        for (int i = 0; i < 5000; ++i) {
            const int y = ten(rng), u = ten(rng), v = ten(rng);
            const V3 want = kmodel::adjust(rec, y, u, v);
            ASSERT_EQ(process(g.e, y, u, v, g.cache(k % 4)), want) << y << "," << u << "," << v;
            ASSERT_EQ(process(g.e, y, u, v, g.cache(k % 4)), want);  // now from the cache
        }
    }
}

// A neutral cell keeps the pixel's own RGB, clamped by the transform into the gamut.
TEST(Process, NeutralCellGivesOwnClampedRgb) {
    auto rec = lut2d_test::neutralRecord();
    kmodel::Engine g(&rec);
    EXPECT_EQ(process(g.e, 100, 600, 400, g.cache()), (V3{117, 590, 429}));
    EXPECT_EQ(process(g.e, 400, 300, 700, g.cache()), (V3{400, 300, 700}));
    // Never-written entries match no colour: black with zero chroma is computed, not 0.
    EXPECT_EQ(process(g.e, 0, 0, 0, g.cache(1)), (V3{319, 332, 285}));
    std::mt19937 rng(21);
    std::uniform_int_distribution<int> ten(0, 1023);
    for (int i = 0; i < 50000; ++i) {
        const int y = ten(rng), u = ten(rng), v = ten(rng);
        const V3 gbr = kmodel::cst(kmodel::kYuvToRgb, y, u, v);
        ASSERT_EQ(process(g.e, y, u, v, g.cache(2)),
                  kmodel::cst(kmodel::kRgbToYuv, gbr.a, gbr.b, gbr.c));
    }
    for (int x = 0; x < 1024; ++x)
        ASSERT_EQ(process(g.e, x, 512, 512, g.cache(3)), (V3{x, 512, 512}));
}

TEST(Process, CachedResultOutlivesRecordChanges) {
    auto rec = lut2d_test::uniformRecord(200, 100);
    kmodel::Engine g(&rec);
    const V3 first = process(g.e, 500, 300, 700, g.cache());
    EXPECT_EQ(first, kmodel::adjust(rec, 500, 300, 700));
    rec = lut2d_test::uniformRecord(-200, -100);
    rec.lut_1d_h[3] = 1400;
    g.e.UpdateCfg(&rec);
    ASSERT_NE(kmodel::adjust(rec, 500, 300, 700), first);
    EXPECT_EQ(process(g.e, 500, 300, 700, g.cache()), first);
    EXPECT_EQ(process(g.e, 500, 301, 700, g.cache()), kmodel::adjust(rec, 500, 301, 700));
}

TEST(Process, CongruentKeysEvictEachOther) {
    auto rec = lut2d_test::uniformRecord(150, -60);
    kmodel::Engine g(&rec);
    const uint32_t k1 = key(300, 400, 500), k2 = k1 + 49999;
    const int y2 = static_cast<int>(k2 >> 20), u2 = static_cast<int>(k2 >> 10 & 1023),
              v2 = static_cast<int>(k2 & 1023);
    const V3 want1 = kmodel::adjust(rec, 300, 400, 500), want2 = kmodel::adjust(rec, y2, u2, v2);
    ASSERT_NE(want1, want2);
    HM_RGB& slot = g.cache()[k1 % 49999];
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(process(g.e, 300, 400, 500, g.cache()), want1);
        EXPECT_EQ(slot.key, k1);
        EXPECT_EQ(process(g.e, y2, u2, v2, g.cache()), want2);
        EXPECT_EQ(slot.key, k2);
        EXPECT_EQ(slot.result, key(want2.a, want2.b, want2.c));
    }
}

// Values outside 10 bits, negative ones included, index inside the first 49999 entries.
TEST(Process, OutOfRangeInputsStayInsideTheSlice) {
    auto rec = lut2d_test::uniformRecord(300, 300);
    kmodel::Engine g(&rec);
    std::vector<HM_RGB> cache(49999, HM_RGB{~0u, ~0u});
    std::mt19937 rng(22);
    std::uniform_int_distribution<int> any(-32768, 32767);
    for (int i = 0; i < 20000; ++i) {
        const V3 o = process(g.e, any(rng), any(rng), any(rng), cache.data());
        ASSERT_TRUE(o.a >= 0 && o.a < 4096 && o.b >= 0 && o.b < 1024 && o.c >= 0 && o.c < 1024);
    }
    const V3 o = process(g.e, 0, -1, -1, cache.data());  // key with every high bit set
    EXPECT_TRUE(o.a >= 0 && o.a < 4096);
}

TEST(Process, LumaDelta) {
    SW_2DLut_v10 e;
    // R, G, B rise by 100, 0, 0 with K_b = 0.114, K_r = 0.299 in Q9: luma rises by 30.
    EXPECT_EQ(e.get_luma_delta(58, 153, 600, 400, 200, 500, 400, 200), (153 * 100 + 256) >> 9);
    std::mt19937 rng(12);
    std::uniform_int_distribution<int> k(0, 70000), c(-1023, 1023);
    for (int i = 0; i < 100000; ++i) {
        const int kb = k(rng), kr = k(rng), n1 = c(rng), n2 = c(rng), n3 = c(rng), o1 = c(rng),
                  o2 = c(rng), o3 = c(rng);
        const int64_t d2 = n2 - o2;
        const int64_t want = d2 + ((kmodel::i16(n3 - o3 - d2) * int64_t{kb & 0xFFFF} +
                                    kmodel::i16(n1 - o1 - d2) * int64_t{kr & 0xFFFF} + 256) >>
                                   9);
        ASSERT_EQ(e.get_luma_delta(kb, kr, n1, n2, n3, o1, o2, o3), want);
    }
}

}  // namespace
