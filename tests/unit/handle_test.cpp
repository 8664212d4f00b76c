// The handle functions: status codes, check order, flag protocol and log lines.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "engine/sw_2dlut_v10.h"
#include "interface/orvix_lut2d.h"
#include "support/log_capture.h"
#include "support/records.h"

namespace {

using lut2d_test::clearLog;
using lut2d_test::error;
using lut2d_test::info;
using lut2d_test::LogLine;
using lut2d_test::logLines;

const LogLine kBanner = info("===========SW2DLUT_VERSION : v0.2.3===========\n");
const LogLine kCpuChosen = info("===========InitLut2D 2DLut 02===========\n");

class HandleTest : public ::testing::Test {
  protected:
    void SetUp() override { clearLog(); }
    void TearDown() override {
        if (handle != nullptr) {
            EXPECT_EQ(releaseLut2d(handle), 0);
        }
    }
    int init(Lut2DImageInfo geometry, Lut2DMode mode = LUT2D_MODE_CHRUS) {
        return InitLut2D(&handle, &rec, geometry, mode);
    }
    SW_2DLut_v10* engine() { return static_cast<SW_2DLut_v10*>(handle); }

    ISP2DLUTInStruct_V10 rec = lut2d_test::neutralRecord();
    void* handle = nullptr;
};

TEST_F(HandleTest, InitSucceedsWithStrideEqualToWidth) {
    EXPECT_EQ(init({64, 32, 64, 0}), 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(logLines(), (std::vector<LogLine>{kBanner, kCpuChosen}));
    EXPECT_EQ(engine()->m_useDsp, 0);
    EXPECT_EQ(engine()->m_abort, 0);
    EXPECT_EQ(engine()->m_done, 0);
    EXPECT_EQ(engine()->m_cfg, &rec);  // the caller's record, not a copy
    EXPECT_EQ(engine()->m_width, 64u);
    EXPECT_EQ(engine()->m_height, 32u);
    EXPECT_EQ(engine()->m_stride, 64u);
    EXPECT_EQ(engine()->m_mode, LUT2D_MODE_CHRUS);
}

TEST_F(HandleTest, InitRejectsZeroSizesWithTheWidthHeightMessage) {
    const LogLine zero = error("InitLut2D: 30: Image width or height passed is 0 \n");
    for (Lut2DImageInfo g :
         {Lut2DImageInfo{0, 8, 8, 0}, Lut2DImageInfo{8, 0, 8, 0}, Lut2DImageInfo{8, 8, 0, 0}}) {
        clearLog();
        EXPECT_EQ(init(g), 3);
        EXPECT_EQ(logLines(), (std::vector<LogLine>{kBanner, zero}));
    }
    EXPECT_EQ(handle, nullptr);
}

TEST_F(HandleTest, InitRejectsStrideBelowWidthComparedSigned) {
    const LogLine bad = error("InitLut2D: 35: Image stride passed is invalid \n");
    EXPECT_EQ(init({64, 8, 63, 0}), 3);
    EXPECT_EQ(logLines(), (std::vector<LogLine>{kBanner, bad}));
    clearLog();
    EXPECT_EQ(init({64, 8, 0x80000000u, 0}), 3);  // negative as a signed stride
    EXPECT_EQ(logLines(), (std::vector<LogLine>{kBanner, bad}));
    EXPECT_EQ(handle, nullptr);
}

TEST_F(HandleTest, InitWithNullRecordIsSilent) {
    EXPECT_EQ(InitLut2D(&handle, nullptr, {64, 8, 64, 0}, LUT2D_MODE_YDS), 10);
    EXPECT_EQ(logLines(), std::vector<LogLine>{kBanner});
    EXPECT_EQ(handle, nullptr);
}

TEST_F(HandleTest, InitPassesValidationResultThrough) {
    rec.s_shift = 4;
    EXPECT_EQ(init({64, 8, 64, 0}), 2);
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], kBanner);
    EXPECT_NE(lines[1].text.find("( cfg->s_shift ) = 4"), std::string::npos);
    EXPECT_EQ(lines[2], error("InitLut2D: 47: parameters not set properly during init \n"));
    EXPECT_EQ(handle, nullptr);
}

TEST_F(HandleTest, InitAcceptsAnyModeValue) {
    EXPECT_EQ(init({16, 16, 16, 0}, static_cast<Lut2DMode>(7)), 0);
    lut2d_test::Frame f(16, 16, 16);
    f.luma.assign(f.luma.size(), 77);
    auto data = f.data();
    EXPECT_EQ(processLut2d(handle, &data, 0), 0);
    EXPECT_EQ(f.luma, std::vector<uint8_t>(f.luma.size(), 77));
}

TEST_F(HandleTest, NullHandleIsRefusedEverywhere) {
    Lut2DImageData data{};
    EXPECT_EQ(processLut2d(nullptr, &data, 0), 1);
    EXPECT_EQ(releaseLut2d(nullptr), 1);
    EXPECT_EQ(AbortLut2d(nullptr), 1);
    EXPECT_EQ(logLines(), (std::vector<LogLine>{
                              error("processLut2d: 75: handle passed in process call is NULL \n"),
                              error("releaseLut2d: 124: handle passed in release call is NULL \n"),
                              error("AbortLut2d: 152: handle passed in abort call is NULL \n")}));
}

