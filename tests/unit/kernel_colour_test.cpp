// Colour kernel: YUV <-> RGB transforms and RGB <-> HSL conversion.

#include <gtest/gtest.h>

#include <vector>

#include "kernel_model.h"

namespace {

using kmodel::pick;
using kmodel::V3;

struct Colour : ::testing::Test {
    ISP2DLUTInStruct_V10 rec = lut2d_test::neutralRecord();
    kmodel::Engine g{&rec};
    // The division tables at their exact size, so that a read beyond them is caught.
    std::vector<int> recip = std::vector<int>(g.e.m_recip, g.e.m_recip + 1024);
    std::vector<int> shift = std::vector<int>(g.e.m_shift, g.e.m_shift + 1024);

    // One of the three transform members (CST takes its record as the last argument).
    template <class F, class... P>
    V3 cst(F f, int a, int b, int c, P... p) {
        short x, y, z;
        (g.e.*f)(a, b, c, &x, &y, &z, p...);
        return {x, y, z};
    }
    V3 hsl(int r, int gr, int b) {
        V3 o{};
        g.e.RGBtoHSL(r, gr, b, &o.a, &o.b, &o.c, recip.data(), recip.data(), shift.data(),
                     shift.data());
        return o;
    }
    V3 rgb(int h, int s, int l) {
        V3 o{};
        g.e.HSLtoRGB(&o.a, &o.b, &o.c, h, s, l);
        return o;
    }
};

// The specialised forms apply the engine's records except the offsets that are zero there
// (set to 9 here); the general form applies every field of random records whose sums fit in
// 32 bits, outMax possibly below outMin.
TEST_F(Colour, TransformsAgreeWithModel) {
    const CST_params rgbToYuv = g.e.m_cst[0], yuvToRgb = g.e.m_cst[1];
    for (int k = 0; k < 3; ++k) g.e.m_cst[0].inOffset[k] = g.e.m_cst[1].outOffset[k] = 9;
    g.e.m_cst[0].outOffset[0] = g.e.m_cst[1].inOffset[0] = 9;
    std::mt19937 rng(1);
    for (int i = 0; i < 100000; ++i) {
        const int a = pick(rng, 0, 1023), b = pick(rng, 0, 1023), c = pick(rng, 0, 1023);
        ASSERT_EQ(cst(&SW_2DLut_v10::CST_YUV2RGB, a, b, c), kmodel::cst(yuvToRgb, a, b, c));
        ASSERT_EQ(cst(&SW_2DLut_v10::CST_RGB2YUV, a, b, c), kmodel::cst(rgbToYuv, a, b, c));
        CST_params p;
        for (int k = 0; k < 3; ++k) {
            p.inOffset[k] = pick(rng, -4096, 4096), p.outOffset[k] = pick(rng, -4096, 4096);
            p.outMin[k] = pick(rng, 0, 1023) * 8, p.outMax[k] = pick(rng, 0, 1023) * 64;
        }
        for (int16_t& m : p.coef) m = pick(rng, -16384, 16383);
        ASSERT_EQ(cst(&SW_2DLut_v10::CST, a, b, c, &p), kmodel::cst(p, a, b, c)) << i;
    }
}

// Every grey maps to U = V = 512 and to zero hue and saturation, and back. Both directions of
// HSL agree with the model, and RGB -> HSL -> RGB is exact. A hue one turn above the range
// (k = 4, as the masked hue wrap can produce) gives the colour of the same hue inside it.
// Arguments no caller should pass stay inside the division tables (the divisor is clamped)
// and inside 0..1023 on the way back.
TEST_F(Colour, GreysAndHslRoundTripAndHslAgreesWithModel) {
    for (int x = 0; x < 1024; ++x) {
        ASSERT_EQ(cst(&SW_2DLut_v10::CST_RGB2YUV, x, x, x), (V3{x, 512, 512})) << x;
        ASSERT_EQ(cst(&SW_2DLut_v10::CST_YUV2RGB, x, 512, 512), (V3{x, x, x})) << x;
        ASSERT_EQ(hsl(x, x, x), (V3{0, 0, 2 * x})) << x;
        ASSERT_EQ(rgb(0, 0, 2 * x), (V3{x, x, x})) << x;
    }
    std::mt19937 rng(3);
    for (int i = 0; i < 300000; ++i) {
        const int r = pick(rng, 0, 1023), gr = pick(rng, 0, 1023), b = pick(rng, 0, 1023);
        const V3 p = hsl(r, gr, b);
        ASSERT_EQ(p, kmodel::rgbToHsl(r, gr, b)) << r << "," << gr << "," << b;
        ASSERT_EQ(rgb(p.a, p.b, p.c), (V3{r, gr, b})) << r << "," << gr << "," << b;
        const int h = pick(rng, 0, 12287), s = pick(rng, 0, 2048), l = pick(rng, 0, 2046);
        ASSERT_EQ(rgb(h, s, l), kmodel::hslToRgb(h, s, l)) << h << "," << s << "," << l;
        ASSERT_EQ(rgb(h + 12288, s, l), rgb(h, s, l)) << h << "," << s << "," << l;
        hsl(r * 64 - 40000, gr, b * 40);
        const V3 o = rgb(h * 8 - 50000, s, 2 * l);
        ASSERT_TRUE(std::min({o.a, o.b, o.c}) >= 0 && std::max({o.a, o.b, o.c}) <= 1023) << i;
    }
}

}  // namespace

namespace {

// Documented conversions, which pin the engine's constant records, its division tables and
// the fill of never-written cache entries (a zero-filled cache would answer black with 0).
TEST_F(Colour, DocumentedExamples) {
    const struct {
        V3 yuv, gbr, back;
    } transforms[] = {{{400, 300, 700}, {339, 23, 665}, {400, 300, 700}},
                      {{100, 600, 400}, {150, 257, 0}, {117, 590, 429}},
                      {{0, 0, 0}, {544, 0, 0}, {319, 332, 285}},
                      {{1023, 1023, 1023}, {480, 1023, 1023}, {704, 691, 738}}};
    for (const auto& t : transforms) {
        EXPECT_EQ(cst(&SW_2DLut_v10::CST_YUV2RGB, t.yuv.a, t.yuv.b, t.yuv.c), t.gbr);
        EXPECT_EQ(cst(&SW_2DLut_v10::CST_RGB2YUV, t.gbr.a, t.gbr.b, t.gbr.c), t.back);
    }
    EXPECT_EQ(hsl(100, 50, 25), (V3{683, 1229, 125}));
    EXPECT_EQ(hsl(1000, 990, 995), (V3{11264, 366, 1990}));
    EXPECT_EQ(hsl(700, 700, 100), (V3{2048, 1536, 800}));  // red and green tied: red sector
    short y, u, v;
    g.e.process(0, 0, 0, &y, &u, &v, reinterpret_cast<HM_RGB*>(g.e.m_workArea));
    EXPECT_EQ((V3{y, u, v}), (V3{319, 332, 285}));
}

}  // namespace
