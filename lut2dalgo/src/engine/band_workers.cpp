// The two band workers' thread bodies, and where the low-resolution workers meet the frame
// driver before the finish.

#include "band_workers.h"

namespace lut2d {

void StartGate::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    opened_.wait(lock, [this] { return open_; });
}

void StartGate::open() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
    }
    opened_.notify_all();
}

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
    const lut2d::BandJob& job = *static_cast<const lut2d::BandJob*>(arg);
    if (job.start != nullptr) job.start->wait();
    lut2d::fullResolutionBand(job.work);
    return nullptr;
}

void* run2dlut_fx_yDs(void* arg) {
    const lut2d::BandJob& job = *static_cast<const lut2d::BandJob*>(arg);
    if (job.start != nullptr) job.start->wait();
    lut2d::lowResolutionBand(job.work);
    if (job.finish.gate != nullptr &&
        job.finish.gate->bandDone() == lut2d::FinishGate::Decision::kFinish) {
        lut2d::addUpscaledOffsetRows(job.finish);
    }
    return nullptr;
}
