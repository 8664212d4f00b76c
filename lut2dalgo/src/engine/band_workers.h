// Thread bodies of the two processing modes, and how they share out a frame's four bands.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "band_rows.h"
#include "sw_2dlut_v10.h"

namespace lut2d {

// How a frame's four bands are shared out among its four threads. A band is one job: its
// rows in order against its own cache slice, whichever thread runs it, so the bytes of a
// frame do not depend on this schedule. Only as many threads work at once as there are
// processors to run them; each takes the next band when it has finished one, longest band
// first (by the handle's last frame: a video's frames are alike). The others start once a
// processor is free, with nothing left to take. Two threads on two processors so
// keep both busy to the end, where four threads would leave the placement of each band to
// the system, which often puts two on one processor and lets the other idle.
class BandQueue {
  public:
    // order: the bands, first taken first (a BandOrder); active: threads working at once.
    BandQueue(uint8_t order, int active);

    // Whether the thread takes bands from the start. The driver starts the others only once
    // a thread has found nothing left to take (see wait): a processor is free then, and they
    // have nothing to take.
    bool works(int thread) const { return thread < active_; }
    // Waits until a thread has found nothing left to take.
    void wait();
    // The next band to run, or -1 when every band is taken.
    int take();
    // A band's processor time, by the thread that ran it.
    void ran(int band, uint32_t microseconds);
    // Once every band has run: the bands longest first, ties in band order.
    uint8_t longestFirst() const;

  private:
    int order_[kBandCount];
    int active_;
    uint32_t time_[kBandCount] = {};
    std::atomic<int> next_{0};
    std::mutex mutex_;
    std::condition_variable drained_;
    bool isDrained_ = false;
};

// Threads that can work at once in this process: its usable processors, 1 to 4.
int bandThreadsAtOnce();

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

// What a band thread receives: the frame's four bands, the queue it takes them from and, in
// the low-resolution mode, its share of the finish.
struct BandJob {
    const BandWork* bands;  // all four, indexed by band
    BandQueue* queue;
    bool waits;          // waits until every band is taken (BandQueue::works)
    FinishShare finish;  // low-resolution mode only
};

// Adds the share's rows of the upscaled offset plane to the luma plane.
void addUpscaledOffsetRows(const FinishShare& share);

}  // namespace lut2d

// Low-resolution mode: one adjusted colour per 2x2 block, chroma rewritten in place, luma
// change written to the quarter-size offset plane. The argument is a lut2d::BandJob; the
// thread runs the bands it takes from the queue.
void* run2dlut_fx_yDs(void* arg);

// Full-resolution mode: every pixel adjusted with upsampled chroma, luma rewritten in place,
// the new chroma written to the driver's result buffer. The argument is a lut2d::BandJob.
void* run2dlut_fx_ChrUs(void* arg);
