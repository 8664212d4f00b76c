// The two band workers.
//
// Results persist in the band's cache slice, so the order in which colours meet the cache
// is part of a frame's result: rows top to bottom, blocks left to right, and in the
// full-resolution mode the four pixels of a block top-left, top-right, bottom-left,
// bottom-right. A colour that finds its own key in its slot takes the stored result, which
// may have been computed under an earlier tuning record; every other colour is computed
// afresh and replaces what the slot held.
//
// The workers keep that order exactly but not its one-colour-at-a-time schedule. A band is
// taken a chunk at a time: every key of the chunk is formed first, then the keys are walked
// in order against the slice, and a miss claims its slot at once (the key is stored with a
// pending mark naming the miss), so a later pixel of the chunk with the same key hits it as
// it would have in order. The misses are then computed together by the batched colour
// kernel, their results written into their slots in miss order (the last claim of a slot
// wins, as in order), and the pending marks resolved. Every other result is a pure function
// of the colour, so nothing but the schedule changes.

#include "band_workers.h"

#include <algorithm>
#include <cstring>

#include "../kernel/kernel_inline.h"

namespace {

using lut2d::BandJob;

// Keys per chunk: pixels in the full-resolution mode, blocks in the low-resolution mode.
constexpr size_t kChunk = 1024;

// A result that is a claim of this chunk: kPending | the miss's index. Real results never
// have the top bit (10-bit fields in 30 bits, 8-bit fields in 24). A claim is resolved only
// when it names a miss of this chunk with the same key that came no later than the key
// resolved: a stored result that merely has the top bit set (a host may write the slice)
// stays what it is.
constexpr uint32_t kPending = 0x80000000u;

// Chroma byte order of a pair.
enum ChromaOrder : uint32_t { kCbFirst = 0, kCrFirst = 1 };

// One chunk's keys walked against a band's cache slice (about 28 KB, on the worker's stack).
struct CacheWalk {
    uint32_t keys[kChunk];       // the chunk's keys
    uint32_t result[kChunk];     // each key's stored result, or a claim
    uint32_t missKey[kChunk];    // the chunk's misses, in order
    uint32_t missSlot[kChunk];   // and their slots
    uint32_t missVisit[kChunk];  // and when, in the walk's order, they claimed them
    uint32_t computed[kChunk];   // and their results
    uint32_t marked[kChunk];     // indices of the results that carry a claim's mark
    size_t misses;
    size_t markedCount;
};

// Keys are walked a unit of 32 at a time: in the full-resolution mode a unit is a group of
// eight blocks held position-major (index position * 8 + block, positions top-left,
// top-right, bottom-left, bottom-right), in the low-resolution mode 32 blocks in order.
constexpr uint32_t kUnitKeys = 32;
enum class Layout { kBlocksOfFour, kInOrder };

// The workers' vectors are 128 bits wide, native on every target.
using U32x4 = uint32_t __attribute__((vector_size(16)));
using U16x8 = uint16_t __attribute__((vector_size(16)));
using U16x4 = uint16_t __attribute__((vector_size(8)));
using U8x8 = uint8_t __attribute__((vector_size(8)));
using U8x4 = uint8_t __attribute__((vector_size(4)));
using U8x16 = uint8_t __attribute__((vector_size(16)));
constexpr size_t kUnitVectors = kUnitKeys / 4;

LUT2D_FORCE_INLINE bool allSet(U32x4 m) {
    uint64_t q[2];
    std::memcpy(q, &m, sizeof q);
    return (q[0] & q[1]) == ~uint64_t{0};
}

LUT2D_FORCE_INLINE bool unitIsOneKey(const uint32_t* keys) {
    U32x4 v[kUnitVectors];
    std::memcpy(v, keys, sizeof v);
    const U32x4 first = U32x4{} + keys[0];
    U32x4 same = v[0] == first;
    for (size_t i = 1; i < kUnitVectors; ++i) same &= v[i] == first;
    return allSet(same);
}

// Where the key at index i comes in the order the cache meets a chunk's keys.
template <Layout kLayout>
LUT2D_FORCE_INLINE uint32_t visitOf(size_t i) {
    if (kLayout == Layout::kInOrder) return static_cast<uint32_t>(i);
    const size_t base = i / kUnitKeys * kUnitKeys, inUnit = i % kUnitKeys;
    return static_cast<uint32_t>(base + inUnit % (kUnitKeys / 4) * 4 + inUnit / (kUnitKeys / 4));
}

// Calls f with the index of each of the unit's `valid` keys, in the order the cache meets
// them.
template <Layout kLayout, class F>
LUT2D_FORCE_INLINE void forEachInOrder(size_t base, size_t valid, F&& f) {
    if (kLayout == Layout::kBlocksOfFour) {
        for (size_t b = 0; b < valid / 4; ++b) {
            for (size_t p = 0; p < 4; ++p) f(base + p * (kUnitKeys / 4) + b);
        }
    } else {
        for (size_t i = 0; i < valid; ++i) f(base + i);
    }
}

// Walks count keys against the slice in the order the cache meets them; a whole unit of one
// key takes a single step.
template <Layout kLayout>
void walkCache(HM_RGB* cache, const uint32_t* keys, size_t count, CacheWalk& w) {
    size_t misses = 0;
    size_t marked = 0;
    HM_RGB unchanged;  // where a hit's store goes: the slot keeps what it holds
    // Without branches on the content: the entry is read and written whole, a hit writing to
    // `unchanged` instead of its slot; a key equal to the one before it hits what that one
    // wrote.
    auto step = [&](uint32_t key, size_t i) {
        const uint32_t slot = lut2d::cacheSlot(key);
        HM_RGB e;
        std::memcpy(&e, &cache[slot], sizeof e);
        // All ones on a miss: selects are written as masks, so that no branch depends on
        // whether the key hit (compilers may turn a ?: into one).
        const uint32_t miss = 0u - static_cast<uint32_t>(e.key != key);
        const HM_RGB now{(e.result & ~miss) | ((kPending | static_cast<uint32_t>(misses)) & miss),
                         key};
        const auto here = reinterpret_cast<uintptr_t>(&cache[slot]);
        const auto away = reinterpret_cast<uintptr_t>(&unchanged);
        std::memcpy(reinterpret_cast<HM_RGB*>(away ^ ((away ^ here) & (0 - uintptr_t{miss & 1}))),
                    &now, sizeof now);
        w.missKey[misses] = key;  // kept only when it was a miss
        w.missSlot[misses] = slot;
        w.missVisit[misses] = visitOf<kLayout>(i);
        misses += miss & 1;
        w.marked[marked] = static_cast<uint32_t>(i);  // kept only when the result is marked
        marked += now.result >> 31;
        return now.result;
    };
    for (size_t base = 0; base < count; base += kUnitKeys) {
        const size_t valid = count - base < kUnitKeys ? count - base : kUnitKeys;
        if (valid == kUnitKeys && unitIsOneKey(keys + base)) {
            const uint32_t r = step(keys[base], base);
            for (size_t i = 0; i < kUnitKeys; ++i) w.result[base + i] = r;
            if ((r & kPending) != 0) {  // the rest of the unit carries the mark too
                for (size_t i = 1; i < kUnitKeys; ++i)
                    w.marked[marked++] = static_cast<uint32_t>(base + i);
            }
            continue;
        }
        forEachInOrder<kLayout>(base, valid, [&](size_t i) { w.result[i] = step(keys[i], i); });
    }
    w.misses = misses;
    w.markedCount = marked;
}

// Replaces every claim among the results by its miss's result: only the results the walk
// marked are looked at.
template <Layout kLayout>
void resolveAll(CacheWalk& w, const uint32_t* keys) {
    for (size_t q = 0; q < w.markedCount; ++q) {  // without branches on the content
        const uint32_t i = w.marked[q];
        const uint32_t r = w.result[i];
        const uint32_t j = r & ~kPending;
        const uint32_t inRange = 0u - static_cast<uint32_t>(j < w.misses);
        const uint32_t at = j & inRange;
        // A claim is taken from a miss of the same key that came at or before this key: a
        // stored result that merely looks like a claim (a host may write the slice) stays
        // what it is, even if its key misses later in the chunk.
        const uint32_t claim = inRange & (0u - static_cast<uint32_t>(w.missKey[at] == keys[i])) &
                               (0u - static_cast<uint32_t>(w.missVisit[at] <= visitOf<kLayout>(i)));
        w.result[i] = (r & ~claim) | (w.computed[at] & claim);
    }
}

// Stores the computed results in their slots, in miss order.
void writeBack(HM_RGB* cache, const CacheWalk& w) {
    for (size_t j = 0; j < w.misses; ++j) cache[w.missSlot[j]].result = w.computed[j];
}

// ---- full resolution -------------------------------------------------------------------

// Keys and results of the full-resolution mode are kept a group of eight blocks at a time,
// position-major: index group * 32 + position * 8 + block, positions top-left, top-right,
// bottom-left, bottom-right. The cache is still walked block by block.
constexpr uint32_t kGroupBlocks = 8;
constexpr uint32_t kGroupColumns = 2 * kGroupBlocks;
constexpr uint32_t kGroupKeys = 4 * kGroupBlocks;

inline size_t groupIndex(uint32_t group, uint32_t position, uint32_t block) {
    return size_t{group} * kGroupKeys + position * kGroupBlocks + block;
}

// The rows a row pair reads and writes. The chroma rows above and below stand in for
// themselves at the frame's top and bottom.
struct RowPair {
    const uint8_t* lumaTop;
    const uint8_t* lumaBottom;
    const uint8_t* up;
    const uint8_t* centre;
    const uint8_t* down;
    uint8_t* lumaOutTop;
    uint8_t* lumaOutBottom;
    uint8_t* chromaOut;
    uint32_t width;  // even luma width of the band
    uint32_t format;
};

// Keys of the four pixels of the block at column col. Chroma is upsampled 9-3-3-1 to each
// position as (3 h(centre) + h(neighbour row)) >> 2, where h(row) = 3 x the pair + its
// neighbour on the position's side, the edge pair standing in for the one past the border.
void blockKeys(const RowPair& rp, uint32_t col, uint32_t* keys, size_t step) {
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
        keys[p * step] = lut2d::packYuv10(static_cast<int32_t>(luma[p] * 4), chroma[uByte][p],
                                          chroma[1 - uByte][p]);
    }
}

