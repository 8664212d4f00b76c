// The two band workers' thread bodies, the queue they take the frame's bands from, and where
// the low-resolution workers meet the frame driver before the finish.

#include "band_workers.h"

#include <sched.h>
#include <time.h>

#include <algorithm>
#include <iterator>

namespace lut2d {

BandQueue::BandQueue(uint8_t order, int active) : active_(active) {
    bool seen[kBandCount] = {};
    for (int i = 0; i < kBandCount; ++i) {
        order_[i] = (order >> (2 * i)) & 3;
        seen[order_[i]] = true;
    }
    // Anything but an order of all four bands: band order.
    if (!std::all_of(std::begin(seen), std::end(seen), [](bool b) { return b; })) {
        for (int i = 0; i < kBandCount; ++i) order_[i] = i;
    }
}

void BandQueue::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    drained_.wait(lock, [this] { return isDrained_; });
}

int BandQueue::take() {
    const int i = next_.fetch_add(1);
    if (i < kBandCount) return order_[i];
    if (i == kBandCount) {  // the first thread to find nothing left: a processor is free
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            isDrained_ = true;
        }
        drained_.notify_all();
    }
    return -1;
}

void BandQueue::ran(int band, uint32_t microseconds) {
    time_[band] = microseconds;
}

uint8_t BandQueue::longestFirst() const {
    int bands[kBandCount] = {0, 1, 2, 3};
    std::stable_sort(std::begin(bands), std::end(bands),
                     [this](int a, int b) { return time_[a] > time_[b]; });
    uint8_t order = 0;
    for (int i = 0; i < kBandCount; ++i) order |= static_cast<uint8_t>(bands[i] << (2 * i));
    return order;
}

int bandThreadsAtOnce() {
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    const int usable =
        sched_getaffinity(0, sizeof cpus, &cpus) == 0 ? CPU_COUNT(&cpus) : kBandCount;
    return std::clamp(usable, 1, kBandCount);
}

namespace {

uint64_t threadCpuMicroseconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<uint64_t>(t.tv_sec) * 1000000u + static_cast<uint64_t>(t.tv_nsec) / 1000u;
}

// Runs the bands the thread takes, timing each.
void runBands(const BandJob& job, void (*band)(const BandWork&)) {
    if (job.waits) job.queue->wait();
    for (int b = job.queue->take(); b >= 0; b = job.queue->take()) {
        const uint64_t t0 = threadCpuMicroseconds();
        band(job.bands[b]);
        const uint64_t t = threadCpuMicroseconds() - t0;
        job.queue->ran(b, static_cast<uint32_t>(std::min<uint64_t>(t, UINT32_MAX)));
    }
}

}  // namespace

FinishGate::Decision FinishGate::bandDone() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (--bandsLeft_ == 0) allDone_.notify_one();
    decided_.wait(lock, [this] { return decision_ != Decision::kPending; });
    return decision_;
}

void FinishGate::bandWithoutWorker() {
    const std::lock_guard<std::mutex> lock(mutex_);
    --bandsLeft_;
}

void FinishGate::awaitBands() {
    std::unique_lock<std::mutex> lock(mutex_);
    allDone_.wait(lock, [this] { return bandsLeft_ <= 0; });
}

void FinishGate::decide(Decision d) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        decision_ = d;
    }
    decided_.notify_all();
}

}  // namespace lut2d

void* run2dlut_fx_ChrUs(void* arg) {
    lut2d::runBands(*static_cast<const lut2d::BandJob*>(arg), lut2d::fullResolutionBand);
    return nullptr;
}

void* run2dlut_fx_yDs(void* arg) {
    const lut2d::BandJob& job = *static_cast<const lut2d::BandJob*>(arg);
    lut2d::runBands(job, lut2d::lowResolutionBand);
    if (job.finish.gate != nullptr &&
        job.finish.gate->bandDone() == lut2d::FinishGate::Decision::kFinish) {
        lut2d::addUpscaledOffsetRows(job.finish);
    }
    return nullptr;
}
