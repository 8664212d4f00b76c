// Colour kernel members: grid interpolation, lightness boundaries, the per-pixel offset
// sequence and the small interpolation helpers of the same family.

#include "../common/checked_math.h"
#include "../common/int_math.h"
#include "../engine/sw_2dlut_v10.h"
#include "lut_math.h"

using lut2d::toUint16;

namespace {

// y0 + ((diff * w + 2^(q-1)) shifted by -q under the signed shift rule): for q from 1 to 31
// the rounded shift of roundShift. The product is kept to its low 32 bits; the sums must fit
// in 32 bits.
int interpolateLinear(int q, int32_t diff, uint32_t w, int y0) {
    const auto product = static_cast<int32_t>(static_cast<uint32_t>(diff) * w);
    const int32_t t =
        lut2d::checkedAdd<int32_t>(product, lut2d::roundingHalf(static_cast<uint32_t>(q)));
    const auto negQ = static_cast<int32_t>(0u - static_cast<uint32_t>(q));
    return lut2d::checkedAdd<int32_t>(y0, lut2d::signedShift(t, negQ));
}

}  // namespace

int SW_2DLut_v10::bilinearInterpolation(unsigned short h, unsigned short s, unsigned short hIdx,
                                        unsigned short sIdx, int* dH, int* dS,
                                        const ISP2DLUTInStruct_V10* cfg, bool* cellIsNeutral) {
    const lut2d::GridOffsets d = lut2d::bilinearOffsets(*cfg, h, s, hIdx, sIdx);
    *dH = d.dH;
    *dS = d.dS;
    if (d.neutral) *cellIsNeutral = true;
    return 0;
}

// The offsets of process's table step as a member of its own. Unlike process it reports a
// neutral cell (or a flag that came in set) as zero hue and saturation, which the caller
// must tell apart from a colour by the flag.
int SW_2DLut_v10::colorAdjust(int h, int s, int l, int* outH, int* outS,
                              const ISP2DLUTInStruct_V10* cfg, bool* cellIsNeutral) {
    const uint32_t hIdx = lut2d::hueInterval(lut2d::kernelTables(*this), h);
    const uint32_t sIdx = lut2d::satInterval(lut2d::kernelTables(*this), s);
    if (static_cast<uint32_t>(toUint16(s)) < cfg->lut_1d_s[0]) {
        *outH = h;
        *outS = s;
        return 0;
    }
    const lut2d::GridOffsets d = lut2d::bilinearOffsets(
        *cfg, static_cast<uint32_t>(toUint16(h)), static_cast<uint32_t>(toUint16(s)), hIdx, sIdx);
    if (d.neutral) *cellIsNeutral = true;
    if (*cellIsNeutral) {
        *outH = 0;
        *outS = 0;
        return 0;
    }
    const lut2d::HueSat moved =
        lut2d::moveHueSat(h, s, d, lut2d::lightWeightAt(lut2d::kernelTables(*this), toUint16(l)));
    *outH = moved.h;
    *outS = moved.s;
    return 0;
}

int SW_2DLut_v10::BoundaryControl(unsigned short l, int dH, int dS, int* outH, int* outS,
                                  const ISP2DLUTInStruct_V10* /*cfg*/) {
    const int32_t w = lut2d::lightWeightAt(lut2d::kernelTables(*this), l);
    *outH = lut2d::weightOffset(dH, w);
    *outS = lut2d::weightOffset(dS, w);
    return 0;
}

int SW_2DLut_v10::BoundaryCheck(unsigned short l, unsigned short startA, unsigned short endA,
                                unsigned short startB, unsigned short endB) {
    return lut2d::boundaryClass(l, startA, endA, startB, endB);
}

int SW_2DLut_v10::boundaryLinearInterpolation(unsigned short a, unsigned short b, unsigned short c,
                                              unsigned short* out) {
    *out = lut2d::boundaryRamp(a, b, c);
    return 0;
}

// Linear search for the interval [nodes[i], nodes[i + 1]) that holds v; a value equal to the
// last node is not found. The counter is 16 bits wide, so at most 65535 intervals are
// examined (a larger n would only repeat them).
int SW_2DLut_v10::searchIndex(bool clampHigh, int n, unsigned short v, unsigned short* idx,
                              const unsigned short* nodes) {
    const int64_t intervals = int64_t{n} - 1;
    for (uint32_t i = 0; i < intervals && i <= 0xFFFFu; ++i) {
        if (nodes[i] <= v && nodes[i + 1] > v) {
            *idx = static_cast<unsigned short>(i);
            return 0;
        }
    }
    *idx = clampHigh ? static_cast<unsigned short>(static_cast<uint32_t>(n) - 2u) : 0;
    return -1;
}

int SW_2DLut_v10::linearInterpolation_Cmult32(int q, int /*unused*/, unsigned int w, int y0,
                                              int y1) {
    return interpolateLinear(q, lut2d::difference16(y1, y0), w & 0xFFFFu, y0);
}

int SW_2DLut_v10::linearInterpolation_Cmult64(int q, int /*unused*/, unsigned int w, int y0,
                                              int y1) {
    return interpolateLinear(q, lut2d::checkedSub<int32_t>(y1, y0), w, y0);
}
