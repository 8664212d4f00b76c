// The batched colour kernel for arm64 (Advanced SIMD is always there). The arithmetic runs
// as pairs of 128-bit vectors; table reads go lane by lane.

#define LUT2D_ISA_TAG neon
#include "colour_batch_body.h"

namespace lut2d {

void AdjustColours_NEON(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                        size_t count) {
    vec::adjustColours<vec::ScalarLanes, false>(t, keys, results, count);
}

void AdjustBlocks_NEON(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                       size_t count) {
    vec::adjustColours<vec::ScalarLanes, true>(t, keys, results, count);
}

}  // namespace lut2d