// Luma of the block's pixels and its chroma pair from the four results: each column's two
// values halved first, then the halves summed and divided by 8 (not the sum of four / 16).
void blockOutputs(const RowPair& rp, uint32_t col, const uint32_t* results, size_t step) {
    lut2d::Yuv10 out[4];
    for (int p = 0; p < 4; ++p) out[p] = lut2d::unpackYuv10(results[p * step]);
    rp.lumaOutTop[col] = static_cast<uint8_t>(out[0].y >> 2);
    rp.lumaOutTop[col + 1] = static_cast<uint8_t>(out[1].y >> 2);
    rp.lumaOutBottom[col] = static_cast<uint8_t>(out[2].y >> 2);
    rp.lumaOutBottom[col + 1] = static_cast<uint8_t>(out[3].y >> 2);
    if (rp.format <= kCrFirst) {
        const int uByte = rp.format == kCrFirst ? 1 : 0;
        const int32_t uo = ((out[1].u + out[3].u) / 2 + (out[0].u + out[2].u) / 2) / 8;
        const int32_t vo = ((out[1].v + out[3].v) / 2 + (out[0].v + out[2].v) / 2) / 8;
        rp.chromaOut[col + uByte] = static_cast<uint8_t>(uo);
        rp.chromaOut[col + 1 - uByte] = static_cast<uint8_t>(vo);
    }
}

