// Range validation of the tuning record: results, log lines and their order.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/sw_2dlut_v10.h"
#include "support/log_capture.h"
#include "support/records.h"

namespace {

using lut2d_test::logTexts;

std::string rangeLine(const std::string& name, int value, int min, int max) {
    return "checkRange: 84: Out of range value detected in sw2dlut module parameter ( " + name +
           " ) = " + std::to_string(value) + " Should be within  [" + std::to_string(min) + " , " +
           std::to_string(max) + "]  \n";
}

int check(const ISP2DLUTInStruct_V10& r) {
    lut2d_test::clearLog();
    return SW_2DLut_v10().parameterCheck(&r);
}

TEST(ParameterCheck, AcceptsInclusiveBoundsAndUncheckedInvariantsSilently) {
    ISP2DLUTInStruct_V10 r = lut2d_test::neutralRecord();
    r.lut_1d_h[24] = 12288;
    r.lut_1d_s[15] = 2048;
    r.y_blend_factor_integer = 16;
    r.h_shift = 5;
    r.s_shift = 3;
    r.lut_2d_h[0] = 511;
    r.lut_2d_s[0] = -511;
    r.lut_1d_h_inv[0] = 16383;
    r.lut_1d_s_inv[0] = 2047;
    r.lut_1d_h[5] = 100;  // nodes out of order, reciprocal off, boundaries reversed
    r.lut_1d_s_inv[3] = 7;
    r.l_boundary_start_A = 1900;
    r.l_boundary_end_B = 10;
    EXPECT_EQ(check(r), 0);
    EXPECT_TRUE(logTexts().empty());
}

TEST(ParameterCheck, DisabledRecordIsNotExamined) {
    ISP2DLUTInStruct_V10 r;
    std::memset(&r, 0xFF, sizeof r);
    r.enable = 0;
    EXPECT_EQ(check(r), 0);
    EXPECT_TRUE(logTexts().empty());
    r.enable = 2;  // a bad enable is the only line
    EXPECT_EQ(check(r), 2);
    EXPECT_EQ(logTexts(), std::vector<std::string>{rangeLine("cfg->enable", 2, 0, 1)});
}

TEST(ParameterCheck, EveryFailingValueWritesItsOwnLineInOrder) {
    ISP2DLUTInStruct_V10 r = lut2d_test::neutralRecord();
    r.h_shift = 0xFFFF;  // unsigned fields print unsigned
    r.s_shift = 4;
    r.l_boundary_start_A = 2048;
    r.l_boundary_start_B = 2049;
    r.l_boundary_end_A = 2050;
    r.l_boundary_end_B = 2051;
    r.y_blend_factor_integer = 17;
    r.K_b_integer = 256;
    r.K_r_integer = 257;
    r.l_boundary_start_inv = 2052;
    r.l_boundary_end_inv = 2053;
    r.lut_1d_h[24] = 12289;
    r.lut_1d_s[15] = 2049;
    r.lut_2d_h[0] = 512;
    r.lut_2d_h[300] = -512;  // array lines name the array without an index
    r.lut_2d_s[399] = -600;
    r.lut_1d_h_inv[23] = 16384;
    r.lut_1d_s_inv[0] = 2048;
    EXPECT_EQ(check(r), 2);
    EXPECT_EQ(logTexts(), (std::vector<std::string>{
                              rangeLine("cfg->h_shift", 65535, 0, 5),
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
                              rangeLine("lut_2d_h", 512, -511, 511),
                              rangeLine("lut_2d_h", -512, -511, 511),
                              rangeLine("lut_2d_s", -600, -511, 511),
                              rangeLine("lut_1d_h_inv", 16384, 0, 16383),
                              rangeLine("lut_1d_s_inv", 2048, 0, 2047),
                          }));
    for (auto& v : r.lut_2d_s) v = 600;
    EXPECT_EQ(check(r), 2);
    EXPECT_EQ(logTexts().size(), 17u + 400u);
}

}  // namespace
