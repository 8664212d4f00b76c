// Where a frame's time goes: the band workers' stages (keys, walk, colours, settle, outputs)
// timed one by one over whole realistic frames on one thread (and over the tiled 3840x2160
// frame, four 1920x1080 views of the scene), in every form this machine runs (the scalar form,
// the vector forms). The four bands of a frame run one after another through their own cache
// slices, exactly as the frame driver cuts them, and frames of the sequence follow each other
// through the same slices, as in video.
//
//   build/gcc/bench/lut2d_stage_bench [frames per pass, default 8]
//
// Figures are nanoseconds per key (a pixel in the full-resolution mode, a 2x2 block in the
// low-resolution mode), the colour kernel's also per missed colour; each is the best of three
// passes over the sequence (a shared machine only ever adds time). The last column is each
// band's share of the frame's time: two threads can share out four bands only as evenly as
// those shares allow.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "engine/band_rows.h"
#include "engine/sw_2dlut_v10.h"
#include "scene.h"

namespace {

using lut2d_bench::Planes;
using lut2d_bench::Size;
using Clock = std::chrono::steady_clock;

enum Stage { kKeys, kWalk, kColours, kSettle, kOutputs, kStages };
const char* const kStageNames[kStages] = {"keys", "walk", "colours", "settle", "outputs"};

struct Totals {
    double ns[kStages] = {};
    double bandNs[lut2d::kBandCount] = {};  // all stages, by band
    double keys = 0, misses = 0;
    double total() const {
        double t = 0;
        for (double v : ns) t += v;
        return t;
    }
};

class Timer {
  public:
    explicit Timer(double& sink) : sink_(sink), start_(Clock::now()) {}
    ~Timer() { sink_ += std::chrono::duration<double, std::nano>(Clock::now() - start_).count(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

  private:
    double& sink_;
    Clock::time_point start_;
};

// Adds what the stages took while a band ran to the band's total.
class BandTimer {
  public:
    BandTimer(Totals& t, int band) : t_(t), band_(band), before_(t.total()) {}
    ~BandTimer() { t_.bandNs[band_] += t_.total() - before_; }
    BandTimer(const BandTimer&) = delete;
    BandTimer& operator=(const BandTimer&) = delete;

  private:
    Totals& t_;
    int band_;
    double before_;
};

// The engine whose tables and slices the stages use, set up as a handle would be.
struct Engine {
    ISP2DLUTInStruct_V10 record = lut2d_bench::busyRecord();
    void* handle = nullptr;
    std::unique_ptr<lut2d::BatchTables> tables = std::make_unique<lut2d::BatchTables>();
    Engine(Size s, Lut2DMode mode) {
        if (InitLut2D(&handle, &record, {s.width, s.height, s.width, 0}, mode) != 0) std::abort();
        lut2d::prepareBatchTables(*tables, lut2d::kernelTables(engine()));
    }
    ~Engine() { releaseLut2d(handle); }
    SW_2DLut_v10& engine() { return *static_cast<SW_2DLut_v10*>(handle); }
    HM_RGB* slice(int band) {
        return reinterpret_cast<HM_RGB*>(engine().m_workArea + size_t{lut2d::kCacheSliceBytes} *
                                                                   static_cast<size_t>(band));
    }
};

// One frame in the full-resolution mode, band by band and chunk by chunk, as the workers run
// it (width equals stride here, so every row is whole).
void fullResolutionFrame(Engine& e, const lut2d::FrameKernels& k, Planes& f, Size s,
                         std::vector<uint8_t>& chromaOut, lut2d::CacheWalk& w, Totals& t) {
    const uint32_t band = ((s.height >> 2) + 1) & ~1u;
    for (int b = 0; b < lut2d::kBandCount; ++b) {
        const uint32_t r0 = band * static_cast<uint32_t>(b);
        const uint32_t r1 = b == lut2d::kBandCount - 1 ? s.height : r0 + band;
        HM_RGB* cache = e.slice(b);
        const BandTimer bandTime(t, b);
        for (uint32_t r = r0; r < r1; r += 2) {
            const uint8_t* centre = f.chroma.data() + size_t{s.width} * r / 2;
            const lut2d::RowPair rp{f.luma.data() + size_t{s.width} * r,
                                    f.luma.data() + size_t{s.width} * (r + 1),
                                    r == 0 ? centre : centre - s.width,
                                    centre,
                                    r == s.height - 2 ? centre : centre + s.width,
                                    f.luma.data() + size_t{s.width} * r,
                                    f.luma.data() + size_t{s.width} * (r + 1),
                                    chromaOut.data() + size_t{s.width} * r / 2,
                                    s.width,
                                    0};
            for (uint32_t c0 = 0; c0 < s.width; c0 += lut2d::kChunkKeys / 2) {
                const uint32_t c1 = std::min<uint32_t>(s.width, c0 + lut2d::kChunkKeys / 2);
                {
                    Timer tm(t.ns[kKeys]);
                    k.rows.fullResKeys(rp, c0, c1, w);
                }
                {
                    Timer tm(t.ns[kWalk]);
                    k.rows.walk(cache, w);
                }
                {
                    Timer tm(t.ns[kColours]);
                    k.colour.colours(*e.tables, w.missKey, w.computed, w.misses);
                }
                {
                    Timer tm(t.ns[kSettle]);
                    k.rows.settle(cache, w);
                }
                {
                    Timer tm(t.ns[kOutputs]);
                    k.rows.fullResOutputs(rp, c0, c1, w);
                }
                t.keys += static_cast<double>(w.count);
                t.misses += static_cast<double>(w.misses);
            }
        }
    }
}

void lowResolutionFrame(Engine& e, const lut2d::FrameKernels& k, Planes& f, Size s,
                        std::vector<uint8_t>& offsets, lut2d::CacheWalk& w, Totals& t) {
    const uint32_t pairRows = s.height / 2, blocks = s.width / 2, band = pairRows >> 2;
    for (int b = 0; b < lut2d::kBandCount; ++b) {
        const uint32_t r0 = band * static_cast<uint32_t>(b);
        const uint32_t r1 = b == lut2d::kBandCount - 1 ? pairRows : r0 + band;
        HM_RGB* cache = e.slice(b);
        const BandTimer bandTime(t, b);
        for (uint32_t r = r0; r < r1; ++r) {
            const uint8_t* top = f.luma.data() + size_t{s.width} * 2 * r;
            const lut2d::PairRow pr{top,
                                    top + s.width,
                                    f.chroma.data() + size_t{s.width} * r,
                                    f.chroma.data() + size_t{s.width} * r,
                                    offsets.data() + size_t{blocks} * r,
                                    0};
            for (uint32_t b0 = 0; b0 < blocks; b0 += lut2d::kChunkKeys) {
                const auto b1 =
                    static_cast<uint32_t>(std::min<size_t>(blocks, b0 + lut2d::kChunkKeys));
                {
                    Timer tm(t.ns[kKeys]);
                    k.rows.lowResKeys(pr, b0, b1, w);
                }
                {
                    Timer tm(t.ns[kWalk]);
                    k.rows.walk(cache, w);
                }
                {
                    Timer tm(t.ns[kColours]);
                    k.colour.blocks(*e.tables, w.missKey, w.computed, w.misses);
                }
                {
                    Timer tm(t.ns[kSettle]);
                    k.rows.settle(cache, w);
                }
                {
                    Timer tm(t.ns[kOutputs]);
                    k.rows.lowResOutputs(pr, b0, b1, w);
                }
                t.keys += static_cast<double>(w.count);
                t.misses += static_cast<double>(w.misses);
            }
        }
    }
}

// The best of three passes over `frames` frames of the sequence, after one untimed frame.
Totals measure(const std::vector<Planes>& seq, Size s, Lut2DMode mode, const lut2d::FrameKernels& k,
               int frames) {
    Engine e(s, mode);
    Planes work = seq.back();
    std::vector<uint8_t> extra(s.pixels() / 2);
    auto w = std::make_unique<lut2d::CacheWalk>();
    auto run = [&](int n, Totals& t) {
        work = seq[static_cast<size_t>(n) % seq.size()];
        if (mode == LUT2D_MODE_CHRUS) {
            fullResolutionFrame(e, k, work, s, extra, *w, t);
        } else {
            lowResolutionFrame(e, k, work, s, extra, *w, t);
        }
    };
    Totals warm;
    run(0, warm);
    Totals best;
    for (int pass = 0; pass < 3; ++pass) {
        Totals t;
        for (int n = 1; n <= frames; ++n) run(n, t);
        if (pass == 0 || t.total() < best.total()) best = t;
    }
    return best;
}

}  // namespace

int main(int argc, char** argv) {
    const int frames = argc > 1 ? std::max(1, std::atoi(argv[1])) : 8;
    lut2d::RowKernelsPath paths[8];
    const size_t pathCount = lut2d::rowKernelsPaths(paths, 8);
    std::printf(
        "Band stages on one thread, realistic frames (ns per key; colours also per miss)\n\n");
    std::printf("%-28s %-5s %7s %7s %8s %7s %8s %7s   %7s %8s  %s\n", "frame", "form", "keys",
                "walk", "colours", "settle", "outputs", "total", "missed", "ns/miss", "bands %");
    struct Content {
        std::string name;
        Size size;
        const std::vector<Planes>* sequence;
    };
    std::vector<Content> contents;
    for (Size s : lut2d_bench::kSizes) {
        contents.push_back({lut2d_bench::sizeName(s), s, &lut2d_bench::realisticSequence(s)});
    }
    const Size large = lut2d_bench::kSizes[1];
    contents.push_back(
        {"tiled/" + lut2d_bench::sizeName(large), large, &lut2d_bench::tiledSequence(large)});
    for (const Content& c : contents) {
        const Size s = c.size;
        for (Lut2DMode mode : {LUT2D_MODE_CHRUS, LUT2D_MODE_YDS}) {
            for (size_t p = 0; p < pathCount && p < 8; ++p) {
                if (!paths[p].runnable) continue;
                Engine probe(s, mode);
                lut2d::FrameKernels k{paths[p].rows,
                                      {lut2d::AdjustColours_C, lut2d::AdjustBlocks_C}};
                if (p != 0) k.colour = lut2d::selectColourKernel(*probe.tables);
                const Totals t = measure(*c.sequence, s, mode, k, frames);
                const std::string name =
                    std::string(mode == LUT2D_MODE_CHRUS ? "full_res/" : "low_res/") + c.name;
                std::printf("%-28s %-5s", name.c_str(), paths[p].name);
                for (double ns : t.ns) std::printf(" %7.2f", ns / t.keys);
                std::printf(" %7.2f   %6.1f%% %8.2f  ", t.total() / t.keys,
                            100.0 * t.misses / t.keys, t.ns[kColours] / std::max(1.0, t.misses));
                for (int b = 0; b < lut2d::kBandCount; ++b) {
                    std::printf("%s%.0f", b == 0 ? " " : "/", 100.0 * t.bandNs[b] / t.total());
                }
                std::printf("\n");
            }
        }
    }
    std::printf("\n(stage columns: %s, %s, %s, %s, %s)\n", kStageNames[0], kStageNames[1],
                kStageNames[2], kStageNames[3], kStageNames[4]);
    return 0;
}