TEST_F(HandleTest, NullPlaneIsRefusedAfterTheFlagsAreCleared) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    lut2d_test::Frame f(16, 16, 16);
    engine()->m_abort = 1;
    engine()->m_done = 1;
    clearLog();
    Lut2DImageData data{f.luma.data(), nullptr};
    EXPECT_EQ(processLut2d(handle, &data, 0), 4);
    EXPECT_EQ(engine()->m_abort, 0);
    EXPECT_EQ(engine()->m_done, 0);
    data = {nullptr, f.chroma.data()};
    EXPECT_EQ(processLut2d(handle, &data, 0), 4);
    EXPECT_EQ(logLines(),
              std::vector<LogLine>(
                  2, error("processLut2d: 84: Image pLuma or pChroma passed is NULL \n")));
}

TEST_F(HandleTest, MissingRecordIsReported) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    engine()->m_cfg = nullptr;
    clearLog();
    lut2d_test::Frame f(16, 16, 16);
    auto data = f.data();
    EXPECT_EQ(processLut2d(handle, &data, 0), 2);
    EXPECT_EQ(logLines(),
              std::vector<LogLine>{error("processLut2d: 90: Image config passed is NULL \n")});
    engine()->m_cfg = &rec;
}

TEST_F(HandleTest, RecordIsValidatedAgainAtEveryFrame) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    rec.lut_1d_s_inv[2] = 4000;  // the host edits its record between frames
    clearLog();
    lut2d_test::Frame f(16, 16, 16);
    auto data = f.data();
    EXPECT_EQ(processLut2d(handle, &data, 0), 2);
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].text.find("( lut_1d_s_inv ) = 4000"), std::string::npos);
    EXPECT_EQ(lines[1],
              error("processLut2d: 97: parameters not set properly during process call \n"));
    EXPECT_EQ(engine()->m_done, 0);
}

TEST_F(HandleTest, DisabledRecordLeavesFrameUntouchedAndSetsDone) {
    rec = lut2d_test::uniformRecord(300, 300);
    ASSERT_EQ(init({32, 16, 40, 0}), 0);
    rec.enable = 0;
    lut2d_test::Frame f(32, 16, 40);
    for (size_t i = 0; i < f.luma.size(); ++i) f.luma[i] = static_cast<uint8_t>(i * 7);
    for (size_t i = 0; i < f.chroma.size(); ++i) f.chroma[i] = static_cast<uint8_t>(i * 13);
    const auto luma = f.luma;
    const auto chroma = f.chroma;
    clearLog();
    auto data = f.data();
    EXPECT_EQ(processLut2d(handle, &data, 1), 0);
    EXPECT_EQ(f.luma, luma);
    EXPECT_EQ(f.chroma, chroma);
    EXPECT_EQ(engine()->m_done, 1);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(HandleTest, ConfigUpdateFlagRebuildsIndexTables) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    lut2d_test::Frame f(16, 16, 16);
    auto data = f.data();
    EXPECT_EQ(engine()->m_hueIndex[600], 1);
    rec.lut_1d_h[1] = 700;  // node 1 moves right: hue 600 now lies in interval 0
    EXPECT_EQ(processLut2d(handle, &data, 2), 0);  // bit 0 clear: no rebuild
    EXPECT_EQ(engine()->m_hueIndex[600], 1);
    EXPECT_EQ(processLut2d(handle, &data, 3), 0);
    EXPECT_EQ(engine()->m_hueIndex[600], 0);
}

TEST_F(HandleTest, AbortAfterFinishedFrameReturnsAtOnce) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    lut2d_test::Frame f(16, 16, 16);
    auto data = f.data();
    ASSERT_EQ(processLut2d(handle, &data, 0), 0);
    clearLog();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(AbortLut2d(handle), 6);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(250));
    EXPECT_EQ(logLines(),
              std::vector<LogLine>{error("Abort returned successfully from 2dLUT algo \n")});
    EXPECT_EQ(engine()->m_abort, 1);  // left set; the next frame clears it
    ASSERT_EQ(processLut2d(handle, &data, 0), 0);
    EXPECT_EQ(engine()->m_abort, 0);
}

TEST_F(HandleTest, AbortTimesOutWhenNoFrameFinishes) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    clearLog();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(AbortLut2d(handle), 6);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(450));
    EXPECT_EQ(logLines(),
              std::vector<LogLine>{error("Abort returned successfully due to timedout \n")});
}

TEST_F(HandleTest, AbortSeesDoneSetByAnotherThread) {
    ASSERT_EQ(init({16, 16, 16, 0}), 0);
    std::thread finisher([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        engine()->m_done = 1;
    });
    clearLog();
    EXPECT_EQ(AbortLut2d(handle), 6);
    finisher.join();
    EXPECT_EQ(logLines(),
              std::vector<LogLine>{error("Abort returned successfully from 2dLUT algo \n")});
}

}  // namespace
