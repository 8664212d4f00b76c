// Engine set-up: the division tables, the index and lightness weight tables derived from the
// record, and the configuration refresh.

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "kernel_model.h"

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

// The weight as the kernel's model states it.
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
            ASSERT_EQ(g->m_lightWeight[l], kmodel::weight(rec, l)) << l;
        }
    }
}

// Through the stored record (the argument is not read), as the model finds intervals.
TEST(EngineSetup, UpdateCfgRebuildsTheIndexTables) {
    auto rec = lut2d::neutralRecord();
    SetUpEngine g(&rec);
    rec.lut_1d_s[1] = 200;
    EXPECT_EQ(g->m_satIndex[150], 1);
    EXPECT_EQ(g->UpdateCfg(nullptr), 0);
    for (int s = 0; s <= 2048; ++s)
        ASSERT_EQ(g->m_satIndex[s], kmodel::interval(rec.lut_1d_s, 16, s));
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