// The same for eight whole blocks from column col on, none at a row end (their neighbours
// at col - 2 and col + 17 are inside the row), on vectors: four blocks (eight bytes of each
// row) at a time.
LUT2D_FORCE_INLINE U16x8 widen(const uint8_t* p) {
    U8x8 b;
    std::memcpy(&b, p, sizeof b);
    return __builtin_convertvector(b, U16x8);
}

LUT2D_FORCE_INLINE U32x4 asPairs(U16x8 v) {
    U32x4 r;
    std::memcpy(&r, &v, sizeof r);
    return r;
}

void groupKeys(const RowPair& rp, uint32_t col, uint32_t* keys) {
    for (uint32_t half = 0; half < 2; ++half) {
        const uint32_t at = col + 8 * half;
        U32x4 chroma[4] = {};
        if (rp.format <= kCrFirst) {
            auto h = [&](const uint8_t* row, int side) {
                return 3 * widen(row + at) + widen(row + at + side);
            };
            const U16x8 centreL = 3 * h(rp.centre, -2), centreR = 3 * h(rp.centre, 2);
            const U16x8 up[4] = {(centreL + h(rp.up, -2)) >> 2, (centreR + h(rp.up, 2)) >> 2,
                                 (centreL + h(rp.down, -2)) >> 2, (centreR + h(rp.down, 2)) >> 2};
            for (int p = 0; p < 4; ++p) {
                // byte 0 of each pair in the low half of a lane, byte 1 in the high half
                const U32x4 pairs = asPairs(up[p]);
                const U32x4 first = pairs & 0xFFFF, second = pairs >> 16;
                chroma[p] = rp.format == kCrFirst ? (second << 10 | first) : (first << 10 | second);
            }
        }
        const U32x4 lt = asPairs(widen(rp.lumaTop + at)), lb = asPairs(widen(rp.lumaBottom + at));
        const U32x4 k[4] = {(lt & 0xFFFF) << 22 | chroma[0], (lt >> 16) << 22 | chroma[1],
                            (lb & 0xFFFF) << 22 | chroma[2], (lb >> 16) << 22 | chroma[3]};
        for (int p = 0; p < 4; ++p) {
            std::memcpy(keys + p * kGroupBlocks + 4 * half, &k[p], sizeof k[p]);
        }
    }
}

