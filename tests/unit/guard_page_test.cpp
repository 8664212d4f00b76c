// Planes placed against inaccessible pages, so that a read or write just past either end of a
// plane faults at once: a grid of widths, heights, strides and formats in both modes, odd ones
// included, each frame once with both planes ending at a guard page and once with both
// starting right after one. Outside the adjusted blocks every byte keeps its value.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <vector>

#include "support/fixtures.h"

namespace {

// Under the thread and memory sanitizers a fifth of the grid, spread over it.
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
constexpr uint32_t kGridStep = 5;
#else
constexpr uint32_t kGridStep = 1;
#endif

using lut2d_test::Case;
using lut2d_test::describe;
using lut2d_test::randomBytes;

// A plane of `bytes` bytes in a mapping of its own, with an inaccessible page on each side and
// the plane against one of them. A plane of no bytes points at a guard page; `data` stays null
// when the mapping fails.
struct GuardedPlane {
    uint8_t* base = nullptr;
    uint8_t* data = nullptr;
    size_t size = 0;

    GuardedPlane(size_t bytes, bool againstEnd) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t dataPages = (bytes + page - 1) / page;
        size = (dataPages + 2) * page;
        void* m = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) return;
        base = static_cast<uint8_t*>(m);
        if (dataPages == 0 || mprotect(base + page, dataPages * page, PROT_READ | PROT_WRITE) == 0)
            data = againstEnd ? base + page + dataPages * page - bytes : base + page;
    }
    ~GuardedPlane() {
        if (base != nullptr) munmap(base, size);
    }
};

// Which bytes may change: luma inside the whole 2x2 blocks, chroma pairs of those blocks (none
// with a format other than 0 or 1). In the low-resolution mode with an odd stride the planes
// are read and written as if rows were one byte shorter, so nothing is said there.
void expectOnlyBlocksChanged(const Case& c, const std::vector<uint8_t>& luma,
                             const std::vector<uint8_t>& chroma, const uint8_t* lumaOut,
                             const uint8_t* chromaOut) {
    const Lut2DImageInfo& g = c.info;
    if (c.mode == LUT2D_MODE_YDS && g.stride % 2 == 1) return;
    const uint32_t width = g.width & ~1u, height = g.height & ~1u;
    for (size_t i = 0; i < luma.size(); ++i) {
        if (i % g.stride < width && i / g.stride < height) continue;
        ASSERT_EQ(lumaOut[i], luma[i]) << "luma byte " << i;
    }
    for (size_t i = 0; i < chroma.size(); ++i) {
        if (g.format <= 1 && i % g.stride < width) continue;
        ASSERT_EQ(chromaOut[i], chroma[i]) << "chroma byte " << i;
    }
}

void runAgainstGuardPages(const Case& c, ISP2DLUTInStruct_V10& record, std::mt19937& rng) {
    SCOPED_TRACE(describe(c));
    const lut2d_test::Handle handle(&record, c.info, c.mode);
    const size_t lumaBytes = size_t{c.info.stride} * c.info.height;
    const size_t chromaBytes = size_t{c.info.stride} * (c.info.height / 2);
    for (bool againstEnd : {true, false}) {
        const auto luma = randomBytes(lumaBytes, rng()), chroma = randomBytes(chromaBytes, rng());
        GuardedPlane lumaPlane(lumaBytes, againstEnd), chromaPlane(chromaBytes, againstEnd);
        ASSERT_TRUE(lumaPlane.data != nullptr && chromaPlane.data != nullptr);
        std::memcpy(lumaPlane.data, luma.data(), lumaBytes);
        if (chromaBytes > 0) std::memcpy(chromaPlane.data, chroma.data(), chromaBytes);
        Lut2DImageData frame{lumaPlane.data, chromaPlane.data};
        EXPECT_EQ(processLut2d(handle.get(), &frame, 1), 0);
        expectOnlyBlocksChanged(c, luma, chroma, lumaPlane.data, chromaPlane.data);
        if (::testing::Test::HasFailure()) break;
    }
}

TEST(GuardPages, NoPlaneIsReadOrWrittenPastEitherEnd) {
    ISP2DLUTInStruct_V10 record = lut2d_test::busyRecord(31);
    std::mt19937 rng(8);
    const uint32_t widths[] = {1, 2, 3, 4, 5, 7, 8, 16, 17, 33, 66};
    const uint32_t heights[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 17};
    const uint32_t padding[] = {0, 1, 2, 5};
    // Case i: padding i % 4, height i / 4 % 11, width i / 44 % 11, format i / 484 % 3, the
    // low-resolution mode in the first half.
    for (uint32_t i = 0; i < 2 * 3 * 484 && !HasFailure(); i += kGridStep) {
        const uint32_t w = widths[i / 44 % 11], h = heights[i / 4 % 11];
        const Lut2DMode mode = i < 3 * 484 ? LUT2D_MODE_YDS : LUT2D_MODE_CHRUS;
        runAgainstGuardPages({mode, {w, h, w + padding[i % 4], i / 484 % 3}}, record, rng);
    }
}

}  // namespace
