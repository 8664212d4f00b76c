// Colour kernel: the YUV <-> RGB transforms and the RGB <-> HSL conversion, against the
// reference model and the documented examples.

#include <gtest/gtest.h>

#include <vector>

#include "kernel_model.h"

namespace {

using kmodel::V3;
using lut2d_test::pick;

using Colour = kmodel::KernelTest;

// Random records (sums inside 32 bits, outMax possibly below outMin).
TEST_F(Colour, GeneralTransformAppliesEveryField) {
    for (int i = 0; i < 100000; ++i) {
        CST_params p;
        for (int k = 0; k < 3; ++k) {
            p.inOffset[k] = pick(rng, -4096, 4096), p.outOffset[k] = pick(rng, -4096, 4096);
            p.outMin[k] = pick(rng, 0, 1023) * 8, p.outMax[k] = pick(rng, 0, 1023) * 64;
        }
        for (int16_t& m : p.coef) m = pick(rng, -16384, 16383);
        const V3 in = random();
        ASSERT_EQ(cst(&SW_2DLut_v10::CST, in, &p), kmodel::cst(p, in.a, in.b, in.c)) << i;
    }
}

// The specialised forms apply the engine's records but the offsets that are zero there (set
// to 9 here, which they must ignore).
TEST_F(Colour, SpecialisedTransformsSkipTheOffsetsThatAreZero) {
    const CST_params rgbToYuv = e().m_cst[0], yuvToRgb = e().m_cst[1];
    for (int k = 0; k < 3; ++k) e().m_cst[0].inOffset[k] = e().m_cst[1].outOffset[k] = 9;
    e().m_cst[0].outOffset[0] = e().m_cst[1].inOffset[0] = 9;
    for (int i = 0; i < 100000; ++i) {
        const V3 in = random();
        ASSERT_EQ(cst(&SW_2DLut_v10::CST_YUV2RGB, in), kmodel::cst(yuvToRgb, in.a, in.b, in.c));
        ASSERT_EQ(cst(&SW_2DLut_v10::CST_RGB2YUV, in), kmodel::cst(rgbToYuv, in.a, in.b, in.c));
    }
}

// The documented conversions pin the engine's constant records; clamping in RGB is lossy.
TEST_F(Colour, TransformsGiveTheDocumentedExamples) {
    const struct {
        V3 yuv, gbr, back;
    } cases[] = {{{400, 300, 700}, {339, 23, 665}, {400, 300, 700}},
                 {{100, 600, 400}, {150, 257, 0}, {117, 590, 429}},
                 {{0, 0, 0}, {544, 0, 0}, {319, 332, 285}},
                 {{1023, 1023, 1023}, {480, 1023, 1023}, {704, 691, 738}}};
    for (const auto& c : cases) {
        EXPECT_EQ(cst(&SW_2DLut_v10::CST_YUV2RGB, c.yuv), c.gbr);
        EXPECT_EQ(cst(&SW_2DLut_v10::CST_RGB2YUV, c.gbr), c.back);
    }
}

// Every grey among the colours: no hue, no saturation, lightness twice the value.
TEST_F(Colour, RgbToHslIsTheHexconeModel) {
    for (int i = 0; i < 300000; ++i) {
        const V3 c = i < 1024 ? V3{i, i, i} : random();
        ASSERT_EQ(hsl(c), kmodel::rgbToHsl(c.a, c.b, c.c)) << c.a << "," << c.b << "," << c.c;
    }
}

// Hues up to one turn above the range too, as the masked hue wrap can produce; no saturation
// (a grey) at every lightness.
TEST_F(Colour, HslToRgbIsTheHexconeModel) {
    for (int i = 0; i < 300000; ++i) {
        const V3 c = i < 2047 ? V3{0, 0, i}
                              : V3{pick(rng, 0, 16383), pick(rng, 0, 2048), pick(rng, 0, 2046)};
        ASSERT_EQ(rgb(c), kmodel::hslToRgb(c.a, c.b, c.c)) << c.a << "," << c.b << "," << c.c;
    }
}

// Arguments no caller passes: the divisor is clamped into the tables, channels into 0..1023.
TEST_F(Colour, ArgumentsOutsideTheRangesStayInsideTheTables) {
    for (int i = 0; i < 100000; ++i) {
        const V3 c = random();
        hsl({c.a * 64 - 40000, c.b, c.c * 40});
        const V3 o = rgb({pick(rng, 0, 12287) * 8 - 50000, pick(rng, 0, 2048), 4 * c.c});
        ASSERT_TRUE(std::min({o.a, o.b, o.c}) >= 0 && std::max({o.a, o.b, o.c}) <= 1023) << i;
    }
}

}  // namespace