void groupOutputs(const RowPair& rp, uint32_t col, const uint32_t* results) {
    auto store8 = [](uint8_t* dst, U32x4 v) {
        const U16x4 narrow = __builtin_convertvector(v, U16x4);
        std::memcpy(dst, &narrow, sizeof narrow);
    };
    auto luma = [](U32x4 v) { return (v >> 22) & 0xFF; };
    for (uint32_t half = 0; half < 2; ++half) {
        const uint32_t at = col + 8 * half;
        U32x4 r[4];
        for (int p = 0; p < 4; ++p) {
            std::memcpy(&r[p], results + p * kGroupBlocks + 4 * half, sizeof r[p]);
        }
        store8(rp.lumaOutTop + at, luma(r[0]) | luma(r[1]) << 8);
        store8(rp.lumaOutBottom + at, luma(r[2]) | luma(r[3]) << 8);
        if (rp.format <= kCrFirst) {
            auto average = [&](int shift) {
                const U32x4 f[4] = {(r[0] >> shift) & 1023, (r[1] >> shift) & 1023,
                                    (r[2] >> shift) & 1023, (r[3] >> shift) & 1023};
                return (((f[1] + f[3]) >> 1) + ((f[0] + f[2]) >> 1)) >> 3;
            };
            const U32x4 uo = average(10), vo = average(0);
            store8(rp.chromaOut + at, rp.format == kCrFirst ? (vo | uo << 8) : (uo | vo << 8));
        }
    }
}

// Whether a vector group's input is one colour: both luma rows one value over its sixteen
// columns and the three chroma rows one pair over its pairs and their neighbours (columns
// col - 2 .. col + 17). Its 32 keys are then one key.
LUT2D_FORCE_INLINE bool groupInputIsOneColour(const RowPair& rp, uint32_t col) {
    U8x16 top, bottom;
    std::memcpy(&top, rp.lumaTop + col, sizeof top);
    std::memcpy(&bottom, rp.lumaBottom + col, sizeof bottom);
    const U8x16 y = U8x16{} + rp.lumaTop[col];
    U32x4 same = reinterpret_cast<U32x4>((top == y) & (bottom == y));
    const uint16_t pair = static_cast<uint16_t>(rp.centre[col] | rp.centre[col + 1] << 8);
    const U16x8 pairs = U16x8{} + pair;
    for (const uint8_t* row : {rp.up, rp.centre, rp.down}) {
        U16x8 left, right;  // pairs col - 2 .. col + 13 and col + 2 .. col + 17
        std::memcpy(&left, row + col - 2, sizeof left);
        std::memcpy(&right, row + col + 2, sizeof right);
        same &= reinterpret_cast<U32x4>((left == pairs) & (right == pairs));
    }
    return allSet(same);
}

