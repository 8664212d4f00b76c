// What the tests share: tuning records, frames with their own storage, an engine set up on a
// record and a library handle (each released at the end of its scope), and how much smaller
// the random and exhaustive sweeps are under the sanitizers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "engine/sw_2dlut_v10.h"
#include "interface/record_shape.h"
#include "kernel/colour_batch.h"

namespace lut2d_test {

using lut2d::neutralRecord;

// The neutral record with every hue and saturation offset set to the given values.
ISP2DLUTInStruct_V10 uniformRecord(int16_t hueOffset, int16_t satOffset);

// The neutral record with random offsets (-300..300) everywhere and shifts 2 and 1: every
// hue and saturation moves, by varying amounts.
ISP2DLUTInStruct_V10 busyRecord(uint32_t seed);

inline int pick(std::mt19937& rng, int lo, int hi) {
    return std::uniform_int_distribution<int>(lo, hi)(rng);
}

// The vector forms of a kernel that this machine runs, from the kernel's list of forms
// (`paths`), whose first is the scalar form.
template <class Path>
std::vector<Path> vectorForms(size_t (*paths)(Path*, size_t)) {
    Path all[8];
    std::vector<Path> out;
    for (size_t i = 1, n = paths(all, 8); i < n; ++i) {
        if (all[i].runnable) out.push_back(all[i]);
    }
    return out;
}

// n random bytes.
inline std::vector<uint8_t> randomBytes(size_t n, uint32_t seed) {
    std::vector<uint8_t> b(n);
    std::generate(b.begin(), b.end(), std::mt19937(seed));
    return b;
}

// How many times slower a sanitizer build runs the kernels (the thread sanitizer about ten).
// GCC names the sanitizers with macros of its own; clang answers __has_feature.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr int kSlowdown = 8;
#elif defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr int kSlowdown = 2;
#else
inline constexpr int kSlowdown = 1;
#endif

// An 8-bit semi-planar frame with its own storage; a chroma plane without rows still has one
// byte, so that its pointer is not null.
struct Frame {
    Lut2DImageInfo info{};
    std::vector<uint8_t> luma;
    std::vector<uint8_t> chroma;

    Frame(uint32_t width, uint32_t height, uint32_t stride, uint32_t format = 0);
    explicit Frame(const Lut2DImageInfo& i) : Frame(i.width, i.height, i.stride, i.format) {}
    Lut2DImageData data() { return {luma.data(), chroma.data()}; }
};

// Every byte of both planes, row padding included, random.
void fillRandom(Frame& frame, uint32_t seed);

// Row padding random, the frame rectangles of five colours (units of one key, repeated keys).
void fillPatches(Frame& frame, std::mt19937& rng);

// A mode and a geometry of a sweep.
struct Case {
    Lut2DMode mode;
    Lut2DImageInfo info;
};

// "full 64x32 pitch 64 format 0", for a failure's message.
std::string describe(const Case& c);

// Where two byte ranges first differ, in units of `unit` bytes (rows, cache entries); nothing
// when they are equal.
std::string firstDifference(const char* unitName, const uint8_t* actual, const uint8_t* expected,
                            size_t bytes, size_t unit);
// The first luma and chroma rows where two frames of one geometry differ; nothing when equal.
std::string frameDifference(const Frame& actual, const Frame& expected);

// An engine object set up on a record as InitLut2D sets one up (full resolution, 64 x 32),
// released at the end.
struct SetUpEngine {
    SW_2DLut_v10 e;

    explicit SetUpEngine(ISP2DLUTInStruct_V10* record);
    ~SetUpEngine() { e.DenitLut2D(); }
    SetUpEngine(const SetUpEngine&) = delete;
    SetUpEngine& operator=(const SetUpEngine&) = delete;
    HM_RGB* slice(int band = 0);  // band i's result cache
};

// An engine set up on a record, the record then edited as a host may (`edited`), and the
// colour kernel's tables prepared from that state (again by prepare after further edits).
struct PreparedTables {
    ISP2DLUTInStruct_V10 record;
    SetUpEngine engine{&record};
    std::unique_ptr<lut2d::BatchTables> tables = std::make_unique<lut2d::BatchTables>();

    PreparedTables(const ISP2DLUTInStruct_V10& setUp, const ISP2DLUTInStruct_V10& edited)
        : record(setUp) {
        record = edited;
        prepare();
    }
    explicit PreparedTables(const ISP2DLUTInStruct_V10& r) : PreparedTables(r, r) {}
    void prepare() { lut2d::prepareBatchTables(*tables, lut2d::kernelTables(engine.e)); }
};

// A handle made by InitLut2D, released at the end.
class Handle {
  public:
    Handle(ISP2DLUTInStruct_V10* record, const Lut2DImageInfo& info, Lut2DMode mode);
    ~Handle() { releaseLut2d(handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    void* get() const { return handle_; }
    SW_2DLut_v10& engine() const { return *static_cast<SW_2DLut_v10*>(handle_); }
    HM_RGB* slice(int band) const;
    int process(Frame& frame, unsigned flags = 0) const;

  private:
    void* handle_ = nullptr;
};

}  // namespace lut2d_test
