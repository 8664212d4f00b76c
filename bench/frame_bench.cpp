// Frame throughput of the library in both processing modes, set against two references timed
// in the same run:
//   - the peer: the same hue/saturation adjustment written the way a user of OpenCV would
//     write it (colour conversions by OpenCV, a table-driven adjust loop on two threads);
//   - the copy floor: a plain copy of one frame's bytes from DRAM to DRAM.
// Each is timed at 1920x1080 and 3840x2160 on these contents:
//   - realistic: a synthetic outdoor scene (sky, foliage, grass, road, saturated objects, a
//     sign, skin) in four variants that differ only by sensor noise, fed in turn through one
//     handle as a video would be;
//   - tiled (3840x2160 only): the 1920x1080 scene four times, 2x2, each with noise of its own:
//     four times the pixels of the same kind, where the realistic scene at 3840x2160 is
//     smoother per pixel;
//   - flat: one colour everywhere (every lookup after the first is a cache hit).
// Beside them, what every frame costs whatever its size: a 64x64 flat frame through the
// library, and four threads created and joined (a frame starts four afresh).
// After Google Benchmark's own report it prints one summary table (time per frame, megapixels
// per second, peer/library and library/copy ratios) and checks the speed goals. Timings are
// printed, never asserted.
//
//   build/gcc/bench/lut2d_frame_bench [--benchmark_filter=REGEX] [--benchmark_min_time=SECONDS]
//
// (by default five turns of 0.4 s per row in random order, the median reported; the whole run
// takes about a minute and a half)
//
// Benchmark names: {full_res,low_res,peer}/{realistic,flat}/WxH, {full_res,low_res,peer}/tiled/
// 3840x2160, copy/WxH, {full_res,low_res}/flat/64x64 and threads/4.

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "interface/orvix_lut2d.h"
#include "scene.h"

#ifdef LUT2D_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace lut2d_bench;

// How a frame reaches the library and the peer, the same for both: before each timed frame
// the next source frame of the sequence is copied into the working frame with the timer
// paused (the camera delivering it), then the adjustment of that working frame in place is
// timed, nothing else. The frame has just been written, so it starts out in the cache (a
// frame a camera wrote by DMA would be in DRAM: the copy floor shows what streaming it from
// there costs). One untimed frame runs first, so the timed frames meet the state of a video
// in progress (the library's result cache already holds colours of the scene), not that of a
// fresh handle.
class FrameFeeder {
  public:
    explicit FrameFeeder(const std::vector<Planes>& sources)
        : sources_(sources), work_(sources.back()) {}
    Planes& work() { return work_; }
    void loadNext(benchmark::State& state) {
        state.PauseTiming();
        loadNextUntimed();
        state.ResumeTiming();
    }
    void loadNextUntimed() {
        const Planes& src = sources_[next_++ % sources_.size()];
        std::memcpy(work_.luma.data(), src.luma.data(), src.luma.size());
        std::memcpy(work_.chroma.data(), src.chroma.data(), src.chroma.size());
    }

  private:
    const std::vector<Planes>& sources_;
    Planes work_;
    size_t next_ = 0;
};

// The frames of a content at a size, made on first use.
using Frames = const std::vector<Planes>& (*)(Size);

// A frame so small that its time is what every frame costs whatever its size.
constexpr Size kFixedCostSize{64, 64};

