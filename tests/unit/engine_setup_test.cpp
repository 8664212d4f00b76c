// Engine set-up: the division tables, the index and lightness weight tables derived from the
// record, and the configuration refresh.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "support/fixtures.h"

namespace {

using lut2d_test::SetUpEngine;

// shift[n] = ceil(log2 n) and reciprocal[n] = ceil(2^(12 + shift) / n), each table twice.
void expectDivisionTables(const SW_2DLut_v10& e) {
    EXPECT_EQ(e.m_recip[0], 4096u);
    EXPECT_EQ(e.m_shift[1], 0u);
    for (uint32_t n = 1; n < 1024; ++n) {
        const uint32_t shift = n < 2 ? 0 : static_cast<uint32_t>(std::ceil(std::log2(n)));
        ASSERT_EQ(e.m_shift[n], shift) << n;
        ASSERT_EQ(e.m_recip[n], ((uint64_t{1} << (12 + shift)) + n - 1) / n) << n;
    }
    EXPECT_EQ(std::memcmp(e.m_recip, e.m_recip2, sizeof e.m_recip), 0);
    EXPECT_EQ(std::memcmp(e.m_shift, e.m_shift2, sizeof e.m_shift), 0);
    EXPECT_EQ(e.m_recip[3] + e.m_recip[1023] + e.m_shift[1023], 5462u + 4101u + 10u);
}

TEST(EngineSetup, DivisionTablesMatchTheirDefinition) {
    auto rec = lut2d::neutralRecord();
    expectDivisionTables(SetUpEngine(&rec).e);
}

// The constructor zero-fills them.
TEST(EngineSetup, InitializeTablesCopiesTheDivisionTables) {
    SW_2DLut_v10 fresh;
    EXPECT_EQ(fresh.m_recip[3] | fresh.m_shift2[1023], 0u);
    fresh.initializeTables();
    expectDivisionTables(fresh);
}

// Interval i holds x when nodes[i] <= x < nodes[i + 1]; past the last node the last interval.
void expectIntervals(const uint16_t* table, uint32_t entries, const uint16_t* nodes, int last) {
    for (uint32_t x = 0; x < entries; ++x) {
        int expected = 0;
        while (expected < last && x >= nodes[expected + 1]) ++expected;
        ASSERT_EQ(table[x], expected) << "value " << x;
    }
}

// Uneven nodes, and last nodes below the ends of the ranges.
TEST(EngineSetup, IndexTablesCoverTheWholeRangeForAnyNodes) {
    auto uneven = lut2d::neutralRecord();
    for (int i = 1; i < 24; ++i) uneven.lut_1d_h[i] = static_cast<uint16_t>(i * 500 + (i % 3) * 37);
    auto shortNodes = lut2d::neutralRecord();
    for (int i = 0; i < 25; ++i) shortNodes.lut_1d_h[i] = static_cast<uint16_t>(i * 100);
    for (int j = 0; j < 16; ++j) shortNodes.lut_1d_s[j] = static_cast<uint16_t>(j * 10);
    for (auto* rec : {&uneven, &shortNodes}) {
        SetUpEngine g(rec);
        expectIntervals(g->m_hueIndex, 12289, rec->lut_1d_h, 24);
        expectIntervals(g->m_satIndex, 2049, rec->lut_1d_s, 15);
    }
}

// All nodes equal (an invariant broken): each value advances one interval at the most.
TEST(EngineSetup, IndexTablesAdvanceOneIntervalPerValue) {
    auto flat = lut2d::neutralRecord();
    std::memset(flat.lut_1d_h, 0, sizeof flat.lut_1d_h);
    SetUpEngine g(&flat);
    for (uint32_t x = 0; x < 25; ++x) EXPECT_EQ(g->m_hueIndex[x], std::min(x + 1, 24u)) << x;
    EXPECT_EQ(g->m_hueIndex[12288], 24);
}

// 0 outside start A .. end B, 2048 on the plateau, the ramps modulo 4096.
int expectedWeight(int l, int startA, int startB, int endA, int endB, int startInv, int endInv) {
    if (l <= startA || l >= endB) return 0;
    if (l < startB) return (l - startA) * startInv % 4096;
    return l > endA ? (endB - l) * endInv % 4096 : 2048;
}

TEST(EngineSetup, LightnessWeightRampsWrapModulo4096) {
    const struct {
        int startInv, endInv;
    } cases[] = {{20, 20}, {2047, 1500}};  // 3 x 2047 = 6141 -> 2045, 3 x 1500 = 4500 -> 404
    for (const auto& c : cases) {
        auto rec = lut2d::neutralRecord();
        std::tie(rec.l_boundary_start_A, rec.l_boundary_start_B, rec.l_boundary_end_A,
                 rec.l_boundary_end_B) = std::tuple(100, 200, 800, 900);
        rec.l_boundary_start_inv = c.startInv;
        rec.l_boundary_end_inv = c.endInv;
        SetUpEngine g(&rec);
        for (int l = 0; l < 2048; ++l) {
            ASSERT_EQ(g->m_lightWeight[l],
                      expectedWeight(l, 100, 200, 800, 900, c.startInv, c.endInv))
                << l;
        }
    }
}

// Through the stored record; the argument is not read.
TEST(EngineSetup, UpdateCfgRebuildsTheIndexTables) {
    auto rec = lut2d::neutralRecord();
    SetUpEngine g(&rec);
    rec.lut_1d_s[1] = 200;
    EXPECT_EQ(g->m_satIndex[150], 1);
    EXPECT_EQ(g->UpdateCfg(nullptr), 0);
    expectIntervals(g->m_satIndex, 2049, rec.lut_1d_s, 15);
}

TEST(EngineSetup, UpdateCfgKeepsTheLightnessWeightsOfTheSetUp) {
    auto rec = lut2d::neutralRecord();
    SetUpEngine g(&rec);
    const std::vector<uint16_t> before(g->m_lightWeight, g->m_lightWeight + 2048);
    rec.l_boundary_start_A = 300;
    rec.l_boundary_start_B = 400;
    g->UpdateCfg(&rec);
    EXPECT_EQ(std::vector<uint16_t>(g->m_lightWeight, g->m_lightWeight + 2048), before);
}

}  // namespace
