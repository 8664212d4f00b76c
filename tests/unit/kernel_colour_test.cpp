// Colour kernel: YUV <-> RGB transforms and RGB <-> HSL conversion.

#include <gtest/gtest.h>

#include <random>

#include "kernel_model.h"

namespace {

using kmodel::Hsl;
using kmodel::V3;

struct Colour : ::testing::Test {
    ISP2DLUTInStruct_V10 rec = lut2d_test::neutralRecord();
    kmodel::Engine g{&rec};
    SW_2DLut_v10& e = g.e;

    V3 toGbr(int y, int u, int v) {
        short a, b, c;
        e.CST_YUV2RGB(static_cast<short>(y), static_cast<short>(u), static_cast<short>(v), &a, &b,
                      &c);
        return {a, b, c};
    }
    V3 toYuv(int gr, int bl, int rd) {
        short a, b, c;
        e.CST_RGB2YUV(static_cast<short>(gr), static_cast<short>(bl), static_cast<short>(rd), &a,
                      &b, &c);
        return {a, b, c};
    }
    V3 general(int x, int y, int z, CST_params* p) {
        short a, b, c;
        e.CST(static_cast<short>(x), static_cast<short>(y), static_cast<short>(z), &a, &b, &c, p);
        return {a, b, c};
    }
    Hsl hsl(int r, int gr, int b) {
        Hsl o{};
        e.RGBtoHSL(r, gr, b, &o.h, &o.s, &o.l, reinterpret_cast<int*>(e.m_recip),
                   reinterpret_cast<int*>(e.m_recip2), reinterpret_cast<int*>(e.m_shift),
                   reinterpret_cast<int*>(e.m_shift2));
        return o;
    }
    V3 rgb(int h, int s, int l) {
        V3 o{};
        e.HSLtoRGB(&o.a, &o.b, &o.c, h, s, l);
        return o;
    }
};

TEST_F(Colour, TransformExamples) {
    const struct {
        V3 yuv, gbr, back;
    } cases[] = {
        {{512, 512, 512}, {512, 512, 512}, {512, 512, 512}},
        {{400, 300, 700}, {339, 23, 665}, {400, 300, 700}},
        {{100, 600, 400}, {150, 257, 0}, {117, 590, 429}},  // R clamped: lossy
        {{0, 0, 0}, {544, 0, 0}, {319, 332, 285}},
        {{1023, 1023, 1023}, {480, 1023, 1023}, {704, 691, 738}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(toGbr(c.yuv.a, c.yuv.b, c.yuv.c), c.gbr);
        EXPECT_EQ(toYuv(c.gbr.a, c.gbr.b, c.gbr.c), c.back);
        EXPECT_EQ(general(c.yuv.a, c.yuv.b, c.yuv.c, &e.m_cst[1]), c.gbr);
        EXPECT_EQ(general(c.gbr.a, c.gbr.b, c.gbr.c, &e.m_cst[0]), c.back);
    }
}

// The specialised forms read the engine's records but skip the offsets that are zero there:
// YUV -> RGB its first input offset and its output offsets, RGB -> YUV its input offsets
// and its first output offset.
TEST_F(Colour, SpecialisedFormsSkipOnlyTheZeroOffsets) {
    CST_params& toRgb = e.m_cst[1];
    CST_params& toYuvRec = e.m_cst[0];
    toRgb.inOffset[0] = 100;
    toRgb.outOffset[0] = toRgb.outOffset[1] = toRgb.outOffset[2] = 9;
    toYuvRec.inOffset[0] = toYuvRec.inOffset[1] = toYuvRec.inOffset[2] = 50;
    toYuvRec.outOffset[0] = 9;
    EXPECT_EQ(toGbr(400, 300, 700), (V3{339, 23, 665}));
    EXPECT_EQ(toYuv(339, 23, 665), (V3{400, 300, 700}));
    toRgb.inOffset[1] = 500;
    toRgb.outMax[0] = 300;
    toYuvRec.outOffset[2] = 500;
    toYuvRec.outMin[1] = 320;
    EXPECT_EQ(toGbr(400, 300, 700), (V3{300, 44, 665}));
    EXPECT_EQ(toYuv(339, 23, 665), (V3{400, 320, 688}));
}

TEST_F(Colour, EveryGreyRoundTripsThroughYuv) {
    for (int x = 0; x < 1024; ++x) {
        ASSERT_EQ(toYuv(x, x, x), (V3{x, 512, 512})) << x;
        ASSERT_EQ(toGbr(x, 512, 512), (V3{x, x, x})) << x;
    }
}

TEST_F(Colour, TransformsAgreeWithModel) {
    std::mt19937 rng(1);
    std::uniform_int_distribution<int> ten(0, 1023);
    for (int i = 0; i < 200000; ++i) {
        const int a = ten(rng), b = ten(rng), c = ten(rng);
        ASSERT_EQ(toGbr(a, b, c), kmodel::cst(kmodel::kYuvToRgb, a, b, c));
        ASSERT_EQ(toYuv(a, b, c), kmodel::cst(kmodel::kRgbToYuv, a, b, c));
    }
    // The general form applies every field: random records whose sums fit in 32 bits.
    std::uniform_int_distribution<int> s16(-32768, 32767), off(-4096, 4096);
    for (int i = 0; i < 20000; ++i) {
        kmodel::Cst m{};
        CST_params p{};
        for (int k = 0; k < 3; ++k) {
            p.inOffset[k] = static_cast<int16_t>(m.inOff[k] = off(rng));
            p.outOffset[k] = static_cast<int16_t>(m.outOff[k] = off(rng));
            const int lo = ten(rng) * 8, hi = ten(rng) * 64;
            p.outMin[k] = static_cast<uint16_t>(m.outMin[k] = lo);
            p.outMax[k] = static_cast<uint16_t>(m.outMax[k] = hi);  // may lie below outMin
        }
        for (int k = 0; k < 9; ++k) p.coef[k] = static_cast<int16_t>(m.coef[k] = s16(rng) / 2);
        const int a = s16(rng) / 8, b = s16(rng) / 8, c = s16(rng) / 8;
        ASSERT_EQ(general(a, b, c, &p), kmodel::cst(m, a, b, c)) << i;
    }
}

TEST_F(Colour, HslExamples) {
    const struct {
        V3 rgb;
        Hsl hsl;
    } cases[] = {
        {{1023, 0, 0}, {0, 2048, 1023}},       {{0, 1023, 0}, {4096, 2048, 1023}},
        {{0, 0, 1023}, {8192, 2048, 1023}},    {{1023, 1023, 0}, {2048, 2048, 1023}},
        {{0, 1023, 1023}, {6144, 2048, 1023}}, {{1023, 0, 1023}, {10240, 2048, 1023}},
        {{600, 400, 200}, {1024, 1024, 800}},  {{200, 400, 600}, {7168, 1024, 800}},
        {{100, 50, 25}, {683, 1229, 125}},     {{1000, 990, 995}, {11264, 366, 1990}},
        {{700, 700, 100}, {2048, 1536, 800}},  {{300, 300, 300}, {0, 0, 600}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(hsl(c.rgb.a, c.rgb.b, c.rgb.c), c.hsl);
        EXPECT_EQ(rgb(c.hsl.h, c.hsl.s, c.hsl.l), c.rgb);
    }
}

// RGB -> HSL -> RGB is exact for every 10-bit triple: a dense lattice with a varying phase,
// every grey, and random triples.
TEST_F(Colour, HslRoundTripsRgb) {
    auto check = [&](int r, int gr, int b) {
        const Hsl p = hsl(r, gr, b);
        const V3 back = rgb(p.h, p.s, p.l);
        if (back == V3{r, gr, b}) return true;
        ADD_FAILURE() << r << "," << gr << "," << b << " -> " << p.h << "," << p.s << "," << p.l;
        return false;
    };
    for (int r = 0; r < 1024; r += 7)
        for (int gr = r % 5; gr < 1024; gr += 9)
            for (int b = gr % 3; b < 1024; b += 8) ASSERT_TRUE(check(r, gr, b));
    for (int x = 0; x < 1024; ++x) ASSERT_TRUE(check(x, x, x));
    std::mt19937 rng(2);
    std::uniform_int_distribution<int> ten(0, 1023);
    for (int i = 0; i < 300000; ++i) ASSERT_TRUE(check(ten(rng), ten(rng), ten(rng)));
}

TEST_F(Colour, HslAgreesWithModel) {
    std::mt19937 rng(3);
    std::uniform_int_distribution<int> ten(0, 1023), hue(0, 16383), sat(0, 2048), light(0, 2046);
    for (int i = 0; i < 200000; ++i) {
        const int r = ten(rng), gr = ten(rng), b = ten(rng);
        ASSERT_EQ(hsl(r, gr, b), kmodel::rgbToHsl(r, gr, b)) << r << "," << gr << "," << b;
        const int h = hue(rng), s = sat(rng), l = light(rng);
        ASSERT_EQ(rgb(h, s, l), kmodel::hslToRgb(h, s, l)) << h << "," << s << "," << l;
    }
}

// A hue one turn above the range (k = 4) gives the colour of the same hue inside it.
TEST_F(Colour, HueAboveOneTurnIsTheSameColour) {
    for (int h = 12288; h < 16384; ++h) {
        ASSERT_EQ(rgb(h, 1500, 900), rgb(h - 12288, 1500, 900)) << h;
        ASSERT_EQ(rgb(h, 2048, 1023), rgb(h - 12288, 2048, 1023)) << h;
    }
}

// Arguments no caller should pass stay inside the 1024-entry division tables (the divisor is
// clamped) and inside 0..1023 on the way back.
TEST_F(Colour, OutOfRangeArgumentsStayInsideTables) {
    std::vector<int> recip(e.m_recip, e.m_recip + 1024), shift(e.m_shift, e.m_shift + 1024);
    const int bad[] = {-70000, -1024, -1, 1024, 1500, 5000, 40000};
    for (int r : bad) {
        for (int x : {0, 512, 1023}) {
            Hsl o{};
            e.RGBtoHSL(r, x, 1023 - x, &o.h, &o.s, &o.l, recip.data(), recip.data(), shift.data(),
                       shift.data());
            const V3 back = rgb(o.h, o.s & 0xFFF, x);
            EXPECT_TRUE(back.a >= 0 && back.a <= 1023 && back.b >= 0 && back.c <= 1023);
        }
        const V3 c = rgb(r, 2048, 2046 - 2 * (r & 511));
        EXPECT_TRUE(c.a >= 0 && c.a <= 1023 && c.b >= 0 && c.b <= 1023 && c.c >= 0 && c.c <= 1023);
    }
}

}  // namespace
