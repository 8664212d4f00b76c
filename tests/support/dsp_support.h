// Helpers for the DSP back-end tests, shared by the executables that link either build of
// the library (header-only, so that it binds to neither).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "dsp_runtime_control.h"
#include "support/log_capture.h"

namespace lut2d_test {

inline constexpr const char* kModuleUri =
    "file:///libsw2dlut_dsp_skel.so?sw2dlut_dsp_skel_handle_invoke&_modver=1.0&_dom=cdsp";

// `text` with every measured time ("123 us") written as "# us".
inline std::string withoutTimes(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size();) {
        size_t end = i;
        while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
        if (end > i && text.compare(end, 3, " us") == 0) {
            out += '#';
            i = end;
        } else {
            out.append(text, i, std::max(end, i + 1) - i);
            i = std::max(end, i + 1);
        }
    }
    return out;
}

// The captured log without its measured times.
inline std::vector<LogLine> logWithoutTimes() {
    std::vector<LogLine> lines = logLines();
    for (LogLine& l : lines) l.text = withoutTimes(l.text);
    return lines;
}

inline std::vector<LogLine> initLog() {
    return {info("SW2DLUTInit: VERSION v0.2.3\n"),
            info(std::string("dsp_uri=") + kModuleUri + "\n"), info("sw2dlut_dsp_open: # us\n"),
            info("sw2dlut_dsp_init: # us\n")};
}

inline std::vector<LogLine> executeLog() {
    return {info("Running SW2DLUTExecute\n"),
            info("SW2DLUTExecute: dsp: # us, rpc: # us, total: # us\n")};
}

inline std::vector<LogLine> deinitLog() {
    return {info("SW2DLUTDeinit\n"), info("sw2dlut_dsp_deinit: # us\n"),
            info("sw2dlut_dsp_close: # us\n")};
}

// The remote calls recorded since the last reset, of one method only.
inline std::vector<dsp_runtime_host::Call> callsOf(uint32_t method) {
    std::vector<dsp_runtime_host::Call> out;
    for (auto& c : dsp_runtime_host::calls()) {
        if (c.method == method) out.push_back(c);
    }
    return out;
}

inline void fillRandom(std::vector<uint8_t>& v, uint32_t seed) {
    std::mt19937 rng(seed);
    for (auto& b : v) b = static_cast<uint8_t>(rng());
}

// Every shared block the test started with, and no more, when it ends.
class DspTest : public ::testing::Test {
  protected:
    void SetUp() override {
        clearLog();
        dsp_runtime_host::reset();
        liveBefore_ = dsp_runtime_host::liveBlocks();
    }
    void TearDown() override { EXPECT_EQ(dsp_runtime_host::liveBlocks(), liveBefore_); }

  private:
    size_t liveBefore_ = 0;
};

}  // namespace lut2d_test
