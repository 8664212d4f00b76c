// Frames whose geometry the band records cannot carry (they hold rows, width and stride in 16
// bits: 65536 or more in the full-resolution mode, 131072 or more in the low-resolution mode,
// where they are halved): every byte that reaches the frame is computed by the library or is
// the frame's own input, whatever the heap held before the frame.

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/fixtures.h"

namespace {

using lut2d_test::Case;
using lut2d_test::describe;
using lut2d_test::Frame;

// Beyond the records in one dimension or more; the last three of each mode have row bands
// that overlap once cut to 16 bits. Two at the limit, which the records carry, for contrast.
const Case kGeometries[] = {
    {LUT2D_MODE_CHRUS, {65534, 2, 65534, 0}},  // carried
    {LUT2D_MODE_CHRUS, {65538, 2, 65538, 0}}, {LUT2D_MODE_CHRUS, {65537, 3, 65537, 0}},
    {LUT2D_MODE_CHRUS, {65536, 4, 65536, 0}}, {LUT2D_MODE_CHRUS, {2, 4, 65540, 0}},
    {LUT2D_MODE_CHRUS, {6, 65538, 8, 0}},     {LUT2D_MODE_CHRUS, {6, 87386, 6, 0}},
    {LUT2D_MODE_CHRUS, {2, 131074, 2, 0}},    {LUT2D_MODE_CHRUS, {4, 174770, 5, 0}},
    {LUT2D_MODE_YDS, {131070, 2, 131070, 0}},  // carried
    {LUT2D_MODE_YDS, {131076, 2, 131076, 0}}, {LUT2D_MODE_YDS, {131075, 5, 131077, 0}},
    {LUT2D_MODE_YDS, {4, 4, 131080, 0}},      {LUT2D_MODE_YDS, {2, 131074, 2, 0}},
    {LUT2D_MODE_YDS, {6, 174768, 6, 0}},      {LUT2D_MODE_YDS, {4, 262148, 4, 0}},
    {LUT2D_MODE_YDS, {2, 349530, 2, 0}},
};

// The blocks a frame of this geometry allocates: its scratch plane, and in the
// low-resolution mode the temporary of the finish.
std::vector<size_t> frameAllocations(const Case& c) {
    const size_t stride = c.info.stride, height = c.info.height, quarter = stride * height / 4;
    if (c.mode == LUT2D_MODE_CHRUS) return {2 * quarter};
    return {quarter, 4 * (stride / 2) * (height / 2)};
}

// Fills blocks of the frame's sizes with the marker and frees them, so that the frame's own
// allocations start out holding the marker: the heap hands a freed block back to the next
// request of its size. Blocks are kept off mmap, which would hand out zeroed pages.
void poisonHeap(const Case& c, uint8_t marker) {
    static const bool heapKept = [] {
        mallopt(M_MMAP_THRESHOLD, 256 << 20);
        mallopt(M_TRIM_THRESHOLD, 512 << 20);
        return true;
    }();
    (void)heapKept;
    for (size_t bytes : frameAllocations(c)) {
        void* block = std::malloc(bytes);
        ASSERT_NE(block, nullptr);
        std::memset(block, marker, bytes);
        asm volatile("" : : "r"(block) : "memory");  // the compiler must keep the stores
        std::free(block);
    }
}

// One frame on a new handle, after the heap was poisoned with the marker.
Frame process(const Case& c, ISP2DLUTInStruct_V10& record, const Frame& input, uint8_t marker) {
    const lut2d_test::Handle handle(&record, c.info, c.mode);
    Frame out = input;
    poisonHeap(c, marker);
    EXPECT_EQ(handle.process(out), 0);
    return out;
}

// For every geometry and both chroma orders: a grey frame under a record that moves nothing
// comes back exactly as it was, so any byte the library did not compute (the marker, a heap
// pointer) would show; and random content under a record that moves every colour does not
// depend on what the heap held (two markers give the same frame) and holds no run of the
// marker.
TEST(BandLimits, NoByteReachesTheFrameThatTheLibraryDidNotCompute) {
    ISP2DLUTInStruct_V10 neutral = lut2d::neutralRecord(), busy = lut2d_test::busyRecord(12);
    uint32_t seed = 1;
    const std::vector<uint8_t> run(16, 0xA5);
    for (Case c : kGeometries) {
        for (c.info.format = 0; c.info.format <= 1; ++c.info.format) {
            SCOPED_TRACE(describe(c));
            Frame grey(c.info);
            std::fill(grey.luma.begin(), grey.luma.end(), 100);
            EXPECT_EQ(lut2d_test::frameDifference(process(c, neutral, grey, 0xA5), grey), "");
            Frame input(c.info);
            lut2d_test::fillRandom(input, seed++);
            const Frame a = process(c, busy, input, 0xA5);
            EXPECT_EQ(lut2d_test::frameDifference(a, process(c, busy, input, 0x3C)), "");
            for (const auto* plane : {&a.luma, &a.chroma}) {
                EXPECT_EQ(std::search(plane->begin(), plane->end(), run.begin(), run.end()),
                          plane->end());
            }
            if (HasFailure()) return;
        }
    }
}

}  // namespace
