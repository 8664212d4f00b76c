// The handle functions: status codes, check order, flag protocol and log lines.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <tuple>

#include "engine/sw_2dlut_v10.h"
#include "interface/orvix_lut2d.h"
#include "support/fixtures.h"
#include "support/log_capture.h"

namespace {

using lut2d_test::clearLog;
using lut2d_test::error;
using lut2d_test::LogLine;
using lut2d_test::logLines;
using Lines = std::vector<LogLine>;

const LogLine kBanner =
    lut2d_test::info("===========SW2DLUT_VERSION : v" LUT2D_VERSION_STRING "===========\n");

class HandleTest : public ::testing::Test {
  protected:
    void SetUp() override { clearLog(); }
    void TearDown() override {
        if (handle != nullptr) releaseLut2d(handle);
    }
    int init(Lut2DImageInfo geometry, Lut2DMode mode = LUT2D_MODE_CHRUS) {
        clearLog();
        return InitLut2D(&handle, &rec, geometry, mode);
    }
    int process(unsigned flags = 0) {
        Lut2DImageData d = frame.data();
        return processLut2d(handle, &d, flags);
    }
    SW_2DLut_v10* engine() { return static_cast<SW_2DLut_v10*>(handle); }
    int64_t abortMillis() {
        clearLog();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(AbortLut2d(handle), 6);
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now() - start)
            .count();
    }

    ISP2DLUTInStruct_V10 rec = lut2d_test::neutralRecord();
    lut2d_test::Frame frame{16, 16, 16};
    void* handle = nullptr;
};

TEST_F(HandleTest, InitKeepsTheCallersRecord) {
    EXPECT_EQ(init({64, 32, 64, 1}), 0);  // stride equal to width is fine
    EXPECT_EQ(logLines(),
              (Lines{kBanner, lut2d_test::info("===========InitLut2D 2DLut 02===========\n")}));
    EXPECT_EQ(engine()->m_useDsp | engine()->m_abort | engine()->m_done, 0);
    EXPECT_EQ(engine()->m_cfg, &rec);
}

TEST_F(HandleTest, InitRefusalsInCheckOrder) {
    const LogLine zero = error("InitLut2D: 30: Image width or height passed is 0 \n");
    const LogLine stride = error("InitLut2D: 35: Image stride passed is invalid \n");
    const struct {
        Lut2DImageInfo geometry;
        LogLine line;
    } cases[] = {{{0, 8, 8, 0}, zero},
                 {{8, 0, 8, 0}, zero},
                 {{8, 8, 0, 0}, zero},  // a zero stride reports width/height
                 {{64, 8, 63, 0}, stride},
                 {{64, 8, 0x80000000u, 0}, stride}};  // signed
    for (const auto& c : cases) {
        EXPECT_EQ(init(c.geometry), 3);
        EXPECT_EQ(logLines(), (Lines{kBanner, c.line}));
    }
    clearLog();
    EXPECT_EQ(InitLut2D(&handle, nullptr, {8, 8, 8, 0}, LUT2D_MODE_YDS), 10);
    EXPECT_EQ(logLines(), Lines{kBanner});  // a null record is silent
    rec.s_shift = 4;
    EXPECT_EQ(init({8, 8, 8, 0}), 2);
    ASSERT_EQ(logLines().size(), 3u);
    EXPECT_EQ(logLines()[2], error("InitLut2D: 47: parameters not set properly during init \n"));
    EXPECT_EQ(handle, nullptr);  // no refused handle is handed out
}

TEST_F(HandleTest, ProcessRefusalsInCheckOrder) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    clearLog();
    Lut2DImageData d{};
    EXPECT_EQ(processLut2d(nullptr, &d, 0), 1);
    EXPECT_EQ(releaseLut2d(nullptr), 1);
    EXPECT_EQ(AbortLut2d(nullptr), 1);
    engine()->m_abort = engine()->m_done = 1;
    d = {frame.luma.data(), nullptr};
    EXPECT_EQ(processLut2d(handle, &d, 0), 4);
    EXPECT_EQ(engine()->m_abort | engine()->m_done, 0);  // cleared before the plane check
    rec.lut_1d_s_inv[2] = 4000;                          // the host edits its record between frames
    EXPECT_EQ(process(), 2);
    engine()->m_cfg = nullptr;
    EXPECT_EQ(process(), 2);
    engine()->m_cfg = &rec;
    EXPECT_EQ(logLines(),
              (Lines{error("processLut2d: 75: handle passed in process call is NULL \n"),
                     error("releaseLut2d: 124: handle passed in release call is NULL \n"),
                     error("AbortLut2d: 152: handle passed in abort call is NULL \n"),
                     error("processLut2d: 84: Image pLuma or pChroma passed is NULL \n"),
                     error("checkRange: 84: Out of range value detected in sw2dlut module "
                           "parameter ( lut_1d_s_inv ) = 4000 Should be within  [0 , 2047]  \n"),
                     error("processLut2d: 97: parameters not set properly during process call \n"),
                     error("processLut2d: 90: Image config passed is NULL \n")}));
}

// A stop found at the frame driver's start: the frame and the caches as they were.
TEST_F(HandleTest, AbortBeforeTheBandsLeavesFrameAndCaches) {
    rec = lut2d_test::busyRecord(3);
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    lut2d_test::fillRandom(frame, 5);
    const lut2d_test::Frame before = frame;
    const uint8_t* caches = engine()->m_workArea;
    const std::vector<uint8_t> cachesBefore(caches, caches + lut2d::kWorkAreaBytes);
    clearLog();
    engine()->m_abort = 1;
    Lut2DImageData d = frame.data();
    EXPECT_EQ(engine()->run2dlut_fx(&d), 6);
    EXPECT_EQ(logLines(), Lines{error("Aborting Execution at start of run2dlut_fx \n")});
    EXPECT_EQ(std::tie(frame.luma, frame.chroma), std::tie(before.luma, before.chroma));
    EXPECT_TRUE(std::equal(cachesBefore.begin(), cachesBefore.end(), caches));
}

// An abort waits for the frame under way: it gives up after about 500 ms when no frame
// finishes, returns once the frame is done, and returns at once after a finished frame. The
// flag it sets stays until the next frame clears it.
TEST_F(HandleTest, AbortWaitsAtMostHalfASecondForTheFrameUnderWay) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    EXPECT_GE(abortMillis(), 450);
    EXPECT_EQ(logLines(), Lines{error("Abort returned successfully due to timedout \n")});
    std::thread finisher([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        engine()->m_done = 1;
    });
    EXPECT_LT(abortMillis(), 400);
    finisher.join();
    EXPECT_EQ(logLines(), Lines{error("Abort returned successfully from 2dLUT algo \n")});
    EXPECT_EQ(engine()->m_abort, 1);
    ASSERT_EQ(process(), 0);
    EXPECT_EQ(engine()->m_abort, 0);
    EXPECT_LT(abortMillis(), 250);
}

}  // namespace
