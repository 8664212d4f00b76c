// The frame engine restated plainly, to check the handle's engine against.
//
// It does what processLut2d does with a valid frame, through the engine's exported members
// only: the same four row bands with the same band arithmetic, the same four result-cache
// slices (band i uses slice i), the same block order, border, odd-size and byte-order rules,
// and the same finish. But it runs one pass, one colour at a time, on the calling thread:
// every difference from the handle is a fault of the handle's engine.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/sw_2dlut_v10.h"
#include "support/fixtures.h"

namespace lut2d_test {

class ReferenceEngine {
  public:
    // Sets up an engine object as InitLut2D does, with the handle's record, mode and geometry.
    ReferenceEngine(ISP2DLUTInStruct_V10* record, Lut2DMode mode, const Lut2DImageInfo& info);
    ~ReferenceEngine();
    ReferenceEngine(const ReferenceEngine&) = delete;
    ReferenceEngine& operator=(const ReferenceEngine&) = delete;

    // One frame, as processLut2d after its checks: flags bit 0 rebuilds the index tables, a
    // disabled record leaves the frame alone, otherwise the four bands run one after another
    // and the frame is finished. With abortAfterWorkers the frame stops where a stop
    // requested during the band work stops it: status 6, full resolution with the luma
    // adjusted and the chroma not, low resolution with the chroma adjusted and the luma not.
    int run(Frame& frame, unsigned flags, bool abortAfterWorkers = false);

    // Band i's result cache, 50,000 entries; with engine().process a test can use it between
    // frames exactly as a host would use the handle's.
    HM_RGB* slice(int band);
    SW_2DLut_v10& engine() { return engine_; }

  private:
    void fullResolutionBand(Frame& frame, uint8_t* chromaResult, uint32_t startRow, uint32_t endRow,
                            HM_RGB* cache);
    void lowResolutionBand(Frame& frame, uint8_t* offsets, uint32_t startRow, uint32_t endRow,
                           HM_RGB* cache);
    uint32_t lowResolutionResult(uint32_t key);

    SW_2DLut_v10 engine_;
    // A private cache the low-resolution colours are computed through; every call misses it.
    std::vector<HM_RGB> missCache_;
};

}  // namespace lut2d_test
