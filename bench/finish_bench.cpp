// The low-resolution finish on one thread: a half-size luma offset plane upscaled 2x and
// added to the luma plane. Times the library's own finish (YOffsetAddition_tessel, as the
// frame driver calls it), the row-range upscale into a full-size temporary followed by the
// addition, and the fused row-range form that needs no temporary.
//
//   build/gcc/bench/lut2d_finish_bench [--benchmark_min_time=0.5]

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "common/luma_offset_add.h"
#include "engine/sw_2dlut_v10.h"
#include "tessel/tessel_rows.h"

namespace {

// Luma frame sizes; the offset planes are half as wide and half as high.
constexpr uint32_t kSizes[][2] = {{1920, 1080}, {3840, 2160}};

struct Planes {
    uint32_t width, height;  // of the offset plane
    std::vector<uint8_t> offsets, luma;
};

// Offsets near "no change", as a gentle tuning gives, over a noisy luma plane.
Planes makePlanes(uint32_t lumaWidth, uint32_t lumaHeight) {
    Planes p{lumaWidth / 2, lumaHeight / 2, {}, {}};
    p.offsets.resize(size_t{p.width} * p.height);
    p.luma.resize(size_t{lumaWidth} * lumaHeight);
    std::mt19937 rng(1);
    std::normal_distribution<float> delta(0.0f, 6.0f);
    for (auto& b : p.offsets) b = static_cast<uint8_t>(128 + static_cast<int>(delta(rng)));
    for (auto& b : p.luma) b = static_cast<uint8_t>(rng());
    return p;
}

void report(benchmark::State& state, const Planes& p) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(p.luma.size()));
}

void libraryFinish(benchmark::State& state, uint32_t w, uint32_t h) {
    Planes p = makePlanes(w, h);
    SW_2DLut_v10 engine;
    for (auto _ : state) {
        engine.YOffsetAddition_tessel(p.offsets.data(), p.luma.data(), p.width, p.width, p.height);
        benchmark::ClobberMemory();
    }
    report(state, p);
}

void rowsThenAdd(benchmark::State& state, uint32_t w, uint32_t h) {
    Planes p = makePlanes(w, h);
    std::vector<uint8_t> upscaled(p.luma.size());
    for (auto _ : state) {
        lut2d::tessel::scaleUpBy2Gaussian5x5Rows(p.offsets.data(), p.width, p.height, p.width,
                                                 upscaled.data(), 2 * p.width, 0, 2 * p.height);
        lut2d::addLumaOffsets(p.luma.data(), upscaled.data(), p.luma.size());
        benchmark::ClobberMemory();
    }
    report(state, p);
}

void fusedRows(benchmark::State& state, uint32_t w, uint32_t h) {
    Planes p = makePlanes(w, h);
    for (auto _ : state) {
        lut2d::tessel::scaleUpBy2Gaussian5x5AddRows(p.offsets.data(), p.width, p.height, p.width,
                                                    p.luma.data(), 2 * p.width, 0, 2 * p.height);
        benchmark::ClobberMemory();
    }
    report(state, p);
}

const bool kRegistered = [] {
    for (const auto& s : kSizes) {
        const std::string size = std::to_string(s[0]) + "x" + std::to_string(s[1]);
        benchmark::RegisterBenchmark(("finish/library/" + size).c_str(), libraryFinish, s[0], s[1])
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("finish/rows_then_add/" + size).c_str(), rowsThenAdd, s[0],
                                     s[1])
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("finish/fused_rows/" + size).c_str(), fusedRows, s[0], s[1])
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
