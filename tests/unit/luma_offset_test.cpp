// Odd frame sizes on exact-size planes, and the luma offset upscale-and-add. The whole engine
// is checked against the reference engine in engine_equivalence_test.cpp.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

#include "engine/sw_2dlut_v10.h"
#include "support/fixtures.h"
#include "support/gaussian_expand.h"
#include "support/log_capture.h"

namespace {

using lut2d_test::busyRecord;
using lut2d_test::fillRandom;
using lut2d_test::Frame;
using lut2d_test::Handle;

TEST(FrameEngine, OddSizesStayInsideThePlanes) {
    // Exact-size planes: any read or write past them is caught by the address sanitizer.
    ISP2DLUTInStruct_V10 rec = busyRecord(9);
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        for (auto [w, h, s] : {std::tuple{7u, 5u, 7u},
                               {9u, 6u, 9u},
                               {8u, 7u, 8u},
                               {1u, 2u, 1u},
                               {5u, 3u, 6u},
                               {3u, 2u, 3u}}) {
            Frame f(w, h, s, 0);
            fillRandom(f, w * h);
            const auto before = f;
            Handle handle(&rec, f.info, mode);
            ASSERT_EQ(handle.process(f), 0);
            if (mode == LUT2D_MODE_CHRUS && w % 2 == 1) {  // the odd last column is left alone
                for (uint32_t y = 0; y < h; ++y)
                    EXPECT_EQ(f.luma[y * s + w - 1], before.luma[y * s + w - 1]);
            }
        }
    }
}

// --- luma offset upscale-and-add ---------------------------------------------------------

// Random offsets and luma reach both saturation limits on the packed and the strided path.
TEST(LumaOffsets, MatchesGaussianExpandOnBothPaths) {
    SW_2DLut_v10 e;
    std::mt19937 rng(4);
    for (auto [w, s, h] : {std::tuple{5u, 5u, 3u},
                           {5u, 8u, 3u},
                           {1u, 1u, 1u},
                           {1u, 4u, 2u},
                           {17u, 17u, 9u},
                           {33u, 40u, 2u}}) {
        std::vector<uint8_t> offsets(size_t{s} * h);
        for (auto& b : offsets) b = static_cast<uint8_t>(rng());
        std::vector<uint8_t> luma(size_t{4} * s * h);
        for (auto& b : luma) b = static_cast<uint8_t>(rng());
        std::vector<uint8_t> expected = luma;
        const auto up = lut2d_test::gaussianExpand(offsets.data(), w, h, s);
        for (uint32_t y = 0; y < 2 * h; ++y) {
            for (uint32_t x = 0; x < 2 * w; ++x) {
                uint8_t& l = expected[y * 2 * s + x];
                l = static_cast<uint8_t>(std::clamp(l + up[y * 2 * w + x] - 128, 0, 255));
            }
        }
        ASSERT_EQ(e.YOffsetAddition_tessel(offsets.data(), luma.data(), w, s, h), 0);
        EXPECT_EQ(luma, expected) << w << "x" << h << " pitch " << s;
    }
}

using LumaOffsetsDeathTest = ::testing::Test;

TEST(LumaOffsetsDeathTest, OversizedPlaneStopsTheProcess) {
    SW_2DLut_v10 e;
    uint8_t byte = 128;
    const std::string at = ", in beginOffsetAddition at lut2dalgo/src/engine/luma_offset.cpp:";
    LUT2D_EXPECT_STOP(e.YOffsetAddition_tessel(&byte, &byte, 1, 1u << 15, 1u << 15),
                      "fatal: 1073741824 \\* 4 does not fit in uint32" + at);
    LUT2D_EXPECT_STOP(e.YOffsetAddition_tessel(&byte, &byte, 1, 0x80000000u, 1),
                      "fatal: 2147483648 \\* 4 does not fit in uint32" + at);
}

}  // namespace
