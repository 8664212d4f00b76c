// The frame engine end to end: banding, both band workers, chroma copy-back, luma offset
// upscale-and-add, byte orders, borders, cache persistence and aborts.

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>

#include "engine/sw_2dlut_v10.h"
#include "support/frame_reference.h"
#include "support/log_capture.h"
#include "support/records.h"

namespace {

using lut2d_test::busyRecord;
using lut2d_test::fillRandom;
using lut2d_test::Frame;
using lut2d_test::FrameReference;

// Smooth content with few distinct colours per row, closer to a camera frame.
void fillGradient(Frame& f) {
    for (size_t i = 0; i < f.luma.size(); ++i) f.luma[i] = static_cast<uint8_t>(16 + i * 3 % 220);
    for (size_t i = 0; i < f.chroma.size(); ++i)
        f.chroma[i] = static_cast<uint8_t>(90 + i / 7 % 80);
}

struct Handle {
    void* h = nullptr;
    Handle(ISP2DLUTInStruct_V10* rec, const Lut2DImageInfo& info, Lut2DMode mode) {
        EXPECT_EQ(InitLut2D(&h, rec, info, mode), 0);
    }
    ~Handle() { releaseLut2d(h); }
    SW_2DLut_v10* engine() { return static_cast<SW_2DLut_v10*>(h); }
    int process(Frame& f, unsigned flags = 0) {
        Lut2DImageData d = f.data();
        return processLut2d(h, &d, flags);
    }
};

struct Geometry {
    uint32_t width, height, stride, format;
    Lut2DMode mode;
};

class FrameMatchesReference : public ::testing::TestWithParam<Geometry> {};

// The banded, cached, threaded engine gives exactly what a plain pass over the frame gives,
// at every band border and frame border, including row padding that must stay untouched.
TEST_P(FrameMatchesReference, RandomAndSmoothContent) {
    const Geometry g = GetParam();
    const Lut2DImageInfo info{g.width, g.height, g.stride, g.format};
    ISP2DLUTInStruct_V10 rec = busyRecord(g.width * 31 + g.height);
    Handle handle(&rec, info, g.mode);
    FrameReference reference(&rec, g.mode, info);
    for (int content = 0; content < 2; ++content) {
        Frame actual(g.width, g.height, g.stride, g.format);
        if (content == 0) fillRandom(actual, g.height * 7 + g.format);
        if (content == 1) fillGradient(actual);
        Frame expected = actual;
        reference.apply(expected);
        ASSERT_EQ(handle.process(actual), 0);
        EXPECT_EQ(actual.luma, expected.luma) << "content " << content;
        EXPECT_EQ(actual.chroma, expected.chroma) << "content " << content;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Geometries, FrameMatchesReference,
    ::testing::Values(Geometry{64, 36, 64, 0, LUT2D_MODE_CHRUS},
                      Geometry{70, 22, 80, 1, LUT2D_MODE_CHRUS},  // uneven last band, padding
                      Geometry{2, 2, 2, 0, LUT2D_MODE_CHRUS},     // one block, two empty bands
                      Geometry{16, 4, 16, 0, LUT2D_MODE_CHRUS},   // third band past the frame
                      Geometry{64, 36, 64, 0, LUT2D_MODE_YDS},
                      Geometry{70, 22, 80, 1, LUT2D_MODE_YDS}, Geometry{2, 2, 2, 1, LUT2D_MODE_YDS},
                      Geometry{30, 18, 36, 0, LUT2D_MODE_YDS},
                      // no supported byte order: chroma stays, luma as if chroma were 0
                      Geometry{32, 16, 40, 2, LUT2D_MODE_CHRUS},
                      Geometry{32, 16, 40, 2, LUT2D_MODE_YDS}),
    [](const ::testing::TestParamInfo<Geometry>& p) {
        const Geometry& g = p.param;
        return std::string(g.mode == LUT2D_MODE_CHRUS ? "full_" : "low_") +
               std::to_string(g.width) + "x" + std::to_string(g.height) + "_pitch" +
               std::to_string(g.stride) + "_format" + std::to_string(g.format);
    });

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

TEST(FrameEngine, CachedColoursKeepTheirResultAfterTheRecordChanges) {
    ISP2DLUTInStruct_V10 rec = busyRecord(1);
    Frame first(32, 16, 32, 0);
    fillGradient(first);
    const Frame input = first;
    Handle h(&rec, first.info, LUT2D_MODE_CHRUS);
    ASSERT_EQ(h.process(first), 0);

    ISP2DLUTInStruct_V10 edited = busyRecord(2);
    std::memcpy(rec.lut_2d_h, edited.lut_2d_h, sizeof rec.lut_2d_h);
    std::memcpy(rec.lut_2d_s, edited.lut_2d_s, sizeof rec.lut_2d_s);
    Frame again = input;
    ASSERT_EQ(h.process(again, 1), 0);
    EXPECT_EQ(again.luma, first.luma);  // every colour was cached by the first frame
    EXPECT_EQ(again.chroma, first.chroma);

    Frame fresh = input;  // a new handle sees the edited grid
    Handle h2(&rec, fresh.info, LUT2D_MODE_CHRUS);
    ASSERT_EQ(h2.process(fresh), 0);
    EXPECT_NE(fresh.luma, first.luma);
}

TEST(FrameEngine, AbortBeforeTheStartTouchesNothing) {
    ISP2DLUTInStruct_V10 rec = busyRecord(3);
    Frame f(32, 16, 32, 0);
    fillRandom(f, 2);
    const Frame before = f;
    Handle h(&rec, f.info, LUT2D_MODE_CHRUS);
    lut2d_test::clearLog();
    h.engine()->m_abort = 1;
    Lut2DImageData d = f.data();
    EXPECT_EQ(h.engine()->run2dlut_fx(&d), 6);
    EXPECT_EQ(f.luma, before.luma);
    EXPECT_EQ(f.chroma, before.chroma);
    EXPECT_EQ(lut2d_test::logTexts(),
              std::vector<std::string>{"Aborting Execution at start of run2dlut_fx \n"});
}

// Aborts from another thread while frames run. A frame either completes, is stopped before
// its workers start (untouched), or is stopped after the join with the partial result: in
// full resolution the luma rewritten and the chroma as it was, in low resolution the
// chroma rewritten and the luma as it was.
TEST(FrameEngine, ConcurrentAbortsLeaveConsistentFrames) {
    ISP2DLUTInStruct_V10 rec = busyRecord(7);
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        Frame input(256, 128, 256, 0);
        fillRandom(input, 21);
        Frame full = input;
        {
            Handle ref(&rec, input.info, mode);
            ASSERT_EQ(ref.process(full), 0);
        }
        Handle h(&rec, input.info, mode);
        int late = 0;
        for (int attempt = 0; attempt < 30; ++attempt) {
            Frame f = input;
            std::atomic<bool> go{false};
            std::thread aborter([&] {
                while (!go) std::this_thread::yield();
                std::this_thread::sleep_for(std::chrono::microseconds(50 * (attempt % 8)));
                EXPECT_EQ(AbortLut2d(h.h), 6);
            });
            go = true;
            const int status = h.process(f);
            aborter.join();
            if (status == 0) {
                EXPECT_EQ(f.luma, full.luma);
                EXPECT_EQ(f.chroma, full.chroma);
                continue;
            }
            ASSERT_EQ(status, 6);
            const bool untouched = f.luma == input.luma && f.chroma == input.chroma;
            if (untouched) continue;
            ++late;
            if (mode == LUT2D_MODE_CHRUS) {
                EXPECT_EQ(f.luma, full.luma);
                EXPECT_EQ(f.chroma, input.chroma);
            } else {
                EXPECT_EQ(f.luma, input.luma);
                EXPECT_EQ(f.chroma, full.chroma);
            }
        }
        RecordProperty(mode == LUT2D_MODE_CHRUS ? "late_aborts_full" : "late_aborts_low", late);
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
    EXPECT_DEATH(e.YOffsetAddition_tessel(&byte, &byte, 1, 1u << 15, 1u << 15), "");
    EXPECT_DEATH(e.YOffsetAddition_tessel(&byte, &byte, 1, 0x80000000u, 1), "");
}

}  // namespace
