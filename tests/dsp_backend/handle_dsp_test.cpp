// The handle functions of the library build that puts every handle on the DSP back-end, and
// the failure reports of the remote-call interface through the platform's debug log, which
// this executable provides.

#include <gtest/gtest.h>

#include <cstdio>

#include "dsp/sw2dlut_context.h"
#include "dsp/sw2dlut_dsp.h"
#include "engine/sw_2dlut_v10.h"
#include "interface/orvix_lut2d.h"
#include "support/debug_log_capture.h"
#include "support/dsp_support.h"
#include "support/records.h"

namespace {

namespace host = dsp_runtime_host;
using lut2d_test::DebugLine;
using lut2d_test::error;
using lut2d_test::info;
using lut2d_test::LogLine;

const LogLine kBanner = info("===========SW2DLUT_VERSION : v0.2.3===========\n");
const LogLine kDspChosen = info("===========InitLut2D 2DLut 01===========\n");

class DspHandle : public lut2d_test::DspTest {
  protected:
    void SetUp() override {
        DspTest::SetUp();
        lut2d_test::clearDebugLog();
    }
    ISP2DLUTInStruct_V10 rec = lut2d_test::uniformRecord(100, 50);
    lut2d_test::Frame frame{96, 16, 96};
    Lut2DImageData data = frame.data();
    void* handle = nullptr;
};

std::vector<LogLine> concat(std::initializer_list<std::vector<LogLine>> parts) {
    std::vector<LogLine> out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

DebugLine failureLine(int line, int code, remote_handle64 handle, uint32_t method,
                      const char* name) {
    const uint32_t scalars[] = {0, 0, 0x02010000, 0x03080600, 0x04000000};
    char text[160];
    std::snprintf(text, sizeof text,
                  "ERROR 0x%x: handle=0x%lx, scalar=0x%x, method ID=%u: %s failed\n",
                  static_cast<unsigned>(code), static_cast<unsigned long>(handle), scalars[method],
                  method, name);
    return {3, "lut2dalgo/src/dsp/sw2dlut_dsp_stub", line, text};
}

TEST_F(DspHandle, HandleRunsOnTheDspFromInitToRelease) {
    ASSERT_EQ(InitLut2D(&handle, &rec, frame.info, LUT2D_MODE_CHRUS), 0);
    auto* engine = static_cast<SW_2DLut_v10*>(handle);
    EXPECT_EQ(engine->m_useDsp, 1);
    ASSERT_NE(engine->m_dspCtx, nullptr);
    EXPECT_NE(engine->m_cfg, &rec);  // the shared copy

    // Later edits of the caller's record do not reach the DSP, update flag or not.
    rec.enable = 0;
    EXPECT_EQ(processLut2d(handle, &data, 1), 0);
    EXPECT_EQ(lut2d_test::callsOf(3).size(), 1u);
    EXPECT_EQ(engine->m_done, 0);  // the DSP path does not set it

    EXPECT_EQ(releaseLut2d(handle), 0);
    EXPECT_EQ(lut2d_test::logWithoutTimes(), concat({{kBanner, kDspChosen},
                                                     lut2d_test::initLog(),
                                                     lut2d_test::executeLog(),
                                                     lut2d_test::deinitLog()}));
    EXPECT_TRUE(lut2d_test::debugLines().empty());
}

TEST_F(DspHandle, FailedContextStillHandsOutAHandle) {
    host::failNext(host::kOpen, 0x200);
    ASSERT_EQ(InitLut2D(&handle, &rec, frame.info, LUT2D_MODE_YDS), 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(lut2d_test::logLines().back(), error("[Error]: SW2DLUTInit failed\n"));
    lut2d_test::clearLog();
    EXPECT_EQ(processLut2d(handle, &data, 0), 2);  // no record copy was made
    EXPECT_EQ(releaseLut2d(handle), 0);
    EXPECT_EQ(
        lut2d_test::logLines(),
        (std::vector<LogLine>{error("processLut2d: 90: Image config passed is NULL \n"),
                              info("SW2DLUTDeinit\n"), error("[Error]: SW2DLUTDeinit failed\n")}));
    EXPECT_TRUE(lut2d_test::debugLines().empty());  // open failures are not reported by the stub
}

TEST_F(DspHandle, FailedInitIsReportedThroughTheDebugLog) {
    host::failNext(2, 0x45);
    ASSERT_EQ(InitLut2D(&handle, &rec, frame.info, LUT2D_MODE_YDS), 0);
    const auto open = lut2d_test::callsOf(host::kOpen);
    ASSERT_EQ(open.size(), 1u);
    EXPECT_EQ(lut2d_test::debugLines(),
              std::vector<DebugLine>{failureLine(314, 0x45, open[0].handle, 2, "_stub_method")});
    EXPECT_EQ(releaseLut2d(handle), 0);
}

TEST_F(DspHandle, FailedExecuteReturnsEightAndIsReported) {
    ASSERT_EQ(InitLut2D(&handle, &rec, frame.info, LUT2D_MODE_CHRUS), 0);
    const remote_handle64 remote = static_cast<SW_2DLut_v10*>(handle)->m_dspCtx->handle;
    host::failNext(3, 0x1234);
    EXPECT_EQ(processLut2d(handle, &data, 0), 8);
    EXPECT_EQ(lut2d_test::debugLines(),
              std::vector<DebugLine>{failureLine(494, 0x1234, remote, 3, "_stub_method_1")});
    EXPECT_EQ(releaseLut2d(handle), 0);
}

TEST_F(DspHandle, FailedDeinitReturnsItsCodeAndIsReported) {
    SW2DLUTContext* ctx = SW2DLUTInit(0, 3, 64, 16);
    ASSERT_NE(ctx, nullptr);
    host::failNext(4, -2);
    EXPECT_EQ(sw2dlut_dsp_deinit(ctx->handle), -2);
    EXPECT_EQ(lut2d_test::debugLines(),
              std::vector<DebugLine>{failureLine(507, -2, ctx->handle, 4, "_stub_method_2")});
    EXPECT_EQ(SW2DLUTDeinit(ctx), 0);
}

}  // namespace