// Outputs of a vector group whose 32 results are one result: every luma byte and every
// chroma pair the same.
LUT2D_FORCE_INLINE bool groupResultsAreOne(const uint32_t* results) {
    return unitIsOneKey(results);
}

// The key of every pixel of a one-colour group: each upsampled chroma value is 16 x the byte
// shifted right by 2.
LUT2D_FORCE_INLINE uint32_t uniformGroupKey(const RowPair& rp, uint32_t col) {
    const int uByte = rp.format == kCrFirst ? 1 : 0;
    const bool hasChroma = rp.format <= kCrFirst;
    const int32_t u = hasChroma ? 4 * rp.centre[col + uByte] : 0;
    const int32_t v = hasChroma ? 4 * rp.centre[col + 1 - uByte] : 0;
    return lut2d::packYuv10(4 * rp.lumaTop[col], u, v);
}

// The outputs of a group whose 32 results are one result (blockOutputs of equal results).
LUT2D_FORCE_INLINE void uniformGroupOutputs(const RowPair& rp, uint32_t col, uint32_t result) {
    const lut2d::Yuv10 out = lut2d::unpackYuv10(result);
    const auto y = static_cast<uint8_t>(out.y >> 2);
    std::memset(rp.lumaOutTop + col, y, kGroupColumns);
    std::memset(rp.lumaOutBottom + col, y, kGroupColumns);
    if (rp.format <= kCrFirst) {
        const int32_t uo = ((out.u + out.u) / 2 + (out.u + out.u) / 2) / 8;
        const int32_t vo = ((out.v + out.v) / 2 + (out.v + out.v) / 2) / 8;
        const auto pair =
            static_cast<uint16_t>(rp.format == kCrFirst ? (vo & 0xFF) | (uo & 0xFF) << 8
                                                        : (uo & 0xFF) | (vo & 0xFF) << 8);
        const U16x8 pairs = U16x8{} + pair;
        std::memcpy(rp.chromaOut + col, &pairs, sizeof pairs);
    }
}

// One chunk of a row pair: columns [c0, c1).
void fullResolutionChunk(const BandJob& job, HM_RGB* cache, const RowPair& rp, uint32_t c0,
                         uint32_t c1, uint32_t* keys, CacheWalk& walk) {
    const uint32_t blocks = (c1 - c0) / 2;
    const uint32_t groups = (blocks + kGroupBlocks - 1) / kGroupBlocks;
    // Whole groups away from the row's ends run on vectors: the first block is not at
    // column 0 and the last block's right neighbour (col + 16) is inside the row.
    auto vectorGroup = [&](uint32_t g) {
        const uint32_t col = c0 + g * kGroupColumns;
        return col >= 2 && col + kGroupColumns < rp.width && (g + 1) * kGroupBlocks <= blocks;
    };
    for (uint32_t g = 0; g < groups; ++g) {
        const uint32_t col = c0 + g * kGroupColumns;
        if (vectorGroup(g) && groupInputIsOneColour(rp, col)) {
            const U32x4 k = U32x4{} + uniformGroupKey(rp, col);
            for (uint32_t i = 0; i < kGroupKeys; i += 4) {
                std::memcpy(keys + groupIndex(g, 0, 0) + i, &k, sizeof k);
            }
        } else if (vectorGroup(g)) {
            groupKeys(rp, col, keys + groupIndex(g, 0, 0));
        } else {
            for (uint32_t k = 0; k < kGroupBlocks && g * kGroupBlocks + k < blocks; ++k) {
                blockKeys(rp, c0 + g * kGroupColumns + 2 * k, keys + groupIndex(g, 0, k),
                          kGroupBlocks);
            }
        }
    }
    const size_t count = size_t{blocks} * 4;
    walkCache<Layout::kBlocksOfFour>(cache, keys, count, walk);
    job.kernel.colours(*job.tables, walk.missKey, walk.computed, walk.misses);
    writeBack(cache, walk);
    resolveAll<Layout::kBlocksOfFour>(walk, keys);
    for (uint32_t g = 0; g < groups; ++g) {
        const uint32_t* results = walk.result + groupIndex(g, 0, 0);
        if (vectorGroup(g) && groupResultsAreOne(results)) {
            uniformGroupOutputs(rp, c0 + g * kGroupColumns, results[0]);
        } else if (vectorGroup(g)) {
            groupOutputs(rp, c0 + g * kGroupColumns, results);
        } else {
            for (uint32_t k = 0; k < kGroupBlocks && g * kGroupBlocks + k < blocks; ++k) {
                blockOutputs(rp, c0 + g * kGroupColumns + 2 * k, walk.result + groupIndex(g, 0, k),
                             kGroupBlocks);
            }
        }
    }
}

