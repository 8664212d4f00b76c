// The handle's frame engine against the plain reference engine: the same status, the same
// bytes on both planes (row padding included) and the same cache contents after every frame,
// over random geometries and contents, record edits between frames, the host's own use of
// the cache slices, and aborts before and after the band work.

#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <thread>

#include "support/fixtures.h"
#include "support/reference_engine.h"

namespace {

using lut2d_test::Case;
using lut2d_test::firstDifference;
using lut2d_test::Frame;
using lut2d_test::frameDifference;
using lut2d_test::Handle;
using lut2d_test::pick;
using lut2d_test::ReferenceEngine;

// ---- contents -------------------------------------------------------------------------------

// Random bytes or rectangles of a few colours (long runs of equal colours); kRepeat keeps the
// frame.
enum class Content { kRandom, kPatches, kRepeat };
const char* const kContentNames[] = {"random", "patches", "repeat"};

void fillContent(Frame& f, Content content, std::mt19937& rng) {
    if (content == Content::kRandom) lut2d_test::fillRandom(f, static_cast<uint32_t>(rng()));
    if (content == Content::kPatches) lut2d_test::fillPatches(f, rng);
}

// ---- record edits ---------------------------------------------------------------------------

enum class Edit { kNone, kGrid, kShifts, kReciprocals, kNodes, kLightness, kDisable };
const char* const kEditNames[] = {"none",  "grid",      "shifts", "reciprocals",
                                  "nodes", "lightness", "disable"};

// Every edit keeps the record valid; the lightness boundaries are taken at set-up only, so
// editing them must change nothing. The last node of each axis stays where it is.
void applyEdit(ISP2DLUTInStruct_V10& r, Edit edit, std::mt19937& rng) {
    r.enable = edit == Edit::kDisable ? 0 : 1;
    auto at = [&](int n) { return static_cast<size_t>(pick(rng, 0, n - 1)); };
    auto moveNode = [&](uint16_t* nodes, size_t i) {  // between its neighbours, 2 apart
        const int lo = i == 0 ? 0 : nodes[i - 1] + 2, hi = nodes[i + 1] - 2;
        if (lo <= hi) nodes[i] = static_cast<uint16_t>(pick(rng, lo, hi));
    };
    for (int n = 0; n < (edit == Edit::kGrid ? 40 : 4); ++n) {
        if (edit == Edit::kGrid) {
            r.lut_2d_h[at(400)] = static_cast<int16_t>(pick(rng, -511, 511));
            r.lut_2d_s[at(400)] = static_cast<int16_t>(pick(rng, -511, 511));
        } else if (edit == Edit::kShifts) {
            r.h_shift = static_cast<uint16_t>(pick(rng, 0, 5));
            r.s_shift = static_cast<uint16_t>(pick(rng, 0, 3));
        } else if (edit == Edit::kReciprocals) {
            r.lut_1d_h_inv[at(24)] = static_cast<uint16_t>(pick(rng, 0, 16383));
            r.lut_1d_s_inv[at(15)] = static_cast<uint16_t>(pick(rng, 0, 2047));
        } else if (edit == Edit::kNodes) {
            moveNode(r.lut_1d_h, 1 + at(23));
            moveNode(r.lut_1d_s, at(15));
        } else if (edit == Edit::kLightness) {
            for (uint16_t* b :
                 {&r.l_boundary_start_A, &r.l_boundary_start_B, &r.l_boundary_end_A,
                  &r.l_boundary_end_B, &r.l_boundary_start_inv, &r.l_boundary_end_inv}) {
                *b = static_cast<uint16_t>(pick(rng, 0, 2047));
            }
        }
    }
}

// ---- the host's own use of the slices -------------------------------------------------------

// Calls process on every slice of both engines, with colours some pixels of the next frame
// will look up (so that the frame meets entries it did not write; in the low-resolution mode
// the colour whose 10-bit key equals the block's 8-bit key) and with arbitrary colours, which
// push entries out.
void useSlicesAsAHost(const Handle& h, ReferenceEngine& ref, const Frame& next, Lut2DMode mode,
                      std::mt19937& rng) {
    const Lut2DImageInfo& g = next.info;
    for (int n = 0; n < 12; ++n) {
        int32_t y = pick(rng, -8, 1031), u = pick(rng, -8, 1031), v = pick(rng, -8, 1031);
        if (n % 3 != 0 && g.width >= 2 && g.height >= 2) {  // a pixel of a whole 2x2 block
            const auto col = static_cast<uint32_t>(pick(rng, 0, int(g.width & ~1u) - 1));
            const auto row = static_cast<uint32_t>(pick(rng, 0, int(g.height & ~1u) - 1));
            const uint32_t luma = next.luma[size_t{g.stride} * row + col];
            const uint8_t* pair = &next.chroma[size_t{g.stride} * (row / 2) + (col & ~1u)];
            const int uByte = (mode == LUT2D_MODE_CHRUS ? g.format == 1 : g.format != 0) ? 1 : 0;
            if (mode == LUT2D_MODE_CHRUS) {
                y = static_cast<int32_t>(luma * 4);
                u = g.format <= 1 ? 4 * pair[uByte] : 0;
                v = g.format <= 1 ? 4 * pair[1 - uByte] : 0;
            } else {
                const uint32_t key = luma << 16 | uint32_t{pair[uByte]} << 8 | pair[1 - uByte];
                y = static_cast<int32_t>(key >> 20);
                u = static_cast<int32_t>(key >> 10 & 1023u);
                v = static_cast<int32_t>(key & 1023u);
            }
        }
        for (int band = 0; band < 4; ++band) {
            short a[3], b[3];
            h.engine().process(short(y), short(u), short(v), &a[0], &a[1], &a[2], h.slice(band));
            ref.engine().process(short(y), short(u), short(v), &b[0], &b[1], &b[2],
                                 ref.slice(band));
            EXPECT_TRUE(std::equal(a, a + 3, b))
                << "process(" << y << ", " << u << ", " << v << ") on slice " << band;
        }
    }
}

// ---- comparisons ----------------------------------------------------------------------------

// Entry n of the work area is entry n % 50000 of slice n / 50000.
void expectSameCaches(const Handle& h, ReferenceEngine& ref) {
    EXPECT_EQ(firstDifference("cache entry", h.engine().m_workArea, ref.engine().m_workArea,
                              lut2d::kWorkAreaBytes, sizeof(HM_RGB)),
              "");
}

// ---- frame sequences ------------------------------------------------------------------------

Case randomCase(std::mt19937& rng, int minWidth, int maxWidth, int maxHeight) {
    const auto mode = pick(rng, 0, 1) == 0 ? LUT2D_MODE_YDS : LUT2D_MODE_CHRUS;
    const auto width = static_cast<uint32_t>(pick(rng, minWidth, maxWidth));
    const auto height = static_cast<uint32_t>(pick(rng, 1, maxHeight));
    const auto stride = width + static_cast<uint32_t>(pick(rng, 0, 9));
    const int f = pick(rng, 0, 9);  // mostly the two byte orders
    return {mode, {width, height, stride, f < 4 ? 0u : (f < 8 ? 1u : 2u)}};
}

// Four frames on one handle and one reference engine: before each, the host uses the slices,
// edits the record and sets flags bit 0 or not; after each, status, planes and caches agree.
void expectSameFrameSequence(const Case& c, uint32_t seed) {
    SCOPED_TRACE(lut2d_test::describe(c) + ", seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    ISP2DLUTInStruct_V10 rec = lut2d_test::busyRecord(seed);
    Handle h(&rec, c.info, c.mode);
    ReferenceEngine ref(&rec, c.mode, c.info);
    Frame input(c.info);
    for (int n = 0; n < 4 && !::testing::Test::HasFailure(); ++n) {
        const auto content = static_cast<Content>(pick(rng, 0, n == 0 ? 1 : 2));
        fillContent(input, content, rng);
        useSlicesAsAHost(h, ref, input, c.mode, rng);
        const auto edit = n == 0 ? Edit::kNone : static_cast<Edit>(pick(rng, 0, 6));
        applyEdit(rec, edit, rng);
        const auto flags = static_cast<unsigned>(pick(rng, 0, 3));
        SCOPED_TRACE("frame " + std::to_string(n) + ": " +
                     kContentNames[static_cast<int>(content)] + ", edit " +
                     kEditNames[static_cast<int>(edit)] + ", flags " + std::to_string(flags));
        Frame actual = input, expected = input;
        EXPECT_EQ(h.process(actual, flags), ref.run(expected, flags));
        EXPECT_EQ(frameDifference(actual, expected), "");
        expectSameCaches(h, ref);
    }
}

// Small frames of every shape, then rows wider than any internal chunk of the engine, odd and
// even, in both modes.
TEST(EngineEquivalence, FramesOfEveryShape) {
    std::mt19937 rng(20240611);
    for (int i = 0; i < 160 / lut2d_test::kSlowdown && !HasFailure(); ++i) {
        expectSameFrameSequence(randomCase(rng, 1, 80, 40), static_cast<uint32_t>(rng()));
    }
    for (uint32_t width : {258u, 1030u, 1031u, 2100u}) {
        for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
            Case c = randomCase(rng, static_cast<int>(width), static_cast<int>(width), 12);
            c.mode = mode;
            expectSameFrameSequence(c, static_cast<uint32_t>(rng()));
        }
    }
}

// ---- schedule ----------------------------------------------------------------------------

// As many threads work at once as the process has processors, each taking the next band when
// it has finished one, longest band of the last frame first: with one processor one thread
// takes all four bands. The bytes and caches are the reference's either way.
TEST(EngineSchedule, OneProcessorGivesTheSameBytes) {
    cpu_set_t all, one;
    ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
    const int cpu = sched_getcpu();  // one this process may run on
    ASSERT_NE(cpu, -1);
    CPU_ZERO(&one);
    CPU_SET(cpu, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    std::mt19937 rng(5);
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        Case c = randomCase(rng, 300, 700, 60);
        c.mode = mode;
        expectSameFrameSequence(c, static_cast<uint32_t>(rng()));
    }
    ASSERT_EQ(sched_setaffinity(0, sizeof all, &all), 0);
}

// After a frame the handle holds the bands longest first: here the third band, the only one
// of many colours, then the others in band order (flat bands take about the same time).
TEST(EngineSchedule, TheBandOfMostColoursGoesFirstInTheNextFrame) {
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        const Lut2DImageInfo info{1024, 512, 1024, 0};
        ISP2DLUTInStruct_V10 rec = lut2d_test::busyRecord(3);
        Handle h(&rec, info, mode);
        EXPECT_EQ(h.engine().m_bandOrder, 0b11'10'01'00);  // band order before any frame
        Frame f(info);                                     // flat: luma 0, chroma 128
        const size_t from = info.stride * info.height / 2, bytes = info.stride * info.height / 4;
        const std::vector<uint8_t> noise = lut2d_test::randomBytes(bytes, 9);
        std::copy(noise.begin(), noise.end(), f.luma.begin() + from);
        std::copy(noise.begin(), noise.begin() + bytes / 2, f.chroma.begin() + from / 2);
        ASSERT_EQ(h.process(f), 0);
        EXPECT_EQ(h.engine().m_bandOrder & 3, 2) << int{h.engine().m_bandOrder};
    }
}

// A host may write the slices' raw bytes: stored results that look like a chunk's own claims
// (top bit set, a small miss number) stay stored results, even when their keys miss later in
// the same chunk. Here the key 0 hits a stored "claim 1", the key 49999 (pair 195, 79) takes
// its slot as miss 0, and the key 0 comes back as miss 1.
TEST(EngineEquivalence, StoredResultLookingLikeALaterClaimStaysStored) {
    ISP2DLUTInStruct_V10 record = lut2d_test::busyRecord(5);
    const Lut2DImageInfo info{6, 2, 6, 0};
    Handle handle(&record, info, LUT2D_MODE_YDS);
    ReferenceEngine reference(&record, LUT2D_MODE_YDS, info);
    // Two rows: the last band has the only pair row.
    handle.slice(3)[0] = reference.slice(3)[0] = HM_RGB{0x80000001u, 0};
    Frame actual(info);
    actual.chroma = {0, 0, 195, 79, 0, 0};
    Frame expected = actual;
    ASSERT_EQ(handle.process(actual), reference.run(expected, 0));
    EXPECT_EQ(frameDifference(actual, expected), "");
    expectSameCaches(handle, reference);
}

// ---- aborts ---------------------------------------------------------------------------------

// Aborts from another thread while frames run, the record edited between frames. A frame
// either completes, is stopped before its bands start (frame and caches untouched), or is
// stopped after the join with the reference's partial result; the caches follow.
TEST(EngineEquivalence, ConcurrentAbortsGiveACompleteUntouchedOrPartialFrame) {
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        SCOPED_TRACE(mode == LUT2D_MODE_CHRUS ? "full" : "low");
        std::mt19937 rng(21);
        const Lut2DImageInfo info{256, 128, 256, 0};
        ISP2DLUTInStruct_V10 rec = lut2d_test::busyRecord(7);
        Handle h(&rec, info, mode);
        ReferenceEngine ref(&rec, mode, info);
        uint8_t* refCaches = ref.engine().m_workArea;
        for (int attempt = 0; attempt < 32 / lut2d_test::kSlowdown && !HasFailure(); ++attempt) {
            SCOPED_TRACE("attempt " + std::to_string(attempt));
            Frame input(info);
            fillContent(input, attempt % 2 == 0 ? Content::kRandom : Content::kPatches, rng);
            applyEdit(rec, Edit::kGrid, rng);
            const auto flags = static_cast<unsigned>(attempt % 2);
            const std::vector<uint8_t> before(refCaches, refCaches + lut2d::kWorkAreaBytes);
            Frame complete = input, partial = input;
            ASSERT_EQ(ref.run(complete, flags), 0);
            std::memcpy(refCaches, before.data(), before.size());
            ASSERT_EQ(ref.run(partial, flags, true), 6);  // the same caches as complete

            Frame f = input;
            std::atomic<bool> go{false};
            std::thread aborter([&] {
                while (!go) std::this_thread::yield();
                std::this_thread::sleep_for(std::chrono::microseconds(50 * (attempt % 8)));
                EXPECT_EQ(AbortLut2d(h.get()), 6);
            });
            go = true;
            const int status = h.process(f, flags);
            aborter.join();
            EXPECT_TRUE(status == 0 || status == 6) << status;
            const bool early = status != 0 && f.luma == input.luma && f.chroma == input.chroma;
            if (early) std::memcpy(refCaches, before.data(), before.size());
            EXPECT_EQ(frameDifference(f, status == 0 ? complete : (early ? input : partial)), "");
            expectSameCaches(h, ref);
        }
    }
}

}  // namespace
