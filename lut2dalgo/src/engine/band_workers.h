// Thread bodies of the two processing modes, one band of rows each.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "band_rows.h"
#include "sw_2dlut_v10.h"

namespace lut2d {

// Where the band workers wait until the frame driver has started all of them: a worker that
// ran at once would take a core from the driver while it still starts the others.
class StartGate {
  public:
    void wait();
    void open();

  private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

// Where the low-resolution workers meet the frame driver once their bands are done. The
// driver waits for every band (the point at which the frame used to be joined), decides
// whether the frame is finished, and the workers then add the upscaled luma offsets to their
// share of the luma rows.
class FinishGate {
  public:
    enum class Decision : uint8_t { kPending, kFinish, kStop };

    // bands: how many workers will come (one per started thread).
    explicit FinishGate(int bands) : bandsLeft_(bands) {}

    // A worker's band is done; returns the driver's decision once it is made. Only the last
    // band wakes the driver.
    Decision bandDone();
    // The driver: one band fewer will come (its thread did not start).
    void bandWithoutWorker();
    // The driver: waits until every band is done, then decides.
    void awaitBands();
    void decide(Decision d);

  private:
    std::mutex mutex_;
    std::condition_variable allDone_;  // the driver waits here
    std::condition_variable decided_;  // the workers wait here
    int bandsLeft_;
    Decision decision_ = Decision::kPending;
};

// One worker's share of the low-resolution finish: the upscaled offsets added to luma rows
// [rowBegin, rowEnd) (full-size rows).
struct FinishShare {
    FinishGate* gate;  // null: the band's worker does not take part
    const uint8_t* offsets;
    uint8_t* luma;
    uint32_t width, stride, height;  // of the offset plane
    uint32_t rowBegin, rowEnd;
};

// What a band worker receives: the band's work and, in the low-resolution mode, its share
// of the finish.
struct BandJob {
    BandWork work;
    StartGate* start;    // null: the band starts at once
    FinishShare finish;  // low-resolution mode only
};

// Adds the share's rows of the upscaled offset plane to the luma plane.
void addUpscaledOffsetRows(const FinishShare& share);

}  // namespace lut2d

// Low-resolution mode: one adjusted colour per 2x2 block, chroma rewritten in place, luma
// change written to the quarter-size offset plane. The argument is a lut2d::BandJob.
void* run2dlut_fx_yDs(void* arg);

// Full-resolution mode: every pixel adjusted with upsampled chroma, luma rewritten in place,
// the new chroma written to the driver's result buffer. The argument is a lut2d::BandJob.
void* run2dlut_fx_ChrUs(void* arg);