// ---- low resolution --------------------------------------------------------------------

// Keys of blocks [b0, b1) of a pair row: the block's average luma (truncated) and its
// chroma pair, Yavg << 16 | U << 8 | V.
void lowResolutionKeys(const uint8_t* lumaTop, const uint8_t* lumaBottom, const uint8_t* chroma,
                       uint32_t b0, uint32_t b1, int uByte, uint32_t* keys) {
    uint32_t c = b0;
    for (; c + 4 <= b1; c += 4, keys += 4) {  // four blocks: eight bytes of each row
        const U32x4 luma = asPairs(widen(lumaTop + 2 * c) + widen(lumaBottom + 2 * c));
        const U32x4 yAvg = ((luma & 0xFFFF) + (luma >> 16)) >> 2;
        const U32x4 pairs = asPairs(widen(chroma + 2 * c));
        const U32x4 first = pairs & 0xFFFF, second = pairs >> 16;
        const U32x4 k = yAvg << 16 | (uByte == 0 ? (first << 8 | second) : (second << 8 | first));
        std::memcpy(keys, &k, sizeof k);
    }
    for (; c < b1; ++c) {
        const uint32_t sum = uint32_t{lumaTop[2 * c]} + lumaTop[2 * c + 1] + lumaBottom[2 * c] +
                             lumaBottom[2 * c + 1];
        const uint32_t u = chroma[2 * c + uByte];
        const uint32_t v = chroma[2 * c + 1 - uByte];
        *keys++ = (sum >> 2) << 16 | u << 8 | v;
    }
}

// The offset byte and the new chroma pair of blocks [b0, b1) from their results.
void lowResolutionOutputs(const uint32_t* results, uint32_t b0, uint32_t b1, uint32_t format,
                          uint8_t* offsets, uint8_t* chroma) {
    const int uByte = format == kCbFirst ? 0 : 1;
    uint32_t c = b0;
    for (; c + 4 <= b1; c += 4, results += 4) {
        U32x4 r;
        std::memcpy(&r, results, sizeof r);
        const U8x4 offset = __builtin_convertvector((r >> 16) & 0xFF, U8x4);
        std::memcpy(offsets + c, &offset, sizeof offset);
        if (format <= kCrFirst) {
            const U32x4 u = (r >> 8) & 0xFF, v = r & 0xFF;
            const U16x4 pairs =
                __builtin_convertvector(uByte == 0 ? (u | v << 8) : (v | u << 8), U16x4);
            std::memcpy(chroma + 2 * c, &pairs, sizeof pairs);
        }
    }
    for (; c < b1; ++c) {
        const uint32_t result = *results++;
        offsets[c] = static_cast<uint8_t>(result >> 16);
        if (format <= kCrFirst) {
            chroma[2 * c + uByte] = static_cast<uint8_t>(result >> 8);
            chroma[2 * c + 1 - uByte] = static_cast<uint8_t>(result);
        }
    }
}

}  // namespace

namespace lut2d {

FinishGate::Decision FinishGate::bandDone() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++bandsDone_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return decision_ != Decision::kPending; });
    return decision_;
}

