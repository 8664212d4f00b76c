// Engine set-up: division tables, derived index and lightness tables, configuration refresh.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "engine/sw_2dlut_v10.h"
#include "support/records.h"

namespace {

struct Engine {
    SW_2DLut_v10 e;
    explicit Engine(ISP2DLUTInStruct_V10* rec) {
        EXPECT_EQ(e.InitLut2D(rec, LUT2D_MODE_CHRUS, {64, 32, 64, 1}), 0);
    }
    ~Engine() { e.DenitLut2D(); }
};

TEST(EngineSetup, DivisionTablesMatchTheirDefinition) {
    SW_2DLut_v10 fresh;  // the constructor zero-fills; initializeTables copies the constants
    EXPECT_EQ(fresh.m_recip[3] | fresh.m_shift2[1023], 0u);
    fresh.initializeTables();
    auto rec = lut2d_test::neutralRecord();
    Engine g(&rec);
    for (const SW_2DLut_v10* e : {&fresh, &g.e}) {
        EXPECT_EQ(e->m_recip[0], 4096u);
        EXPECT_EQ(e->m_shift[1], 0u);
        for (uint32_t n = 1; n < 1024; ++n) {
            const uint32_t shift = n < 2 ? 0 : static_cast<uint32_t>(std::ceil(std::log2(n)));
            ASSERT_EQ(e->m_shift[n], shift) << n;
            ASSERT_EQ(e->m_recip[n], ((uint64_t{1} << (12 + shift)) + n - 1) / n) << n;
        }
        EXPECT_EQ(std::memcmp(e->m_recip, e->m_recip2, sizeof e->m_recip), 0);
        EXPECT_EQ(std::memcmp(e->m_shift, e->m_shift2, sizeof e->m_shift), 0);
    }
    EXPECT_EQ(g.e.m_recip[3], 5462u);
    EXPECT_EQ(g.e.m_recip[1023], 4101u);
    EXPECT_EQ(g.e.m_shift[1023], 10u);
}

// Interval i holds x when nodes[i] <= x < nodes[i + 1]; past the last node the last interval.
void expectIntervals(const uint16_t* table, uint32_t entries, const uint16_t* nodes, int last) {
    for (uint32_t x = 0; x < entries; ++x) {
        int expected = 0;
        while (expected < last && x >= nodes[expected + 1]) ++expected;
        ASSERT_EQ(table[x], expected) << "value " << x;
    }
}

TEST(EngineSetup, IndexTablesCoverTheWholeRangeForAnyNodes) {
    auto uneven = lut2d_test::neutralRecord();
    for (int i = 1; i < 24; ++i) uneven.lut_1d_h[i] = static_cast<uint16_t>(i * 500 + (i % 3) * 37);
    auto short_ = lut2d_test::neutralRecord();  // last nodes below the range ends
    for (int i = 0; i < 25; ++i) short_.lut_1d_h[i] = static_cast<uint16_t>(i * 100);
    for (int j = 0; j < 16; ++j) short_.lut_1d_s[j] = static_cast<uint16_t>(j * 10);
    for (auto* rec : {&uneven, &short_}) {
        Engine g(rec);
        expectIntervals(g.e.m_hueIndex, 12289, rec->lut_1d_h, 24);
        expectIntervals(g.e.m_satIndex, 2049, rec->lut_1d_s, 15);
    }
    auto flat = lut2d_test::neutralRecord();  // all nodes equal: one interval per value
    std::memset(flat.lut_1d_h, 0, sizeof flat.lut_1d_h);
    Engine g(&flat);
    for (uint32_t x = 0; x < 25; ++x) EXPECT_EQ(g.e.m_hueIndex[x], std::min(x + 1, 24u)) << x;
    EXPECT_EQ(g.e.m_hueIndex[12288], 24);
}

TEST(EngineSetup, LightnessWeightRampsWrapModulo4096) {
    auto rec = lut2d_test::neutralRecord();
    rec.l_boundary_start_A = 100;
    rec.l_boundary_start_B = 200;
    rec.l_boundary_end_A = 800;
    rec.l_boundary_end_B = 900;
    rec.l_boundary_start_inv = 20;
    rec.l_boundary_end_inv = 20;
    Engine g(&rec);
    for (int l = 0; l < 2048; ++l) {
        const int expected = l <= 100 || l >= 900 ? 0
                             : l < 200            ? (l - 100) * 20
                             : l > 800            ? (900 - l) * 20
                                                  : 2048;
        ASSERT_EQ(g.e.m_lightWeight[l], expected) << l;
    }
    rec.l_boundary_start_inv = 2047;
    rec.l_boundary_end_inv = 1500;
    Engine w(&rec);
    EXPECT_EQ(w.e.m_lightWeight[103], 2045);  // 6141 reduced to 12 bits
    EXPECT_EQ(w.e.m_lightWeight[897], 4500 & 4095);
}

TEST(EngineSetup, UpdateCfgFollowsNodesButNotLightnessBoundaries) {
    auto rec = lut2d_test::neutralRecord();
    Engine g(&rec);
    const uint16_t before = g.e.m_lightWeight[100];
    rec.lut_1d_s[1] = 200;
    rec.l_boundary_start_A = 300;
    rec.l_boundary_start_B = 400;
    EXPECT_EQ(g.e.m_satIndex[150], 1);
    EXPECT_EQ(g.e.UpdateCfg(nullptr), 0);
    expectIntervals(g.e.m_satIndex, 2049, rec.lut_1d_s, 15);
    EXPECT_EQ(g.e.m_lightWeight[100], before);
}

}  // namespace
