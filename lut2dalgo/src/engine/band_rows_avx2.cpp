// The band workers' vector stages for x86-64 processors with AVX2 (chosen at run time).

#include <immintrin.h>

#include <array>

#define LUT2D_ISA_TAG avx2
#include "band_rows_body.h"

namespace lut2d {

namespace {

using rows::U;

// For each set of lanes, the lanes in order, then the rest: the permutation that packs the
// kept lanes of a vector to its front.
constexpr std::array<std::array<uint32_t, 8>, 256> makeCompressTable() {
    std::array<std::array<uint32_t, 8>, 256> t{};
    for (uint32_t bits = 0; bits < 256; ++bits) {
        uint32_t n = 0;
        for (uint32_t j = 0; j < 8; ++j) {
            if ((bits >> j) & 1u) t[bits][n++] = j;
        }
        for (uint32_t j = 0; j < 8; ++j) {
            if (((bits >> j) & 1u) == 0) t[bits][n++] = j;
        }
    }
    return t;
}

alignas(32) constexpr std::array<std::array<uint32_t, 8>, 256> kCompress = makeCompressTable();

struct Avx2Ops {
    // key mod 49999 = key - 49999 floor(key / 49999), the quotient (key x 1407403032) >> 46:
    // exact for every key below 2^31. The products are formed for the even and the odd lanes.
    LUT2D_FORCE_INLINE static U slots(U keys) {
        const __m256i k = (__m256i)keys, m = _mm256_set1_epi32(1407403032);
        const __m256i even = _mm256_srli_epi64(_mm256_mul_epu32(k, m), 46);
        const __m256i odd = _mm256_srli_epi64(_mm256_mul_epu32(_mm256_srli_epi64(k, 32), m), 46);
        const __m256i q = _mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xAA);
        return (U)_mm256_sub_epi32(k, _mm256_mullo_epi32(q, _mm256_set1_epi32(49999)));
    }
    LUT2D_FORCE_INLINE static rows::U16x16 widen16(const uint8_t* p) {
        return (rows::U16x16)_mm256_cvtepu8_epi16(
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    LUT2D_FORCE_INLINE static U widen32(const uint8_t* p) {
        return (U)_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    }
    // Two gathers of four whole entries (result in the low word, key above). Pairs of 64-bit
    // scalar loads measured the same.
    LUT2D_FORCE_INLINE static void readEntries(const HM_RGB* cache, const uint32_t* slot, U& result,
                                               U& key) {
        const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(slot));
        const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(slot + 4));
        const auto* base = reinterpret_cast<const long long*>(cache);
        const __m256i e0 = _mm256_i32gather_epi64(base, lo, 8);
        const __m256i e1 = _mm256_i32gather_epi64(base, hi, 8);
        const __m256 r = _mm256_shuffle_ps(_mm256_castsi256_ps(e0), _mm256_castsi256_ps(e1), 0x88);
        const __m256 k = _mm256_shuffle_ps(_mm256_castsi256_ps(e0), _mm256_castsi256_ps(e1), 0xDD);
        result = (U)_mm256_permute4x64_epi64(_mm256_castps_si256(r), 0xD8);
        key = (U)_mm256_permute4x64_epi64(_mm256_castps_si256(k), 0xD8);
    }
    LUT2D_FORCE_INLINE static void writeEntries(HM_RGB* cache, const uint32_t* slot, U result,
                                                U key) {
        const __m256i e0 = _mm256_unpacklo_epi32((__m256i)result, (__m256i)key);  // 0 1 | 4 5
        const __m256i e1 = _mm256_unpackhi_epi32((__m256i)result, (__m256i)key);  // 2 3 | 6 7
        auto put = [cache](uint32_t s, __m128i pair, bool high) {
            double* p = reinterpret_cast<double*>(&cache[s]);
            if (high) {
                _mm_storeh_pd(p, _mm_castsi128_pd(pair));
            } else {
                _mm_storel_pd(p, _mm_castsi128_pd(pair));
            }
        };
        const __m128i a = _mm256_castsi256_si128(e0), b = _mm256_castsi256_si128(e1);
        const __m128i c = _mm256_extracti128_si256(e0, 1), d = _mm256_extracti128_si256(e1, 1);
        put(slot[0], a, false), put(slot[1], a, true), put(slot[2], b, false),
            put(slot[3], b, true);
        put(slot[4], c, false), put(slot[5], c, true), put(slot[6], d, false),
            put(slot[7], d, true);
    }
    // Each pair's two 16-bit lanes multiplied by 1024 and 1 and summed, in one instruction.
    LUT2D_FORCE_INLINE static U chromaFields(rows::U16x16 pairs, bool crFirst) {
        const __m256i weights =
            crFirst ? _mm256_set1_epi32(1 | 1024 << 16) : _mm256_set1_epi32(1024 | 1 << 16);
        return (U)_mm256_madd_epi16((__m256i)pairs, weights);
    }
    LUT2D_FORCE_INLINE static uint32_t signs8(U v) {
        return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps((__m256i)v)));
    }
    LUT2D_FORCE_INLINE static void compress(U v, uint32_t bits, uint32_t* out) {
        const __m256i order = _mm256_load_si256(reinterpret_cast<const __m256i*>(&kCompress[bits]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                            _mm256_permutevar8x32_epi32((__m256i)v, order));
    }
};

}  // namespace

LUT2D_DEFINE_ROWS(AVX2, Avx2Ops)

}  // namespace lut2d
