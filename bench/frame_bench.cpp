// Frame throughput of both processing modes, with a plain copy of the frame's bytes timed in
// the same run as the floor. Prints time per frame, megapixels per second and the ratio to
// the copy.
//
//   build/gcc/bench/lut2d_frame_bench [--benchmark_min_time=0.5]

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "interface/orvix_lut2d.h"

namespace {

struct Size {
    uint32_t width, height;
};

constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}};
constexpr int kNoiseVariants = 4;  // consecutive frames differ by sensor noise

struct Planes {
    std::vector<uint8_t> luma, chroma;
};

// A camera-like scene: smooth colour gradients, a fine texture and sensor noise, so that
// many colours are new to the result cache.
Planes naturalFrame(Size s, uint32_t seed) {
    Planes p{std::vector<uint8_t>(size_t{s.width} * s.height),
             std::vector<uint8_t>(size_t{s.width} * (s.height / 2))};
    std::mt19937 rng(seed);
    std::normal_distribution<float> noise(0.0f, 3.0f);
    auto clamp8 = [](float v) {
        return static_cast<uint8_t>(std::lround(std::fmin(255.f, std::fmax(0.f, v))));
    };
    for (uint32_t y = 0; y < s.height; ++y) {
        for (uint32_t x = 0; x < s.width; ++x) {
            const float fx = static_cast<float>(x) / s.width, fy = static_cast<float>(y) / s.height;
            const float texture = 12.0f * std::sin(static_cast<float>(x) * 0.21f) *
                                  std::cos(static_cast<float>(y) * 0.17f);
            p.luma[size_t{y} * s.width + x] =
                clamp8(40 + 170 * fy * (0.6f + 0.4f * fx) + texture + noise(rng));
        }
    }
    for (uint32_t y = 0; y < s.height / 2; ++y) {
        for (uint32_t x = 0; x < s.width / 2; ++x) {
            const float fx = static_cast<float>(x) / (s.width / 2),
                        fy = static_cast<float>(y) / (s.height / 2);
            uint8_t* pair = &p.chroma[size_t{y} * s.width + 2 * x];
            pair[0] = clamp8(128 + 70 * std::sin(6.0f * fx + 2.0f * fy) + noise(rng));
            pair[1] = clamp8(128 + 70 * std::cos(4.0f * fy - 3.0f * fx) + noise(rng));
        }
    }
    return p;
}

Planes flatFrame(Size s) {
    return {std::vector<uint8_t>(size_t{s.width} * s.height, 140),
            std::vector<uint8_t>(size_t{s.width} * (s.height / 2), 100)};
}

// A tuning that moves every hue and saturation, so no pixel takes the neutral shortcut.
ISP2DLUTInStruct_V10 busyRecord() {
    ISP2DLUTInStruct_V10 r{};
    r.enable = 1;
    for (int i = 0; i < 25; ++i) r.lut_1d_h[i] = static_cast<uint16_t>(i * 512);
    for (int i = 0; i < 24; ++i) r.lut_1d_h_inv[i] = 32;
    for (int j = 0; j < 16; ++j) r.lut_1d_s[j] = static_cast<uint16_t>(j * 2048 / 15);
    for (int j = 0; j < 15; ++j)
        r.lut_1d_s_inv[j] = static_cast<uint16_t>(2048 / (r.lut_1d_s[j + 1] - r.lut_1d_s[j]));
    for (int k = 0; k < 400; ++k) {
        r.lut_2d_h[k] = static_cast<int16_t>(120 * std::sin(k * 0.37));
        r.lut_2d_s[k] = static_cast<int16_t>(80 + 60 * std::cos(k * 0.21));
    }
    r.h_shift = 2;
    r.s_shift = 1;
    r.l_boundary_start_A = 40;
    r.l_boundary_start_B = 200;
    r.l_boundary_end_A = 1800;
    r.l_boundary_end_B = 2000;
    r.l_boundary_start_inv = 12;
    r.l_boundary_end_inv = 10;
    return r;
}

