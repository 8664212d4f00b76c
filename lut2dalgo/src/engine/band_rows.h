// The band workers' per-chunk stages, in one scalar form and one vector form per instruction
// set, chosen once per frame.
//
// Results persist in a band's cache slice, so the order in which colours meet the cache is
// part of a frame's result: rows top to bottom, blocks left to right, and in the
// full-resolution mode the four pixels of a block top-left, top-right, bottom-left,
// bottom-right. A colour that finds its own key in its slot takes the stored result, which
// may have been computed under an earlier tuning record; every other colour is computed
// afresh and replaces what the slot held.
//
// The workers keep that order exactly but not its one-colour-at-a-time schedule. A band is
// taken a chunk of keys at a time, in that order:
//   keys     every key of the chunk is formed (chroma upsampled, fields packed);
//   walk     the keys are walked in order against the slice. A miss claims its slot at once:
//            the key is stored with a pending result naming the key's place in the chunk,
//            so a later key of the chunk that meets it hits it, exactly as in order;
//   colours  the misses are computed together by the batched colour kernel;
//   settle   their results go into their slots in miss order (the last claim of a slot
//            wins, as in order) and to the keys that claimed or hit them;
//   outputs  the chunk's results are written into the planes.
// Every result that is not a stored one is a pure function of the colour under the frame's
// tables, so nothing but the schedule changes.
//
// The vector walk takes eight keys at a time and reads their eight entries together. When
// every key is found, nothing is claimed and nothing written, whatever slots they share. When
// their eight slots differ, no key of the eight can see another's claim, so every entry is
// written back at once (a hit rewrites what it read); eight keys that repeat a key take what
// its first occurrence found or claimed; eight in which different keys share a slot are
// walked one by one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../kernel/colour_batch.h"
#include "sw_2dlut_v10.h"

