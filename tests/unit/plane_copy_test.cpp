// Packed/strided plane copies (the exported thread bodies) and the 8-bit / 10-bit planar
// conversions.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "engine/plane_copy.h"
#include "engine/sw_2dlut_v10.h"
#include "os/os_layer.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kUntouched = 0xEE;

Bytes randomBytes(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes b(n);
    for (auto& v : b) v = static_cast<uint8_t>(rng());
    return b;
}

// A packed frame and a strided frame of the same geometry; the strided planes are exactly
// height * stride and (height * stride) / 2 bytes, so any write past them is caught.
struct Planes {
    uint32_t width, height, stride;
    Bytes packedLuma, packedChroma, stridedLuma, stridedChroma;

    Planes(uint32_t w, uint32_t h, uint32_t s, uint32_t seed)
        : width(w),
          height(h),
          stride(s),
          packedLuma(randomBytes(size_t{w} * h, seed)),
          packedChroma(randomBytes(size_t{w} * (h / 2), seed + 1)),
          stridedLuma(size_t{s} * h, kUntouched),
          stridedChroma(size_t{s} * h / 2, kUntouched) {}

    CopyThreadArgs args() {
        return {width,
                height,
                stride,
                stridedLuma.data(),
                stridedChroma.data(),
                packedLuma.data(),
                packedChroma.data()};
    }
};

// The packed-to-strided rule written out row by row on an oversized plane, then cut to the
// plane's own size.
Bytes referencePack(const Bytes& packed, uint32_t width, uint32_t rows, uint32_t stride,
                    size_t planeBytes) {
    Bytes out(std::max(size_t{rows} * stride + width + 2, planeBytes), kUntouched);
    for (uint32_t r = 0; r < rows; ++r) {
        uint8_t* d = out.data() + size_t{r} * stride;
        std::memcpy(d, packed.data() + size_t{r} * width, width);
        d[width] = d[width - 2];
        d[width + 1] = d[width - 1];
    }
    out.resize(planeBytes);
    return out;
}

TEST(PlaneCopy, RowIsExtendedByItsLastTwoBytesAndRestoredOnTheWayBack) {
    Planes p(6, 1, 8, 0);
    p.packedLuma = {'a', 'b', 'c', 'd', 'e', 'f'};
    auto a = p.args();
    EXPECT_EQ(copyInputData_MT(&a), nullptr);
    EXPECT_EQ(p.stridedLuma, (Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'e', 'f'}));
    EXPECT_EQ(p.stridedChroma, Bytes(4, kUntouched));  // height 1: no chroma row

    p.packedLuma.assign(6, 0);
    EXPECT_EQ(copyOutputData_MT(&a), nullptr);
    EXPECT_EQ(p.packedLuma, (Bytes{'a', 'b', 'c', 'd', 'e', 'f'}));
}

TEST(PlaneCopy, StridedRowsMatchTheRowRuleAndLeaveThePaddingAlone) {
    for (uint32_t height : {2u, 3u, 7u, 8u}) {
        for (uint32_t width : {2u, 5u, 6u, 33u}) {
            for (uint32_t stride : {width + 2, width + 3, width + 40}) {
                Planes p(width, height, stride, width * 100 + height);
                auto a = p.args();
                copyInputData_MT(&a);
                EXPECT_EQ(p.stridedLuma,
                          referencePack(p.packedLuma, width, height, stride, p.stridedLuma.size()));
                EXPECT_EQ(p.stridedChroma, referencePack(p.packedChroma, width, height / 2, stride,
                                                         p.stridedChroma.size()));

                const Bytes luma = p.packedLuma, chroma = p.packedChroma;
                std::fill(p.packedLuma.begin(), p.packedLuma.end(), 0);
                std::fill(p.packedChroma.begin(), p.packedChroma.end(), 0);
                copyOutputData_MT(&a);
                EXPECT_EQ(p.packedLuma, luma);
                EXPECT_EQ(p.packedChroma, chroma);
            }
        }
    }
}

TEST(PlaneCopy, EqualPitchesCopyWholePlanesIncludingHalfARowForOddHeights) {
    Planes p(4, 3, 4, 7);
    p.packedChroma = randomBytes(6, 9);  // (3 * 4) / 2 bytes: one row and a half
    auto a = p.args();
    copyInputData_MT(&a);
    EXPECT_EQ(p.stridedLuma, p.packedLuma);  // no row extension
    EXPECT_EQ(p.stridedChroma, p.packedChroma);

    const Bytes chroma = p.packedChroma;
    p.packedChroma.assign(6, 0);
    p.packedLuma.assign(12, 0);
    copyOutputData_MT(&a);
    EXPECT_EQ(p.packedLuma, p.stridedLuma);
    EXPECT_EQ(p.packedChroma, chroma);
}

TEST(PlaneCopy, ARowExtensionNeverRunsPastThePlane) {
    // With stride = width + 1 the second repeated byte of a row falls on the next row's
    // first byte (which that row then overwrites) and, on the last row, past the plane.
    Planes p(9, 4, 10, 3);
    auto a = p.args();
    copyInputData_MT(&a);
    EXPECT_EQ(p.stridedLuma, referencePack(p.packedLuma, 9, 4, 10, p.stridedLuma.size()));
    EXPECT_EQ(p.stridedChroma, referencePack(p.packedChroma, 9, 2, 10, p.stridedChroma.size()));
}

