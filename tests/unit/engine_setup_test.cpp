// Engine set-up: the division tables, the index and lightness weight tables derived from the
// record, and the configuration refresh.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kernel_model.h"

namespace {

using EngineSetup = kmodel::KernelTest;

// The constructor zero-fills them; initializeTables copies the same tables as the set-up,
// which the colour kernel's model checks against their definition.
TEST_F(EngineSetup, InitializeTablesCopiesTheDivisionTables) {
    SW_2DLut_v10 fresh;
    EXPECT_EQ(fresh.m_recip[3] | fresh.m_shift2[1023], 0u);
    fresh.initializeTables();
    for (auto table : {&SW_2DLut_v10::m_recip, &SW_2DLut_v10::m_recip2, &SW_2DLut_v10::m_shift,
                       &SW_2DLut_v10::m_shift2}) {
        EXPECT_EQ(std::memcmp(fresh.*table, e().*table, sizeof fresh.m_recip), 0);
    }
    EXPECT_EQ(e().m_recip[3] + e().m_recip[1023] + e().m_shift2[1023], 5462u + 4101u + 10u);
}

// The weight as the kernel's model states it.
TEST_F(EngineSetup, LightnessWeightRampsWrapModulo4096) {
    const struct {
        int startInv, endInv;
    } cases[] = {{20, 20}, {2047, 1500}};  // 3 x 2047 = 6141 -> 2045, 3 x 1500 = 4500 -> 404
    for (const auto& c : cases) {
        kmodel::setLightness(rec, 100, 200, 800, 900);
        rec.l_boundary_start_inv = c.startInv;
        rec.l_boundary_end_inv = c.endInv;
        setUpAgain();
        for (int l = 0; l < 2048; ++l) ASSERT_EQ(e().m_lightWeight[l], kmodel::weight(rec, l)) << l;
    }
}

// Only the index tables, through the stored record (the argument is not read), as the model
// finds intervals; the lightness weights keep the boundaries of the set-up.
TEST_F(EngineSetup, UpdateCfgRebuildsTheIndexTablesOnly) {
    const std::vector<uint16_t> weights(e().m_lightWeight, e().m_lightWeight + 2048);
    rec.lut_1d_s[1] = 200;
    rec.l_boundary_start_A = 300;
    rec.l_boundary_start_B = 400;
    EXPECT_EQ(e().m_satIndex[150], 1);
    EXPECT_EQ(e().UpdateCfg(nullptr), 0);
    for (int s = 0; s <= 2048; ++s)
        ASSERT_EQ(e().m_satIndex[s], kmodel::interval(rec.lut_1d_s, 16, s));
    EXPECT_EQ(std::vector<uint16_t>(e().m_lightWeight, e().m_lightWeight + 2048), weights);
}

}  // namespace
