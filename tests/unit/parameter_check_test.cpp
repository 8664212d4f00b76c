// Range validation of the tuning record: results, log lines and their order. (Which values
// pass, and that only ranges are checked, the tool's record test holds field by field.)

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/sw_2dlut_v10.h"
#include "support/fixtures.h"
#include "support/log_capture.h"

namespace {

using lut2d_test::LogLine;
using lut2d_test::logLines;

LogLine rangeLine(const std::string& name, int value, int min, int max) {
    return lut2d_test::error(
        "checkRange: 84: Out of range value detected in sw2dlut module parameter ( " + name +
        " ) = " + std::to_string(value) + " Should be within  [" + std::to_string(min) + " , " +
        std::to_string(max) + "]  \n");
}

int check(const ISP2DLUTInStruct_V10& r) {
    lut2d_test::clearLog();
    return SW_2DLut_v10().parameterCheck(&r);
}

TEST(ParameterCheck, DisabledRecordIsNotExamined) {
    ISP2DLUTInStruct_V10 r;
    std::memset(&r, 0xFF, sizeof r);
    r.enable = 0;
    EXPECT_EQ(check(r), 0);
    EXPECT_TRUE(logLines().empty());
    r.enable = 2;  // a bad enable is the only line
    EXPECT_EQ(check(r), 2);
    EXPECT_EQ(logLines(), std::vector<LogLine>{rangeLine("cfg->enable", 2, 0, 1)});
}

// Array lines name the array without an index, one line for each failing element; unsigned
// fields print unsigned.
TEST(ParameterCheck, EveryFailingValueWritesItsOwnLineInOrder) {
    ISP2DLUTInStruct_V10 r = lut2d::neutralRecord();
    auto bits = [](auto& field) { return reinterpret_cast<uint16_t*>(&field); };
    const struct {
        const char* name;
        uint16_t* field;
        int value, min, max;
    } failing[] = {
        {"cfg->h_shift", &r.h_shift, 65535, 0, 5},
        {"cfg->s_shift", &r.s_shift, 4, 0, 3},
        {"cfg->K_b_integer", &r.K_b_integer, 256, 0, 255},
        {"lut_1d_h", &r.lut_1d_h[24], 12289, 0, 12288},
        {"lut_2d_h", bits(r.lut_2d_h[0]), 512, -511, 511},
        {"lut_2d_h", bits(r.lut_2d_h[300]), -512, -511, 511},
        {"lut_1d_s_inv", &r.lut_1d_s_inv[0], 2048, 0, 2047},
    };
    std::vector<LogLine> lines;
    for (const auto& f : failing) {
        *f.field = static_cast<uint16_t>(f.value);
        lines.push_back(rangeLine(f.name, f.value, f.min, f.max));
    }
    EXPECT_EQ(check(r), 2);
    EXPECT_EQ(logLines(), lines);
}

}  // namespace
