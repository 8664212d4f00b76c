#include "records.h"

#include <random>

namespace lut2d_test {

ISP2DLUTInStruct_V10 uniformRecord(int16_t hueOffset, int16_t satOffset) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    for (auto& v : r.lut_2d_h) v = hueOffset;
    for (auto& v : r.lut_2d_s) v = satOffset;
    return r;
}

ISP2DLUTInStruct_V10 busyRecord(uint32_t seed) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> offset(-300, 300);
    for (auto& v : r.lut_2d_h) v = static_cast<int16_t>(offset(rng));
    for (auto& v : r.lut_2d_s) v = static_cast<int16_t>(offset(rng));
    r.h_shift = 2;
    r.s_shift = 1;
    return r;
}

Frame::Frame(uint32_t width, uint32_t height, uint32_t stride, uint32_t format)
    : info{width, height, stride, format},
      luma(static_cast<size_t>(stride) * height, 0),
      chroma(static_cast<size_t>(stride) * (height / 2), 128) {}

void fillRandom(Frame& frame, uint32_t seed) {
    std::mt19937 rng(seed);
    for (auto& b : frame.luma) b = static_cast<uint8_t>(rng());
    for (auto& b : frame.chroma) b = static_cast<uint8_t>(rng());
}

}  // namespace lut2d_test