void FinishGate::awaitBands(int bands) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this, bands] { return bandsDone_ >= bands; });
}

void FinishGate::decide(Decision d) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        decision_ = d;
    }
    changed_.notify_all();
}

}  // namespace lut2d

void* run2dlut_fx_ChrUs(void* arg) {
    const BandJob& job = *static_cast<const BandJob*>(arg);
    const Lut2DThreadArgs& a = job.args;
    const size_t stride = a.stride;
    // Blocks lie wholly inside the frame: an odd last column or row is left as it is.
    const uint32_t width = std::min<uint32_t>(a.width, a.stride) & ~1u;
    const uint32_t height = a.height & ~1u;
    const uint32_t endRow = std::min<uint32_t>(a.endRow, height);
    if (a.startRow >= endRow || width == 0) return nullptr;

    HM_RGB* cache = reinterpret_cast<HM_RGB*>(a.pScratch);
    CacheWalk walk{};
    uint32_t* keys = walk.keys;
    constexpr uint32_t kChunkColumns = kChunk / 2;  // four pixels per two columns

    for (uint32_t r = a.startRow; r < endRow; r += 2) {
        const uint8_t* centre = a.pChromaIn + stride * r / 2;
        const RowPair rp{a.pLumaIn + stride * r,
                         a.pLumaIn + stride * (r + 1),
                         r == 0 ? centre : centre - stride,
                         centre,
                         r == height - 2 ? centre : centre + stride,
                         a.pLumaOut + stride * r,
                         a.pLumaOut + stride * (r + 1),
                         a.pChromaOut + stride * r / 2,
                         width,
                         a.format};
        for (uint32_t c0 = 0; c0 < width; c0 += kChunkColumns) {
            fullResolutionChunk(job, cache, rp, c0, std::min(width, c0 + kChunkColumns), keys,
                                walk);
        }
    }
    return nullptr;
}

namespace {

void lowResolutionBand(const BandJob& job) {
    const Lut2DThreadArgs& a = job.args;
    const size_t s = a.stride;  // half the frame stride: pairs are 2 bytes, rows 2s apart
    const uint32_t width = std::min<uint32_t>(a.width, a.stride);
    if (a.startRow >= a.endRow || width == 0) return;

    HM_RGB* cache = reinterpret_cast<HM_RGB*>(a.pScratch);
    CacheWalk walk{};
    uint32_t* keys = walk.keys;
    // Byte positions of Cb and Cr within a pair when reading; any order but Cb-first reads
    // Cr first.
    const int uByte = a.format == kCbFirst ? 0 : 1;

    for (uint32_t r = a.startRow; r < a.endRow; ++r) {
        const uint8_t* lumaTop = a.pLumaIn + s * 4 * r;
        const uint8_t* lumaBottom = lumaTop + 2 * s;
        const uint8_t* chromaIn = a.pChromaIn + s * 2 * r;
        uint8_t* chromaOut = a.pChromaOut + s * 2 * r;
        uint8_t* offsets = a.pLumaOffset + s * r;
        for (uint32_t b0 = 0; b0 < width; b0 += kChunk) {
            const uint32_t b1 = std::min<uint32_t>(width, b0 + kChunk);
            const size_t n = b1 - b0;
            lowResolutionKeys(lumaTop, lumaBottom, chromaIn, b0, b1, uByte, keys);
            walkCache<Layout::kInOrder>(cache, keys, n, walk);
            job.kernel.blocks(*job.tables, walk.missKey, walk.computed, walk.misses);
            writeBack(cache, walk);
            resolveAll<Layout::kInOrder>(walk, keys);
            lowResolutionOutputs(walk.result, b0, b1, a.format, offsets, chromaOut);
        }
    }
}

}  // namespace

void* run2dlut_fx_yDs(void* arg) {
    const BandJob& job = *static_cast<const BandJob*>(arg);
    lowResolutionBand(job);
    if (job.finish.gate != nullptr &&
        job.finish.gate->bandDone() == lut2d::FinishGate::Decision::kFinish) {
        lut2d::addUpscaledOffsetRows(job.finish);
    }
    return nullptr;
}
