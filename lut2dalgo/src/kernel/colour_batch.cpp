// The scalar form of the batched colour kernel, the per-frame table preparation and the
// choice of form.

#include "colour_batch.h"

#include <cstring>

#include "../common/int_math.h"
#include "kernel_constants.h"
#include "kernel_inline.h"

namespace lut2d {

namespace {

// Packs a 16-bit base and a 16-bit difference into one cell word.
int32_t baseAndDifference(int32_t a, int32_t b) {
    const auto base = static_cast<uint32_t>(static_cast<uint16_t>(a));
    const auto diff = static_cast<uint32_t>(
        static_cast<uint16_t>(static_cast<uint32_t>(b) - static_cast<uint32_t>(a)));
    return static_cast<int32_t>(base | diff << 16);
}

int32_t nodeAndReciprocal(uint16_t node, uint32_t reciprocal) {
    return static_cast<int32_t>(uint32_t{node} | reciprocal << 16);
}

// The vector forms hold the constant tables; they are exact only while the engine's tables
// are those constants and no weight can carry a weighted offset past 32 bits.
bool vectorFormsAreExact(const KernelTables& k) {
    const size_t divBytes = kDivTableSize * sizeof(uint32_t);
    if (std::memcmp(k.recipSat, kReciprocalTable.data(), divBytes) != 0 ||
        std::memcmp(k.recipHue, kReciprocalTable.data(), divBytes) != 0 ||
        std::memcmp(k.shiftSat, kShiftTable.data(), divBytes) != 0 ||
        std::memcmp(k.shiftHue, kShiftTable.data(), divBytes) != 0 ||
        std::memcmp(k.rgbToYuv, &kCstParams[0], sizeof(CST_params)) != 0 ||
        std::memcmp(k.yuvToRgb, &kCstParams[1], sizeof(CST_params)) != 0) {
        return false;
    }
    uint32_t heaviest = 0;
    for (uint32_t l = 0; l < kLightWeightEntries; ++l) {
        heaviest = k.lightWeight[l] > heaviest ? k.lightWeight[l] : heaviest;
    }
    return heaviest <= kMaxVectorWeight;
}

}  // namespace

void prepareBatchTables(BatchTables& t, const KernelTables& k) {
    t.tables = k;
    const ISP2DLUTInStruct_V10& cfg = *k.cfg;
    t.vectorExact = vectorFormsAreExact(k);
    t.satLowest = cfg.lut_1d_s[0];
    for (uint32_t s = 0; s < kSatIndexEntries; ++s) {
        t.satInterval[s] = k.satIndex[s] > 15 ? 15 : k.satIndex[s];
    }
    for (uint32_t s = kSatIndexEntries; s < kSatIndexEntries + 7; ++s) t.satInterval[s] = 0;

    for (uint32_t i = 0; i < kGridHueNodes; ++i) {
        const uint32_t iNext = i >= 23 ? 24 : i + 1;
        for (uint32_t j = 0; j < kGridSatNodes; ++j) {
            const uint32_t jNext = j >= 14 ? 15 : j + 1;
            const uint32_t c00 = i * 16 + j, c01 = i * 16 + jNext;
            const uint32_t c10 = iNext * 16 + j, c11 = iNext * 16 + jNext;
            auto hue = [&](uint32_t c) { return signedShift(cfg.lut_2d_h[c], cfg.h_shift); };
            auto sat = [&](uint32_t c) { return signedShift(cfg.lut_2d_s[c], cfg.s_shift); };
            GridCell& cell = t.cells[c00];
            cell.hueLo = baseAndDifference(hue(c00), hue(c10));
            cell.hueHi = baseAndDifference(hue(c01), hue(c11));
            cell.satLo = baseAndDifference(sat(c00), sat(c10));
            cell.satHi = baseAndDifference(sat(c01), sat(c11));
            cell.hueNode = nodeAndReciprocal(cfg.lut_1d_h[i], i <= 23 ? cfg.lut_1d_h_inv[i] : 0);
            cell.satNode = nodeAndReciprocal(cfg.lut_1d_s[j], j <= 14 ? cfg.lut_1d_s_inv[j] : 0);
            const bool zero = (cfg.lut_2d_h[c00] | cfg.lut_2d_h[c01] | cfg.lut_2d_h[c10] |
                               cfg.lut_2d_h[c11] | cfg.lut_2d_s[c00] | cfg.lut_2d_s[c01] |
                               cfg.lut_2d_s[c10] | cfg.lut_2d_s[c11]) == 0;
            cell.neutral = zero ? -1 : 0;
            cell.unused = 0;
        }
    }
}

void AdjustColours_C(const BatchTables& t, const uint32_t* keys, uint32_t* results, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const Yuv10 in = unpackYuv10(keys[i]);
        const Yuv10 out = adjustColour(t.tables, in.y, in.u, in.v);
        results[i] = packYuv10(out.y, out.u, out.v);
    }
}

void AdjustBlocks_C(const BatchTables& t, const uint32_t* keys, uint32_t* results, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        uint32_t adjusted;
        const uint32_t colour = blockColour(keys[i]);
        AdjustColours_C(t, &colour, &adjusted, 1);
        results[i] = blockResult(keys[i], adjusted);
    }
}

namespace {

constexpr ColourKernel kScalar{AdjustColours_C, AdjustBlocks_C};
#if defined(__x86_64__)
constexpr ColourKernel kAvx2{AdjustColours_AVX2, AdjustBlocks_AVX2};
#endif
#if defined(__aarch64__)
constexpr ColourKernel kNeon{AdjustColours_NEON, AdjustBlocks_NEON};
#endif

}  // namespace

size_t adjustColoursPaths(AdjustColoursPath* out, size_t capacity) {
    const AdjustColoursPath all[] = {
        {"C", kScalar, true},
#if defined(__x86_64__)
        {"AVX2", kAvx2, __builtin_cpu_supports("avx2") != 0},
#endif
#if defined(__aarch64__)
        {"NEON", kNeon, true},
#endif
    };
    const size_t n = sizeof all / sizeof all[0];
    for (size_t i = 0; i < n && i < capacity; ++i) out[i] = all[i];
    return n;
}

ColourKernel selectColourKernel(const BatchTables& t) {
    if (!t.vectorExact) return kScalar;
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2") != 0;
    if (avx2) return kAvx2;
#endif
#if defined(__aarch64__)
    return kNeon;
#endif
    return kScalar;
}

}  // namespace lut2d
