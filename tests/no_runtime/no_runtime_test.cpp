// The library in a process without the DSP remote-call runtime, as on a device or host that
// lacks it: the library still loads (it binds the runtime weakly), the DSP context functions
// and the engine's DSP members fail with their statuses and log lines, the remote interface
// returns -1 for every call and reports the failing methods through the platform's debug log
// (which this executable provides), and handles on the CPU engine work as always.

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

// No shared memory can be had, so no context: the documented allocation failure.
TEST(NoRuntime, ContextFunctionsFailAsWithoutSharedMemory) {
    clearLog();
    EXPECT_EQ(SW2DLUTInit(LUT2D_MODE_CHRUS, 3, 64, 16), nullptr);
    EXPECT_EQ(SW2DLUTDeinit(nullptr), 9);
    EXPECT_EQ(logLines(), (std::vector<LogLine>{kVersionLine, error("context allocation failed\n"),
                                                info("SW2DLUTDeinit\n")}));
}

// A context that a host laid out itself reaches the remote execute, which fails.
TEST(NoRuntime, ExecuteFailsWithItsStatusAndLine) {
    auto rec = neutralRecord();
    std::vector<uint8_t> in(3 * 256), out(3 * 256);
    std::vector<uint16_t> scratch(2 * 256);
    SW2DLUTContext ctx{};
    ctx.width = 256;
    ctx.height = 2;
    ctx.stride = 256;
    ctx.mode = LUT2D_MODE_CHRUS;
    ctx.in_buf = in.data();
    ctx.out_buf = out.data();
    ctx.scratch_buf = scratch.data();
    clearLog();
    EXPECT_EQ(SW2DLUTExecute(&ctx, &rec), 9);
    EXPECT_EQ(logWithoutTimes(),
              (std::vector<LogLine>{info("Running SW2DLUTExecute\n"),
                                    info("SW2DLUTExecute: dsp: # us, rpc: # us, total: # us\n"),
                                    error("Error: sw2dlut_dsp_execute failed, code=-1\n")}));
}

TEST(NoRuntime, EngineDspMembersReportTheirStatuses) {
    auto rec = neutralRecord();
    Frame frame(64, 16, 64);
    Lut2DImageData data = frame.data();
    SW_2DLut_v10 engine;
    clearLog();
    EXPECT_EQ(engine.InitLut2D_dsp(&rec, LUT2D_MODE_CHRUS, frame.info), 9);
    EXPECT_EQ(engine.run_dsp(&data), 8);
    EXPECT_EQ(engine.DenitLut2D_dsp(), 0);
    EXPECT_EQ(logLines(),
              (std::vector<LogLine>{
                  kVersionLine, error("context allocation failed\n"),
                  error("[Error]: SW2DLUTInit failed\n"), error("[Error]: SW2dLUTExecute failed\n"),
                  info("SW2DLUTDeinit\n"), error("[Error]: SW2DLUTDeinit failed\n")}));
}

// Open and close fail silently; init, execute and deinit are reported with their lines.
TEST(NoRuntime, RemoteInterfaceReturnsMinusOneAndReportsEachMethod) {
    auto rec = neutralRecord();
    sw2dlut_dsp_config config{};
    config.lut_1d_h = {rec.lut_1d_h, 25};
    config.lut_2d_h = {rec.lut_2d_h, 400};
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
    const std::string at = "3 lut2dalgo/src/dsp/sw2dlut_dsp_stub:";
    const std::string code = " ERROR 0xffffffff: handle=0x77, scalar=";
    EXPECT_EQ(debugLines(),
              (std::vector<std::string>{
                  at + "314" + code + "0x2010000, method ID=2: _stub_method failed\n",
                  at + "494" + code + "0x3080600, method ID=3: _stub_method_1 failed\n",
                  at + "507" + code + "0x4000000, method ID=4: _stub_method_2 failed\n"}));
}

TEST(NoRuntime, CpuHandlesAreUnaffected) {
    auto rec = uniformRecord(300, 200);
    Frame frame(64, 16, 64);
    fillRandom(frame, 11);
    const Frame before = frame;
    Lut2DImageData data = frame.data();
    void* handle = nullptr;
    ASSERT_EQ(InitLut2D(&handle, &rec, frame.info, LUT2D_MODE_CHRUS), 0);
    EXPECT_EQ(processLut2d(handle, &data, 0), 0);
    EXPECT_NE(frame.chroma, before.chroma);
    EXPECT_EQ(releaseLut2d(handle), 0);
}

}  // namespace