namespace lut2d {

// Keys per chunk: pixels in the full-resolution mode (two rows of 512 columns), blocks in the
// low-resolution mode.
inline constexpr size_t kChunkKeys = 1024;

// Keys per unit: the chunk is cut into units of 32 keys from its start (eight blocks in the
// full-resolution mode, 32 in the low-resolution mode). A unit whose keys are all one key
// (flat areas) can be walked with a single step and written out as one value.
inline constexpr size_t kUnitKeys = 32;

// A result that names a claim of the chunk: kClaimMark | the claiming key's place in the chunk.
// Computed results never have the top bit (10-bit fields in 30 bits, 8-bit fields in 24); a
// stored result that merely looks like a claim (a host may write the slice) is told apart by
// the place it names (see settleChunk).
inline constexpr uint32_t kClaimMark = 0x80000000u;

// One chunk walked against a band's cache slice (about 25 KB, on the worker's stack). The
// miss lists have room for a whole vector past their end: the vector forms store whole
// vectors and count only the lanes they keep.
struct CacheWalk {
    alignas(32) uint32_t keys[kChunkKeys];
    alignas(32) uint32_t result[kChunkKeys];        // each key's stored result, or a claim
    alignas(32) uint32_t missKey[kChunkKeys + 8];   // the chunk's misses, in order
    alignas(32) uint32_t missSlot[kChunkKeys + 8];  // their slots
    alignas(32) uint32_t missAt[kChunkKeys + 8];    // their places in the chunk
    alignas(32) uint32_t computed[kChunkKeys];      // their results
    alignas(32) uint8_t isMiss[kChunkKeys];         // 1 where the key missed (from settle on)
    uint8_t uniform[kChunkKeys / kUnitKeys];        // 1: the unit's 32 keys are one key
    size_t count;                                   // keys in the chunk
    size_t misses;
};

// Chroma byte order of a pair: 0 Cb first, 1 Cr first; any other format has no chroma.
enum ChromaOrder : uint32_t { kCbFirst = 0, kCrFirst = 1 };

// What a full-resolution row pair reads and writes. The chroma rows above and below stand
// in for themselves at the frame's top and bottom. Chroma byte c belongs to luma column c.
struct RowPair {
    const uint8_t* lumaTop;
    const uint8_t* lumaBottom;
    const uint8_t* up;
    const uint8_t* centre;
    const uint8_t* down;
    uint8_t* lumaOutTop;
    uint8_t* lumaOutBottom;
    uint8_t* chromaOut;
    uint32_t width;  // even luma width of the band
    uint32_t format;
};

// What a low-resolution pair row reads and writes: blocks b have luma columns 2b, 2b + 1 of
// both rows and chroma pair bytes 2b, 2b + 1.
struct PairRow {
    const uint8_t* lumaTop;
    const uint8_t* lumaBottom;
    const uint8_t* chromaIn;
    uint8_t* chromaOut;
    uint8_t* offsets;
    uint32_t format;
};

// The stages of one form. Keys and outputs cover columns [c0, c1) of a row pair (c0, c1
// even) or blocks [b0, b1) of a pair row. The keys stage stores the keys in walk order from
// w.keys[0], their count, and which units are one key (a form may leave every unit unmarked);
// the outputs stage reads w.result and may write a marked unit as one value.
struct RowKernels {
    void (*fullResKeys)(const RowPair& rp, uint32_t c0, uint32_t c1, CacheWalk& w);
    void (*fullResOutputs)(const RowPair& rp, uint32_t c0, uint32_t c1, const CacheWalk& w);
    void (*lowResKeys)(const PairRow& pr, uint32_t b0, uint32_t b1, CacheWalk& w);
    void (*lowResOutputs)(const PairRow& pr, uint32_t b0, uint32_t b1, const CacheWalk& w);
    void (*walk)(HM_RGB* cache, CacheWalk& w);
    // Stores the computed results in their slots, in miss order, and hands them to the keys
    // that claimed or hit them.
    void (*settle)(HM_RGB* cache, CacheWalk& w);
};

#define LUT2D_DECLARE_ROWS(isa)                                                                 \
    void FullResKeys_##isa(const RowPair& rp, uint32_t c0, uint32_t c1, CacheWalk& w);          \
    void FullResOutputs_##isa(const RowPair& rp, uint32_t c0, uint32_t c1, const CacheWalk& w); \
    void LowResKeys_##isa(const PairRow& pr, uint32_t b0, uint32_t b1, CacheWalk& w);           \
    void LowResOutputs_##isa(const PairRow& pr, uint32_t b0, uint32_t b1, const CacheWalk& w);  \
    void WalkChunk_##isa(HM_RGB* cache, CacheWalk& w);                                          \
    void SettleChunk_##isa(HM_RGB* cache, CacheWalk& w);
LUT2D_DECLARE_ROWS(C)
#if defined(__x86_64__)
LUT2D_DECLARE_ROWS(AVX2)
#endif
#if defined(__aarch64__)
LUT2D_DECLARE_ROWS(NEON)
#endif
#undef LUT2D_DECLARE_ROWS

// Everything a band worker runs on: the row stages and the colour kernel.
struct FrameKernels {
    RowKernels rows;
    ColourKernel colour;
};

// The fastest forms this machine runs exactly for t.
FrameKernels selectFrameKernels(const BatchTables& t);

// Every row form this build has, with whether this machine can run it, for tests and
// benchmarks.
struct RowKernelsPath {
    const char* name;
    RowKernels rows;
    bool runnable;
};
size_t rowKernelsPaths(RowKernelsPath* out, size_t capacity);

// One band's work: its argument record, the colour kernel's tables (prepared once per frame)
// and the forms of the stages.
struct BandWork {
    Lut2DThreadArgs args;
    const BatchTables* tables;
    FrameKernels kernels;
};

// The full-resolution mode over one band: every pixel adjusted with upsampled chroma, luma
// rewritten in place, the new chroma written to the driver's result buffer.
void fullResolutionBand(const BandWork& work);

// The low-resolution mode over one band: one adjusted colour per 2x2 block, chroma rewritten
// in place, the luma change written to the quarter-size offset plane.
void lowResolutionBand(const BandWork& work);

}  // namespace lut2d
