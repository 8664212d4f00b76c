// Range validation of the tuning record: results, log lines and their order.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/sw_2dlut_v10.h"
#include "support/log_capture.h"
#include "support/records.h"

namespace {

using lut2d_test::clearLog;
using lut2d_test::logLines;
using lut2d_test::logTexts;

std::string rangeLine(const std::string& name, int value, int min, int max) {
    return "checkRange: 84: Out of range value detected in sw2dlut module parameter ( " + name +
           " ) = " + std::to_string(value) + " Should be within  [" + std::to_string(min) + " , " +
           std::to_string(max) + "]  \n";
}

class ParameterCheckTest : public ::testing::Test {
  protected:
    void SetUp() override { clearLog(); }
    int check(const ISP2DLUTInStruct_V10& r) { return engine.parameterCheck(&r); }

    SW_2DLut_v10 engine;
    ISP2DLUTInStruct_V10 rec = lut2d_test::neutralRecord();
};

TEST_F(ParameterCheckTest, ValidRecordPassesSilently) {
    EXPECT_EQ(check(rec), 0);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(ParameterCheckTest, DisabledRecordIsNotExamined) {
    ISP2DLUTInStruct_V10 bad;
    std::memset(&bad, 0xFF, sizeof bad);
    bad.enable = 0;
    EXPECT_EQ(check(bad), 0);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(ParameterCheckTest, BadEnableStopsAfterOneLine) {
    std::memset(&rec, 0xFF, sizeof rec);
    rec.enable = 2;
    EXPECT_EQ(check(rec), 2);
    ASSERT_EQ(logLines().size(), 1u);
    EXPECT_EQ(logLines()[0], lut2d_test::error(rangeLine("cfg->enable", 2, 0, 1)));
}

TEST_F(ParameterCheckTest, GridEntryOutOfRangeNamesArrayWithoutIndex) {
    rec.lut_2d_h[17] = 512;
    rec.lut_2d_h[300] = -512;
    EXPECT_EQ(check(rec), 2);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{rangeLine("lut_2d_h", 512, -511, 511),
                                                    rangeLine("lut_2d_h", -512, -511, 511)}));
}

TEST_F(ParameterCheckTest, EveryFailingElementWritesItsOwnLine) {
    for (auto& v : rec.lut_2d_s) v = 600;
    EXPECT_EQ(check(rec), 2);
    const auto texts = logTexts();
    ASSERT_EQ(texts.size(), 400u);
    for (const auto& t : texts) EXPECT_EQ(t, rangeLine("lut_2d_s", 600, -511, 511));
}

TEST_F(ParameterCheckTest, AllChecksRunInTheirOrder) {
    rec.h_shift = 6;
    rec.s_shift = 4;
    rec.l_boundary_start_A = 2048;
    rec.l_boundary_start_B = 2049;
    rec.l_boundary_end_A = 2050;
    rec.l_boundary_end_B = 2051;
    rec.y_blend_factor_integer = 17;
    rec.K_b_integer = 256;
    rec.K_r_integer = 257;
    rec.l_boundary_start_inv = 2052;
    rec.l_boundary_end_inv = 2053;
    rec.lut_1d_h[24] = 12289;
    rec.lut_1d_s[15] = 2049;
    rec.lut_2d_h[0] = 600;
    rec.lut_2d_s[399] = -600;
    rec.lut_1d_h_inv[23] = 16384;
    rec.lut_1d_s_inv[0] = 2048;
    EXPECT_EQ(check(rec), 2);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                              rangeLine("cfg->h_shift", 6, 0, 5),
                              rangeLine("cfg->s_shift", 4, 0, 3),
                              rangeLine("cfg->l_boundary_start_A", 2048, 0, 2047),
                              rangeLine("cfg->l_boundary_start_B", 2049, 0, 2047),
                              rangeLine("cfg->l_boundary_end_A", 2050, 0, 2047),
                              rangeLine("cfg->l_boundary_end_B", 2051, 0, 2047),
                              rangeLine("cfg->y_blend_factor_integer", 17, 0, 16),
                              rangeLine("cfg->K_b_integer", 256, 0, 255),
                              rangeLine("cfg->K_r_integer", 257, 0, 255),
                              rangeLine("cfg->l_boundary_start_inv", 2052, 0, 2047),
                              rangeLine("cfg->l_boundary_end_inv", 2053, 0, 2047),
                              rangeLine("lut_1d_h", 12289, 0, 12288),
                              rangeLine("lut_1d_s", 2049, 0, 2048),
                              rangeLine("lut_2d_h", 600, -511, 511),
                              rangeLine("lut_2d_s", -600, -511, 511),
                              rangeLine("lut_1d_h_inv", 16384, 0, 16383),
                              rangeLine("lut_1d_s_inv", 2048, 0, 2047),
                          }));
}

TEST_F(ParameterCheckTest, BoundsAreInclusive) {
    rec.lut_1d_h[24] = 12288;
    rec.lut_1d_s[15] = 2048;
    rec.y_blend_factor_integer = 16;
    rec.h_shift = 5;
    rec.s_shift = 3;
    rec.lut_2d_h[0] = 511;
    rec.lut_2d_s[0] = -511;
    rec.lut_1d_h_inv[0] = 16383;
    rec.lut_1d_s_inv[0] = 2047;
    EXPECT_EQ(check(rec), 0);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(ParameterCheckTest, UnsignedFieldsPrintUnsigned) {
    rec.h_shift = 0xFFFF;
    EXPECT_EQ(check(rec), 2);
    EXPECT_EQ(logTexts(), std::vector<std::string>{rangeLine("cfg->h_shift", 65535, 0, 5)});
}

TEST_F(ParameterCheckTest, OrderAndSpacingAreNotValidated) {
    rec.lut_1d_h[5] = 100;  // below node 4
    rec.lut_1d_s_inv[3] = 7;
    rec.l_boundary_start_A = 1900;
    rec.l_boundary_end_B = 10;
    EXPECT_EQ(check(rec), 0);
}

}  // namespace
