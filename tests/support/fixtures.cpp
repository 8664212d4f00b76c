#include "fixtures.h"

#include <gtest/gtest.h>

namespace lut2d_test {

namespace {

HM_RGB* sliceOf(const SW_2DLut_v10& e, int band) {
    return reinterpret_cast<HM_RGB*>(e.m_workArea + size_t{lut2d::kCacheSliceBytes} * band);
}

}  // namespace

ISP2DLUTInStruct_V10 uniformRecord(int16_t hueOffset, int16_t satOffset) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    for (auto& v : r.lut_2d_h) v = hueOffset;
    for (auto& v : r.lut_2d_s) v = satOffset;
    return r;
}

ISP2DLUTInStruct_V10 busyRecord(uint32_t seed) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    std::mt19937 rng(seed);
    for (auto& v : r.lut_2d_h) v = static_cast<int16_t>(pick(rng, -300, 300));
    for (auto& v : r.lut_2d_s) v = static_cast<int16_t>(pick(rng, -300, 300));
    r.h_shift = 2;
    r.s_shift = 1;
    return r;
}

Frame::Frame(uint32_t width, uint32_t height, uint32_t stride, uint32_t format)
    : info{width, height, stride, format},
      luma(static_cast<size_t>(stride) * height, 0),
      chroma(std::max<size_t>(static_cast<size_t>(stride) * (height / 2), 1), 128) {}

void fillRandom(Frame& frame, uint32_t seed) {
    std::mt19937 rng(seed);
    for (auto& b : frame.luma) b = static_cast<uint8_t>(rng());
    for (auto& b : frame.chroma) b = static_cast<uint8_t>(rng());
}

SetUpEngine::SetUpEngine(ISP2DLUTInStruct_V10* record, Lut2DMode mode, Lut2DImageInfo info) {
    EXPECT_EQ(e.InitLut2D(record, mode, info), LUT2D_OK);
}

HM_RGB* SetUpEngine::slice(int band) {
    return sliceOf(e, band);
}

Handle::Handle(ISP2DLUTInStruct_V10* record, const Lut2DImageInfo& info, Lut2DMode mode) {
    EXPECT_EQ(InitLut2D(&handle_, record, info, mode), LUT2D_OK);
}

HM_RGB* Handle::slice(int band) const {
    return sliceOf(engine(), band);
}

int Handle::process(Frame& frame, unsigned flags) const {
    Lut2DImageData d = frame.data();
    return processLut2d(handle_, &d, flags);
}

}  // namespace lut2d_test
