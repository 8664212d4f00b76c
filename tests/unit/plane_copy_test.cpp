// Packed/strided plane copies (the exported thread bodies) and the 8-bit / 10-bit planar
// conversions.

#include <thread>

#include "engine/plane_copy.h"
#include "engine/sw_2dlut_v10.h"
#include "support/dsp_support.h"

namespace {

using lut2d_test::Bytes;
using U16 = std::vector<uint16_t>;
constexpr uint8_t kUntouched = 0xEE;

// A packed frame and a strided frame of the same geometry; the strided planes are exactly
// height * stride and (height * stride) / 2 bytes, so any write past them is caught. With
// equal pitches the packed chroma plane is as large, half a row more for odd heights.
struct Planes {
    uint32_t width, height, stride;
    Bytes packedLuma, packedChroma, stridedLuma, stridedChroma;

    Planes(uint32_t w, uint32_t h, uint32_t s, uint32_t seed) : width(w), height(h), stride(s) {
        packedLuma = lut2d_test::randomBytes(size_t{w} * h, seed);
        packedChroma = lut2d_test::randomBytes(w == s ? size_t{w} * h / 2 : w * (h / 2), seed + 1);
        stridedLuma.assign(size_t{s} * h, kUntouched);
        stridedChroma.assign(size_t{s} * h / 2, kUntouched);
    }
    // The packing rule on an oversized plane, cut to the plane's own size; equal pitches copy
    // the whole plane.
    Bytes expected(const Bytes& packed, size_t planeBytes) const {
        if (stride == width) return Bytes(packed.begin(), packed.begin() + planeBytes);
        Bytes out(planeBytes + width + 2, kUntouched);
        lut2d_test::packRows(out, 0, packed, width, stride);
        out.resize(planeBytes);
        return out;
    }
    // Runs `body` on bands of four rows, each on its own thread with band-relative pointers.
    void inBands(void* (*body)(void*)) {
        std::vector<CopyThreadArgs> bands;
        for (uint32_t r = 0, c = 0; r < height; r += 4, c += 2) {
            // clang-format off
            bands.push_back({width, std::min(4u, height - r), stride,
                             stridedLuma.data() + r * stride, stridedChroma.data() + c * stride,
                             packedLuma.data() + r * width, packedChroma.data() + c * width});
            // clang-format on
        }
        std::vector<std::thread> threads;
        for (CopyThreadArgs& band : bands) threads.emplace_back(body, &band);
        for (std::thread& t : threads) t.join();
    }
};

// A row is followed by its last two bytes; height 1 has no chroma row.
TEST(PlaneCopy, PackedRowIsExtendedByItsLastTwoBytes) {
    Planes p(6, 1, 8, 0);
    p.packedLuma = {'a', 'b', 'c', 'd', 'e', 'f'};
    p.inBands(copyInputData_MT);
    EXPECT_EQ(p.stridedLuma, (Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'e', 'f'}));
    EXPECT_EQ(p.stridedChroma, Bytes(4, kUntouched));
}

// Bands of four rows, the last one shorter or not, with equal pitches, pitches one apart (a
// row's second repeated byte falls on the next row's first, which that row overwrites, and on
// a band's last row past the band, where it is cut) and wider ones.
template <class Check>
void forEachGeometry(Check check) {
    for (uint32_t height : {2u, 3u, 7u, 8u}) {
        for (uint32_t width : {2u, 5u, 33u}) {
            for (uint32_t stride : {width, width + 1, width + 2, width + 40}) {
                SCOPED_TRACE(::testing::Message() << width << "/" << stride << "x" << height);
                Planes p(width, height, stride, width * 100 + height);
                p.inBands(copyInputData_MT);
                check(p);
            }
        }
    }
}

TEST(PlaneCopy, BandsOnThreadsPackAsTheWholeFrame) {
    forEachGeometry([](const Planes& p) {
        EXPECT_EQ(p.stridedLuma, p.expected(p.packedLuma, p.stridedLuma.size()));
        EXPECT_EQ(p.stridedChroma, p.expected(p.packedChroma, p.stridedChroma.size()));
    });
}

TEST(PlaneCopy, BandsOnThreadsUnpackThePackedFrame) {
    forEachGeometry([](Planes& p) {
        const Planes before = p;
        for (Bytes* b : {&p.packedLuma, &p.packedChroma}) std::fill(b->begin(), b->end(), 0);
        p.inBands(copyOutputData_MT);
        EXPECT_EQ(p.packedLuma, before.packedLuma);
        EXPECT_EQ(p.packedChroma, before.packedChroma);
    });
}

struct PlaneConversion : ::testing::Test {
    Bytes luma{0, 1, 255, 128}, chroma{10, 20, 255, 0};
    U16 y = U16(4), cb = U16(2), cr = U16(2);
    Lut2DImageData frame{luma.data(), chroma.data()};
    ImageData10Bit planar{y.data(), cb.data(), cr.data()};
    SW_2DLut_v10 engine;
};

// Deinterleaving scales by four; interleaving truncates, luma and chroma each by their own
// count.
TEST_F(PlaneConversion, ScalesByFourAndTruncatesBack) {
    engine.DeinterleaveCbCr(&frame, &planar, 4, 2);
    EXPECT_EQ((std::vector{y, cb, cr}), (std::vector<U16>{{0, 4, 1020, 512}, {40, 1020}, {80, 0}}));
    y = {1023, 3, 4, 1020}, cb = {7, 1023}, cr = {8, 0};
    engine.InterleaveCbCr(&planar, &frame, 4, 0);
    EXPECT_EQ((std::vector{luma, chroma}),
              (std::vector<Bytes>{{255, 0, 1, 255}, {10, 20, 255, 0}}));
    engine.InterleaveCbCr(&planar, &frame, 0, 2);
    EXPECT_EQ(chroma, (Bytes{1, 2, 255, 0}));
}

}  // namespace
