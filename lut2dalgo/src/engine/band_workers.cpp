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
    for (int b = job.queue->take(); b >= 0; b = job.queue->take()) {
        const uint64_t t0 = threadCpuMicroseconds();
        band(job.bands[b]);
        const uint64_t t = threadCpuMicroseconds() - t0;
        job.queue->ran(b, static_cast<uint32_t>(std::min<uint64_t>(t, UINT32_MAX)));
        if (job.queue->finish() != nullptr) job.queue->finish()->bandDone();
    }
}

}  // namespace

Finish::Finish(const uint8_t* offsets, uint8_t* luma, uint32_t width, uint32_t stride,
               uint32_t height)
    : offsets_(offsets), luma_(luma), width_(width), stride_(stride), height_(height) {}

void Finish::bandDone() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (--bandsLeft_ == 0) allDone_.notify_one();
}

void Finish::awaitBands() {
    std::unique_lock<std::mutex> lock(mutex_);
    allDone_.wait(lock, [this] { return bandsLeft_ <= 0; });
}

void Finish::decide(Decision d) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        decision_ = d;
    }
    decided_.notify_all();
    if (d == Decision::kFinish) addRows();
}

void Finish::join() {
    {
        std::unique_lock<std::mutex> lock(mutex_);
        decided_.wait(lock, [this] { return decision_ != Decision::kPending; });
        if (decision_ != Decision::kFinish) return;
    }
    addRows();
}

void Finish::addRows() {
    constexpr uint32_t kRows = 32;  // full-size rows at a time
    const uint32_t rows = 2 * height_;
    for (uint32_t r = nextRow_.fetch_add(kRows); r < rows; r = nextRow_.fetch_add(kRows)) {
        addUpscaledOffsetRows(offsets_, luma_, width_, stride_, height_, r,
                              std::min(rows, r + kRows));
    }
}

}  // namespace lut2d

void* run2dlut_fx_ChrUs(void* arg) {
    lut2d::runBands(*static_cast<const lut2d::BandJob*>(arg), lut2d::fullResolutionBand);
    return nullptr;
}

void* run2dlut_fx_yDs(void* arg) {
    const lut2d::BandJob& job = *static_cast<const lut2d::BandJob*>(arg);
    lut2d::runBands(job, lut2d::lowResolutionBand);
    if (job.finish != nullptr) job.finish->join();
    return nullptr;
}