struct Band {
    CopyThreadArgs args;
    long thread = 0;
};

// Cuts a frame into bands of `rows` luma rows (even) with band-relative pointers.
std::vector<Band> bands(Planes& p, uint32_t rows) {
    std::vector<Band> out;
    for (uint32_t r = 0; r < p.height; r += rows) {
        const uint32_t h = std::min(rows, p.height - r);
        out.push_back({{p.width, h, p.stride, p.stridedLuma.data() + size_t{r} * p.stride,
                        p.stridedChroma.data() + size_t{r / 2} * p.stride,
                        p.packedLuma.data() + size_t{r} * p.width,
                        p.packedChroma.data() + size_t{r / 2} * p.width}});
    }
    return out;
}

TEST(PlaneCopy, BandsOnSeparateThreadsGiveTheWholeFrameResult) {
    for (uint32_t stride : {66u, 65u}) {  // 65: each band's last extension is cut at its end
        Planes whole(64, 48, stride, 21);
        auto a = whole.args();
        copyInputData_MT(&a);

        Planes banded(64, 48, stride, 21);
        auto parts = bands(banded, 12);
        for (Band& b : parts) ASSERT_EQ(os_thread_create(&b.thread, copyInputData_MT, &b.args), 0);
        for (Band& b : parts) ASSERT_EQ(os_thread_join(&b.thread, nullptr), 0);
        EXPECT_EQ(banded.stridedLuma, whole.stridedLuma);
        EXPECT_EQ(banded.stridedChroma, whole.stridedChroma);

        std::fill(banded.packedLuma.begin(), banded.packedLuma.end(), 0);
        std::fill(banded.packedChroma.begin(), banded.packedChroma.end(), 0);
        for (Band& b : parts) ASSERT_EQ(os_thread_create(&b.thread, copyOutputData_MT, &b.args), 0);
        for (Band& b : parts) ASSERT_EQ(os_thread_join(&b.thread, nullptr), 0);
        EXPECT_EQ(banded.packedLuma, whole.packedLuma);
        EXPECT_EQ(banded.packedChroma, whole.packedChroma);
    }
}

using PlaneCopyDeathTest = ::testing::Test;

TEST(PlaneCopyDeathTest, OversizedPlanesAndSingleByteRowsStopTheProcess) {
    CopyThreadArgs huge{65536, 65536, 65536, nullptr, nullptr, nullptr, nullptr};
    EXPECT_DEATH(copyInputData_MT(&huge), "");
    EXPECT_DEATH(copyOutputData_MT(&huge), "");

    Planes p(1, 2, 4, 5);
    auto a = p.args();
    EXPECT_DEATH(copyInputData_MT(&a), "");
    copyOutputData_MT(&a);  // the way back has no extension and no such limit
    EXPECT_EQ(p.packedLuma[1], kUntouched);
}

TEST(PlaneConversion, DeinterleaveScalesByFourAndSplitsCbFromCr) {
    Bytes luma{0, 1, 255, 128};
    Bytes chroma{10, 20, 255, 0};
    Lut2DImageData src{luma.data(), chroma.data()};
    std::vector<uint16_t> y(4), cb(2), cr(2);
    ImageData10Bit dst{y.data(), cb.data(), cr.data()};
    SW_2DLut_v10 engine;
    engine.DeinterleaveCbCr(&src, &dst, 4, 2);
    EXPECT_EQ(y, (std::vector<uint16_t>{0, 4, 1020, 512}));
    EXPECT_EQ(cb, (std::vector<uint16_t>{40, 1020}));
    EXPECT_EQ(cr, (std::vector<uint16_t>{80, 0}));
}

TEST(PlaneConversion, InterleaveTruncatesAndIgnoresAZeroPairCount) {
    std::vector<uint16_t> y{1023, 3, 4, 1020}, cb{7, 1023}, cr{8, 0};
    ImageData10Bit src{y.data(), cb.data(), cr.data()};
    Bytes luma(4, kUntouched), chroma(4, kUntouched);
    Lut2DImageData dst{luma.data(), chroma.data()};
    SW_2DLut_v10 engine;
    engine.InterleaveCbCr(&src, &dst, 4, 0);
    EXPECT_EQ(luma, (Bytes{255, 0, 1, 255}));
    EXPECT_EQ(chroma, Bytes(4, kUntouched));
    engine.InterleaveCbCr(&src, &dst, 0, 2);
    EXPECT_EQ(chroma, (Bytes{1, 2, 255, 0}));
}

using PlaneConversionDeathTest = ::testing::Test;

TEST(PlaneConversionDeathTest, IndicesBeyondSigned32BitsStopTheProcess) {
    SW_2DLut_v10 engine;
    Lut2DImageData frame{nullptr, nullptr};
    ImageData10Bit planar{nullptr, nullptr, nullptr};
    EXPECT_DEATH(engine.DeinterleaveCbCr(&frame, &planar, 0x80000001u, 0), "");
    EXPECT_DEATH(engine.InterleaveCbCr(&planar, &frame, 0, 0x40000001u), "");
}

}  // namespace
