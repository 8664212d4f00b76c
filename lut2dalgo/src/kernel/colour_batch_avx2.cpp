// The batched colour kernel for x86-64 processors with AVX2 (chosen at run time). Table
// reads go lane by lane: on the processors measured, hardware gathers are slower.

#define LUT2D_ISA_TAG avx2
#include "colour_batch_body.h"

namespace lut2d {

void AdjustColours_AVX2(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                        size_t count) {
    vec::adjustColours<vec::ScalarLanes, false>(t, keys, results, count);
}

void AdjustBlocks_AVX2(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                       size_t count) {
    vec::adjustColours<vec::ScalarLanes, true>(t, keys, results, count);
}

}  // namespace lut2d
