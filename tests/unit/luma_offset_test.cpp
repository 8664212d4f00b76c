// The low-resolution finish: a plane too large for its temporary stops the process. (What the
// finish writes is checked against the reference engine, and its parts on their own in
// gaussian_expand_test.cpp.)

#include <gtest/gtest.h>

#include "engine/sw_2dlut_v10.h"
#include "support/log_capture.h"

namespace {

using LumaOffsetsDeathTest = ::testing::Test;

TEST(LumaOffsetsDeathTest, OversizedPlaneStopsTheProcess) {
    SW_2DLut_v10 e;
    uint8_t byte = 128;
    const std::string at = ", in beginOffsetAddition at lut2dalgo/src/engine/luma_offset.cpp:";
    LUT2D_EXPECT_STOP(e.YOffsetAddition_tessel(&byte, &byte, 1, 1u << 15, 1u << 15),
                      "fatal: 1073741824 \\* 4 does not fit in uint32" + at);
    LUT2D_EXPECT_STOP(e.YOffsetAddition_tessel(&byte, &byte, 1, 0x80000000u, 1),
                      "fatal: 2147483648 \\* 4 does not fit in uint32" + at);
}

}  // namespace
