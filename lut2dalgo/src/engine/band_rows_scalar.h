// The band workers' stages one block and one key at a time: the scalar forms' whole work and
// the vector forms' row ends and fallbacks.
#pragma once

#include <cstdint>

#include "../kernel/kernel_inline.h"
#include "band_rows.h"

namespace lut2d::scalar {

// Keys of the four pixels of the block at column col, in walk order (top-left, top-right,
// bottom-left, bottom-right). Chroma is upsampled 9-3-3-1 to each position as
// (3 h(centre) + h(neighbour row)) >> 2, where h(row) = 3 x the pair + its neighbour on the
// position's side, the edge pair standing in for the one past the border.
LUT2D_FORCE_INLINE void blockKeys(const RowPair& rp, uint32_t col, uint32_t* keys) {
    const uint32_t left = col == 0 ? col : col - 2;
    const uint32_t right = col == rp.width - 2 ? col : col + 2;
    const int uByte = rp.format == kCrFirst ? 1 : 0;
    int32_t chroma[2][4] = {};  // byte, position
    if (rp.format <= kCrFirst) {
        for (int b = 0; b < 2; ++b) {
            auto hLeft = [&](const uint8_t* row) { return 3 * row[col + b] + row[left + b]; };
            auto hRight = [&](const uint8_t* row) { return 3 * row[col + b] + row[right + b]; };
            const int32_t centreL = 3 * hLeft(rp.centre), centreR = 3 * hRight(rp.centre);
            chroma[b][0] = (centreL + hLeft(rp.up)) >> 2;
            chroma[b][1] = (centreR + hRight(rp.up)) >> 2;
            chroma[b][2] = (centreL + hLeft(rp.down)) >> 2;
            chroma[b][3] = (centreR + hRight(rp.down)) >> 2;
        }
    }
    const uint32_t luma[4] = {rp.lumaTop[col], rp.lumaTop[col + 1], rp.lumaBottom[col],
                              rp.lumaBottom[col + 1]};
    for (int p = 0; p < 4; ++p) {
        keys[p] = packYuv10(static_cast<int32_t>(to10Bit(luma[p])), chroma[uByte][p],
                            chroma[1 - uByte][p]);
    }
}

// Luma of the block's pixels and its chroma pair from its four results (walk order): each
// column's two values halved first, then the halves summed and divided by 8 (not the sum of
// four / 16).
LUT2D_FORCE_INLINE void blockOutputs(const RowPair& rp, uint32_t col, const uint32_t* results) {
    Yuv10 out[4];
    for (int p = 0; p < 4; ++p) out[p] = unpackYuv10(results[p]);
    rp.lumaOutTop[col] = static_cast<uint8_t>(to8Bit(out[0].y));
    rp.lumaOutTop[col + 1] = static_cast<uint8_t>(to8Bit(out[1].y));
    rp.lumaOutBottom[col] = static_cast<uint8_t>(to8Bit(out[2].y));
    rp.lumaOutBottom[col + 1] = static_cast<uint8_t>(to8Bit(out[3].y));
    if (rp.format <= kCrFirst) {
        const int uByte = rp.format == kCrFirst ? 1 : 0;
        const int32_t uo = ((out[1].u + out[3].u) / 2 + (out[0].u + out[2].u) / 2) / 8;
        const int32_t vo = ((out[1].v + out[3].v) / 2 + (out[0].v + out[2].v) / 2) / 8;
        rp.chromaOut[col + uByte] = static_cast<uint8_t>(uo);
        rp.chromaOut[col + 1 - uByte] = static_cast<uint8_t>(vo);
    }
}

// Key of low-resolution block b: its average luma (truncated) and its chroma pair,
// Yavg << 16 | U << 8 | V. Any order but Cb-first reads Cr first.
LUT2D_FORCE_INLINE uint32_t pairKey(const PairRow& pr, uint32_t b) {
    const int uByte = pr.format == kCbFirst ? 0 : 1;
    const uint32_t sum = uint32_t{pr.lumaTop[2 * b]} + pr.lumaTop[2 * b + 1] +
                         pr.lumaBottom[2 * b] + pr.lumaBottom[2 * b + 1];
    return (sum >> 2) << 16 | uint32_t{pr.chromaIn[2 * b + uByte]} << 8 |
           pr.chromaIn[2 * b + 1 - uByte];
}

// The offset byte and the new chroma pair of low-resolution block b from its result; any
// format but 0 and 1 writes no chroma.
LUT2D_FORCE_INLINE void pairOutputs(const PairRow& pr, uint32_t b, uint32_t result) {
    pr.offsets[b] = static_cast<uint8_t>(result >> 16);
    if (pr.format <= kCrFirst) {
        const int uByte = pr.format == kCbFirst ? 0 : 1;
        pr.chromaOut[2 * b + uByte] = static_cast<uint8_t>(result >> 8);
        pr.chromaOut[2 * b + 1 - uByte] = static_cast<uint8_t>(result);
    }
}

// Key i of the chunk against the slice, in order: a hit takes the stored result; a miss
// claims the slot and joins the miss list. Returns the new miss count.
LUT2D_FORCE_INLINE size_t walkStep(HM_RGB* cache, CacheWalk& w, size_t i, size_t misses) {
    const uint32_t key = w.keys[i];
    const uint32_t slot = cacheSlot(key);
    HM_RGB& e = cache[slot];
    if (e.key == key) {
        w.result[i] = e.result;
        return misses;
    }
    e = {kClaimMark | static_cast<uint32_t>(i), key};
    w.result[i] = e.result;
    w.missKey[misses] = key;
    w.missSlot[misses] = slot;
    w.missAt[misses] = static_cast<uint32_t>(i);
    return misses + 1;
}

// A result that names a claim of the chunk, resolved: the claim is taken only from an earlier
// key of the chunk with the same key that missed. A stored result that merely looks like a
// claim stays what it is: had that earlier key missed, the slot would hold its claim, not the
// stored result.
LUT2D_FORCE_INLINE void resolveClaim(CacheWalk& w, size_t i) {
    const uint32_t j = w.result[i] & ~kClaimMark;
    if (j < i && w.isMiss[j] != 0 && w.keys[j] == w.keys[i]) w.result[i] = w.result[j];
}

}  // namespace lut2d::scalar
