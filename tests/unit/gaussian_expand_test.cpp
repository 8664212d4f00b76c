// The portable Gaussian 2x upscale (whole plane, by row ranges, and fused with the luma
// addition) against the independent reference expand, and the saturating luma addition.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "common/luma_offset_add.h"
#include "engine/sw_2dlut_v10.h"
#include "support/gaussian_expand.h"
#include "tessel/tessel.h"
#include "tessel/tessel_rows.h"
#include "tessel/tessel_rows_body.h"

namespace {

constexpr uint8_t kUntouched = 0x5A;

std::vector<uint8_t> randomBytes(size_t n, std::mt19937& rng) {
    std::vector<uint8_t> v(n);
    for (auto& b : v) b = static_cast<uint8_t>(rng());
    return v;
}

// luma + offset - 128 clamped to 0 .. 255, stated on the unwrapped sum s = luma + offset.
uint8_t addDefinition(int luma, int offset) {
    const int s = luma + offset;
    return static_cast<uint8_t>(s <= 128 ? 0 : (s >= 383 ? 255 : s - 128));
}

struct Plane {
    uint32_t width;
    uint32_t height;
    uint32_t srcStride;
    uint32_t dstStride;
};

// The expected destination of a strided call: the reference expand in the 2 width x
// 2 height region, the padding as it was.
std::vector<uint8_t> expectedPlane(const std::vector<uint8_t>& src, const Plane& p) {
    std::vector<uint8_t> want(size_t{2} * p.height * p.dstStride, kUntouched);
    const auto up = lut2d_test::gaussianExpand(src.data(), p.width, p.height, p.srcStride);
    for (size_t y = 0; y < 2 * size_t{p.height}; ++y) {
        std::copy_n(&up[y * 2 * p.width], 2 * p.width, &want[y * p.dstStride]);
    }
    return want;
}

// Every size up to 40 x 6 (every vector block and tail, every vertical border case), and
// sizes around the column chunks, packed and strided.
TEST(GaussianExpand, MatchesTheReferencePackedAndStrided) {
    std::mt19937 rng(7);
    std::vector<Plane> sizes;
    for (uint32_t w = 1; w <= 40; ++w) {
        for (uint32_t h = 1; h <= 6; ++h) sizes.push_back({w, h, w + 3, 2 * w + 7});
    }
    for (auto [w, h] : {std::pair{511u, 3u},
                        {512u, 2u},
                        {513u, 5u},
                        {520u, 2u},
                        {1031u, 3u},
                        {2u, 97u},
                        {961u, 9u}}) {
        sizes.push_back({w, h, w + 17, 2 * w + 1});
    }
    for (const Plane& strided : sizes) {
        const Plane packed{strided.width, strided.height, strided.width, 2 * strided.width};
        for (const Plane& p : {packed, strided}) {
            const auto src = randomBytes(size_t{p.srcStride} * p.height, rng);
            std::vector<uint8_t> dst(size_t{2} * p.height * p.dstStride, kUntouched);
            if (p.srcStride == p.width) {
                ASSERT_EQ(tslScaleUpBy2Gaussian5x5u8(src.data(), p.width, p.height, dst.data()), 0);
            } else {
                ASSERT_EQ(tslScaleUpBy2Gaussian5x5u8_v2(src.data(), p.width, p.height, p.srcStride,
                                                        dst.data(), p.dstStride),
                          0);
            }
            ASSERT_EQ(dst, expectedPlane(src, p))
                << p.width << "x" << p.height << " pitches " << p.srcStride << "/" << p.dstStride;
        }
    }
}

TEST(GaussianExpand, ConstantPlaneStaysConstant) {
    for (uint8_t level : {uint8_t{0}, uint8_t{128}, uint8_t{255}}) {
        const std::vector<uint8_t> src(7 * 3, level);
        std::vector<uint8_t> out(14 * 6);
        ASSERT_EQ(tslScaleUpBy2Gaussian5x5u8(src.data(), 7, 3, out.data()), 0);
        EXPECT_EQ(out, std::vector<uint8_t>(out.size(), level));
    }
}

TEST(GaussianExpand, EmptyPlaneWritesNothing) {
    std::vector<uint8_t> dst(64, kUntouched);
    const uint8_t one = 9;
    EXPECT_EQ(tslScaleUpBy2Gaussian5x5u8(&one, 0, 5, dst.data()), 0);
    EXPECT_EQ(tslScaleUpBy2Gaussian5x5u8_v2(&one, 5, 0, 5, dst.data(), 10), 0);
    EXPECT_EQ(dst, std::vector<uint8_t>(64, kUntouched));
}

// Row ranges: any partition of the output rows, written band by band in any order, gives the
// whole-plane bytes; the fused form leaves the luma as a whole-plane upscale then add does.
TEST(GaussianExpandRows, EveryPartitionGivesTheWholePlane) {
    std::mt19937 rng(11);
    for (const Plane& p : {Plane{1, 1, 1, 2}, Plane{7, 5, 9, 16}, Plane{33, 6, 33, 66},
                           Plane{517, 4, 520, 1040}, Plane{40, 1, 41, 85}, Plane{3, 13, 3, 6}}) {
        const auto src = randomBytes(size_t{p.srcStride} * p.height, rng);
        const uint32_t rows = 2 * p.height;
        const size_t bytes = size_t{rows + 1} * p.dstStride;  // one row past the plane
        std::vector<uint8_t> whole(bytes, kUntouched);
        tslScaleUpBy2Gaussian5x5u8_v2(src.data(), p.width, p.height, p.srcStride, whole.data(),
                                      p.dstStride);
        const auto luma = randomBytes(bytes, rng);
        std::vector<uint8_t> added = luma;
        for (uint32_t y = 0; y < rows; ++y) {
            for (size_t x = y * size_t{p.dstStride}, e = x + 2 * p.width; x < e; ++x) {
                added[x] = addDefinition(luma[x], whole[x]);
            }
        }
        for (int trial = 0; trial < 30; ++trial) {
            // 1 to 5 bands, empty ones included, the last one past the end.
            std::vector<uint32_t> cuts{0, rows + 3};
            const int bands = 1 + static_cast<int>(rng() % 5);
            for (int b = 1; b < bands; ++b)
                cuts.push_back(static_cast<uint32_t>(rng() % (rows + 1)));
            std::sort(cuts.begin(), cuts.end());
            std::vector<uint8_t> out(bytes, kUntouched);
            std::vector<uint8_t> fused = luma;
            for (size_t b = cuts.size() - 1; b-- > 0;) {  // last band first
                EXPECT_EQ(lut2d::tessel::scaleUpBy2Gaussian5x5Rows(
                              src.data(), p.width, p.height, p.srcStride, out.data(), p.dstStride,
                              cuts[b], cuts[b + 1]),
                          0);
                lut2d::tessel::scaleUpBy2Gaussian5x5AddRows(src.data(), p.width, p.height,
                                                            p.srcStride, fused.data(), p.dstStride,
                                                            cuts[b], cuts[b + 1]);
            }
            ASSERT_EQ(out, whole) << p.width << "x" << p.height << ", " << bands << " bands";
            ASSERT_EQ(fused, added) << p.width << "x" << p.height << ", " << bands << " bands";
        }
        // A reversed range writes nothing.
        std::vector<uint8_t> out(bytes, kUntouched);
        lut2d::tessel::scaleUpBy2Gaussian5x5Rows(src.data(), p.width, p.height, p.srcStride,
                                                 out.data(), p.dstStride, rows, 0);
        EXPECT_EQ(out, std::vector<uint8_t>(bytes, kUntouched));
    }
}

// The fused form over all rows equals the library's upscale-and-add, row padding included
// (the library adds "no change" there), also with a width beyond the pitch.
TEST(GaussianExpandRows, FusedFormMatchesTheLibraryFinish) {
    std::mt19937 rng(5);
    SW_2DLut_v10 e;
    for (auto [w, s, h] :
         {std::tuple{5u, 5u, 3u}, {5u, 8u, 3u}, {1u, 1u, 1u}, {9u, 6u, 2u}, {37u, 48u, 7u}}) {
        const auto offsets = randomBytes(size_t{s} * h, rng);
        const auto luma = randomBytes(size_t{4} * s * h, rng);
        std::vector<uint8_t> want = luma;
        std::vector<uint8_t> offsetsCopy = offsets;
        ASSERT_EQ(e.YOffsetAddition_tessel(offsetsCopy.data(), want.data(), w, s, h), 0);
        std::vector<uint8_t> got = luma;
        lut2d::tessel::scaleUpBy2Gaussian5x5AddRows(offsets.data(), std::min(w, s), h, s,
                                                    got.data(), 2 * s, 0, 2 * h);
        EXPECT_EQ(got, want) << w << "x" << h << " pitch " << s;
    }
}

// The rows' eight-lane form (what machines without wider vectors run) writes and adds exactly
// what the form this machine picks does, at every width up to 80 and some wider, and for
// row ranges that start and end on odd rows.
TEST(GaussianExpandRows, EightLaneFormMatchesThePickedForm) {
    std::mt19937 rng(17);
    for (uint32_t w = 1; w <= 600; w += w < 80 ? 1 : 131) {
        for (uint32_t h : {1u, 2u, 5u}) {
            const Plane p{w, h, w + 3, 2 * w + 5};
            const auto src = randomBytes(size_t{p.srcStride} * h, rng);
            const auto luma = randomBytes(size_t{2} * h * p.dstStride, rng);
            for (auto [begin, end] : {std::pair{0u, 2 * h}, {1u, 2 * h - 1}}) {
                std::vector<uint8_t> picked(luma.size(), kUntouched), eight = picked;
                lut2d::tessel::scaleUpBy2Gaussian5x5Rows(src.data(), w, h, p.srcStride,
                                                         picked.data(), p.dstStride, begin, end);
                lut2d::tessel::portable::outputRowRange<false>(
                    src.data(), w, h, p.srcStride, eight.data(), p.dstStride, begin, end);
                ASSERT_EQ(eight, picked) << w << "x" << h;
                picked = luma, eight = luma;
                lut2d::tessel::scaleUpBy2Gaussian5x5AddRows(src.data(), w, h, p.srcStride,
                                                            picked.data(), p.dstStride, begin, end);
                lut2d::tessel::portable::outputRowRange<true>(
                    src.data(), w, h, p.srcStride, eight.data(), p.dstStride, begin, end);
                ASSERT_EQ(eight, picked) << w << "x" << h << " added";
            }
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

// Sub-spans at every alignment and length around the vector size change only their bytes.
TEST(LumaOffsetAdd, UnalignedSpansChangeOnlyTheirBytes) {
    std::mt19937 rng(3);
    const auto luma = randomBytes(80, rng);
    const auto offsets = randomBytes(80, rng);
    for (size_t start = 0; start < 17; ++start) {
        for (size_t count = 0; count <= 50; ++count) {
            std::vector<uint8_t> got = luma, want = luma;
            for (size_t i = start; i < start + count; ++i)
                want[i] = addDefinition(luma[i], offsets[i]);
            lut2d::addLumaOffsets(got.data() + start, offsets.data() + start, count);
            ASSERT_EQ(got, want) << "bytes " << start << " .. " << start + count;
        }
    }
}

}  // namespace
