// The two band workers. Each walks its band in 2x2 blocks, in a fixed order (rows top to
// bottom, blocks left to right), because results persist in the band's cache slice and the
// order in which colours enter the cache is part of the frame's result.

#include "band_workers.h"

#include <algorithm>

#include "../kernel/kernel_inline.h"
#include "sw_2dlut_v10.h"

namespace {

// Chroma byte order of a pair.
enum ChromaOrder : uint32_t { kCbFirst = 0, kCrFirst = 1 };

// 9-3-3-1 upsampling of one chroma byte to one luma position of a 2x2 block: the centre pair
// with weight 9, the two edge neighbours on the position's side with 3, the corner with 1.
// The weights total 16, so the result is a 10-bit sample with two fraction bits.
inline int32_t upsample(int32_t centre, int32_t side, int32_t vertical, int32_t corner) {
    return (9 * centre + 3 * side + 3 * vertical + corner) >> 2;
}

}  // namespace

void* run2dlut_fx_ChrUs(void* arg) {
    const Lut2DThreadArgs& a = *static_cast<const Lut2DThreadArgs*>(arg);
    const size_t stride = a.stride;
    // Blocks lie wholly inside the frame: an odd last column or row is left as it is.
    const uint32_t width = std::min<uint32_t>(a.width, a.stride) & ~1u;
    const uint32_t height = a.height & ~1u;
    const uint32_t endRow = std::min<uint32_t>(a.endRow, height);
    if (a.startRow >= endRow || width == 0) return nullptr;

    const lut2d::KernelTables engine = lut2d::kernelTables(*a.engine);
    HM_RGB* cache = reinterpret_cast<HM_RGB*>(a.pScratch);
    const uint8_t* lumaIn = a.pLumaIn;
    uint8_t* lumaOut = a.pLumaOut;
    const uint8_t* chromaIn = a.pChromaIn;
    uint8_t* chromaOut = a.pChromaOut;
    const uint32_t format = a.format;

    for (uint32_t r = a.startRow; r < endRow; r += 2) {
        const size_t lumaRow = stride * r;
        const size_t chromaRow = stride * r / 2;
        const bool top = r == 0;
        const bool bottom = r == height - 2;
        for (uint32_t c = 0; c < width; c += 2) {
            const size_t tl = lumaRow + c;
            const size_t bl = tl + stride;
            const size_t lumaPos[4] = {tl, tl + 1, bl, bl + 1};

            // Neighbouring pairs, with the nearest existing pair standing in at frame borders.
            const bool leftEdge = c == 0;
            const bool rightEdge = c == width - 2;
            const size_t p = chromaRow + c;
            const size_t left = leftEdge ? p : p - 2;
            const size_t right = rightEdge ? p : p + 2;
            const size_t up = top ? p : p - stride;
            const size_t down = bottom ? p : p + stride;
            const size_t upLeft = top ? left : (leftEdge ? up : up - 2);
            const size_t upRight = top ? right : (rightEdge ? up : up + 2);
            const size_t downLeft = bottom ? left : (leftEdge ? down : down - 2);
            const size_t downRight = bottom ? right : (rightEdge ? down : down + 2);

            // up[b][k]: byte b of the pair upsampled to block position k (TL, TR, BL, BR).
            int32_t up10[2][4] = {};
            if (format <= kCrFirst) {
                for (int b = 0; b < 2; ++b) {
                    const int32_t ce = chromaIn[p + b];
                    const int32_t le = chromaIn[left + b];
                    const int32_t ri = chromaIn[right + b];
                    const int32_t uu = chromaIn[up + b];
                    const int32_t dn = chromaIn[down + b];
                    up10[b][0] = upsample(ce, le, uu, chromaIn[upLeft + b]);
                    up10[b][1] = upsample(ce, ri, uu, chromaIn[upRight + b]);
                    up10[b][2] = upsample(ce, le, dn, chromaIn[downLeft + b]);
                    up10[b][3] = upsample(ce, ri, dn, chromaIn[downRight + b]);
                }
            }
            const int uByte = format == kCrFirst ? 1 : 0;

            lut2d::Yuv10 out[4];
            for (int k = 0; k < 4; ++k) {
                out[k] = lut2d::processCached(engine, int32_t{lumaIn[lumaPos[k]]} * 4,
                                              up10[uByte][k], up10[1 - uByte][k], cache);
            }
            for (int k = 0; k < 4; ++k) lumaOut[lumaPos[k]] = static_cast<uint8_t>(out[k].y >> 2);

            // Each column's two values are halved first, then the halves summed and divided
            // by 8: not the same as the sum of four divided by 16.
            const int32_t uo = ((out[1].u + out[3].u) / 2 + (out[0].u + out[2].u) / 2) / 8;
            const int32_t vo = ((out[1].v + out[3].v) / 2 + (out[0].v + out[2].v) / 2) / 8;
            if (format <= kCrFirst) {
                chromaOut[p + uByte] = static_cast<uint8_t>(uo);
                chromaOut[p + 1 - uByte] = static_cast<uint8_t>(vo);
            }
        }
    }
    return nullptr;
}

