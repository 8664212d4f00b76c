// The batched colour kernel for x86-64 processors with AVX2 (chosen at run time). Table
// reads use the hardware gathers.

#include <immintrin.h>

#include "colour_batch_body.h"

namespace lut2d {

namespace {

using vec::V;

LUT2D_FORCE_INLINE __m256i m(V v) {
    return (__m256i)v;
}

struct Avx2Lanes {
    LUT2D_FORCE_INLINE static V table(const int32_t* t, V i) {
        return (V)_mm256_i32gather_epi32(reinterpret_cast<const int*>(t), m(i), 4);
    }
    // Reads 32 bits at each 16-bit entry and keeps the low half: the index tables are read
    // at hues up to 12287 of 12289 entries and the weight table at lightness up to 2046 of
    // 2048, so the upper half never lies past a table.
    LUT2D_FORCE_INLINE static V table16(const uint16_t* t, V i) {
        return (V)_mm256_i32gather_epi32(reinterpret_cast<const int*>(t), m(i), 2) & 0xFFFF;
    }
    LUT2D_FORCE_INLINE static void cells(const GridCell* c, V i, V (&w)[7]) {
        const V base = i * 8;
        const int* words = reinterpret_cast<const int*>(c);
        for (int k = 0; k < 7; ++k) {
            w[k] = (V)_mm256_i32gather_epi32(words + k, m(base), 4);
        }
    }
};

}  // namespace

void AdjustColours_AVX2(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                        size_t count) {
    vec::adjustColours<Avx2Lanes, false>(t, keys, results, count);
}

void AdjustBlocks_AVX2(const BatchTables& t, const uint32_t* keys, uint32_t* results,
                       size_t count) {
    vec::adjustColours<Avx2Lanes, true>(t, keys, results, count);
}

}  // namespace lut2d
