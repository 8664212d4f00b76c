// The colour kernel on many colours at once.
//
// AdjustColours_* map packed 10-bit input colours (Y << 20 | U << 10 | V) to packed adjusted
// colours in the same layout, each exactly as adjustColour (kernel_inline.h) computes it.
// AdjustBlocks_* do the same for the low-resolution mode's 8-bit keys and results
// (blockColour and blockResult in kernel_inline.h). The
// scalar _C form runs adjustColour itself; the vector forms run the same arithmetic eight
// colours at a time. All of them take a BatchTables prepared once per frame from the engine,
// while the tables cannot change (a frame reads the record and the engine's tables only).
//
// The vector forms compile the constant division tables and transform records in. They are
// used only when the engine's copies still hold exactly those constants, every lightness
// weight is at most kMaxVectorWeight and every scaled saturation offset of the grid fits in
// 15 bits (a validated record gives at most 4088); under those conditions no intermediate
// value can leave 32 bits, which is what lets the vector forms drop the scalar form's
// overflow checks. Any other engine state (a host may write the public tables, or run a
// record that was never validated) runs the scalar form.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel_types.h"

namespace lut2d {

// The largest lightness weight for which the vector forms are exact: with the grid's largest
// possible offset (|dH| < 491,520 for any 16-bit record) the weighted offset stays below 2^31.
inline constexpr uint32_t kMaxVectorWeight = 4095;

// Scaled saturation offsets the vector forms carry in 15 bits (see GridCell::satLo).
inline constexpr int32_t kMaxVectorSatOffset = (1 << 14) - 1;

// One grid cell (hue interval i, saturation interval j) as the vector forms read it, one
// 16-byte read per colour: the scaled grid values at the four corners, already reduced to the
// 16-bit base and difference that the interpolation along hue uses.
struct alignas(16) GridCell {
    int32_t hueLo;  // int16 base H(i, j) | int16 difference H(i+1, j) - H(i, j) << 16
    int32_t hueHi;  // the same at the next saturation node
    int32_t satLo;  // the saturation offsets likewise, the base in 15 bits; bit 15: the cell
    int32_t satHi;  //   is neutral (all eight grid values zero)
};
static_assert(sizeof(GridCell) == 16);

// Words of the per-value tables below.
inline constexpr int32_t kSatLowBit = 1 << 15;  // saturation below the first node
inline constexpr int32_t kNeutralBit = 1 << 15;

struct BatchTables {
    KernelTables tables;  // what the scalar form reads
    bool vectorExact;     // the vector forms give exactly the scalar form's results
    // Hue 0..12288 -> its grid row (hue interval x 16) | its 15-bit hue weight << 16.
    alignas(64) int32_t hueWord[kHueIndexEntries];
    // Saturation 0..2048 -> its saturation interval | kSatLowBit when below the first node |
    // its 12-bit saturation weight << 16.
    alignas(64) int32_t satWord[kSatIndexEntries];
    // Lightness 0..2047 -> its 12-bit lightness weight | the reciprocal << 12 and the shift
    // << 25 of the saturation division by its denominator.
    alignas(64) int32_t lightWord[kLightWeightEntries];
    GridCell cells[kGridEntries];  // index gridEntry(hue interval, saturation interval)
};

// Prepares t for a frame from the kernel's tables as they are now.
void prepareBatchTables(BatchTables& t, const KernelTables& k);

using AdjustColoursFn = void (*)(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                                 size_t count);

#define LUT2D_DECLARE_ADJUST(isa)                                                           \
    void AdjustColours_##isa(const BatchTables& t, const uint32_t* keys, uint32_t* results, \
                             size_t count);                                                 \
    void AdjustBlocks_##isa(const BatchTables& t, const uint32_t* keys, uint32_t* results,  \
                            size_t count);
LUT2D_DECLARE_ADJUST(C)
#if defined(__x86_64__)
LUT2D_DECLARE_ADJUST(AVX2)
#endif
#if defined(__aarch64__)
LUT2D_DECLARE_ADJUST(NEON)
#endif
#undef LUT2D_DECLARE_ADJUST

// One instruction-set form: full-resolution colours and low-resolution blocks.
struct ColourKernel {
    AdjustColoursFn colours;
    AdjustColoursFn blocks;
};

// The fastest form this machine runs exactly for t.
ColourKernel selectColourKernel(const BatchTables& t);

// Every form this build has, with whether this machine can run it, for tests and benchmarks.
struct AdjustColoursPath {
    const char* name;
    ColourKernel kernel;
    bool runnable;
};
size_t adjustColoursPaths(AdjustColoursPath* out, size_t capacity);

}  // namespace lut2d
