// The handle functions of the library build that puts every handle on the DSP back-end, and
// the failure reports of the remote-call interface through the platform's debug log, which
// this executable provides.

#include "dsp/sw2dlut_dsp.h"
#include "support/debug_log_capture.h"
#include "support/dsp_support.h"

namespace {

using namespace lut2d_test;
using DspHandle = DspTest;

// A handle's whole life with one remote method failing (none in the first case). A failing
// method is reported with its result, handle, scalars word, number and name; a failed open is
// not reported; a handle without a context refuses to process.
TEST_F(DspHandle, HandlesRunOnTheDspAndFailingMethodsAreReported) {
    const std::vector<LogLine> banner{
        info("===========SW2DLUT_VERSION : v" LUT2D_VERSION_STRING "===========\n"),
        info("===========InitLut2D 2DLut 01===========\n")};
    // clang-format off
    struct Case { uint32_t method; int code, processStatus, line; uint32_t scalars;
                  const char* name; };
    const Case cases[] = {{99, 0, 0, 0, 0, ""}, {host::kOpen, 0x200, 2, 0, 0, ""},
                          {2, 0x45, 2, 314, 0x02010000, "_stub_method"},
                          {3, 0x1234, 8, 494, 0x03080600, "_stub_method_1"},
                          {4, -2, 0, 507, 0x04000000, "_stub_method_2"}};
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method);
        host::reset();
        clearLog();
        debugLines().clear();
        auto rec = uniformRecord(100, 50);
        Frame frame(96, 16, 96);
        Lut2DImageData data = frame.data();
        void* handle = nullptr;
        if (c.method <= 2) host::failNext(c.method, c.code);
        ASSERT_EQ(InitLut2D(&handle, &rec, frame.info, LUT2D_MODE_CHRUS), 0);
        rec.enable = 0;  // later edits of the caller's record do not reach the DSP's copy
        const remote_handle64 remote = host::calls()[0].handle;
        if (c.method == 3) host::failNext(3, c.code);
        EXPECT_EQ(processLut2d(handle, &data, 1), c.processStatus);
        if (c.method == 4) {
            host::failNext(4, c.code);
            EXPECT_EQ(sw2dlut_dsp_deinit(remote), c.code);  // the result comes back unchanged
        }
        EXPECT_EQ(releaseLut2d(handle), 0);

        char text[200];
        std::snprintf(text, sizeof text,
                      "3 lut2dalgo/src/dsp/sw2dlut_dsp_stub:%d ERROR 0x%x: handle=0x%lx, "
                      "scalar=0x%x, method ID=%u: %s failed\n",
                      c.line, static_cast<unsigned>(c.code), static_cast<unsigned long>(remote),
                      c.scalars, c.method, c.name);
        EXPECT_EQ(debugLines(),
                  (c.line ? std::vector<std::string>{text} : std::vector<std::string>{}));
        if (c.method == 99) {
            EXPECT_EQ(logWithoutTimes(), banner + kInitLog + kExecuteLog + kDeinitLog);
        }
    }
}

}  // namespace