void* run2dlut_fx_yDs(void* arg) {
    const Lut2DThreadArgs& a = *static_cast<const Lut2DThreadArgs*>(arg);
    const size_t s = a.stride;  // half the frame stride: pairs are 2 bytes, rows 2s apart
    const uint32_t width = std::min<uint32_t>(a.width, a.stride);
    if (a.startRow >= a.endRow || width == 0) return nullptr;

    const lut2d::KernelTables engine = lut2d::kernelTables(*a.engine);
    HM_RGB* cache = reinterpret_cast<HM_RGB*>(a.pScratch);
    const uint8_t* luma = a.pLumaIn;
    const uint8_t* chromaIn = a.pChromaIn;
    uint8_t* chromaOut = a.pChromaOut;
    uint8_t* offsets = a.pLumaOffset;
    const uint32_t format = a.format;
    // Byte positions of Cb and Cr within a pair when reading; any order but Cb-first reads
    // Cr first.
    const int uByte = format == kCbFirst ? 0 : 1;

    for (uint32_t r = a.startRow; r < a.endRow; ++r) {
        const size_t offsetRow = s * r;
        const size_t lumaRow = s * 4 * r;
        const size_t chromaRow = s * 2 * r;
        for (uint32_t c = 0; c < width; ++c) {
            const size_t tl = lumaRow + 2 * size_t{c};
            const size_t bl = tl + 2 * s;
            const int32_t sum = luma[tl] + luma[tl + 1] + luma[bl] + luma[bl + 1];
            const int32_t yAvg = sum >> 2;
            const size_t p = chromaRow + 2 * size_t{c};
            const uint32_t u = chromaIn[p + uByte];
            const uint32_t v = chromaIn[p + 1 - uByte];

            const uint32_t key = static_cast<uint32_t>(yAvg) << 16 | u << 8 | v;
            HM_RGB& entry = cache[lut2d::cacheSlot(key)];
            uint32_t result;
            if (entry.key == key) {
                result = entry.result;
            } else {
                const lut2d::Yuv10 adj = lut2d::adjustColour(
                    engine, sum & ~3, static_cast<int32_t>(u * 4), static_cast<int32_t>(v * 4));
                // The luma change is stored as a byte around 128 and wraps, deliberately,
                // beyond -128 .. +127.
                const uint32_t offsetByte =
                    static_cast<uint32_t>(((adj.y >> 2) - yAvg) ^ 128) & 0xFF;
                result = offsetByte << 16 | static_cast<uint32_t>(adj.u >> 2) << 8 |
                         static_cast<uint32_t>(adj.v >> 2);
                entry.result = result;
                entry.key = key;
            }
            offsets[offsetRow + c] = static_cast<uint8_t>(result >> 16);
            if (format <= kCrFirst) {
                chromaOut[p + uByte] = static_cast<uint8_t>(result >> 8);
                chromaOut[p + 1 - uByte] = static_cast<uint8_t>(result);
            }
        }
    }
    return nullptr;
}
