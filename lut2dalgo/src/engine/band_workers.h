// Thread bodies of the two processing modes, and how they share out a frame's four bands.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "band_rows.h"
#include "sw_2dlut_v10.h"

namespace lut2d {

class Finish;

// How a frame's four bands are shared out among its four threads. A band is one job: its
// rows in order against its own cache slice, whichever thread runs it, so the bytes of a
// frame do not depend on this schedule. Only as many threads work at once as there are
// processors to run them; each takes the next band when it has finished one, longest band
// first (by the handle's last frame: a video's frames are alike). The others start once a
// processor is free, with nothing left to take. On two processors two threads so keep both
// busy to the end, where four would leave the placement of each band to the system, which
// often puts two on one processor and lets the other idle.
class BandQueue {
  public:
    // order: the bands, first taken first, two bits per place (see kBandsInOrder); active:
    // threads working at once.
    BandQueue(uint8_t order, int active);

    // Whether the thread takes bands from the start. The driver starts the others only once
    // a thread has found nothing left to take (see wait): a processor is free then, and they
    // have nothing to take.
    bool works(int thread) const { return thread < active_; }
    // The driver: waits until a thread has found nothing left to take.
    void wait();
    // The next band to run, or -1 when every band is taken.
    int take();
    // A band's processor time, by the thread that ran it.
    void ran(int band, uint32_t microseconds);
    // Once every band has run: the bands longest first, ties in band order.
    uint8_t longestFirst() const;
    // The finish told when each band is done (null: none).
    void setFinish(Finish* finish) { finish_ = finish; }
    Finish* finish() const { return finish_; }

  private:
    int order_[kBandCount];
    int active_;
    uint32_t time_[kBandCount] = {};
    Finish* finish_ = nullptr;
    std::atomic<int> next_{0};
    std::mutex mutex_;
    std::condition_variable drained_;
    bool isDrained_ = false;
};

// Threads that can work at once in this process: its usable processors, 1 to 4.
int bandThreadsAtOnce();

// The low-resolution finish, shared by the band threads and the driver: the upscaled offsets
// added to the luma plane, a few rows at a time, taken by whoever is free. The driver waits
// until every band is done (the point at which the frame used to be joined), checks for an
// abort and decides; the threads that come to the finish wait for that decision.
class Finish {
  public:
    enum class Decision : uint8_t { kPending, kFinish, kStop };

    // The offset plane (width, stride, height) and the luma plane of full-size rows.
    Finish(const uint8_t* offsets, uint8_t* luma, uint32_t width, uint32_t stride, uint32_t height);

    // A band is done (by whichever thread ran it). The last one wakes the driver.
    void bandDone();
    // The driver: waits until every band is done, then decides (and after kFinish adds rows
    // too, until none are left).
    void awaitBands();
    void decide(Decision d);
    // A thread: waits for the decision; after kFinish adds rows until none are left.
    void join();

  private:
    void addRows();

    const uint8_t* offsets_;
    uint8_t* luma_;
    uint32_t width_, stride_, height_;
    std::atomic<uint32_t> nextRow_{0};
    std::mutex mutex_;
    std::condition_variable allDone_;  // the driver waits here
    std::condition_variable decided_;  // the threads wait here
    int bandsLeft_ = kBandCount;
    Decision decision_ = Decision::kPending;
};

// What a band thread receives: the frame's four bands, the queue it takes them from and, in
// the low-resolution mode with the portable upscale, the finish.
struct BandJob {
    const BandWork* bands;  // all four, indexed by band
    BandQueue* queue;
    Finish* finish;  // null: no shared finish, or the driver runs the job itself
};

// Adds full-size rows [rowBegin, rowEnd) of the upscaled offset plane (width, stride,
// height) to the luma plane.
void addUpscaledOffsetRows(const uint8_t* offsets, uint8_t* luma, uint32_t width, uint32_t stride,
                           uint32_t height, uint32_t rowBegin, uint32_t rowEnd);

}  // namespace lut2d

// Low-resolution mode: one adjusted colour per 2x2 block, chroma rewritten in place, luma
// change written to the quarter-size offset plane. The argument is a lut2d::BandJob; the
// thread runs the bands it takes from the queue.
void* run2dlut_fx_yDs(void* arg);

// Full-resolution mode: every pixel adjusted with upsampled chroma, luma rewritten in place,
// the new chroma written to the driver's result buffer. The argument is a lut2d::BandJob.
void* run2dlut_fx_ChrUs(void* arg);
