// The portable Gaussian 2x upscale (whole plane, by row ranges, and fused with the luma
// addition) against the independent reference expand, and the saturating luma addition.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "common/luma_offset_add.h"
#include "engine/sw_2dlut_v10.h"
#include "support/fixtures.h"
#include "tessel/tessel.h"
#include "tessel/tessel_rows.h"
#include "tessel/tessel_rows_body.h"

namespace {

constexpr uint8_t kUntouched = 0x5A;

// Weight of source sample i for output position x of the 1-D expand (kernel 1 4 6 4 1
// over the zero-stuffed signal), with the border rules s(-1) = s(1), s(n) = s(n-1).
int expandWeight(int x, int i, int n) {
    auto is = [n, i](int k) { return (k < 0 ? (n > 1 ? 1 : 0) : std::min(k, n - 1)) == i; };
    const int half = x / 2;
    if (x % 2 == 1) return 4 * is(half) + 4 * is(half + 1);
    return is(half - 1) + 6 * is(half) + is(half + 1);
}

// luma + offset - 128 clamped to 0 .. 255, stated on the unwrapped sum s = luma + offset.
uint8_t addDefinition(int luma, int offset) {
    const int s = luma + offset;
    return static_cast<uint8_t>(s <= 128 ? 0 : (s >= 383 ? 255 : s - 128));
}

struct Plane {
    uint32_t width, height, srcStride, dstStride;
};

// The Gaussian 2x expand stated directly, rounded once: the 2 width x 2 height plane in rows
// dstStride apart, the padding as it was.
std::vector<uint8_t> expectedPlane(const std::vector<uint8_t>& src, const Plane& p) {
    const int w = static_cast<int>(p.width), h = static_cast<int>(p.height);
    std::vector<uint8_t> out(size_t{2} * p.height * p.dstStride, kUntouched);
    for (int y = 0; y < 2 * h; ++y) {
        for (int x = 0; x < 2 * w; ++x) {
            int sum = 0;
            for (int j = std::max(0, y / 2 - 1); j <= std::min(h - 1, y / 2 + 1); ++j) {
                const int wy = expandWeight(y, j, h);
                for (int i = std::max(0, x / 2 - 1); i <= std::min(w - 1, x / 2 + 1); ++i) {
                    sum += wy * expandWeight(x, i, w) * src[j * p.srcStride + i];
                }
            }
            out[y * size_t{p.dstStride} + x] = static_cast<uint8_t>((sum + 32) >> 6);
        }
    }
    return out;
}

// Every width up to 80 and some around the column chunks, at heights that reach every
// vertical border case, packed and strided: the whole-plane forms against the reference. Then
// the row-range forms, the one this machine picks and the eight-lane one (what machines
// without wider vectors run), on a partition of the output rows into 1 to 5 bands (empty ones
// included, odd starts and ends, the last past the end) written last band first: the whole
// plane's bytes, and for the fused forms the luma as a whole-plane upscale then add leaves it.
TEST(GaussianExpand, EveryFormMatchesTheReference) {
    using lut2d::tessel::portable::outputRowRange;
    std::mt19937 rng(7);
    std::vector<uint32_t> widths{226, 511, 512, 513, 520, 961, 1031};
    for (uint32_t w = 1; w <= 80; ++w) widths.push_back(w);
    for (uint32_t w : widths) {
        for (uint32_t h : {1u, 2u, 3u, 4u, 5u, 6u, 13u, w <= 2 ? 97u : 9u}) {
            SCOPED_TRACE(::testing::Message() << w << "x" << h);
            const Plane packed{w, h, w, 2 * w}, p{w, h, w + 3 * (h % 2), 2 * w + 5};
            const auto src = lut2d_test::randomBytes(size_t{p.srcStride} * h, rng());
            std::vector<uint8_t> dst(size_t{4} * w * h, kUntouched);
            ASSERT_EQ(tslScaleUpBy2Gaussian5x5u8(src.data(), w, h, dst.data()), 0);
            ASSERT_EQ(dst, expectedPlane(src, packed));
            const uint32_t rows = 2 * h;
            const size_t bytes = size_t{rows + 1} * p.dstStride;  // one row past the plane
            std::vector<uint8_t> whole(bytes, kUntouched), want = expectedPlane(src, p);
            want.resize(bytes, kUntouched);
            ASSERT_EQ(tslScaleUpBy2Gaussian5x5u8_v2(src.data(), w, h, p.srcStride, whole.data(),
                                                    p.dstStride),
                      0);
            ASSERT_EQ(whole, want);

            const auto luma = lut2d_test::randomBytes(bytes, rng());
            std::vector<uint8_t> added = luma;
            for (uint32_t y = 0; y < rows; ++y) {
                for (size_t x = y * size_t{p.dstStride}, e = x + 2 * w; x < e; ++x) {
                    added[x] = addDefinition(luma[x], whole[x]);
                }
            }
            std::vector<uint32_t> cuts{0, rows + 3};
            for (int b = static_cast<int>(rng() % 5); b > 0; --b)
                cuts.push_back(rng() % (rows + 1));
            std::sort(cuts.begin(), cuts.end());
            std::vector<uint8_t> out(bytes, kUntouched), eight = out, fused = luma, fused8 = luma;
            for (size_t b = cuts.size() - 1; b-- > 0;) {
                const uint32_t begin = cuts[b], end = cuts[b + 1];
                lut2d::tessel::scaleUpBy2Gaussian5x5Rows(src.data(), w, h, p.srcStride, out.data(),
                                                         p.dstStride, begin, end);
                lut2d::tessel::scaleUpBy2Gaussian5x5AddRows(src.data(), w, h, p.srcStride,
                                                            fused.data(), p.dstStride, begin, end);
                outputRowRange<false>(src.data(), w, h, p.srcStride, eight.data(), p.dstStride,
                                      begin, end);
                outputRowRange<true>(src.data(), w, h, p.srcStride, fused8.data(), p.dstStride,
                                     begin, end);
            }
            ASSERT_EQ(out, whole) << cuts.size() - 1 << " bands";
            ASSERT_EQ(eight, whole);
            ASSERT_EQ(fused, added);
            ASSERT_EQ(fused8, added);
        }
    }
}

// All 65536 (luma, offset) pairs, 16 at a time on the vector path and one at a time.
TEST(LumaOffsetAdd, EveryPairMatchesTheDefinition) {
    std::vector<uint8_t> luma(65536), offsets(65536), want(65536);
    for (size_t i = 0; i < luma.size(); ++i) {
        luma[i] = static_cast<uint8_t>(i >> 8);
        offsets[i] = static_cast<uint8_t>(i);
        want[i] = addDefinition(luma[i], offsets[i]);
        ASSERT_EQ(lut2d::addLumaOffset(luma[i], offsets[i]), want[i]) << i;
    }
    lut2d::addLumaOffsets(luma.data(), offsets.data(), luma.size());
    EXPECT_EQ(luma, want);
}

}  // namespace
