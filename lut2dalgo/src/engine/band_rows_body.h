// The vector forms of the band workers' stages, written once over the compilers' portable
// vector extensions and compiled once per instruction set. Each including file supplies an
// Ops type with the operations whose best form differs between instruction sets:
//   static uint32_t signs8(U v);                              // bit k: the top bit of lane k
//   static void compress(U v, uint32_t bits, uint32_t* out);  // the lanes of v whose bit is
//                                                             // set, in order, from out[0]
//   static U chromaFields(U16x16 pairs, bool crFirst);  // for eight byte pairs (10-bit values)
//                                                       // U << 10 | V
//   static U slots(U keys);                    // each key's slot, key mod 49999 (keys < 2^31)
//   static U16x16 widen16(const uint8_t* p);   // sixteen bytes as 16-bit lanes
//   static U widen32(const uint8_t* p);        // eight bytes as 32-bit lanes
//   static void readEntries(const HM_RGB* cache, const uint32_t* slot, U& result, U& key);
//   static void writeEntries(HM_RGB* cache, const uint32_t* slot, U result, U key);
//                                              // the eight entries at the slots, as two vectors
// (compress may write all eight lanes; the lanes past the kept ones are scratch).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "band_rows.h"
#include "band_rows_scalar.h"

// Each instruction set's copy lives in a namespace of its own (LUT2D_ISA_TAG, set by the
// including file), so that no definition compiled for one instruction set can stand in for
// another's at link time.
#ifndef LUT2D_ISA_TAG
#define LUT2D_ISA_TAG portable
#endif

