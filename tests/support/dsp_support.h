// Helpers for the DSP back-end and plane copy tests, shared by the executables that link
// either build of the library (header-only, so that it binds to neither).
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "dsp_runtime_control.h"
#include "support/fixtures.h"
#include "support/log_capture.h"

namespace lut2d_test {

namespace host = dsp_runtime_host;
using Bytes = std::vector<uint8_t>;

inline std::vector<LogLine> operator+(std::vector<LogLine> a, const std::vector<LogLine>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline const std::vector<LogLine> kInitLog{
    info("SW2DLUTInit: VERSION v" LUT2D_VERSION_STRING "\n"),
    info("dsp_uri=file:///libsw2dlut_dsp_skel.so?"
         "sw2dlut_dsp_skel_handle_invoke&_modver=1.0&_dom=cdsp\n"),
    info("sw2dlut_dsp_open: # us\n"), info("sw2dlut_dsp_init: # us\n")};
inline const std::vector<LogLine> kExecuteLog{
    info("Running SW2DLUTExecute\n"), info("SW2DLUTExecute: dsp: # us, rpc: # us, total: # us\n")};
inline const std::vector<LogLine> kDeinitLog{
    info("SW2DLUTDeinit\n"), info("sw2dlut_dsp_deinit: # us\n"), info("sw2dlut_dsp_close: # us\n")};

// The methods of the remote calls recorded since the last reset, in order.
inline std::vector<uint32_t> methodsCalled() {
    std::vector<uint32_t> out;
    for (const auto& c : host::calls()) out.push_back(c.method);
    return out;
}

// The packing rule of the library: the packed rows of `width` bytes laid out `stride` apart
// from `out[at]`, each followed by its last two bytes when the pitches differ.
inline void packRows(Bytes& out, size_t at, const Bytes& rows, uint32_t width, uint32_t stride) {
    for (size_t r = 0; r < rows.size() / width; ++r, at += stride) {
        std::memcpy(&out[at], &rows[r * width], width);
        if (stride != width) std::memcpy(&out[at + width], &rows[r * width + width - 2], 2);
    }
}

// Every shared block the test started with, and no more, when it ends.
class DspTest : public ::testing::Test {
  protected:
    void SetUp() override {
        clearLog();
        host::reset();  // the live blocks stay live
    }
    void TearDown() override { EXPECT_EQ(host::liveBlocks(), live_); }
    const size_t live_ = host::liveBlocks();
};

}  // namespace lut2d_test
