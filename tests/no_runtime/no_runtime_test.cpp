// The library in a process without the DSP remote-call runtime, as on a device or host that
// lacks it: the library still loads (it binds the runtime weakly), the DSP context functions
// and the engine's DSP members fail with their statuses and log lines, the remote interface
// returns -1 for every call and reports the failing methods through the platform's debug log
// (which this executable provides).

#include <gtest/gtest.h>

#include <vector>

#include "dsp/sw2dlut_context.h"
#include "dsp/sw2dlut_dsp.h"
#include "engine/sw_2dlut_v10.h"
#include "support/debug_log_capture.h"
#include "support/fixtures.h"
#include "support/log_capture.h"

namespace {

using namespace lut2d_test;

const LogLine kVersionLine = info("SW2DLUTInit: VERSION v" LUT2D_VERSION_STRING "\n");

// No shared memory can be had, so no context: the documented allocation failure (what the
// engine's DSP members then report is the DSP engine tests' allocation failure).
TEST(NoRuntime, ContextFunctionsFailAsWithoutSharedMemory) {
    clearLog();
    EXPECT_EQ(SW2DLUTInit(LUT2D_MODE_CHRUS, 3, 64, 16), nullptr);
    EXPECT_EQ(SW2DLUTDeinit(nullptr), 9);
    EXPECT_EQ(logLines(), (std::vector<LogLine>{kVersionLine, error("context allocation failed\n"),
                                                info("SW2DLUTDeinit\n")}));
}

// Every call fails with -1 and leaves its outputs alone (the failures are reported through
// the debug log as they are with a runtime).
TEST(NoRuntime, RemoteInterfaceReturnsMinusOne) {
    auto rec = neutralRecord();
    sw2dlut_dsp_config config{};
    config.lut_1d_h = {rec.lut_1d_h, 25};
    sw2dlut_dsp_scratch scratch{};
    uint8_t frame[6] = {};
    uint64_t dspTime = 5;
    remote_handle64 handle = 0x77;
    debugLines().clear();
    EXPECT_EQ(sw2dlut_dsp_open(kSw2dlutDspUri, &handle), -1);
    EXPECT_EQ(handle, 0x77u);
    EXPECT_EQ(sw2dlut_dsp_init(handle, 3), -1);
    EXPECT_EQ(sw2dlut_dsp_execute(handle, &config, &scratch, frame, 6, frame, 6, &dspTime), -1);
    EXPECT_EQ(dspTime, 5u);
    EXPECT_EQ(sw2dlut_dsp_deinit(handle), -1);
    EXPECT_EQ(sw2dlut_dsp_close(handle), -1);
    EXPECT_EQ(debugLines().size(), 3u);  // init, execute, deinit; not open and close
}

}  // namespace