namespace lut2d::rows {
inline namespace LUT2D_ISA_TAG {

using U = uint32_t __attribute__((vector_size(32)));
using V = int32_t __attribute__((vector_size(32)));
using F = float __attribute__((vector_size(32)));
using U16x16 = uint16_t __attribute__((vector_size(32)));
using U16x8 = uint16_t __attribute__((vector_size(16)));
using U8x32 = uint8_t __attribute__((vector_size(32)));
using U8x16 = uint8_t __attribute__((vector_size(16)));
using U8x8 = uint8_t __attribute__((vector_size(8)));

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "an HM_RGB entry is read as one word");

template <class T>
LUT2D_FORCE_INLINE T load(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T>
LUT2D_FORCE_INLINE void store(void* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

// Eight 32-bit lanes narrowed to their low bytes. (A byte shuffle: compilers narrow lane by
// lane through general registers otherwise.)
LUT2D_FORCE_INLINE void storeBytes(uint8_t* p, U v) {
    const U8x32 bytes = (U8x32)v;
    store(p, U8x8{__builtin_shufflevector(bytes, bytes, 0, 4, 8, 12, 16, 20, 24, 28)});
}

// Slots of keys below 2^31: key mod 49999. The quotient through single precision is within
// one of the true one (relative error below 2^-22 on a quotient below 2^16), and the
// remainder formed from it is brought back into 0..49998 exactly.
LUT2D_FORCE_INLINE U cacheSlots(U key) {
    const V k = (V)key;
    const V q = __builtin_convertvector(__builtin_convertvector(k, F) * (1.0f / 49999.0f), V);
    V r = k - q * 49999;
    r += (r < 0) & 49999;
    r -= (r >= 49999) & 49999;
    return (U)r;
}

// Lane k of v compared with lane k + r (rotating), for r = 1..4: together every pair of lanes.
template <int r>
LUT2D_FORCE_INLINE U rotated(U v) {
    return __builtin_shufflevector(v, v, r, (r + 1) % 8, (r + 2) % 8, (r + 3) % 8, (r + 4) % 8,
                                   (r + 5) % 8, (r + 6) % 8, (r + 7) % 8);
}

LUT2D_FORCE_INLINE U equalPairs(U v, U (&rot)[4]) {
    rot[0] = rotated<1>(v), rot[1] = rotated<2>(v), rot[2] = rotated<3>(v), rot[3] = rotated<4>(v);
    return (U)(v == rot[0]) | (U)(v == rot[1]) | (U)(v == rot[2]) | (U)(v == rot[3]);
}

// Whether two lanes hold different keys in one slot.
LUT2D_FORCE_INLINE U sharedSlotsOfDifferentKeys(U key, U slot) {
    U slotRot[4], keyRot[4];
    (void)equalPairs(slot, slotRot);
    (void)equalPairs(key, keyRot);
    U m = {};
    for (int r = 0; r < 4; ++r) m |= (U)(slot == slotRot[r]) & ~(U)(key == keyRot[r]);
    return m;
}

// For each lane, the first lane that holds the same key (the lane itself when none before it
// does).
LUT2D_FORCE_INLINE U firstOfEqualKeys(U key, U lane) {
    // Lane k against lane k - d, for d = 1..7; lanes before the first compare with a value no
    // key takes. A later (larger) d that matches names an earlier lane.
    const U none = U{} + ~0u;
    U first = lane;
#define LUT2D_EARLIER(d, ...)                                              \
    {                                                                      \
        const U earlier = __builtin_shufflevector(key, none, __VA_ARGS__); \
        first = (U)(key == earlier) ? lane - d : first;                    \
    }
    LUT2D_EARLIER(1, 8, 0, 1, 2, 3, 4, 5, 6)
    LUT2D_EARLIER(2, 8, 8, 0, 1, 2, 3, 4, 5)
    LUT2D_EARLIER(3, 8, 8, 8, 0, 1, 2, 3, 4)
    LUT2D_EARLIER(4, 8, 8, 8, 8, 0, 1, 2, 3)
    LUT2D_EARLIER(5, 8, 8, 8, 8, 8, 0, 1, 2)
    LUT2D_EARLIER(6, 8, 8, 8, 8, 8, 8, 0, 1)
    LUT2D_EARLIER(7, 8, 8, 8, 8, 8, 8, 8, 0)
#undef LUT2D_EARLIER
    return first;
}

// ---- walk -------------------------------------------------------------------------------

// Keys are taken eight at a time. When their slots differ, none of the eight can meet another's
// claim. When lanes share a slot with the same key, each repeat meets what the first of them
// found or claimed: the same stored result (a hit), or the first's claim, which it hits. Lanes
// that share a slot with different keys are walked one by one. (Keys are below 2^31.)

// The eight keys i .. i + 7 after their entries were read (stored, storedKey; absent: the
// lanes whose key was not there). place holds their places i + lane, the claims they would
// make; first holds the first lane with each lane's key (unused when kRepeats is false): a
// repeat meets what the first of its key found or claimed.
template <class Ops, bool kRepeats>
LUT2D_FORCE_INLINE size_t settleGroup(HM_RGB* cache, CacheWalk& w, size_t i, U place, U k, U slot,
                                      const uint32_t* s, U stored, U absent, U first,
                                      size_t misses) {
    const U lane = {0, 1, 2, 3, 4, 5, 6, 7};
    const U miss = kRepeats ? absent & (U)(first == lane) : absent;
    const U claim = kRepeats ? (kClaimMark | place) + (first - lane) : kClaimMark | place;
    const U result = (stored & ~absent) | (claim & absent);
    store(w.result + i, result);
    const uint32_t bits = Ops::signs8(miss);
    if (bits == 0) return misses;            // no claim: every entry stays as it is
    Ops::writeEntries(cache, s, result, k);  // a hit's entry is what it read
    Ops::compress(k, bits, w.missKey + misses);
    Ops::compress(slot, bits, w.missSlot + misses);
    Ops::compress(place, bits, w.missAt + misses);
    return misses + static_cast<size_t>(__builtin_popcount(bits));
}

// The entries are read first: when every key is found, no lane claims anything and the cache
// stays as it is, whatever slots the lanes share, so the group is done. Otherwise the slots
// decide, as above.
template <class Ops>
LUT2D_FORCE_INLINE size_t walkGroup(HM_RGB* cache, CacheWalk& w, size_t i, U place, size_t misses) {
    const U k = load<U>(w.keys + i);
    const U slot = Ops::slots(k);
    uint32_t s[8];
    store(s, slot);
    U stored, storedKey;
    Ops::readEntries(cache, s, stored, storedKey);
    const U absent = (U)(storedKey != k);
    if (Ops::signs8(absent) == 0) {
        store(w.result + i, stored);
        return misses;
    }
    U rot[4];
    if (Ops::signs8(equalPairs(slot, rot)) == 0) {
        return settleGroup<Ops, false>(cache, w, i, place, k, slot, s, stored, absent, U{}, misses);
    }
    if (Ops::signs8(sharedSlotsOfDifferentKeys(k, slot)) != 0) {
        for (size_t j = 0; j < 8; ++j) misses = scalar::walkStep(cache, w, i + j, misses);
        return misses;
    }
    const U lane = {0, 1, 2, 3, 4, 5, 6, 7};
    return settleGroup<Ops, true>(cache, w, i, place, k, slot, s, stored, absent,
                                  firstOfEqualKeys(k, lane), misses);
}

template <class Ops>
void walkChunk(HM_RGB* cache, CacheWalk& w) {
    size_t misses = 0;
    size_t i = 0;
    U place = {0, 1, 2, 3, 4, 5, 6, 7};
    for (; i + kUnitKeys <= w.count; i += kUnitKeys, place += kUnitKeys) {
        if (w.uniform[i / kUnitKeys] != 0) {  // one key: one step; the rest hit what it left
            misses = scalar::walkStep(cache, w, i, misses);
            const U r = U{} + w.result[i];
            for (size_t j = 0; j < kUnitKeys; j += 8) store(w.result + i + j, r);
            continue;
        }
        for (uint32_t j = 0; j < kUnitKeys; j += 8) {
            misses = walkGroup<Ops>(cache, w, i + j, place + j, misses);
        }
    }
    for (; i + 8 <= w.count; i += 8, place += 8)
        misses = walkGroup<Ops>(cache, w, i, place, misses);
    for (; i < w.count; ++i) misses = scalar::walkStep(cache, w, i, misses);
    w.misses = misses;
}

// ---- settle -----------------------------------------------------------------------------

template <class Ops>
void settleChunk(HM_RGB* cache, CacheWalk& w) {
    // Each entry whole (its key is the miss's), eight at a time, in miss order: a later read
    // of it, which may come soon, takes it straight from the store.
    size_t m = 0;
    for (; m + 8 <= w.misses; m += 8) {
        Ops::writeEntries(cache, w.missSlot + m, load<U>(w.computed + m), load<U>(w.missKey + m));
    }
    for (; m < w.misses; ++m) cache[w.missSlot[m]] = {w.computed[m], w.missKey[m]};
    std::memset(w.isMiss, 0, w.count);
    for (m = 0; m < w.misses; ++m) {
        w.result[w.missAt[m]] = w.computed[m];
        w.isMiss[w.missAt[m]] = 1;
    }
    // What is still marked hit a claim made earlier in the chunk (or looks as if it had).
    size_t i = 0;
    for (; i + 8 <= w.count; i += 8) {
        for (uint32_t bits = Ops::signs8(load<U>(w.result + i)); bits != 0; bits &= bits - 1) {
            scalar::resolveClaim(w, i + static_cast<size_t>(__builtin_ctz(bits)));
        }
    }
    for (; i < w.count; ++i) {
        if ((w.result[i] & kClaimMark) != 0) scalar::resolveClaim(w, i);
    }
}

// ---- full resolution --------------------------------------------------------------------

// Sixteen 32-bit lanes of two vectors narrowed to bytes, and eight to 16 bits.
LUT2D_FORCE_INLINE void storeBytes(uint8_t* p, U lo, U hi) {
    const U8x32 a = (U8x32)lo, b = (U8x32)hi;
    store(p, U8x16{__builtin_shufflevector(a, b, 0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48,
                                           52, 56, 60)});
}

LUT2D_FORCE_INLINE void storeHalves(uint8_t* p, U v) {
    const U16x16 h = (U16x16)v;
    store(p, U16x8{__builtin_shufflevector(h, h, 0, 2, 4, 6, 8, 10, 12, 14)});
}

// Keys of the eight blocks from column col on, none at a row end (their neighbours at
// col - 2 and col + 16 are inside the row), in walk order: 32 keys.
template <class Ops>
LUT2D_FORCE_INLINE void eightBlockKeys(const RowPair& rp, uint32_t col, uint32_t* keys) {
    auto lumaField = [](const uint8_t* p) { return to10Bit(Ops::widen32(p)) << 20; };
    U top[2] = {lumaField(rp.lumaTop + col), lumaField(rp.lumaTop + col + 8)};
    U bottom[2] = {lumaField(rp.lumaBottom + col), lumaField(rp.lumaBottom + col + 8)};
    if (rp.format <= kCrFirst) {
        // 9-3-3-1 as a vertical then a horizontal 3-1 step: with v = 3 x the centre row + the
        // row above (top pixels) or below (bottom pixels), a left pixel takes
        // (3 v(pair) + v(left pair)) >> 2 and a right pixel (3 v(pair) + v(right pair)) >> 2.
        // Lanes are chroma bytes: eight pairs, two bytes each.
        auto v = [&](const uint8_t* other, int side) {
            return 3 * Ops::widen16(rp.centre + col + side) + Ops::widen16(other + col + side);
        };
        const U16x16 upC = v(rp.up, 0), upL = v(rp.up, -2), upR = v(rp.up, 2);
        const U16x16 dnC = v(rp.down, 0), dnL = v(rp.down, -2), dnR = v(rp.down, 2);
        const bool crFirst = rp.format == kCrFirst;
        const U tl = Ops::chromaFields((3 * upC + upL) >> 2, crFirst);  // one lane per block
        const U tr = Ops::chromaFields((3 * upC + upR) >> 2, crFirst);
        const U bl = Ops::chromaFields((3 * dnC + dnL) >> 2, crFirst);
        const U br = Ops::chromaFields((3 * dnC + dnR) >> 2, crFirst);
        top[0] |= __builtin_shufflevector(tl, tr, 0, 8, 1, 9, 2, 10, 3, 11);
        top[1] |= __builtin_shufflevector(tl, tr, 4, 12, 5, 13, 6, 14, 7, 15);
        bottom[0] |= __builtin_shufflevector(bl, br, 0, 8, 1, 9, 2, 10, 3, 11);
        bottom[1] |= __builtin_shufflevector(bl, br, 4, 12, 5, 13, 6, 14, 7, 15);
    }
    for (int h = 0; h < 2; ++h) {
        store(keys + 16 * h, __builtin_shufflevector(top[h], bottom[h], 0, 1, 8, 9, 2, 3, 10, 11));
        store(keys + 16 * h + 8,
              __builtin_shufflevector(top[h], bottom[h], 4, 5, 12, 13, 6, 7, 14, 15));
    }
}

// Outputs of the same eight blocks from their 32 results.
LUT2D_FORCE_INLINE void eightBlockOutputs(const RowPair& rp, uint32_t col,
                                          const uint32_t* results) {
    U top[2], bottom[2];
    for (int h = 0; h < 2; ++h) {
        const U w0 = load<U>(results + 16 * h), w1 = load<U>(results + 16 * h + 8);
        top[h] = __builtin_shufflevector(w0, w1, 0, 1, 4, 5, 8, 9, 12, 13);
        bottom[h] = __builtin_shufflevector(w0, w1, 2, 3, 6, 7, 10, 11, 14, 15);
    }
    storeBytes(rp.lumaOutTop + col, to8Bit(top[0] >> 20), to8Bit(top[1] >> 20));
    storeBytes(rp.lumaOutBottom + col, to8Bit(bottom[0] >> 20), to8Bit(bottom[1] >> 20));
    if (rp.format <= kCrFirst) {
        // Each column's two values halved, then the two columns of a block summed, / 8.
        auto columns = [&](int shift, int h) {
            return (((top[h] >> shift) & 1023) + ((bottom[h] >> shift) & 1023)) >> 1;
        };
        auto blocks = [&](int shift) {
            const U c0 = columns(shift, 0), c1 = columns(shift, 1);
            return (__builtin_shufflevector(c0, c1, 0, 2, 4, 6, 8, 10, 12, 14) +
                    __builtin_shufflevector(c0, c1, 1, 3, 5, 7, 9, 11, 13, 15)) >>
                   3;
        };
        const U u = blocks(10), v = blocks(0);
        storeHalves(rp.chromaOut + col, rp.format == kCrFirst ? (v | u << 8) : (u | v << 8));
    }
}

// Whether the eight blocks from col on can take the vector forms inside [col, c1).
LUT2D_FORCE_INLINE bool eightBlocksInside(const RowPair& rp, uint32_t col, uint32_t c1) {
    return col >= 2 && col + 16 <= c1 && col + 16 < rp.width;
}

// Whether the 16 bytes at p (p[0] = a, or a pair a, b) hold one value.
LUT2D_FORCE_INLINE bool allBytes(const uint8_t* p, uint8_t a) {
    const U8x16 same = load<U8x16>(p) == (U8x16{} + a);
    uint64_t halves[2];
    store(halves, same);
    return (halves[0] & halves[1]) == ~uint64_t{0};
}

LUT2D_FORCE_INLINE bool allPairs(const uint8_t* p, uint16_t pair) {
    const U16x8 same = load<U16x8>(p) == (U16x8{} + pair);
    uint64_t halves[2];
    store(halves, same);
    return (halves[0] & halves[1]) == ~uint64_t{0};
}

// Whether the eight blocks from col on (inside the row, as above) see one colour: both luma
// rows one value over their sixteen columns, the three chroma rows one pair from col - 2 to
// col + 17. Then every upsampled chroma value is 16 x the byte shifted right by 2, and the 32
// keys are one key. A noisy frame fails at the first row, after one comparison.
LUT2D_FORCE_INLINE bool oneColour(const RowPair& rp, uint32_t col) {
    const uint8_t y = rp.lumaTop[col];
    if (!allBytes(rp.lumaTop + col, y) || !allBytes(rp.lumaBottom + col, y)) return false;
    const auto pair = static_cast<uint16_t>(rp.centre[col] | rp.centre[col + 1] << 8);
    for (const uint8_t* row : {rp.up, rp.centre, rp.down}) {
        if (!allPairs(row + col - 2, pair) || !allPairs(row + col + 2, pair)) return false;
    }
    return true;
}

template <class Ops>
void fullResKeys(const RowPair& rp, uint32_t c0, uint32_t c1, CacheWalk& w) {
    uint32_t* keys = w.keys;
    for (uint32_t col = c0, unit = 0; col < c1; col += 16, keys += kUnitKeys, ++unit) {
        bool uniform = false;
        if (!eightBlocksInside(rp, col, c1)) {
            for (uint32_t c = col; c < c1 && c < col + 16; c += 2) {
                scalar::blockKeys(rp, c, keys + 2 * (c - col));
            }
        } else if (oneColour(rp, col)) {
            const uint32_t y = rp.lumaTop[col];
            const uint32_t first = rp.centre[col], second = rp.centre[col + 1];
            const uint32_t chroma = rp.format == kCbFirst   ? to10Bit(first) << 10 | to10Bit(second)
                                    : rp.format == kCrFirst ? to10Bit(second) << 10 | to10Bit(first)
                                                            : 0;
            const U k = U{} + (to10Bit(y) << 20 | chroma);
            for (size_t j = 0; j < kUnitKeys; j += 8) store(keys + j, k);
            uniform = true;
        } else {
            eightBlockKeys<Ops>(rp, col, keys);
        }
        w.uniform[unit] = uniform ? 1 : 0;
    }
    w.count = size_t{c1 - c0} * 2;
}

template <class Ops>
void fullResOutputs(const RowPair& rp, uint32_t c0, uint32_t c1, const CacheWalk& w) {
    const uint32_t* results = w.result;
    for (uint32_t col = c0, unit = 0; col < c1; col += 16, results += kUnitKeys, ++unit) {
        if (w.uniform[unit] != 0) {
            // One result: luma Y' >> 2 everywhere; each chroma value ((c + c) / 2 + (c + c) / 2)
            // / 8, that is c >> 2.
            const uint32_t r = results[0];
            const U8x16 y = U8x16{} + static_cast<uint8_t>(r >> 22);
            store(rp.lumaOutTop + col, y);
            store(rp.lumaOutBottom + col, y);
            if (rp.format <= kCrFirst) {
                const uint32_t u = (r >> 12) & 255, v = (r >> 2) & 255;
                const auto pair =
                    static_cast<uint16_t>(rp.format == kCrFirst ? v | u << 8 : u | v << 8);
                store(rp.chromaOut + col, U16x8{} + pair);
            }
        } else if (eightBlocksInside(rp, col, c1)) {
            eightBlockOutputs(rp, col, results);
        } else {
            for (uint32_t c = col; c < c1 && c < col + 16; c += 2) {
                scalar::blockOutputs(rp, c, results + 2 * (c - col));
            }
        }
    }
}

// ---- low resolution ---------------------------------------------------------------------

// Keys of blocks [b0, b1) of a pair row, eight blocks (sixteen bytes of each row) at a time.
template <class Ops>
LUT2D_FORCE_INLINE U eightPairKeys(const PairRow& pr, uint32_t b) {
    // Each block's four luma samples summed: the rows added as 16-bit lanes, then the two
    // columns of each block.
    const U luma = (U)(Ops::widen16(pr.lumaTop + 2 * b) + Ops::widen16(pr.lumaBottom + 2 * b));
    const U yAvg = ((luma & 0xFFFF) + (luma >> 16)) >> 2;
    const U pairs = (U)Ops::widen16(pr.chromaIn + 2 * b);
    const U first = pairs & 0xFFFF, second = pairs >> 16;
    return yAvg << 16 | (pr.format == kCbFirst ? (first << 8 | second) : (second << 8 | first));
}

template <class Ops>
void lowResKeys(const PairRow& pr, uint32_t b0, uint32_t b1, CacheWalk& w) {
    uint32_t* keys = w.keys;
    uint32_t b = b0;
    for (size_t unit = 0; b + kUnitKeys <= b1; b += kUnitKeys, keys += kUnitKeys, ++unit) {
        U k[4];
        U same = ~U{};
        for (uint32_t g = 0; g < 4; ++g) {
            k[g] = eightPairKeys<Ops>(pr, b + 8 * g);
            store(keys + 8 * g, k[g]);
        }
        const U firstKey = __builtin_shufflevector(k[0], k[0], 0, 0, 0, 0, 0, 0, 0, 0);
        for (uint32_t g = 0; g < 4; ++g) same &= (U)(k[g] == firstKey);
        w.uniform[unit] = Ops::signs8(same) == 0xFF ? 1 : 0;
    }
    for (; b + 8 <= b1; b += 8, keys += 8) store(keys, eightPairKeys<Ops>(pr, b));
    for (; b < b1; ++b) *keys++ = scalar::pairKey(pr, b);
    for (size_t unit = (b1 - b0) / kUnitKeys; unit < kChunkKeys / kUnitKeys; ++unit) {
        w.uniform[unit] = 0;
    }
    w.count = b1 - b0;
}

// The offset bytes and new chroma pairs of the eight blocks from b on.
LUT2D_FORCE_INLINE void eightPairOutputs(const PairRow& pr, uint32_t b, const uint32_t* results) {
    const U r = load<U>(results);
    storeBytes(pr.offsets + b, r >> 16);
    if (pr.format <= kCrFirst) {
        const U u = (r >> 8) & 0xFF, v = r & 0xFF;
        storeHalves(pr.chromaOut + 2 * b, pr.format == kCbFirst ? (u | v << 8) : (v | u << 8));
    }
}

// The same for blocks [b0, b1).
inline void lowResOutputs(const PairRow& pr, uint32_t b0, uint32_t b1, const CacheWalk& w) {
    const uint32_t* results = w.result;
    uint32_t b = b0;
    for (size_t unit = 0; b + kUnitKeys <= b1; b += kUnitKeys, results += kUnitKeys, ++unit) {
        if (w.uniform[unit] != 0) {  // one result: the same bytes for all 32 blocks
            const uint32_t r = results[0];
            const U8x16 offset = U8x16{} + static_cast<uint8_t>(r >> 16);
            store(pr.offsets + b, offset);
            store(pr.offsets + b + 16, offset);
            if (pr.format <= kCrFirst) {
                const uint32_t u = (r >> 8) & 255, v = r & 255;
                const auto pair =
                    static_cast<uint16_t>(pr.format == kCbFirst ? u | v << 8 : v | u << 8);
                const U16x8 pairs = U16x8{} + pair;
                for (uint32_t j = 0; j < 2 * kUnitKeys; j += 16) {
                    store(pr.chromaOut + 2 * b + j, pairs);
                }
            }
        } else {
            for (uint32_t j = 0; j < kUnitKeys; j += 8) eightPairOutputs(pr, b + j, results + j);
        }
    }
    for (; b + 8 <= b1; b += 8, results += 8) eightPairOutputs(pr, b, results);
    for (; b < b1; ++b) scalar::pairOutputs(pr, b, *results++);
}

// Portable forms of the Ops operations, for instruction sets without better ones.
struct PortableOps {
    LUT2D_FORCE_INLINE static U slots(U keys) { return cacheSlots(keys); }
    LUT2D_FORCE_INLINE static U16x16 widen16(const uint8_t* p) {
        return __builtin_convertvector(load<U8x16>(p), U16x16);
    }
    LUT2D_FORCE_INLINE static U widen32(const uint8_t* p) {
        return __builtin_convertvector(load<U8x8>(p), U);
    }
    LUT2D_FORCE_INLINE static void readEntries(const HM_RGB* cache, const uint32_t* slot, U& result,
                                               U& key) {
        uint32_t r[8], k[8];
        for (size_t j = 0; j < 8; ++j) r[j] = cache[slot[j]].result, k[j] = cache[slot[j]].key;
        result = load<U>(r);
        key = load<U>(k);
    }
    LUT2D_FORCE_INLINE static void writeEntries(HM_RGB* cache, const uint32_t* slot, U result,
                                                U key) {
        for (size_t j = 0; j < 8; ++j) cache[slot[j]] = {result[j], key[j]};
    }
    LUT2D_FORCE_INLINE static U chromaFields(U16x16 pairs, bool crFirst) {
        const U p = (U)pairs, first = p & 0xFFFF, second = p >> 16;
        return crFirst ? (second << 10 | first) : (first << 10 | second);
    }
    LUT2D_FORCE_INLINE static uint32_t signs8(U v) {
        uint32_t lanes[8];
        store(lanes, v);
        uint32_t bits = 0;
        for (uint32_t j = 0; j < 8; ++j) bits |= (lanes[j] >> 31) << j;
        return bits;
    }
    LUT2D_FORCE_INLINE static void compress(U v, uint32_t bits, uint32_t* out) {
        uint32_t lanes[8];
        store(lanes, v);
        size_t n = 0;
        for (uint32_t j = 0; j < 8; ++j) {
            out[n] = lanes[j];
            n += (bits >> j) & 1u;
        }
    }
};

}  // namespace LUT2D_ISA_TAG
}  // namespace lut2d::rows

// Defines the stage functions of one instruction set from the templates above.
#define LUT2D_DEFINE_ROWS(isa, Ops)                                                              \
    void FullResKeys_##isa(const RowPair& rp, uint32_t c0, uint32_t c1, CacheWalk& w) {          \
        rows::fullResKeys<Ops>(rp, c0, c1, w);                                                   \
    }                                                                                            \
    void FullResOutputs_##isa(const RowPair& rp, uint32_t c0, uint32_t c1, const CacheWalk& w) { \
        rows::fullResOutputs<Ops>(rp, c0, c1, w);                                                \
    }                                                                                            \
    void LowResKeys_##isa(const PairRow& pr, uint32_t b0, uint32_t b1, CacheWalk& w) {           \
        rows::lowResKeys<Ops>(pr, b0, b1, w);                                                    \
    }                                                                                            \
    void LowResOutputs_##isa(const PairRow& pr, uint32_t b0, uint32_t b1, const CacheWalk& w) {  \
        rows::lowResOutputs(pr, b0, b1, w);                                                      \
    }                                                                                            \
    void WalkChunk_##isa(HM_RGB* cache, CacheWalk& w) {                                          \
        rows::walkChunk<Ops>(cache, w);                                                          \
    }                                                                                            \
    void SettleChunk_##isa(HM_RGB* cache, CacheWalk& w) {                                        \
        rows::settleChunk<Ops>(cache, w);                                                        \
    }
