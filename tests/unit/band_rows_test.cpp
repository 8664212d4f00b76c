// The band workers' stages in every form this machine runs against the scalar form: the same
// frame bytes and the same cache slice, byte for byte, over whole bands and over chunks of
// keys made to meet the walk's hard cases (repeated keys, different keys in one slot, units
// of one key, stored results that look like claims).

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "engine/band_rows.h"
#include "engine/band_rows_body.h"
#include "kernel/kernel_inline.h"
#include "support/fixtures.h"

namespace {

using lut2d::CacheWalk;
using lut2d::kChunkKeys;
using lut2d::kUnitKeys;
using lut2d_test::Case;
using lut2d_test::Frame;
using lut2d_test::pick;

constexpr int kScale = lut2d_test::kSlowdown > 1 ? 4 : 1;

std::vector<lut2d::RowKernelsPath> vectorPaths() {
    return lut2d_test::vectorForms(lut2d::rowKernelsPaths);
}

lut2d::RowKernels scalarRows() {
    lut2d::RowKernelsPath all[8];
    lut2d::rowKernelsPaths(all, 8);
    return all[0].rows;
}

using Tables = lut2d_test::PreparedTables;

// A cache slice as the work area starts (no entry matches a key), with some entries made to
// match keys of the coming chunks and some stored results that look like claims.
std::vector<HM_RGB> makeSlice(std::mt19937& rng, const std::vector<uint32_t>& upcoming) {
    std::vector<HM_RGB> slice(lut2d::kCacheEntries, HM_RGB{0xFFFFFFFFu, 0xFFFFFFFFu});
    for (int n = 0; n < 200 && !upcoming.empty(); ++n) {
        const uint32_t key = upcoming[static_cast<size_t>(pick(rng, 0, int(upcoming.size()) - 1))];
        const uint32_t result = n % 3 == 0
                                    ? lut2d::kClaimMark | static_cast<uint32_t>(pick(rng, 0, 40))
                                    : static_cast<uint32_t>(rng()) & 0x3FFFFFFFu;
        slice[lut2d::cacheSlot(key)] = {result, key};
    }
    return slice;
}

// ---- chunks of keys -------------------------------------------------------------------------

// Keys that make the walk's hard cases: few distinct keys (repeats within a group of eight),
// keys 49999 apart (one slot, different keys), and units of one key.
std::vector<uint32_t> hardKeys(std::mt19937& rng, size_t count) {
    std::vector<uint32_t> alphabet;
    auto letter = [&] {
        return alphabet[static_cast<size_t>(pick(rng, 0, int(alphabet.size()) - 1))];
    };
    for (int n = 0; n < pick(rng, 1, 12); ++n) {
        // Keys of every size the vector forms take (below 2^31), most of them small.
        const uint32_t base =
            static_cast<uint32_t>(rng()) & (n % 3 == 0 ? 0x7FF0FFFFu : 0x3FFFFFFu);
        alphabet.push_back(base);
        alphabet.push_back(base + 49999u * static_cast<uint32_t>(pick(rng, 1, 50)));
    }
    std::vector<uint32_t> keys(count);
    for (size_t i = 0; i < count; ++i) {
        if (i % kUnitKeys == 0 && pick(rng, 0, 3) == 0) {  // a unit of one key
            const uint32_t k = letter();
            for (size_t j = i; j < count && j < i + kUnitKeys; ++j) keys[j] = k;
            i = std::min(count, i + kUnitKeys) - 1;
            continue;
        }
        keys[i] = pick(rng, 0, 4) == 0 ? static_cast<uint32_t>(rng()) & 0x3FFFFFFFu : letter();
    }
    return keys;
}

// Walks and settles one chunk with the given stages; the units of one key are marked as a
// keys stage marks them.
std::vector<uint32_t> walkChunk(const lut2d::RowKernels& rows, const Tables& t,
                                const std::vector<uint32_t>& keys, std::vector<HM_RGB>& slice) {
    auto w = std::make_unique<CacheWalk>();
    std::copy(keys.begin(), keys.end(), w->keys);
    w->count = keys.size();
    for (size_t u = 0; u < kChunkKeys / kUnitKeys; ++u) {
        const size_t b = u * kUnitKeys;
        bool one = b + kUnitKeys <= keys.size();
        for (size_t j = b; one && j < b + kUnitKeys; ++j) one = keys[j] == keys[b];
        w->uniform[u] = one ? 1 : 0;
    }
    rows.walk(slice.data(), *w);
    lut2d::AdjustColours_C(*t.tables, w->missKey, w->computed, w->misses);
    rows.settle(slice.data(), *w);
    return {w->result, w->result + w->count};
}

TEST(BandRows, VectorWalksGiveTheScalarWalksResultsAndSlices) {
    Tables t(lut2d_test::busyRecord(9));
    std::mt19937 rng(31);
    for (int n = 0; n < 400 / kScale; ++n) {
        const auto count = static_cast<size_t>(n % 4 == 0 ? kChunkKeys : pick(rng, 1, kChunkKeys));
        const std::vector<uint32_t> keys = hardKeys(rng, count);
        const std::vector<HM_RGB> start = makeSlice(rng, keys);
        std::vector<HM_RGB> expectedSlice = start;
        const std::vector<uint32_t> expected = walkChunk(scalarRows(), t, keys, expectedSlice);
        for (const lut2d::RowKernelsPath& p : vectorPaths()) {
            std::vector<HM_RGB> slice = start;
            EXPECT_EQ(walkChunk(p.rows, t, keys, slice), expected) << p.name << " chunk " << n;
            EXPECT_EQ(
                std::memcmp(slice.data(), expectedSlice.data(), slice.size() * sizeof(HM_RGB)), 0)
                << p.name << " chunk " << n;
        }
        if (HasFailure()) return;
    }
}

// The vector forms find a key's slot without a division: every key below 2^24 and keys up to
// 2^31 on both sides of each multiple of 49999 land where key mod 49999 puts them.
TEST(BandRows, VectorSlotsAreTheKeyModulo49999) {
    using lut2d::rows::U;
    auto check = [](uint32_t first) {
        U k;
        for (uint32_t j = 0; j < 8; ++j) k[j] = first + j;
        const U s = lut2d::rows::cacheSlots(k);
        bool right = true;
        for (uint32_t j = 0; j < 8; ++j) right = right && s[j] == (first + j) % 49999u;
        return right;
    };
    for (uint32_t k = 0; k < (1u << 24); k += 8) ASSERT_TRUE(check(k)) << k;
    for (uint64_t m = 49999; m < (1ull << 31) - 8; m += 49999 * 997ull) {
        ASSERT_TRUE(check(static_cast<uint32_t>(m - 4))) << m;
    }
    ASSERT_TRUE(check(0x7FFFFFF7u));
}

// ---- whole bands ----------------------------------------------------------------------------

// The band's frame and slice after three frames through the given stages.
struct BandState {
    Frame frame;
    std::vector<uint8_t> extra;  // chroma result buffer or luma offsets
    std::vector<HM_RGB> slice;
};

BandState runBands(const lut2d::FrameKernels& k, const Case& c, Tables& t, uint32_t seed) {
    std::mt19937 rng(seed);
    t.record = lut2d_test::busyRecord(seed);
    const auto [width, height, stride, format] = c.info;
    BandState s{Frame(c.info), {}, makeSlice(rng, {})};
    const bool full = c.mode == LUT2D_MODE_CHRUS;
    s.extra.assign(size_t{stride} * height / 2 + 1, 0);
    for (int frame = 0; frame < 3; ++frame) {
        if (frame == 1) lut2d_test::fillRandom(s.frame, static_cast<uint32_t>(rng()));
        if (frame != 1) lut2d_test::fillPatches(s.frame, rng);
        t.record.lut_2d_h[pick(rng, 0, 399)] = static_cast<int16_t>(pick(rng, -511, 511));
        t.prepare();
        lut2d::BandWork work{};
        work.tables = t.tables.get();
        work.kernels = k;
        Lut2DThreadArgs& a = work.args;
        a.pLumaIn = s.frame.luma.data();
        a.pChromaIn = s.frame.chroma.data();
        a.pLumaOut = full ? s.frame.luma.data() : nullptr;
        a.pChromaOut = full ? s.extra.data() : s.frame.chroma.data();
        a.pLumaOffset = full ? nullptr : s.extra.data();
        a.width = static_cast<uint16_t>(full ? width : width / 2);
        a.stride = static_cast<uint16_t>(full ? stride : stride / 2);
        a.height = static_cast<uint16_t>(full ? height : 0);
        a.startRow = 0;
        a.endRow = static_cast<uint16_t>(full ? height : height / 2);
        a.pScratch = reinterpret_cast<uint8_t*>(s.slice.data());
        a.format = format;
        (full ? lut2d::fullResolutionBand : lut2d::lowResolutionBand)(work);
    }
    return s;
}

TEST(BandRows, VectorBandsWriteTheScalarBandsBytesAndSlices) {
    Tables t(lut2d_test::busyRecord(9));
    std::mt19937 rng(8);
    std::vector<Case> cases;
    for (int n = 0; n < 40 / kScale; ++n) {
        const auto width = static_cast<uint32_t>(pick(rng, 1, 90) * 2);
        cases.push_back({n % 2 == 0 ? LUT2D_MODE_CHRUS : LUT2D_MODE_YDS,
                         {width, static_cast<uint32_t>(pick(rng, 1, 12) * 2),
                          width + static_cast<uint32_t>(pick(rng, 0, 3) * 2),
                          static_cast<uint32_t>(pick(rng, 0, 2))}});
    }
    cases.push_back({LUT2D_MODE_CHRUS, {1100, 6, 1104, 0}});  // chunks of a row
    cases.push_back({LUT2D_MODE_YDS, {2200, 4, 2200, 1}});
    for (const Case& c : cases) {
        SCOPED_TRACE(lut2d_test::describe(c));
        const auto seed = static_cast<uint32_t>(rng());
        const BandState expected = runBands(
            {scalarRows(), lut2d::ColourKernel{lut2d::AdjustColours_C, lut2d::AdjustBlocks_C}}, c,
            t, seed);
        for (const lut2d::RowKernelsPath& p : vectorPaths()) {
            const BandState actual =
                runBands({p.rows, lut2d::selectColourKernel(*t.tables)}, c, t, seed);
            EXPECT_EQ(actual.frame.luma, expected.frame.luma) << p.name;
            EXPECT_EQ(actual.frame.chroma, expected.frame.chroma) << p.name;
            EXPECT_EQ(actual.extra, expected.extra) << p.name;
            EXPECT_EQ(std::memcmp(actual.slice.data(), expected.slice.data(),
                                  actual.slice.size() * sizeof(HM_RGB)),
                      0)
                << p.name;
        }
        if (HasFailure()) return;
    }
}

}  // namespace
