// Integer helpers: exact 16-bit truncation, the signed shift rule and overflow traps.

#include <gtest/gtest.h>

#include <climits>

#include "common/checked_math.h"
#include "common/int_math.h"
#include "support/log_capture.h"

namespace {

TEST(IntMath, SixteenBitTruncation) {
    EXPECT_EQ(lut2d::toInt16(70000), 4464);
    EXPECT_EQ(lut2d::toInt16(32768), -32768);
    EXPECT_EQ(lut2d::toInt16(-1), -1);
    EXPECT_EQ(lut2d::toInt16(65535), -1);
    EXPECT_EQ(lut2d::toUint16(-1), 65535);
}

TEST(IntMath, SignedShiftRule) {
    EXPECT_EQ(lut2d::signedShift(-511, 5), -16352);
    EXPECT_EQ(lut2d::signedShift(100, 0), 100);
    EXPECT_EQ(lut2d::signedShift(-100, -2), -25);  // arithmetic: floors
    EXPECT_EQ(lut2d::signedShift(-101, -2), -26);
    EXPECT_EQ(lut2d::signedShift(1, 0xFFFF), 0);    // 0xFFFF is -1: shift right by 1
    EXPECT_EQ(lut2d::signedShift(3, 33), 6);        // count taken modulo 32
    EXPECT_EQ(lut2d::signedShift(-8, -32768), -8);  // magnitude 32768 -> count 0
}

// Halves round up, on both sides of zero.
TEST(IntMath, RoundedShiftRoundsToTheNearest) {
    EXPECT_EQ(lut2d::roundShift(3, 1), 2);
    EXPECT_EQ(lut2d::roundShift(-3, 1), -1);
    EXPECT_EQ(lut2d::roundShift(-1024, 11), 0);
    EXPECT_EQ(lut2d::roundShift(-1025, 11), -1);
    EXPECT_EQ(lut2d::roundShift(8191, 14), 0);
    EXPECT_EQ(lut2d::roundShift(8192, 14), 1);
}

TEST(IntMath, SixteenBitDifferenceWraps) {
    EXPECT_EQ(lut2d::difference16(70000, 0), 4464);
    EXPECT_EQ(lut2d::difference16(-32768, 1), 32767);
    EXPECT_EQ(lut2d::difference16(INT_MIN, INT_MAX), 1);
}

TEST(IntMath, TenBitSamplesAreFourTimesTheEightBitOnes) {
    EXPECT_EQ(lut2d::to10Bit(255u), 1020u);
    EXPECT_EQ(lut2d::to8Bit(1023u), 255u);
    EXPECT_EQ(lut2d::to8Bit(1020u), 255u);
}

using CheckedMathDeathTest = ::testing::Test;

// Every overflow stops with one error line that names the values, the type they did not fit
// and the place of the call.
TEST(CheckedMathDeathTest, OverflowsStopWithALineNamingWhatAndWhere) {
    EXPECT_EQ((lut2d::checkedMul<uint32_t>(65536u, 65535u)), 4294901760u);
    EXPECT_EQ(lut2d::checkedRoundShift(INT_MAX - 512, 10), 2097151);
    const std::string at = ", in TestBody at tests/unit/checked_math_test.cpp:";
    LUT2D_EXPECT_STOP((void)lut2d::checkedMul<uint32_t>(65536u, 65536u),
                      "fatal: 65536 \\* 65536 does not fit in uint32" + at);
    LUT2D_EXPECT_STOP((void)lut2d::checkedAdd<int32_t>(INT_MAX, 1),
                      "fatal: 2147483647 \\+ 1 does not fit in int32" + at);
    LUT2D_EXPECT_STOP((void)lut2d::checkedSub<uint32_t>(1u, 2u),
                      "fatal: 1 - 2 does not fit in uint32" + at);
    LUT2D_EXPECT_STOP((void)lut2d::checkedCast<int32_t>(0x80000000u),
                      "fatal: 2147483648 does not fit in int32" + at);
    LUT2D_EXPECT_STOP((void)lut2d::checkedCast<uint64_t>(INT64_MIN),
                      "fatal: -9223372036854775808 does not fit in uint64" + at);
    LUT2D_EXPECT_STOP((void)lut2d::checkedRoundShift(INT_MAX - 511, 10),
                      "fatal: 2147483136 \\+ 512 does not fit in int32" + at);
    LUT2D_EXPECT_STOP(
        lut2d::fatal("a state to stop at"),
        "fatal: a state to stop at, in TestBody at tests/unit/checked_math_test.cpp:");
}

}  // namespace
