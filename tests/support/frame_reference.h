// A plain, unbanded model of a whole frame, for checking the banded engine.
//
// It walks the frame block by block in one pass, computes each colour with the engine's
// exported per-pixel member on a separate engine object (so it shares no cache with the
// handle under test), and enlarges the low-resolution luma offsets with a direct statement
// of the Gaussian 2x expand.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/sw_2dlut_v10.h"
#include "support/records.h"

namespace lut2d_test {

class FrameReference {
  public:
    FrameReference(ISP2DLUTInStruct_V10* record, Lut2DMode mode, const Lut2DImageInfo& info);
    ~FrameReference();
    FrameReference(const FrameReference&) = delete;
    FrameReference& operator=(const FrameReference&) = delete;

    // Adjusts the frame in place as the engine must.
    void apply(Frame& frame);

  private:
    void applyFullResolution(Frame& frame);
    void applyLowResolution(Frame& frame);

    SW_2DLut_v10 engine_;
    Lut2DMode mode_;
};

// Gaussian 2x expand of a width x height plane (rows `stride` apart) into a
// 2 width x 2 height plane, rounded once.
std::vector<uint8_t> gaussianExpand(const uint8_t* src, uint32_t width, uint32_t height,
                                    uint32_t stride);

}  // namespace lut2d_test
