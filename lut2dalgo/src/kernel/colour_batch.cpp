// The scalar form of the batched colour kernel, the per-frame table preparation and the
// choice of form.

#include "colour_batch.h"

#include <algorithm>
#include <cstring>

#include "../common/int_math.h"
#include "kernel_constants.h"
#include "kernel_inline.h"

namespace lut2d {

namespace {

// A 16-bit base and a 16-bit difference in one cell word: base | (b - a) << 16. The base is
// kept to its low `baseBits` bits (the bit above it stays free for a flag).
int32_t baseAndDifference(int32_t a, int32_t b, uint32_t baseBits = 16) {
    const uint32_t base = static_cast<uint32_t>(a) & ((1u << baseBits) - 1u);
    const auto diff = static_cast<uint32_t>(
        static_cast<uint16_t>(static_cast<uint32_t>(b) - static_cast<uint32_t>(a)));
    return static_cast<int32_t>(base | diff << 16);
}

// The vector forms hold the constant tables and carry weights and saturation offsets in
// fewer bits; they are exact only while the engine's tables are those constants and the
// record's values fit.
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
    int32_t widest = 0;
    for (uint32_t i = 0; i < kGridEntries; ++i) {
        const int32_t s = scaledSatOffset(*k.cfg, i);
        widest = std::max(widest, s < 0 ? -(s + 1) : s);  // s = INT32_MIN cannot fit either
    }
    return heaviest <= kMaxVectorWeight && widest <= kMaxVectorSatOffset;
}

}  // namespace

void prepareBatchTables(BatchTables& t, const KernelTables& k) {
    t.tables = k;
    const ISP2DLUTInStruct_V10& cfg = *k.cfg;
    t.vectorExact = vectorFormsAreExact(k);

    for (uint32_t h = 0; h < kHueIndexEntries; ++h) {
        const uint32_t hi =
            std::min<uint32_t>(hueInterval(k, static_cast<int32_t>(h)), kHueNodes - 1);
        t.hueWord[h] =
            static_cast<int32_t>(gridEntry(hi, 0) | uint32_t(hueWeight(cfg, h, hi)) << 16);
    }
    for (uint32_t s = 0; s < kSatIndexEntries; ++s) {
        const uint32_t si =
            std::min<uint32_t>(satInterval(k, static_cast<int32_t>(s)), kSatNodes - 1);
        const uint32_t low = s < cfg.lut_1d_s[0] ? kSatLowBit : 0;
        t.satWord[s] = static_cast<int32_t>(si | low | uint32_t(satWeight(cfg, s, si)) << 16);
    }
    for (uint32_t l = 0; l < kLightWeightEntries; ++l) {
        const uint32_t den =
            clampIndex(lightnessDenominator(static_cast<int32_t>(l)), kDivTableSize - 1);
        const auto w = static_cast<uint32_t>(lightWeightAt(k, static_cast<int32_t>(l)));
        t.lightWord[l] = static_cast<int32_t>((w & 0xFFFu) | (k.recipSat[den] & 0x1FFFu) << 12 |
                                              (k.shiftSat[den] & 0xFu) << 25);
    }
    for (uint32_t i = 0; i < kHueNodes; ++i) {
        for (uint32_t j = 0; j < kSatNodes; ++j) {
            const CellNodes c = cellNodes(i, j);
            auto hue = [&](int hn, int sn) { return scaledHueOffset(cfg, c.at[hn][sn]); };
            auto sat = [&](int hn, int sn) { return scaledSatOffset(cfg, c.at[hn][sn]); };
            const int32_t neutral = cellIsNeutral(cfg, c) ? kNeutralBit : 0;
            GridCell& cell = t.cells[gridEntry(i, j)];
            cell.hueLo = baseAndDifference(hue(0, 0), hue(1, 0));
            cell.hueHi = baseAndDifference(hue(0, 1), hue(1, 1));
            cell.satLo = baseAndDifference(sat(0, 0), sat(1, 0), 15) | neutral;
            cell.satHi = baseAndDifference(sat(0, 1), sat(1, 1), 15);
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
