// DSP context functions and the remote-call interface, against the host emulation of the
// runtime. This executable has no platform debug log, so failing methods stay silent.

#include <gtest/gtest.h>

#include "dsp/remote_runtime.h"
#include "dsp/sw2dlut_context.h"
#include "dsp/sw2dlut_dsp.h"
#include "support/dsp_support.h"
#include "support/records.h"

namespace {

namespace host = dsp_runtime_host;
using lut2d_test::error;
using lut2d_test::info;
using lut2d_test::LogLine;
using lut2d_test::logWithoutTimes;

using DspContext = lut2d_test::DspTest;

std::vector<LogLine> operator+(std::vector<LogLine> a, const std::vector<LogLine>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST_F(DspContext, InitOpensAndInitialisesDeinitClosesAndFrees) {
    SW2DLUTContext* ctx = SW2DLUTInit(1, 3, 1920, 1080);
    ASSERT_NE(ctx, nullptr);
    EXPECT_NE(ctx->handle, 0u);
    EXPECT_EQ(ctx->init_param, 3u);
    EXPECT_EQ(ctx->width, 1920u);
    EXPECT_EQ(ctx->height, 1080u);
    EXPECT_EQ(ctx->stride, 2048u);
    EXPECT_EQ(ctx->mode, 1u);
    const remote_handle64 handle = ctx->handle;
    EXPECT_EQ(SW2DLUTDeinit(ctx), 0);

    EXPECT_EQ(logWithoutTimes(), lut2d_test::initLog() + lut2d_test::deinitLog());
    const auto calls = host::calls();
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].method, host::kOpen);
    EXPECT_EQ(calls[0].uri, lut2d_test::kModuleUri);
    EXPECT_EQ(calls[1].scalars, 0x02010000u);  // init: one input buffer, the value
    EXPECT_EQ(calls[1].lengths, std::vector<uint64_t>{4});
    EXPECT_EQ(calls[1].primaryIn, (std::vector<uint8_t>{3, 0, 0, 0}));
    EXPECT_EQ(calls[2].scalars, 0x04000000u);  // deinit: no arguments
    EXPECT_TRUE(calls[2].lengths.empty());
    EXPECT_EQ(calls[3].method, host::kClose);
    for (const auto& c : calls) EXPECT_EQ(c.handle, handle);
    const auto allocations = host::allocations();
    ASSERT_EQ(allocations.size(), 1u);
    EXPECT_EQ(allocations[0].heap, 25);
    EXPECT_EQ(allocations[0].flags, 1u);
    EXPECT_EQ(allocations[0].size, static_cast<int>(sizeof(SW2DLUTContext)));
}

TEST_F(DspContext, StrideIsTheWidthRoundedUpTo256) {
    for (auto [width, stride] : {std::pair{1u, 256u}, {256u, 256u}, {257u, 512u}, {4096u, 4096u}}) {
        SW2DLUTContext* ctx = SW2DLUTInit(0, 3, width, 2);
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->stride, stride);
        SW2DLUTDeinit(ctx);
    }
}

TEST_F(DspContext, FailedAllocationOrOpenLeavesNothingBehind) {
    host::failNextAllocation();
    EXPECT_EQ(SW2DLUTInit(0, 3, 64, 64), nullptr);
    EXPECT_EQ(lut2d_test::logLines(), (std::vector<LogLine>{info("SW2DLUTInit: VERSION v0.2.3\n"),
                                                            error("context allocation failed\n")}));
    EXPECT_TRUE(host::calls().empty());

    lut2d_test::clearLog();
    host::failNext(host::kOpen, 0x123);
    EXPECT_EQ(SW2DLUTInit(0, 3, 64, 64), nullptr);
    auto expected = lut2d_test::initLog();
    expected.back() = error("Error: sw2dlut_dsp_open failed, code=291\n");
    EXPECT_EQ(logWithoutTimes(), expected);
    EXPECT_EQ(host::calls().size(), 1u);
}

TEST_F(DspContext, FailedInitClosesTheConnection) {
    host::failNext(2, 0x45);
    EXPECT_EQ(SW2DLUTInit(0, 3, 64, 64), nullptr);
    const std::vector<LogLine> failure{error("Error: sw2dlut_dsp_init failed, code=69\n"),
                                       info("sw2dlut_dsp_close: # us\n")};
    EXPECT_EQ(logWithoutTimes(), lut2d_test::initLog() + failure);
    const auto calls = host::calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[1].result, 0x45);
    EXPECT_EQ(calls[2].method, host::kClose);
    EXPECT_EQ(calls[2].handle, calls[0].handle);
    EXPECT_EQ(calls[2].result, 0);
}

TEST_F(DspContext, DeinitOfNoContextOrNoConnection) {
    EXPECT_EQ(SW2DLUTDeinit(nullptr), 9);
    EXPECT_EQ(lut2d_test::logLines(), std::vector<LogLine>{info("SW2DLUTDeinit\n")});

    lut2d_test::clearLog();
    auto* ctx = static_cast<SW2DLUTContext*>(rpcmem_alloc(25, 1, sizeof(SW2DLUTContext)));
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(SW2DLUTDeinit(ctx), 0);  // handle 0: both times logged, no remote call
    EXPECT_EQ(logWithoutTimes(), lut2d_test::deinitLog());
    EXPECT_TRUE(host::calls().empty());
}

TEST_F(DspContext, FailedDeinitIsIgnoredAndTheConnectionStillCloses) {
    SW2DLUTContext* ctx = SW2DLUTInit(0, 3, 64, 64);
    ASSERT_NE(ctx, nullptr);
    host::failNext(4, 0x99);
    EXPECT_EQ(SW2DLUTDeinit(ctx), 0);
    const auto closes = lut2d_test::callsOf(host::kClose);
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].result, 0);
}

TEST_F(DspContext, FailingMethodWithoutTheDebugLogReturnsItsCodeSilently) {
    SW2DLUTContext* ctx = SW2DLUTInit(0, 3, 64, 64);
    ASSERT_NE(ctx, nullptr);
    lut2d_test::clearLog();
    host::failNext(4, 0x99);
    EXPECT_EQ(sw2dlut_dsp_deinit(ctx->handle), 0x99);
    host::failNext(2, -7);
    EXPECT_EQ(sw2dlut_dsp_init(ctx->handle, 3), -7);
    EXPECT_TRUE(lut2d_test::logLines().empty());
    SW2DLUTDeinit(ctx);
}

using DspStubDeathTest = lut2d_test::DspTest;

TEST_F(DspStubDeathTest, NegativeSequenceCountStopsTheProcess) {
    const auto rec = lut2d_test::neutralRecord();
    sw2dlut_dsp_config config{};
    config.lut_1d_h = {rec.lut_1d_h, 25};
    config.lut_1d_s = {rec.lut_1d_s, -1};
    sw2dlut_dsp_scratch scratch{};
    uint8_t frame[4] = {};
    uint64_t time = 0;
    // The emulation would refuse handle 0; the count is refused before that.
    EXPECT_DEATH(sw2dlut_dsp_execute(0, &config, &scratch, frame, 4, frame, 4, &time), "");
    config.lut_1d_s = {rec.lut_1d_s, 16};
    scratch.seq2 = {nullptr, INT32_MIN};
    EXPECT_DEATH(sw2dlut_dsp_execute(0, &config, &scratch, frame, 4, frame, 4, &time), "");
}

}  // namespace
