// The checked arithmetic and the fatal stop.

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>

#include "common/checked_math.h"
#include "dsp/sw2dlut_dsp.h"
#include "engine/plane_copy.h"
#include "engine/sw_2dlut_v10.h"
#include "support/log_capture.h"

namespace {

using FatalStopDeathTest = ::testing::Test;

// Every stop writes one error line naming what did not fit (the values and the type) or what
// went wrong, and where (the function, the file and the line), then ends the process: each
// place of the library that stops, and the checked helpers themselves where no such place
// shows their form (a signed sum, a 64-bit cast, the rounding shift).
TEST(FatalStopDeathTest, EveryStopNamesWhatAndWhere) {
    EXPECT_EQ((lut2d::checkedMul<uint32_t>(65536u, 65535u)), 4294901760u);
    EXPECT_EQ(lut2d::checkedRoundShift(INT_MAX - 512, 10), 2097151);
    SW_2DLut_v10 e;
    uint8_t byte = 128, plane[8] = {};
    CopyThreadArgs huge{65536, 65536, 65536, nullptr, nullptr, nullptr, nullptr};
    CopyThreadArgs singleByteRows{1, 2, 4, plane, plane, plane, plane};
    sw2dlut_dsp_config negativeCount{};
    negativeCount.lut_1d_s = {nullptr, -1};
    sw2dlut_dsp_scratch scratch{};
    uint64_t time = 0;
    unsigned short* none = nullptr;
    const std::string self = "operator\\(\\) at tests/unit/checked_math_test.cpp";
    const struct {
        std::function<void()> stop;
        std::string reason, where;  // regular expressions
    } stops[] = {
        {[] { (void)lut2d::checkedAdd<int32_t>(INT_MAX, 1); },
         "2147483647 \\+ 1 does not fit in int32", self},
        {[] { (void)lut2d::checkedCast<uint64_t>(INT64_MIN); },
         "-9223372036854775808 does not fit in uint64", self},
        {[] { (void)lut2d::checkedRoundShift(INT_MAX - 511, 10); },
         "2147483136 \\+ 512 does not fit in int32", self},
        {[&] { copyInputData_MT(&huge); }, "65536 \\* 65536 does not fit in uint32",
         "bandRoom at lut2dalgo/src/engine/plane_copy.cpp"},
        {[&] { copyOutputData_MT(&huge); }, "65536 \\* 65536 does not fit in uint32",
         "bandRoom at lut2dalgo/src/engine/plane_copy.cpp"},
        {[&] { copyInputData_MT(&singleByteRows); }, "1 - 2 does not fit in uint32",
         "packRow at lut2dalgo/src/engine/plane_copy.cpp"},
        {[&] { e.YOffsetAddition_tessel(&byte, &byte, 1, 1u << 15, 1u << 15); },
         "1073741824 \\* 4 does not fit in uint32",
         "beginOffsetAddition at lut2dalgo/src/engine/luma_offset.cpp"},
        {[&] { e.Upscale2x(none, none, 0x80000000u, 0); }, "2147483648 does not fit in int32",
         "checkGeometry at lut2dalgo/src/engine/upscale2x.cpp"},  // no rows, but too wide
        {[&] { e.Upscale2x(none, none, 0, 1); }, "a plane of rows without columns to upscale",
         "checkGeometry at lut2dalgo/src/engine/upscale2x.cpp"},
        {[&] { sw2dlut_dsp_execute(0, &negativeCount, &scratch, plane, 4, plane, 4, &time); },
         "-1 does not fit in uint32", "wireLength at lut2dalgo/src/dsp/sw2dlut_dsp_stub.cpp"},
    };
    for (const auto& s : stops) {
        EXPECT_DEATH(
            {
                lut2d_test::echoLogToStderr();  // where the death test sees the line
                s.stop();
            },
            "fatal: " + s.reason + ", in " + s.where + ":[0-9]+\n");
    }
}

}  // namespace