void setRateCounter(benchmark::State& state, Size size) {
    state.counters["MP/s"] = benchmark::Counter(static_cast<double>(size.pixels()) * 1e-6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

// ---------------------------------------------------------------------------------------------
// The library: one handle for the whole sequence.

void libraryFrames(benchmark::State& state, Size size, Lut2DMode mode, Frames frames) {
    ISP2DLUTInStruct_V10 record = busyRecord();
    FrameFeeder feed(frames(size));
    void* handle = nullptr;
    if (InitLut2D(&handle, &record, {size.width, size.height, size.width, 0}, mode) != 0) {
        releaseLut2d(handle);
        state.SkipWithError("InitLut2D failed");
        return;
    }
    auto process = [&] {
        Lut2DImageData data{feed.work().luma.data(), feed.work().chroma.data()};
        return processLut2d(handle, &data, 0);
    };
    feed.loadNextUntimed();
    if (process() != 0) {
        releaseLut2d(handle);
        state.SkipWithError("processLut2d failed");
        return;
    }
    for (auto _ : state) {
        feed.loadNext(state);
        if (process() != 0) {
            state.SkipWithError("processLut2d failed");
            break;
        }
    }
    releaseLut2d(handle);
    setRateCounter(state, size);
}

// ---------------------------------------------------------------------------------------------
// The peer

#ifdef LUT2D_BENCH_HAVE_OPENCV

// The same adjustment as a user would write it with OpenCV, for speed comparison (its colours
// are close to the library's, not equal: OpenCV's NV12 conversions use video-range BT.601 and
// 8-bit HLS, the library full-range BT.601 and 10-bit HSL with its own fixed-point rounding).
//   1. NV12 -> BGR (cv::cvtColorTwoPlane, COLOR_YUV2BGR_NV12) -> 8-bit HLS_FULL (H 0..255 a
//      full turn, L 0..255, S 0..255).
//   2. Per pixel: H and S move by an offset looked up in a 256 x 256 (H, S) table, scaled by a
//      256-entry lightness weight; hue wraps, saturation clamps. Both tables are made once from
//      the tuning record: offsets interpolated bilinearly from its 25 x 16 grid and converted
//      to HLS_FULL units, the weight ramps between its four lightness boundaries. The loop runs
//      on row stripes with cv::parallel_for_.
//   3. HLS_FULL -> BGR -> I420 (COLOR_BGR2YUV_I420); the luma plane is copied back and the U
//      and V planes are interleaved into the NV12 chroma plane with cv::merge.
// OpenCV runs on two threads (cv::setNumThreads(2) in main), its conversions included.
class OpenCvPeer {
  public:
    OpenCvPeer(const ISP2DLUTInStruct_V10& r, Size size)
        : w_(static_cast<int>(size.width)), h_(static_cast<int>(size.height)) {
        buildTables(r);
        bgr_.create(h_, w_, CV_8UC3);
        hls_.create(h_, w_, CV_8UC3);
        i420_.create(h_ * 3 / 2, w_, CV_8UC1);
    }

    void process(Planes& frame) {
        const cv::Mat y(h_, w_, CV_8UC1, frame.luma.data());
        cv::Mat uv(h_ / 2, w_ / 2, CV_8UC2, frame.chroma.data());
        cv::cvtColorTwoPlane(y, uv, bgr_, cv::COLOR_YUV2BGR_NV12);
        cv::cvtColor(bgr_, hls_, cv::COLOR_BGR2HLS_FULL);
        adjust();
        cv::cvtColor(hls_, bgr_, cv::COLOR_HLS2BGR_FULL);
        cv::cvtColor(bgr_, i420_, cv::COLOR_BGR2YUV_I420);
        // I420: the luma plane, then the U plane and the V plane, each (w/2) x (h/2).
        const size_t lumaBytes = frame.luma.size(), planeBytes = lumaBytes / 4;
        std::memcpy(frame.luma.data(), i420_.data, lumaBytes);
        const cv::Mat u(h_ / 2, w_ / 2, CV_8UC1, i420_.data + lumaBytes);
        const cv::Mat v(h_ / 2, w_ / 2, CV_8UC1, i420_.data + lumaBytes + planeBytes);
        cv::merge(std::vector<cv::Mat>{u, v}, uv);
    }

  private:
    static constexpr int kOffsetBits = 4;  // table offsets in 1/16 of an HLS_FULL unit
    static constexpr int kWeightBits = 8;  // weight 256 = full adjustment
    static size_t tableIndex(int hue, int sat) { return (size_t(hue) * 256 + size_t(sat)) * 2; }

    void adjust() {
        cv::parallel_for_(cv::Range(0, h_), [this](const cv::Range& rows) {
            for (int row = rows.start; row < rows.end; ++row) {
                uint8_t* p = hls_.ptr<uint8_t>(row);
                for (int x = 0; x < w_; ++x, p += 3) {
                    const int hue = p[0], light = p[1], sat = p[2];
                    const int weight = weight_[light];
                    if (weight == 0) continue;
                    const int16_t* d = &offsets_[tableIndex(hue, sat)];
                    constexpr int kShift = kOffsetBits + kWeightBits;
                    constexpr int kHalf = 1 << (kShift - 1);
                    p[0] = static_cast<uint8_t>((hue + ((d[0] * weight + kHalf) >> kShift)) & 255);
                    p[2] = cv::saturate_cast<uint8_t>(sat + ((d[1] * weight + kHalf) >> kShift));
                }
            }
        });
    }

    // Record units: hue 0..12288 a full turn (48 per HLS_FULL step), saturation 0..2048,
    // lightness max + min of 10-bit RGB (0..2046, about 8 per HLS_FULL step).
    void buildTables(const ISP2DLUTInStruct_V10& r) {
        const double hueGain = std::ldexp(1.0, static_cast<int16_t>(r.h_shift));
        const double satGain = std::ldexp(1.0, static_cast<int16_t>(r.s_shift));
        offsets_.assign(size_t{256} * 256 * 2, 0);
        for (int hue = 0; hue < 256; ++hue) {
            const double h = hue * 48.0;
            int i = 0;
            while (i < 23 && r.lut_1d_h[i + 1] <= h) ++i;
            const double th = std::clamp(
                (h - r.lut_1d_h[i]) / std::max(1, r.lut_1d_h[i + 1] - r.lut_1d_h[i]), 0.0, 1.0);
            for (int sat = 0; sat < 256; ++sat) {
                const double s = sat * 2048.0 / 255.0;
                if (s < r.lut_1d_s[0]) continue;  // low saturations stay as they are
                int j = 0;
                while (j < 14 && r.lut_1d_s[j + 1] <= s) ++j;
                const double ts = std::clamp(
                    (s - r.lut_1d_s[j]) / std::max(1, r.lut_1d_s[j + 1] - r.lut_1d_s[j]), 0.0, 1.0);
                auto bilinear = [&](const int16_t* grid) {
                    const int k = i * 16 + j;
                    const double a = grid[k] + (grid[k + 1] - grid[k]) * ts;
                    const double b = grid[k + 16] + (grid[k + 17] - grid[k + 16]) * ts;
                    return a + (b - a) * th;
                };
                const double dh = bilinear(r.lut_2d_h) * hueGain / 48.0;
                const double ds = bilinear(r.lut_2d_s) * satGain * 255.0 / 2048.0;
                int16_t* out = &offsets_[tableIndex(hue, sat)];
                out[0] = static_cast<int16_t>(std::lround(std::ldexp(dh, kOffsetBits)));
                out[1] = static_cast<int16_t>(std::lround(std::ldexp(ds, kOffsetBits)));
            }
        }
        const double startA = r.l_boundary_start_A, startB = r.l_boundary_start_B;
        const double endA = r.l_boundary_end_A, endB = r.l_boundary_end_B;
        for (int light = 0; light < 256; ++light) {
            const double l = light * 2046.0 / 255.0;
            double weight = 1.0;
            if (l <= startA || l >= endB) {
                weight = 0.0;
            } else if (l < startB) {
                weight = (l - startA) / (startB - startA);
            } else if (l > endA) {
                weight = (endB - l) / (endB - endA);
            }
            weight_[static_cast<size_t>(light)] =
                static_cast<int16_t>(std::lround(std::ldexp(weight, kWeightBits)));
        }
    }

    int w_, h_;
    std::vector<int16_t> offsets_;       // [hue][sat][dH, dS], 1/16 HLS_FULL units
    std::array<int16_t, 256> weight_{};  // [lightness], 256 = full
    cv::Mat bgr_, hls_, i420_;
};

void peerFrames(benchmark::State& state, Size size, Frames frames) {
    const ISP2DLUTInStruct_V10 record = busyRecord();
    FrameFeeder feed(frames(size));
    OpenCvPeer peer(record, size);
    feed.loadNextUntimed();
    peer.process(feed.work());
    for (auto _ : state) {
        feed.loadNext(state);
        peer.process(feed.work());
    }
    setRateCounter(state, size);
}

#endif  // LUT2D_BENCH_HAVE_OPENCV

// ---------------------------------------------------------------------------------------------
// The copy floor

// Size of the last-level cache in bytes, 0 when unknown.
size_t lastLevelCacheBytes() {
    const long bytes = sysconf(_SC_LEVEL3_CACHE_SIZE);
    if (bytes > 0) return static_cast<size_t>(bytes);
    std::ifstream in("/sys/devices/system/cpu/cpu0/cache/index3/size");
    size_t value = 0;
    std::string unit;
    if (in >> value) {
        in >> unit;
        if (unit == "K") value <<= 10;
        if (unit == "M") value <<= 20;
        return value;
    }
    return 0;
}

// The buffers the copy rotates through. Each frame copy reads one slot and writes the next;
// the copies walk the pool pairwise, so a slot comes round again only after the whole pool has
// been read or written. With the pool at least twice the last-level cache every slot has been
// evicted by then, so both the read and the write go to DRAM, as they would for frames in a
// camera's buffer queue. At least 512 MiB as well, for machines whose cache size is unknown or
// small.
struct CopyPool {
    size_t bytes;
    std::unique_ptr<uint8_t[]> data;
};

size_t copyPoolBytes() {
    return std::max<size_t>(2 * lastLevelCacheBytes(), size_t{512} << 20);
}

const CopyPool& copyPool() {
    static const CopyPool pool = [] {
        const size_t bytes = copyPoolBytes();
        return CopyPool{bytes, std::make_unique<uint8_t[]>(bytes)};  // zeroed: pages are mapped
    }();
    return pool;
}

void copyFrames(benchmark::State& state, Size size) {
    const CopyPool& pool = copyPool();
    const size_t lumaBytes = size.pixels(), chromaBytes = size.pixels() / 2;
    const size_t slotBytes = (lumaBytes + chromaBytes + 4095) / 4096 * 4096;
    const size_t pairs = pool.bytes / (2 * slotBytes);
    size_t next = 0;
    for (auto _ : state) {
        const uint8_t* src = pool.data.get() + 2 * next * slotBytes;
        uint8_t* dst = pool.data.get() + (2 * next + 1) * slotBytes;
        std::memcpy(dst, src, lumaBytes);
        std::memcpy(dst + lumaBytes, src + lumaBytes, chromaBytes);
        benchmark::DoNotOptimize(dst);
        benchmark::ClobberMemory();
        next = next + 1 == pairs ? 0 : next + 1;
    }
    setRateCounter(state, size);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(lumaBytes + chromaBytes));
}

// ---------------------------------------------------------------------------------------------
// Four threads created and joined, as every frame starts and joins its four afresh.

void* idle(void*) {
    return nullptr;
}

void threadFrames(benchmark::State& state) {
    for (auto _ : state) {
        pthread_t threads[4];
        for (pthread_t& t : threads) pthread_create(&t, nullptr, idle, nullptr);
        for (pthread_t& t : threads) pthread_join(t, nullptr);
    }
}

// ---------------------------------------------------------------------------------------------
// Summary

// Keeps every run's time per frame and prints the summary table and the goal checks after the
// console report.
class SummaryReporter : public benchmark::ConsoleReporter {
  public:
    // Colours only on a terminal, so that a report sent to a file stays plain text.
    SummaryReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            if (r.error_occurred) continue;
            // With repetitions the median stands for the row; otherwise the one run.
            const bool aggregate = r.run_type == Run::RT_Aggregate;
            if (aggregate && r.aggregate_name != "median") continue;
            if (!aggregate && withMedian_.count(r.run_name.function_name) != 0) continue;
            if (aggregate) withMedian_.insert(r.run_name.function_name);
            millis_[r.run_name.function_name] =
                r.GetAdjustedRealTime() * 1e3 / benchmark::GetTimeUnitMultiplier(r.time_unit);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void printSummary() const {
        if (millis_.empty()) return;
        std::printf(
            "\nSummary (shared machines vary by 10-20%% from run to run: compare within a run)\n"
            "  peer/lib: the peer's time over this row's (>1: the library is faster)\n"
            "  /copy:    this row's time over the DRAM copy of one frame\n\n");
        std::printf("%-30s %10s %9s %9s %8s\n", "frame", "ms/frame", "MP/s", "peer/lib", "/copy");
        for (const char* mode : {"full_res", "low_res", "peer"}) {
            for (const char* content : {"realistic", "tiled", "flat"}) {
                for (Size s : kSizes) printRow(std::string(mode) + "/" + content, s);
            }
        }
        for (Size s : kSizes) printRow("copy", s);
        for (const char* mode : {"full_res", "low_res"}) {
            printRow(std::string(mode) + "/flat", kFixedCostSize);
        }
        if (const auto threads = byName("threads/4")) {
            std::printf("%-30s %10.3f\n", "threads/4 created and joined", *threads);
        }

        std::printf("\nGoals\n");
        const std::pair<const char*, double> peerGoals[] = {{"full_res", 1.5}, {"low_res", 8.0}};
        for (const auto& [mode, factor] : peerGoals) {
            for (const char* content : {"realistic", "tiled"}) {
                for (Size s : kSizes) {
                    char goal[96];
                    std::snprintf(goal, sizeof goal, "%s %s %s >= %gx faster than the peer", mode,
                                  content, sizeName(s).c_str(), factor);
                    checkRatio(goal, peerOver(std::string(mode) + "/" + content, s), factor, 1e300);
                }
            }
        }
        for (Size s : kSizes) {
            checkRatio("full_res flat " + sizeName(s) + " within 5x of the DRAM copy",
                       overCopy("full_res/flat", s), 0.0, 5.0);
        }
        // Four times the pixels of the same kind: the tiled frame against the realistic one,
        // the flat frame against the flat one.
        const std::pair<const char*, const char*> pairs[] = {{"tiled", "realistic"},
                                                             {"flat", "flat"}};
        for (const char* mode : {"full_res", "low_res"}) {
            for (const auto& [large, small] : pairs) {
                const std::string m = std::string(mode) + "/";
                checkRatio(std::string(mode) + " " + large + " " + sizeName(kSizes[1]) +
                               " takes 3.7x to 4.3x the time of " + small + " " +
                               sizeName(kSizes[0]),
                           timeRatio(m + large, kSizes[1], m + small, kSizes[0]), 3.7, 4.3);
            }
        }

        // What the time ratios above are made of, printed for reading, not checked.
        std::printf("\nTime at %s over time at %s, for reading\n", sizeName(kSizes[1]).c_str(),
                    sizeName(kSizes[0]).c_str());
        for (const char* mode : {"full_res", "low_res"}) {
            const std::string row = std::string(mode) + "/realistic";
            printRatio(row + ": the same scene, smoother per pixel at " + sizeName(kSizes[1]),
                       timeRatio(row, kSizes[1], row, kSizes[0]));
        }
        for (const char* mode : {"full_res", "low_res"}) {
            const std::string row = std::string(mode) + "/flat";
            const auto fixed = millis(row, kFixedCostSize);
            std::optional<double> ratio;
            const auto small = millis(row, kSizes[0]), large = millis(row, kSizes[1]);
            if (fixed && small && large) ratio = (*large - *fixed) / (*small - *fixed);
            printRatio(row + ": less the time of a " + sizeName(kFixedCostSize) + " frame", ratio);
        }
    }

  private:
    std::optional<double> millis(const std::string& row, Size s) const {
        return byName(row + "/" + sizeName(s));
    }
    std::optional<double> byName(const std::string& name) const {
        const auto it = millis_.find(name);
        if (it == millis_.end()) return std::nullopt;
        return it->second;
    }
    std::optional<double> timeRatio(const std::string& row, Size s, const std::string& over,
                                    Size overSize) const {
        const auto own = millis(row, s), other = millis(over, overSize);
        if (!own || !other) return std::nullopt;
        return *own / *other;
    }
    std::optional<double> peerOver(const std::string& row, Size s) const {
        const std::string content = row.substr(row.find('/'));
        const auto peer = millis("peer" + content, s), own = millis(row, s);
        if (!peer || !own) return std::nullopt;
        return *peer / *own;
    }
    std::optional<double> overCopy(const std::string& row, Size s) const {
        const auto copy = millis("copy", s), own = millis(row, s);
        if (!copy || !own) return std::nullopt;
        return *own / *copy;
    }

    void printRow(const std::string& row, Size s) const {
        const auto ms = millis(row, s);
        if (!ms) return;
        const bool library = row.starts_with("full_res") || row.starts_with("low_res");
        const auto peer = library ? peerOver(row, s) : std::nullopt;
        const auto copy = overCopy(row, s);
        std::printf("%-30s %10.3f %9.1f %9s %8s\n", (row + "/" + sizeName(s)).c_str(), *ms,
                    static_cast<double>(s.pixels()) * 1e-3 / *ms, format(peer).c_str(),
                    format(copy).c_str());
    }

    static std::string format(std::optional<double> ratio) {
        if (!ratio) return "-";
        char text[32];
        std::snprintf(text, sizeof text, "%.2f", *ratio);
        return text;
    }

    static void printRatio(const std::string& what, std::optional<double> ratio) {
        if (ratio) std::printf("  %-78s %7s\n", what.c_str(), (format(ratio) + "x").c_str());
    }

    // A goal whose rows did not run is left out.
    static void checkRatio(const std::string& goal, std::optional<double> ratio, double low,
                           double high) {
        if (!ratio) return;
        const char* verdict = *ratio >= low && *ratio <= high ? "met" : "NOT met";
        std::printf("  %-78s %7s  %s\n", goal.c_str(), (format(ratio) + "x").c_str(), verdict);
    }

    std::map<std::string, double> millis_;  // milliseconds per frame, by benchmark name
    std::set<std::string> withMedian_;      // names whose median has been reported
};

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::pair<const char*, Lut2DMode>> modes = {{"full_res", LUT2D_MODE_CHRUS},
                                                                  {"low_res", LUT2D_MODE_YDS}};
    auto registerContent = [&](const std::string& content, Size s, Frames frames, bool peer) {
        const std::string n = "/" + content + "/" + sizeName(s);
        for (const auto& [name, mode] : modes) {
            benchmark::RegisterBenchmark((name + n).c_str(), libraryFrames, s, mode, frames)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
#ifdef LUT2D_BENCH_HAVE_OPENCV
        if (peer) {
            benchmark::RegisterBenchmark(("peer" + n).c_str(), peerFrames, s, frames)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
#else
        (void)peer;
#endif
    };
    for (Size s : kSizes) {
        benchmark::RegisterBenchmark(("copy/" + sizeName(s)).c_str(), copyFrames, s)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        registerContent("realistic", s, realisticSequence, true);
        if (s.width == kSizes[1].width) registerContent("tiled", s, tiledSequence, true);
        registerContent("flat", s, flatSequence, true);
    }
    registerContent("flat", kFixedCostSize, flatSequence, false);
    benchmark::RegisterBenchmark("threads/4", threadFrames)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    // By default each row is timed five times for 0.4 s, the five turns of all rows in random
    // order, and the median stands for the row: a slow spell of a shared machine then falls on
    // one turn of several rows, not on the whole of one. Flags on the command line come later
    // and win. The whole run takes about a minute and a half.
    std::vector<char*> args(argv, argv + argc);
    std::string defaults[] = {"--benchmark_repetitions=5", "--benchmark_min_time=0.4",
                              "--benchmark_enable_random_interleaving=true",
                              "--benchmark_display_aggregates_only=true"};
    args.insert(args.begin() + (argc > 0 ? 1 : 0),
                {defaults[0].data(), defaults[1].data(), defaults[2].data(), defaults[3].data()});
    int argCount = static_cast<int>(args.size());
    benchmark::Initialize(&argCount, args.data());
    if (benchmark::ReportUnrecognizedArguments(argCount, args.data())) return 1;

    const size_t llc = lastLevelCacheBytes();
    benchmark::AddCustomContext("last-level cache",
                                llc ? std::to_string(llc >> 20) + " MiB" : "unknown");
    benchmark::AddCustomContext("copy pool", std::to_string(copyPoolBytes() >> 20) + " MiB");
#ifdef LUT2D_BENCH_HAVE_OPENCV
    cv::setNumThreads(2);
    benchmark::AddCustomContext("peer", "OpenCV " CV_VERSION " on 2 threads");
#else
    std::printf("The OpenCV peer is not built (OpenCV was not found when configuring): skipped.\n");
    benchmark::AddCustomContext("peer", "not built (no OpenCV)");
#endif

    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printSummary();
    benchmark::Shutdown();
    return 0;
}
