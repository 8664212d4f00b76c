// Tuning records and frames for tests.
#pragma once

#include <cstdint>
#include <vector>

#include "interface/orvix_lut2d.h"
#include "interface/record_shape.h"

namespace lut2d_test {

using lut2d::neutralRecord;

// The same record with every hue and saturation offset set to the given values.
ISP2DLUTInStruct_V10 uniformRecord(int16_t hueOffset, int16_t satOffset);

// The neutral record with random offsets (-300..300) everywhere and shifts 2 and 1: every
// hue and saturation moves, by varying amounts.
ISP2DLUTInStruct_V10 busyRecord(uint32_t seed);

// An 8-bit semi-planar frame with its own storage.
struct Frame {
    Lut2DImageInfo info{};
    std::vector<uint8_t> luma;
    std::vector<uint8_t> chroma;

    Frame(uint32_t width, uint32_t height, uint32_t stride, uint32_t format = 0);
    Lut2DImageData data() { return {luma.data(), chroma.data()}; }
};

// Every byte of both planes, row padding included, random.
void fillRandom(Frame& frame, uint32_t seed);

}  // namespace lut2d_test
