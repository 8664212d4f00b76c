// Engine set-up: division tables, colour-transform constants, derived tables, work area.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "engine/sw_2dlut_v10.h"
#include "support/log_capture.h"
#include "support/records.h"

namespace {

struct Engine {
    SW_2DLut_v10 e;
    explicit Engine(ISP2DLUTInStruct_V10* rec, Lut2DMode mode = LUT2D_MODE_CHRUS) {
        EXPECT_EQ(e.InitLut2D(rec, mode, {64, 32, 64, 1}), 0);
    }
    ~Engine() { e.DenitLut2D(); }
};

TEST(EngineSetup, ConstructorZeroFillsTheDivisionTables) {
    SW_2DLut_v10 e;
    for (uint32_t n = 0; n < 1024; ++n) {
        ASSERT_EQ(e.m_recip[n] | e.m_recip2[n] | e.m_shift[n] | e.m_shift2[n], 0u) << n;
    }
    e.initializeTables();
    EXPECT_EQ(e.m_recip[3], 5462u);
    EXPECT_EQ(e.m_shift2[1023], 10u);
}

TEST(EngineSetup, DivisionTablesMatchTheirDefinition) {
    auto rec = lut2d_test::neutralRecord();
    Engine g(&rec);
    const SW_2DLut_v10& e = g.e;
    EXPECT_EQ(e.m_recip[0], 4096u);
    EXPECT_EQ(e.m_shift[0], 0u);
    EXPECT_EQ(e.m_shift[1], 0u);
    for (uint32_t n = 1; n < 1024; ++n) {
        const uint32_t shift = n < 2 ? 0 : static_cast<uint32_t>(std::ceil(std::log2(n)));
        const uint64_t num = uint64_t{1} << (12 + shift);
        ASSERT_EQ(e.m_shift[n], shift) << n;
        ASSERT_EQ(e.m_recip[n], (num + n - 1) / n) << n;
        ASSERT_GE(e.m_recip[n], 4096u);
        ASSERT_LE(e.m_recip[n], 8177u);
    }
    EXPECT_EQ(std::memcmp(e.m_recip, e.m_recip2, sizeof e.m_recip), 0);
    EXPECT_EQ(std::memcmp(e.m_shift, e.m_shift2, sizeof e.m_shift), 0);
    EXPECT_EQ(e.m_recip[3], 5462u);
    EXPECT_EQ(e.m_recip[5], 6554u);
    EXPECT_EQ(e.m_recip[7], 4682u);
    EXPECT_EQ(e.m_recip[9], 7282u);
    EXPECT_EQ(e.m_recip[1023], 4101u);
    EXPECT_EQ(e.m_shift[1023], 10u);
}

TEST(EngineSetup, ColourTransformConstantsInMemoryOrder) {
    auto rec = lut2d_test::neutralRecord();
    Engine g(&rec);
    const int16_t expected[42] = {0,    0,    0,   0,    0,    0,    1023, 1023, 1023, 601,  117,
                                  306,  -338, 510, -172, -427, -83,  510,  0,    512,  512,  0,
                                  512,  512,  0,   0,    0,    1023, 1023, 1023, 1024, -354, -734,
                                  1024, 1822, 0,   1024, 0,    1441, 0,    0,    0};
    EXPECT_EQ(std::memcmp(g.e.m_cst, expected, sizeof expected), 0);
}

// Independent statement of what an index table holds for strictly increasing nodes.
void expectIntervals(const uint16_t* table, uint32_t entries, const uint16_t* nodes, int last) {
    for (uint32_t x = 0; x < entries; ++x) {
        int expected = 0;
        while (expected < last && x >= nodes[expected + 1]) ++expected;
        ASSERT_EQ(table[x], expected) << "value " << x;
    }
}

TEST(EngineSetup, IndexTablesMapValuesToTheirIntervals) {
    auto rec = lut2d_test::neutralRecord();
    const uint16_t hue[25] = {0,     300,   900,   1000,  2048,  2100,  3000, 4096, 4100,
                              5000,  6144,  6500,  7000,  8192,  8300,  9000, 9500, 10240,
                              10300, 10800, 11000, 11500, 12000, 12200, 12288};
    std::memcpy(rec.lut_1d_h, hue, sizeof hue);
    Engine g(&rec);
    expectIntervals(g.e.m_hueIndex, 12289, rec.lut_1d_h, 24);
    expectIntervals(g.e.m_satIndex, 2049, rec.lut_1d_s, 15);
    EXPECT_EQ(g.e.m_hueIndex[12288], 24);
    EXPECT_EQ(g.e.m_hueIndex[12287], 23);
    EXPECT_EQ(g.e.m_satIndex[2048], 15);
}

TEST(EngineSetup, IndexTablesCoverTheWholeRangeWhenTheLastNodeIsLow) {
    auto rec = lut2d_test::neutralRecord();
    for (int i = 0; i < 25; ++i) rec.lut_1d_h[i] = static_cast<uint16_t>(i * 100);
    for (int j = 0; j < 16; ++j) rec.lut_1d_s[j] = static_cast<uint16_t>(j * 10);
    Engine g(&rec);
    expectIntervals(g.e.m_hueIndex, 12289, rec.lut_1d_h, 24);
    expectIntervals(g.e.m_satIndex, 2049, rec.lut_1d_s, 15);
    EXPECT_EQ(g.e.m_hueIndex[12288], 24);
    EXPECT_EQ(g.e.m_satIndex[2048], 15);
}

TEST(EngineSetup, IndexTablesAdvanceOneIntervalPerValue) {
    // Nodes that break the strictly-increasing rule still give a bounded table.
    auto rec = lut2d_test::neutralRecord();
    std::memset(rec.lut_1d_h, 0, sizeof rec.lut_1d_h);
    Engine g(&rec);
    for (uint32_t x = 0; x < 25; ++x) EXPECT_EQ(g.e.m_hueIndex[x], std::min(x + 1, 24u)) << x;
    EXPECT_EQ(g.e.m_hueIndex[12288], 24);
}

uint16_t weightAt(const ISP2DLUTInStruct_V10& rec, int l) {
    auto copy = rec;
    Engine g(&copy);
    return g.e.m_lightWeight[l];
}

TEST(EngineSetup, LightnessWeightRampsAndPlateau) {
    auto rec = lut2d_test::neutralRecord();
    rec.l_boundary_start_A = 100;
    rec.l_boundary_start_B = 200;
    rec.l_boundary_end_A = 800;
    rec.l_boundary_end_B = 900;
    rec.l_boundary_start_inv = 20;
    rec.l_boundary_end_inv = 20;
    Engine g(&rec);
    const uint16_t* w = g.e.m_lightWeight;
    for (int l = 0; l <= 100; ++l) ASSERT_EQ(w[l], 0) << l;
    for (int l = 101; l < 200; ++l) ASSERT_EQ(w[l], (l - 100) * 20) << l;
    for (int l = 200; l <= 800; ++l) ASSERT_EQ(w[l], 2048) << l;
    for (int l = 801; l < 900; ++l) ASSERT_EQ(w[l], (900 - l) * 20) << l;
    for (int l = 900; l < 2048; ++l) ASSERT_EQ(w[l], 0) << l;
    EXPECT_EQ(w[101], 20);
    EXPECT_EQ(w[199], 1980);
    EXPECT_EQ(w[801], 1980);
    EXPECT_EQ(w[899], 20);
}

TEST(EngineSetup, LightnessRampProductWrapsModulo4096) {
    auto rec = lut2d_test::neutralRecord();
    rec.l_boundary_start_A = 100;
    rec.l_boundary_start_B = 200;
    rec.l_boundary_start_inv = 2047;
    EXPECT_EQ(weightAt(rec, 103), 2045);  // 6141 reduced to 12 bits
    rec.l_boundary_end_A = 1000;
    rec.l_boundary_end_B = 1010;
    rec.l_boundary_end_inv = 1500;
    EXPECT_EQ(weightAt(rec, 1007), 4500 & 4095);
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
    EXPECT_EQ(g.e.m_satIndex[150], 0);
    expectIntervals(g.e.m_satIndex, 2049, rec.lut_1d_s, 15);
    EXPECT_EQ(g.e.m_lightWeight[100], before);
}

TEST(EngineSetup, UnwrittenCacheEntriesMatchNoColour) {
    auto rec = lut2d_test::neutralRecord();
    Engine g(&rec);
    const auto* cache = reinterpret_cast<const HM_RGB*>(g.e.m_workArea);
    for (uint32_t i = 0; i < 4 * 50000; ++i) ASSERT_GT(cache[i].key, (1u << 30) - 1) << i;
}

TEST(EngineSetup, DenitFreesAndForgetsEveryBuffer) {
    auto rec = lut2d_test::neutralRecord();
    SW_2DLut_v10 e;
    ASSERT_EQ(e.InitLut2D(&rec, LUT2D_MODE_YDS, {8, 8, 8, 0}), 0);
    EXPECT_TRUE(lut2d::engineIsSetUp(e));
    EXPECT_EQ(e.DenitLut2D(), 0);
    EXPECT_FALSE(lut2d::engineIsSetUp(e));
    EXPECT_EQ(e.m_workArea, nullptr);
}

TEST(EngineSetup, RunHonoursEnable) {
    auto rec = lut2d_test::neutralRecord();
    Engine g(&rec);
    lut2d_test::Frame f(64, 32, 64);
    auto data = f.data();
    rec.enable = 0;
    EXPECT_EQ(g.e.run(&data), 0);
}

}  // namespace
