// The scalar forms of the band workers' stages, the settling of a chunk, the choice of forms,
// and the bands taken a chunk at a time through the stages.

#include "band_rows.h"

#include <algorithm>
#include <cstring>

#include "band_rows_scalar.h"

namespace lut2d {

void FullResKeys_C(const RowPair& rp, uint32_t c0, uint32_t c1, CacheWalk& w) {
    uint32_t* keys = w.keys;
    for (uint32_t col = c0; col < c1; col += 2, keys += 4) scalar::blockKeys(rp, col, keys);
    w.count = size_t{c1 - c0} * 2;
    std::memset(w.uniform, 0, sizeof w.uniform);
}

void FullResOutputs_C(const RowPair& rp, uint32_t c0, uint32_t c1, const CacheWalk& w) {
    const uint32_t* results = w.result;
    for (uint32_t col = c0; col < c1; col += 2, results += 4) {
        scalar::blockOutputs(rp, col, results);
    }
}

void LowResKeys_C(const PairRow& pr, uint32_t b0, uint32_t b1, CacheWalk& w) {
    uint32_t* keys = w.keys;
    for (uint32_t b = b0; b < b1; ++b) *keys++ = scalar::pairKey(pr, b);
    w.count = b1 - b0;
    std::memset(w.uniform, 0, sizeof w.uniform);
}

void LowResOutputs_C(const PairRow& pr, uint32_t b0, uint32_t b1, const CacheWalk& w) {
    const uint32_t* results = w.result;
    for (uint32_t b = b0; b < b1; ++b) scalar::pairOutputs(pr, b, *results++);
}

void WalkChunk_C(HM_RGB* cache, CacheWalk& w) {
    size_t misses = 0;
    for (size_t i = 0; i < w.count; ++i) misses = scalar::walkStep(cache, w, i, misses);
    w.misses = misses;
}

void SettleChunk_C(HM_RGB* cache, CacheWalk& w) {
    std::memset(w.isMiss, 0, w.count);
    for (size_t m = 0; m < w.misses; ++m) {
        cache[w.missSlot[m]].result = w.computed[m];
        w.result[w.missAt[m]] = w.computed[m];
        w.isMiss[w.missAt[m]] = 1;
    }
    // What is still marked hit a claim made earlier in the chunk (or looks as if it had).
    for (size_t i = 0; i < w.count; ++i) {
        if ((w.result[i] & kClaimMark) != 0) scalar::resolveClaim(w, i);
    }
}

namespace {

constexpr RowKernels kScalarRows{FullResKeys_C,   FullResOutputs_C, LowResKeys_C,
                                 LowResOutputs_C, WalkChunk_C,      SettleChunk_C};
#if defined(__x86_64__)
constexpr RowKernels kAvx2Rows{FullResKeys_AVX2,   FullResOutputs_AVX2, LowResKeys_AVX2,
                               LowResOutputs_AVX2, WalkChunk_AVX2,      SettleChunk_AVX2};
#endif
#if defined(__aarch64__)
constexpr RowKernels kNeonRows{FullResKeys_NEON,   FullResOutputs_NEON, LowResKeys_NEON,
                               LowResOutputs_NEON, WalkChunk_NEON,      SettleChunk_NEON};
#endif

}  // namespace

size_t rowKernelsPaths(RowKernelsPath* out, size_t capacity) {
    const RowKernelsPath all[] = {
        {"C", kScalarRows, true},
#if defined(__x86_64__)
        {"AVX2", kAvx2Rows, __builtin_cpu_supports("avx2") != 0},
#endif
#if defined(__aarch64__)
        {"NEON", kNeonRows, true},
#endif
    };
    const size_t n = sizeof all / sizeof all[0];
    for (size_t i = 0; i < n && i < capacity; ++i) out[i] = all[i];
    return n;
}

FrameKernels selectFrameKernels(const BatchTables& t) {
    RowKernels rows = kScalarRows;
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2") != 0;
    if (avx2) rows = kAvx2Rows;
#endif
#if defined(__aarch64__)
    rows = kNeonRows;
#endif
    return {rows, selectColourKernel(t)};
}

namespace {

// One chunk of a full-resolution row pair: columns [c0, c1), four keys per two columns.
void fullResolutionChunk(const BandWork& job, HM_RGB* cache, const RowPair& rp, uint32_t c0,
                         uint32_t c1, CacheWalk& w) {
    const FrameKernels& k = job.kernels;
    k.rows.fullResKeys(rp, c0, c1, w);
    k.rows.walk(cache, w);
    k.colour.colours(*job.tables, w.missKey, w.computed, w.misses);
    k.rows.settle(cache, w);
    k.rows.fullResOutputs(rp, c0, c1, w);
}

// One chunk of a low-resolution pair row: blocks [b0, b1).
void lowResolutionChunk(const BandWork& job, HM_RGB* cache, const PairRow& pr, uint32_t b0,
                        uint32_t b1, CacheWalk& w) {
    const FrameKernels& k = job.kernels;
    k.rows.lowResKeys(pr, b0, b1, w);
    k.rows.walk(cache, w);
    k.colour.blocks(*job.tables, w.missKey, w.computed, w.misses);
    k.rows.settle(cache, w);
    k.rows.lowResOutputs(pr, b0, b1, w);
}

}  // namespace

void fullResolutionBand(const BandWork& job) {
    const Lut2DThreadArgs& a = job.args;
    const size_t stride = a.stride;
    // Blocks lie wholly inside the frame: an odd last column or row is left as it is.
    const uint32_t width = std::min<uint32_t>(a.width, a.stride) & ~1u;
    const uint32_t height = a.height & ~1u;
    const uint32_t endRow = std::min<uint32_t>(a.endRow, height);
    if (a.startRow >= endRow || width == 0) return;

    HM_RGB* cache = reinterpret_cast<HM_RGB*>(a.pScratch);
    CacheWalk walk;
    constexpr uint32_t kChunkColumns = kChunkKeys / 2;  // four pixels per two columns

    for (uint32_t r = a.startRow; r < endRow; r += 2) {
        const uint8_t* centre = a.pChromaIn + stride * r / 2;
        const RowPair rp{a.pLumaIn + stride * r,
                         a.pLumaIn + stride * (r + 1),
                         r == 0 ? centre : centre - stride,
                         centre,
                         r == height - 2 ? centre : centre + stride,
                         a.pLumaOut + stride * r,
                         a.pLumaOut + stride * (r + 1),
                         a.pChromaOut + stride * r / 2,
                         width,
                         a.format};
        for (uint32_t c0 = 0; c0 < width; c0 += kChunkColumns) {
            fullResolutionChunk(job, cache, rp, c0, std::min(width, c0 + kChunkColumns), walk);
        }
    }
}

void lowResolutionBand(const BandWork& job) {
    const Lut2DThreadArgs& a = job.args;
    const size_t s = a.stride;  // half the frame stride: pairs are 2 bytes, rows 2s apart
    const uint32_t width = std::min<uint32_t>(a.width, a.stride);
    if (a.startRow >= a.endRow || width == 0) return;

    HM_RGB* cache = reinterpret_cast<HM_RGB*>(a.pScratch);
    CacheWalk walk;
    for (uint32_t r = a.startRow; r < a.endRow; ++r) {
        const uint8_t* lumaTop = a.pLumaIn + s * 4 * r;
        const PairRow pr{lumaTop,
                         lumaTop + 2 * s,
                         a.pChromaIn + s * 2 * r,
                         a.pChromaOut + s * 2 * r,
                         a.pLumaOffset + s * r,
                         a.format};
        for (uint32_t b0 = 0; b0 < width; b0 += kChunkKeys) {
            lowResolutionChunk(job, cache, pr, b0,
                               std::min<uint32_t>(width, b0 + static_cast<uint32_t>(kChunkKeys)),
                               walk);
        }
    }
}

}  // namespace lut2d
