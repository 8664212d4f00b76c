// Engine set-up: the division tables, the index and lightness weight tables derived from the
// record, and the configuration refresh.

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "support/fixtures.h"

namespace {

using lut2d_test::SetUpEngine;

// The constructor zero-fills them; initializeTables copies the same tables as the set-up,
// which the colour kernel's model checks against their definition.
TEST(EngineSetup, InitializeTablesCopiesTheDivisionTables) {
    auto rec = lut2d::neutralRecord();
    SetUpEngine g(&rec);
    SW_2DLut_v10 fresh;
    EXPECT_EQ(fresh.m_recip[3] | fresh.m_shift2[1023], 0u);
    fresh.initializeTables();
    for (auto table : {&SW_2DLut_v10::m_recip, &SW_2DLut_v10::m_recip2, &SW_2DLut_v10::m_shift,
                       &SW_2DLut_v10::m_shift2}) {
        EXPECT_EQ(std::memcmp(fresh.*table, g.e.*table, sizeof fresh.m_recip), 0);
    }
    EXPECT_EQ(g->m_recip[3] + g->m_recip[1023] + g->m_shift2[1023], 5462u + 4101u + 10u);
}

// Interval i holds x when nodes[i] <= x < nodes[i + 1]; past the last node the last interval.
void expectIntervals(const uint16_t* table, uint32_t entries, const uint16_t* nodes, int last) {
    for (uint32_t x = 0; x < entries; ++x) {
        int expected = 0;
        while (expected < last && x >= nodes[expected + 1]) ++expected;
        ASSERT_EQ(table[x], expected) << "value " << x;
    }
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
