// Colour kernel: grid interpolation, the offset sequence, the lightness weight, the per-pixel
// adjustment with its result cache, and the small exported helpers of the same family.

#include <gtest/gtest.h>

#include <vector>

#include "kernel_model.h"

namespace {

using kmodel::V3;
using lut2d_test::pick;

using Lut = kmodel::KernelTest;

// At any hue and saturation, in the interval that holds them or in any other.
TEST_F(Lut, BilinearInterpolationIsTheModel) {
    onRandomRecords([&] {
        const int h = pick(rng, 0, 12287), s = pick(rng, 0, 2048);
        const int hi = pick(rng, 0, 24), si = pick(rng, 0, 15);
        ASSERT_EQ(bilinear(h, s, hi, si), kmodel::bilinear(rec, h, s, hi, si));
    });
}

TEST_F(Lut, ColorAdjustIsTheModel) {
    int neutral = 0;
    onRandomRecords([&] {
        const int h = pick(rng, 0, 12287), s = pick(rng, 0, 2048), l = pick(rng, 0, 2046);
        const V3 want = kmodel::colorAdjust(rec, h, s, l);
        ASSERT_EQ(colorAdjust(h, s, l), want) << h << "," << s << "," << l;
        neutral += want.c;
    });
    EXPECT_GT(neutral, 1000);  // the records' zero blocks were reached
}

// Computed on the first call, from the cache on the second; black too, which a zero-filled
// cache would answer with 0, 0, 0.
TEST_F(Lut, ProcessIsTheModel) {
    EXPECT_EQ(process({0, 0, 0}), (V3{319, 332, 285}));
    int band = 0;
    onRandomRecords([&] {
        const V3 in{pick(rng, 0, 1023), pick(rng, 0, 1023), pick(rng, 0, 1023)};
        const V3 want = kmodel::process(e(), rec, in.a, in.b, in.c);
        ASSERT_EQ(process(in, band), want) << in.a << "," << in.b << "," << in.c;
        ASSERT_EQ(process(in, band), want);
        band = (band + 1) % 4;
    });
}

// The caller tells these zeros from a colour by the flag.
TEST_F(Lut, ColorAdjustReportsAFlagThatCameInSetAsZeros) {
    rec = lut2d_test::uniformRecord(5, 5);
    EXPECT_EQ(colorAdjust(100, 100, 1000, true), (V3{0, 0, 1}));
}

// Moved by the full weight (lightness 1000): h + dH, wrapped once with a 14-bit mask; -12289
// and 24576 lie beyond one turn and leave the range.
TEST_F(Lut, MovedHueWrapsOnce) {
    const struct {
        int hue, offset, hShift, moved;
    } cases[] = {{0, -1, 0, 12287},    {12287, 1, 0, 0},       {12287, 13, 0, 12},
                 {31, -385, 5, 16383}, {12288, 384, 5, 12288}, {6000, 100, 2, 6400},
                 {12000, 511, 0, 223}};
    for (const auto& c : cases) {
        rec = lut2d_test::uniformRecord(static_cast<int16_t>(c.offset), 0);
        rec.h_shift = static_cast<uint16_t>(c.hShift);
        EXPECT_EQ(colorAdjust(c.hue, 1000, 1000), (V3{c.moved, 1000, 0})) << c.hue;
    }
}

// The weight comes from the engine's table (checked where it is set up): an offset of 2048
// comes out as the weight itself; a lightness past the table is its last entry.
TEST_F(Lut, BoundaryControlWeighsOffsetsByLightness) {
    int h = 0, s = 0;
    e().BoundaryControl(100, 2048, -2048, &h, &s, nullptr);
    EXPECT_EQ((std::pair{h, s}), (std::pair{1600, -1600}));  // on the rising ramp, 100 x 16
    e().BoundaryControl(65535, 2048, -2048, &h, &s, nullptr);
    EXPECT_EQ((std::pair{h, s}), (std::pair{0, 0}));
}

// Nodes 0, 10, 20; a value equal to the last node is not found, nor anything with fewer than
// two nodes.
TEST_F(Lut, SearchIndexFindsTheIntervalBelowTheLastNode) {
    const unsigned short nodes[] = {0, 10, 20};
    const struct {
        bool clampHigh;
        int count, value, result, index;
    } cases[] = {
        {true, 3, 15, 0, 1}, {true, 3, 20, -1, 1}, {false, 3, 20, -1, 0}, {true, 1, 5, -1, 65535}};
    for (const auto& c : cases) {
        unsigned short index = 7;
        EXPECT_EQ(e().searchIndex(c.clampHigh, c.count, c.value, &index, nodes), c.result);
        EXPECT_EQ(index, c.index) << c.value;
    }
}

// The 32-bit form takes the difference and the weight as 16 bits (the difference of 70000 is
// 4464, the weight is used modulo 2^16); the 64-bit form keeps only the product to 32 bits.
TEST_F(Lut, LinearInterpolationsTakeTheirOperandsAtTheirWidths) {
    EXPECT_EQ(e().linearInterpolation_Cmult32(11, 0, 1024, 0, 100), 50);
    EXPECT_EQ(e().linearInterpolation_Cmult32(11, 0, 1024, 0, 70000), (4464 * 1024 + 1024) >> 11);
    EXPECT_EQ(e().linearInterpolation_Cmult32(4, 7, 65536 + 8, 10, 2), 10 + ((-8 * 8 + 8) >> 4));
    EXPECT_EQ(e().linearInterpolation_Cmult64(11, 0, 1024, 0, 70000), 35000);
    EXPECT_EQ(e().linearInterpolation_Cmult64(14, 0, 100000, -5, 30000),
              -5 + ((static_cast<int32_t>(30005u * 100000u) + 8192) >> 14));
}

// K_b = 58, K_r = 153 (Q9); the weights and the channel differences are read as 16 bits, and
// half a level rounds up.
TEST_F(Lut, LumaDeltaWeighsTheChannelChangesInQ9) {
    EXPECT_EQ(e().get_luma_delta(58, 153, 600, 400, 200, 500, 400, 200), 30);  // R + 100
    EXPECT_EQ(e().get_luma_delta(58, 153, 500, 500, 200, 500, 400, 200), 59);  // G + 100
    const int w = 65536;
    EXPECT_EQ(e().get_luma_delta(58 + w, 153 + w, 600 + w, 400, 200 + w, 500, 400, 200), 30);
    EXPECT_EQ(e().get_luma_delta(256, 0, 0, 0, 1, 0, 0, 0), 1);  // B + 1 at K_b one half
    EXPECT_EQ(e().get_luma_delta(255, 0, 0, 0, 1, 0, 0, 0), 0);
}

// A colour's first result is kept, even after the record changes and the tables are rebuilt,
// until a colour of a congruent key takes its slot: 500 << 20 | 561 << 10 | 335 is
// 500 << 20 | 512 << 10 | 512 plus 49999. The grey (at the first saturation node here), tinted
// at first, is then computed again under the record it now meets, which keeps it grey.
TEST_F(Lut, ProcessKeepsAColoursFirstResultUntilACongruentKeyTakesItsSlot) {
    rec = lut2d_test::uniformRecord(200, 100);
    setUpAgain();
    const V3 first = process({500, 512, 512});
    EXPECT_NE(first, (V3{500, 512, 512}));
    rec = lut2d_test::uniformRecord(-200, -100);
    e().UpdateCfg(&rec);
    ASSERT_NE(kmodel::process(e(), rec, 500, 512, 512), first);
    EXPECT_EQ(process({500, 512, 512}), first);
    EXPECT_EQ(process({500, 561, 335}), kmodel::process(e(), rec, 500, 561, 335));
    EXPECT_EQ(process({500, 512, 512}), (V3{500, 512, 512}));
}

// Values outside 10 bits, negative ones included, index inside the first 49999 entries.
TEST_F(Lut, ProcessStaysInsideTheSliceForAnyInput) {
    std::vector<HM_RGB> exact(49999);
    for (int x : {-32768, -1, 1024, 32767}) {
        short y, u, v;
        e().process(x, x, x, &y, &u, &v, exact.data());
    }
}

}  // namespace
