// Colour kernel: grid interpolation, lightness weight, the offset sequence, the per-pixel
// adjustment with its result cache, and the small exported helpers of the same family.

#include <gtest/gtest.h>

#include <vector>

#include "kernel_model.h"

namespace {

using kmodel::pick;
using kmodel::Rec;
using kmodel::V3;

// bilinearInterpolation, colorAdjust (hue, saturation, neutral flag that may come in set) and
// process.
V3 bilinear(SW_2DLut_v10& e, const Rec& rec, int h, int s, int hi, int si, bool flag = false) {
    V3 r{};
    e.bilinearInterpolation(h, s, hi, si, &r.a, &r.b, &rec, &flag);
    return {r.a, r.b, flag};
}
V3 colorAdjust(SW_2DLut_v10& e, const Rec& rec, int h, int s, int l, bool flag = false) {
    V3 r{};
    e.colorAdjust(h, s, l, &r.a, &r.b, &rec, &flag);
    return {r.a, r.b, flag};
}
V3 process(SW_2DLut_v10& e, int y, int u, int v, HM_RGB* cache) {
    short a, b, c;
    e.process(y, u, v, &a, &b, &c, cache);
    return {a, b, c};
}

TEST(Lut, KernelAgreesWithModelOnRandomRecords) {
    std::mt19937 rng(10);
    int neutral = 0;
    for (int k = 0; k < 60; ++k) {
        auto rec = kmodel::randomRecord(rng);
        // Some shifts no valid record has: wide, negative (right shifts), 32 and more.
        if (k % 3 == 2) rec.h_shift = pick(rng, -40, 40), rec.s_shift = pick(rng, -40, 40);
        kmodel::Engine g(&rec);
        for (int i = 0; i < 4000; ++i) {
            const int h = pick(rng, 0, 12287), s = pick(rng, 0, 2048), l = pick(rng, 0, 2046);
            const int hi = pick(rng, 0, 24), si = pick(rng, 0, 15);  // holding (h, s) or not
            ASSERT_EQ(bilinear(g.e, rec, h, s, hi, si), kmodel::bilinear(rec, h, s, hi, si));
            const V3 want = kmodel::colorAdjust(rec, h, s, l);
            ASSERT_EQ(colorAdjust(g.e, rec, h, s, l), want) << h << "," << s << "," << l;
            neutral += want.c;
            const int y = pick(rng, 0, 1023), u = pick(rng, 0, 1023), v = pick(rng, 0, 1023);
            const V3 out = kmodel::process(g.e, rec, y, u, v);
            ASSERT_EQ(process(g.e, y, u, v, g.cache(k % 4)), out) << y << "," << u << "," << v;
            ASSERT_EQ(process(g.e, y, u, v, g.cache(k % 4)), out);  // now from the cache
        }
    }
    EXPECT_GT(neutral, 1000);  // the records' zero blocks were reached
}

// The neutral flag is only ever set, by a cell whose eight grid values are all zero, and
// colorAdjust reports a flag that came in set as zeros (a neutral cell too). With the full
// weight at lightness 1000 the new hue and saturation are h + dH and s + dS; rows of `cases`:
// h, s, dH, dS, h_shift, new hue, new saturation (-12289 and 24576 leave the range).
TEST(Lut, NeutralCellsHueWrapAndSaturationClamp) {
    auto rec = lut2d_test::neutralRecord();
    kmodel::Engine g(&rec);
    rec.lut_2d_s[1 * 16 + 1] = 3;  // one corner of cell (0, 0), in saturation only
    EXPECT_EQ(bilinear(g.e, rec, 100, 100, 0, 0).c, 0);
    EXPECT_EQ(bilinear(g.e, rec, 100, 100, 0, 0, true).c, 1);
    EXPECT_EQ(colorAdjust(g.e, rec, 100, 100, 1000, true), (V3{0, 0, 1}));
    // Interval indices beyond the grid are treated as its last interval.
    EXPECT_EQ(bilinear(g.e, rec, 5, 5, 65535, 65535), bilinear(g.e, rec, 5, 5, 24, 15));
    const int cases[][7] = {
        {0, 1000, -1, 0, 0, 12287, 1000},      {12287, 1000, 1, 0, 0, 0, 1000},
        {12287, 1000, 13, 0, 0, 12, 1000},     {31, 1000, -385, 0, 5, 16383, 1000},
        {12288, 1000, 384, 0, 5, 12288, 1000}, {500, 3, 0, -8, 0, 500, 0},
        {500, 2000, 0, 100, 0, 500, 2048}};
    for (const auto& c : cases) {
        for (auto& v : rec.lut_2d_h) v = c[2];
        for (auto& v : rec.lut_2d_s) v = c[3];
        rec.h_shift = c[4];
        EXPECT_EQ(colorAdjust(g.e, rec, c[0], c[1], 1000), (V3{c[5], c[6], 0})) << c[0];
    }
    // Lightness is taken modulo 2^16.
    EXPECT_EQ(colorAdjust(g.e, rec, 500, 60, 65536 + 1000), colorAdjust(g.e, rec, 500, 60, 1000));
}

// The lightness weight with boundaries 100, 200, 800, 900, and the small exported helpers.
TEST(Lut, LightnessWeightAndExportedHelpers) {
    auto rec = lut2d_test::neutralRecord();
    kmodel::setLightness(rec, 100, 200, 800, 900);  // both reciprocals 20
    kmodel::Engine g(&rec);
    rec.l_boundary_start_inv = 2047;  // an overshooting ramp wraps: 3 * 2047 = 6141 -> 2045
    kmodel::Engine wrap(&rec);
    EXPECT_EQ(wrap.e.m_lightWeight[103], 2045);
    const int ramp[][2] = {{100, 0},    {101, 20}, {199, 1980}, {200, 2048}, {800, 2048},
                           {801, 1980}, {899, 20}, {900, 0},    {65535, 0}};
    for (const auto& r : ramp) {
        int h = 0, s = 0;
        g.e.BoundaryControl(r[0], 2048, 0, &h, &s, nullptr);
        EXPECT_EQ(h, r[1]) << r[0];
    }
    unsigned short out = 0;
    g.e.boundaryLinearInterpolation(103, 100, 2047, &out);  // 16 bits; the weight keeps 12 (2045)
    EXPECT_EQ(out, 6141);
    const int classes[][2] = {{100, 3}, {150, 2}, {500, 0}, {850, 1}, {900, 3}};
    for (const auto& c : classes) EXPECT_EQ(g.e.BoundaryCheck(c[0], 100, 800, 200, 900), c[1]);
    // searchIndex on nodes 0, 10, 20 (n = 1: fewer than two nodes): clampHigh, n, value,
    // result, index.
    const unsigned short nodes[] = {0, 10, 20};
    const int search[][5] = {
        {1, 3, 15, 0, 1}, {1, 3, 20, -1, 1}, {0, 3, 20, -1, 0}, {1, 1, 5, -1, 65535}};
    for (const auto& c : search) {
        EXPECT_EQ(g.e.searchIndex(c[0], c[1], c[2], &out, nodes), c[3]) << c[2];
        EXPECT_EQ(out, c[4]) << c[2];
    }
    EXPECT_EQ(g.e.linearInterpolation_Cmult32(11, 0, 1024, 0, 70000), (4464 * 1024 + 1024) >> 11);
    EXPECT_EQ(g.e.linearInterpolation_Cmult64(11, 0, 1024, 0, 70000), 35000);
    EXPECT_EQ(g.e.linearInterpolation_Cmult32(4, 7, 65536 + 8, 10, 2), 10 + ((-8 * 8 + 8) >> 4));
    // The 64 variant keeps the full difference and weight, but the product to 32 bits.
    EXPECT_EQ(g.e.linearInterpolation_Cmult64(14, 0, 100000, -5, 30000),
              -5 + ((static_cast<int32_t>(30005u * 100000u) + 8192) >> 14));
    // Luma change with K_b = 58, K_r = 153 (Q9) of R or G up by 100; the weights and the
    // channel differences are read as 16 bits.
    EXPECT_EQ(g.e.get_luma_delta(58, 153, 600, 400, 200, 500, 400, 200), 30);
    EXPECT_EQ(g.e.get_luma_delta(58, 153, 500, 500, 200, 500, 400, 200), 59);
    const int w = 65536;
    EXPECT_EQ(g.e.get_luma_delta(58 + w, 153 + w, 600 + w, 400, 200 + w, 500, 400, 200), 30);
}

// A cached colour keeps its result after the record changes, until a colour whose key is
// congruent modulo 49999 takes over its slot. A grey (S = 0, at the first saturation node
// here) is adjusted: it is tinted, then greyed again.
TEST(Lut, ProcessCacheKeepsResultsUntilEvicted) {
    auto rec = lut2d_test::uniformRecord(200, 100);
    kmodel::Engine g(&rec);
    const V3 first = kmodel::process(g.e, rec, 500, 512, 512);
    EXPECT_EQ(process(g.e, 500, 512, 512, g.cache()), first);
    rec = lut2d_test::uniformRecord(-200, -100);
    g.e.UpdateCfg(&rec);
    ASSERT_NE(kmodel::process(g.e, rec, 500, 512, 512), first);
    EXPECT_EQ(process(g.e, 500, 512, 512, g.cache()), first);
    // 500 << 20 | 561 << 10 | 335 is 500 << 20 | 512 << 10 | 512 plus 49999.
    EXPECT_EQ(process(g.e, 500, 561, 335, g.cache()), kmodel::process(g.e, rec, 500, 561, 335));
    EXPECT_EQ(process(g.e, 500, 512, 512, g.cache()), (V3{500, 512, 512}));
    // Values outside 10 bits, negative ones included, index inside the first 49999 entries.
    std::vector<HM_RGB> exact(49999);
    for (int x : {-32768, -1, 1024, 32767}) process(g.e, x, x, x, exact.data());
}

}  // namespace
