// Colour kernel: grid interpolation, lightness weight, the offset sequence and the small
// interpolation helpers.

#include <gtest/gtest.h>

#include <random>

#include "kernel_model.h"

namespace {

struct Result {
    int h, s;
    bool neutral;
    bool operator==(const Result&) const = default;
};

Result bilinear(SW_2DLut_v10& e, const ISP2DLUTInStruct_V10& rec, int h, int s, int hi, int si,
                bool flag = false) {
    Result r{-1, -1, flag};
    e.bilinearInterpolation(static_cast<unsigned short>(h), static_cast<unsigned short>(s),
                            static_cast<unsigned short>(hi), static_cast<unsigned short>(si), &r.h,
                            &r.s, &rec, &r.neutral);
    return r;
}

Result adjust(SW_2DLut_v10& e, const ISP2DLUTInStruct_V10& rec, int h, int s, int l,
              bool flag = false) {
    Result r{-1, -1, flag};
    e.colorAdjust(h, s, l, &r.h, &r.s, &rec, &r.neutral);
    return r;
}

int weightOf(SW_2DLut_v10& e, int l) {
    int h = 0, s = 0;
    e.BoundaryControl(static_cast<unsigned short>(l), 2048, -2048, &h, &s, nullptr);
    EXPECT_EQ(s, -h);
    return h;
}

TEST(Lut, BilinearAndColorAdjustAgreeWithModelOnRandomRecords) {
    std::mt19937 rng(10);
    std::uniform_int_distribution<int> hue(0, 12287), sat(0, 2048), light(0, 2046), hn(0, 24),
        sn(0, 15);
    int neutral = 0;
    for (int k = 0; k < 60; ++k) {
        auto rec = kmodel::randomRecord(rng);
        if (k % 3 == 2) {  // shifts no valid record has: wide, or negative (right shifts)
            const uint16_t wide[] = {6, 9, 15, 31, 0xFFFF, 0xFFFE, 0xFFF0};
            rec.h_shift = wide[hn(rng) % 7];
            rec.s_shift = wide[sn(rng) % 7];
        }
        kmodel::Engine g(&rec);
        for (int i = 0; i < 4000; ++i) {
            const int h = hue(rng), s = sat(rng), l = light(rng);
            const int hi = kmodel::interval(rec.lut_1d_h, 24, h);
            const int si = kmodel::interval(rec.lut_1d_s, 15, s);
            const kmodel::Offsets m = kmodel::bilinear(rec, h, s, hi, si);
            ASSERT_EQ(bilinear(g.e, rec, h, s, hi, si), (Result{m.dH, m.dS, m.neutral}));
            neutral += m.neutral;
            // Any interval pair in range, whether or not it holds (h, s).
            const int hj = hn(rng), sj = sn(rng);
            const kmodel::Offsets a = kmodel::bilinear(rec, h, s, hj, sj);
            ASSERT_EQ(bilinear(g.e, rec, h, s, hj, sj), (Result{a.dH, a.dS, a.neutral}));

            Result want{h, s, false};
            if (s >= rec.lut_1d_s[0] && m.neutral) {
                want = {0, 0, true};
            } else if (s >= rec.lut_1d_s[0]) {
                const int w = kmodel::weight(rec, l);
                want = {kmodel::wrapHue(h + ((m.dH * w + 1024) >> 11)),
                        std::clamp(s + ((m.dS * w + 1024) >> 11), 0, 2048), false};
            }
            ASSERT_EQ(adjust(g.e, rec, h, s, l), want) << h << "," << s << "," << l;
        }
    }
    EXPECT_GT(neutral, 1000);  // the records' zero blocks were reached
}

TEST(Lut, NeutralFlagIsOnlyEverSet) {
    auto rec = lut2d_test::neutralRecord();
    kmodel::Engine g(&rec);
    EXPECT_EQ(bilinear(g.e, rec, 100, 100, 0, 0), (Result{0, 0, true}));
    rec.lut_2d_s[1 * 16 + 1] = 3;  // one corner of cell (0, 0) in saturation only
    EXPECT_FALSE(bilinear(g.e, rec, 100, 100, 0, 0).neutral);
    EXPECT_TRUE(bilinear(g.e, rec, 100, 100, 0, 0, true).neutral);  // stays set
    EXPECT_TRUE(bilinear(g.e, rec, 100, 300, 0, 2).neutral);        // the next cell is zero
    // colorAdjust reports a neutral cell, or a flag that came in set, as zeros.
    EXPECT_EQ(adjust(g.e, rec, 100, 300, 1000), (Result{0, 0, true}));
    EXPECT_EQ(adjust(g.e, rec, 100, 100, 1000, true), (Result{0, 0, true}));
}

TEST(Lut, WeightsFollowNodePositions) {
    auto rec = lut2d_test::neutralRecord();  // hue nodes every 512, lut_1d_h_inv 32
    rec.lut_2d_h[16] = 100;                  // hue node 1, saturation node 0
    kmodel::Engine g(&rec);
    EXPECT_EQ(bilinear(g.e, rec, 256, 0, 0, 0).h, 50);  // wH = 8192: halfway, rounded down
    EXPECT_EQ(bilinear(g.e, rec, 512, 0, 1, 0).h, 100);
    // The last hue node and the last saturation node carry weight 0.
    rec.lut_2d_h[24 * 16 + 15] = 7;
    EXPECT_EQ(bilinear(g.e, rec, 12288, 2048, 24, 15).h, 7);
    // Interval indices beyond the grid are treated as its last interval.
    EXPECT_EQ(bilinear(g.e, rec, 12288, 2048, 300, 99), bilinear(g.e, rec, 12288, 2048, 24, 15));
    EXPECT_EQ(bilinear(g.e, rec, 5, 5, 65535, 65535), bilinear(g.e, rec, 5, 5, 24, 15));
}

TEST(Lut, ColorAdjustWrapsHueAndClampsSaturation) {
    auto rec = lut2d_test::neutralRecord();  // plateau 200 .. 1800
    kmodel::Engine g(&rec);
    auto moved = [&](int h, int s, int dH, int dS, int shift) {
        for (auto& v : rec.lut_2d_h) v = static_cast<int16_t>(dH);
        for (auto& v : rec.lut_2d_s) v = static_cast<int16_t>(dS);
        rec.h_shift = static_cast<uint16_t>(shift);
        return adjust(g.e, rec, h, s, 1000);
    };
    EXPECT_EQ(moved(0, 1000, -1, 0, 0).h, 12287);
    EXPECT_EQ(moved(12287, 1000, 1, 0, 0).h, 0);
    EXPECT_EQ(moved(12287, 1000, 13, 0, 0).h, 12);
    EXPECT_EQ(moved(31, 1000, -385, 0, 5).h, 16383);    // -12289
    EXPECT_EQ(moved(12288, 1000, 384, 0, 5).h, 12288);  // 24576
    EXPECT_EQ(moved(500, 3, 0, -8, 0).s, 0);
    EXPECT_EQ(moved(500, 2000, 0, 100, 0).s, 2048);
    // Below the first saturation node nothing moves and the flag is left alone.
    rec.lut_1d_s[0] = 50;
    EXPECT_EQ(moved(500, 49, 100, 100, 0), (Result{500, 49, false}));
    EXPECT_EQ(moved(500, 50, 100, 100, 0), (Result{600, 150, false}));
    // Lightness is taken modulo 2^16, and beyond the table reads its last entry; hue and
    // saturation beyond the index tables read their last entries.
    EXPECT_EQ(adjust(g.e, rec, 500, 60, 65536 + 1000), adjust(g.e, rec, 500, 60, 1000));
    EXPECT_EQ(adjust(g.e, rec, 500, 60, 60000), adjust(g.e, rec, 500, 60, 2047));
    EXPECT_EQ(adjust(g.e, rec, 40000, 60, 1000).neutral, false);
    EXPECT_EQ(adjust(g.e, rec, -5, 9000, 1000).neutral, false);
}

TEST(Lut, LightnessWeight) {
    auto rec = lut2d_test::neutralRecord();
    kmodel::setLightness(rec, 100, 200, 800, 900, 20, 20);
    {
        kmodel::Engine g(&rec);
        for (int l = 0; l < 2048; ++l) ASSERT_EQ(weightOf(g.e, l), kmodel::weight(rec, l)) << l;
        const int ramp[][2] = {{100, 0},    {101, 20},   {199, 1980}, {200, 2048},
                               {800, 2048}, {801, 1980}, {899, 20},   {900, 0}};
        for (const auto& r : ramp) EXPECT_EQ(weightOf(g.e, r[0]), r[1]) << r[0];
        EXPECT_EQ(weightOf(g.e, 65535), weightOf(g.e, 2047));  // clamped to the table
        int h = 0, s = 0;
        g.e.BoundaryControl(150, -3, 1000, &h, &s, nullptr);
        EXPECT_EQ(h, (-3 * 1000 + 1024) >> 11);
        EXPECT_EQ(s, (1000 * 1000 + 1024) >> 11);
        const int classes[][2] = {{100, 3}, {150, 2}, {500, 0}, {850, 1}, {900, 3}};
        for (const auto& c : classes) {
            EXPECT_EQ(g.e.BoundaryCheck(static_cast<unsigned short>(c[0]), 100, 800, 200, 900),
                      c[1]);
        }
    }
    rec.l_boundary_start_inv = 2047;  // an overshooting ramp wraps: 3 * 2047 = 6141 -> 2045
    kmodel::Engine g(&rec);
    EXPECT_EQ(weightOf(g.e, 103), 2045);
    unsigned short out = 0;
    EXPECT_EQ(g.e.boundaryLinearInterpolation(103, 100, 2047, &out), 0);
    EXPECT_EQ(out, 6141);
    g.e.boundaryLinearInterpolation(5, 10, 3, &out);  // (5 - 10) mod 2^16 times 3, 16 bits
    EXPECT_EQ(out, static_cast<unsigned short>(65531 * 3));
    std::mt19937 rng(11);
    for (int k = 0; k < 20; ++k) {
        auto r = kmodel::randomRecord(rng);
        kmodel::Engine e2(&r);
        for (int l = 0; l < 2048; ++l) ASSERT_EQ(weightOf(e2.e, l), kmodel::weight(r, l)) << l;
    }
}

TEST(Lut, SearchIndexAndLinearInterpolation) {
    SW_2DLut_v10 e;
    const unsigned short nodes[] = {0, 10, 20};
    unsigned short idx = 99;
    EXPECT_EQ(e.searchIndex(true, 3, 15, &idx, nodes), 0);
    EXPECT_EQ(idx, 1);
    EXPECT_EQ(e.searchIndex(true, 3, 0, &idx, nodes), 0);
    EXPECT_EQ(idx, 0);
    EXPECT_EQ(e.searchIndex(true, 3, 20, &idx, nodes), -1);
    EXPECT_EQ(idx, 1);
    EXPECT_EQ(e.searchIndex(false, 3, 20, &idx, nodes), -1);
    EXPECT_EQ(idx, 0);
    EXPECT_EQ(e.searchIndex(true, 1, 5, &idx, nodes), -1);  // fewer than two nodes
    EXPECT_EQ(idx, 65535);

    EXPECT_EQ(e.linearInterpolation_Cmult32(11, 0, 1024, 0, 100), 50);
    EXPECT_EQ(e.linearInterpolation_Cmult32(11, 0, 1024, 0, 70000), (4464 * 1024 + 1024) >> 11);
    EXPECT_EQ(e.linearInterpolation_Cmult64(11, 0, 1024, 0, 70000), 35000);
    EXPECT_EQ(e.linearInterpolation_Cmult32(4, 7, 65536 + 8, 10, 2), 10 + ((-8 * 8 + 8) >> 4));
    // The 64 variant keeps the full difference and weight, but the product to 32 bits.
    EXPECT_EQ(e.linearInterpolation_Cmult64(14, 0, 100000, -5, 30000),
              -5 + ((static_cast<int32_t>(30005u * 100000u) + 8192) >> 14));
}

}  // namespace