void runFrames(benchmark::State& state, Size size, Lut2DMode mode, bool natural) {
    ISP2DLUTInStruct_V10 record = busyRecord();
    std::vector<Planes> sources;
    for (int v = 0; v < (natural ? kNoiseVariants : 1); ++v) {
        sources.push_back(natural ? naturalFrame(size, static_cast<uint32_t>(v + 1))
                                  : flatFrame(size));
    }
    void* handle = nullptr;
    if (InitLut2D(&handle, &record, {size.width, size.height, size.width, 0}, mode) != 0) {
        state.SkipWithError("InitLut2D failed");
        return;
    }
    Planes work = sources[0];
    size_t frame = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const Planes& src = sources[frame++ % sources.size()];
        std::memcpy(work.luma.data(), src.luma.data(), src.luma.size());
        std::memcpy(work.chroma.data(), src.chroma.data(), src.chroma.size());
        state.ResumeTiming();
        Lut2DImageData data{work.luma.data(), work.chroma.data()};
        if (processLut2d(handle, &data, 0) != 0) state.SkipWithError("processLut2d failed");
    }
    releaseLut2d(handle);
    state.counters["MP/s"] =
        benchmark::Counter(static_cast<double>(size.width) * size.height * 1e-6,
                           benchmark::Counter::kIsIterationInvariantRate);
}

void copyFrame(benchmark::State& state, Size size) {
    const Planes src = naturalFrame(size, 9);
    Planes dst = src;
    for (auto _ : state) {
        std::memcpy(dst.luma.data(), src.luma.data(), src.luma.size());
        std::memcpy(dst.chroma.data(), src.chroma.data(), src.chroma.size());
        benchmark::DoNotOptimize(dst.luma.data());
        benchmark::ClobberMemory();
    }
    state.counters["MP/s"] =
        benchmark::Counter(static_cast<double>(size.width) * size.height * 1e-6,
                           benchmark::Counter::kIsIterationInvariantRate);
}

std::string sizeName(Size s) {
    return std::to_string(s.width) + "x" + std::to_string(s.height);
}

// Keeps every run's time per frame for the summary after the console report.
class SummaryReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            if (r.error_occurred) continue;
            std::string name = r.benchmark_name();
            const std::string suffix = "/real_time";
            if (name.size() > suffix.size() && name.ends_with(suffix)) {
                name.resize(name.size() - suffix.size());
            }
            millis_[name] = r.GetAdjustedRealTime();  // in the runs' unit, milliseconds
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void printSummary() const {
        std::printf("\n%-34s %12s %10s %14s\n", "frame", "ms/frame", "MP/s", "x copy time");
        for (const auto& [name, ms] : millis_) {
            const std::string size = name.substr(name.rfind('/') + 1);
            const auto copy = millis_.find("copy/" + size);
            double mp = 0;
            if (std::sscanf(size.c_str(), "%lfx", &mp) == 1) {
                const double h = std::stod(size.substr(size.find('x') + 1));
                mp = mp * h * 1e-6;
            }
            std::printf("%-34s %12.3f %10.1f %14.1f\n", name.c_str(), ms, mp / (ms * 1e-3),
                        copy == millis_.end() ? 0.0 : ms / copy->second);
        }
    }

  private:
    std::map<std::string, double> millis_;  // milliseconds per frame
};

}  // namespace

int main(int argc, char** argv) {
    for (Size s : kSizes) {
        const std::string n = sizeName(s);
        benchmark::RegisterBenchmark(("copy/" + n).c_str(), copyFrame, s)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        for (bool natural : {true, false}) {
            const std::string content = natural ? "natural/" : "flat/";
            benchmark::RegisterBenchmark(("full_res/" + content + n).c_str(), runFrames, s,
                                         LUT2D_MODE_CHRUS, natural)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
            benchmark::RegisterBenchmark(("low_res/" + content + n).c_str(), runFrames, s,
                                         LUT2D_MODE_YDS, natural)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
    }
    benchmark::Initialize(&argc, argv);
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printSummary();
    benchmark::Shutdown();
    return 0;
}
