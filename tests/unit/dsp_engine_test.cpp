// The engine's DSP members: shared buffers, marshalling of a frame, packing into shared
// memory and the copy back, and the result against the CPU engine.

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "dsp/sw2dlut_context.h"
#include "engine/sw_2dlut_v10.h"
#include "support/dsp_support.h"
#include "support/records.h"

namespace {

namespace host = dsp_runtime_host;
using Bytes = std::vector<uint8_t>;
using lut2d_test::error;
using lut2d_test::Frame;
using lut2d_test::LogLine;

using DspEngine = lut2d_test::DspTest;

template <typename T>
T readAt(const Bytes& b, size_t offset) {
    T v;
    std::memcpy(&v, b.data() + offset, sizeof v);
    return v;
}

// What the DSP path must put in fresh shared memory for a frame of packed rows: rows
// `stride` apart, luma then chroma, each row followed by its last two bytes when the pitches
// differ, the rest zero.
Bytes sharedInput(const Frame& f, uint32_t stride) {
    const uint32_t width = f.info.width, height = f.info.height;
    Bytes out(size_t{stride} * height * 3 / 2, 0);
    auto put = [&](const uint8_t* row, size_t at) {
        std::memcpy(&out[at], row, width);
        if (stride != width) {
            out[at + width] = row[width - 2];
            out[at + width + 1] = row[width - 1];
        }
    };
    for (uint32_t r = 0; r < height; ++r) put(&f.luma[size_t{r} * width], size_t{r} * stride);
    for (uint32_t r = 0; r < height / 2; ++r) {
        put(&f.chroma[size_t{r} * width], size_t{height + r} * stride);
    }
    return out;
}

struct DspFrame {
    SW_2DLut_v10 engine;
    Frame frame;
    Lut2DImageData data;

    DspFrame(ISP2DLUTInStruct_V10* rec, Lut2DMode mode, uint32_t width, uint32_t height)
        : frame(width, height, width), data(frame.data()) {
        EXPECT_EQ(engine.InitLut2D_dsp(rec, mode, frame.info), 0);
        lut2d_test::fillRandom(frame.luma, width * 7 + height);
        lut2d_test::fillRandom(frame.chroma, width * 5 + height);
    }
    ~DspFrame() { engine.DenitLut2D_dsp(); }
    SW2DLUTContext& ctx() { return *engine.m_dspCtx; }
    Bytes sharedIn() {
        return Bytes(ctx().in_buf, ctx().in_buf + ctx().stride * ctx().height * 3 / 2);
    }
};

TEST_F(DspEngine, FullHdFrameIsMarshalledFromSharedMemory) {
    auto rec = lut2d_test::uniformRecord(12, -7);
    rec.h_shift = 1;
    rec.s_shift = 2;
    DspFrame d(&rec, LUT2D_MODE_CHRUS, 1920, 1080);
    SW_2DLut_v10& e = d.engine;
    ASSERT_NE(e.m_cfg, &rec);  // a shared copy
    EXPECT_EQ(std::memcmp(e.m_cfg, &rec, sizeof rec), 0);
    std::vector<int> sizes;
    for (const auto& a : host::allocations()) {
        EXPECT_EQ(a.heap, 25);
        EXPECT_EQ(a.flags, 1u);
        sizes.push_back(a.size);
    }
    EXPECT_EQ(sizes, (std::vector<int>{sizeof(SW2DLUTContext), 1784, 4423680, 3317760, 3317760}));

    lut2d_test::clearLog();
    ASSERT_EQ(e.run_dsp(&d.data), 0);
    const auto executes = lut2d_test::callsOf(3);
    ASSERT_EQ(executes.size(), 1u);
    const host::Call& c = executes[0];
    EXPECT_EQ(c.scalars, 0x03080600u);
    EXPECT_EQ(c.lengths, (std::vector<uint64_t>{72, 50, 32, 800, 800, 48, 30, 3317760, 8, 2211840,
                                                2211840, 1105920, 2211840, 3317760}));
    EXPECT_EQ(c.inSharedMemory, (std::vector<bool>{false, true, true, true, true, true, true, true,
                                                   false, true, true, true, true, true}));
    const uint16_t* scratch = d.ctx().scratch_buf;
    EXPECT_EQ(c.buffers, (std::vector<const void*>{
                             c.buffers[0], e.m_cfg->lut_1d_h, e.m_cfg->lut_1d_s, e.m_cfg->lut_2d_h,
                             e.m_cfg->lut_2d_s, e.m_cfg->lut_1d_h_inv, e.m_cfg->lut_1d_s_inv,
                             d.ctx().in_buf, c.buffers[8], scratch, scratch + 1105920, scratch,
                             scratch + 552960, d.ctx().out_buf}));

    const Bytes& p = c.primaryIn;
    ASSERT_EQ(p.size(), 72u);
    EXPECT_EQ(readAt<uint16_t>(p, 0), 1080);
    EXPECT_EQ(readAt<uint16_t>(p, 2), 2048);
    EXPECT_EQ(readAt<uint16_t>(p, 4), 1);
    EXPECT_EQ(readAt<uint16_t>(p, 6), 0);
    const int32_t counts[6] = {25, 16, 400, 400, 24, 15};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(readAt<int32_t>(p, 8 + 4 * i), counts[i]);
    const uint16_t values[8] = {1, 2, 40, 200, 1800, 2000, 12, 10};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(readAt<uint16_t>(p, 32 + 2 * i), values[i]) << i;
    const int32_t scratchCounts[4] = {1105920, 1105920, 552960, 1105920};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(readAt<int32_t>(p, 48 + 4 * i), scratchCounts[i]);
    EXPECT_EQ(readAt<int32_t>(p, 64), 3317760);
    EXPECT_EQ(readAt<int32_t>(p, 68), 3317760);

    EXPECT_EQ(lut2d_test::logWithoutTimes(), lut2d_test::executeLog());
    unsigned long dsp = 0;
    long rpc = 0, total = 0;
    ASSERT_EQ(
        std::sscanf(lut2d_test::logLines()[1].text.c_str(),
                    "SW2DLUTExecute: dsp: %lu us, rpc: %ld us, total: %ld us", &dsp, &rpc, &total),
        3);
    EXPECT_EQ(static_cast<long>(dsp) + rpc, total);
}

TEST_F(DspEngine, ResultEqualsTheCpuEngineOnTheSharedFrame) {
    auto rec = lut2d_test::uniformRecord(300, 200);
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        for (auto [width, height] : {std::pair{100u, 64u}, {256u, 32u}, {510u, 18u}}) {
            SCOPED_TRACE(::testing::Message() << "mode " << mode << ", " << width << "x" << height);
            DspFrame d(&rec, mode, width, height);
            const uint32_t stride = d.ctx().stride;
            Bytes shared = sharedInput(d.frame, stride);
            ASSERT_EQ(d.engine.run_dsp(&d.data), 0);
            EXPECT_EQ(d.sharedIn(), shared);

            // The CPU engine (handle functions of this build) over the same shared frame.
            void* cpu = nullptr;
            ASSERT_EQ(InitLut2D(&cpu, &rec, {stride, height, stride, 0}, mode), 0);
            Lut2DImageData packed{shared.data(), shared.data() + size_t{stride} * height};
            ASSERT_EQ(processLut2d(cpu, &packed, 0), 0);
            releaseLut2d(cpu);
            for (uint32_t r = 0; r < height; ++r) {
                ASSERT_EQ(0, std::memcmp(&d.frame.luma[r * width], &shared[r * stride], width))
                    << "luma row " << r;
            }
            for (uint32_t r = 0; r < height / 2; ++r) {
                ASSERT_EQ(0, std::memcmp(&d.frame.chroma[r * width], &shared[(height + r) * stride],
                                         width))
                    << "chroma row " << r;
            }
        }
    }
}

TEST_F(DspEngine, RowsAreExtendedByTheirLastTwoBytesUnlessThePitchesAgree) {
    auto rec = lut2d_test::neutralRecord();
    DspFrame narrow(&rec, LUT2D_MODE_CHRUS, 6, 2);
    narrow.frame.luma = {1, 2, 3, 4, 10, 20, 5, 6, 7, 8, 9, 11};
    ASSERT_EQ(narrow.engine.run_dsp(&narrow.data), 0);
    const Bytes in = narrow.sharedIn();
    EXPECT_EQ(Bytes(in.begin(), in.begin() + 9), (Bytes{1, 2, 3, 4, 10, 20, 10, 20, 0}));

    DspFrame wide(&rec, LUT2D_MODE_CHRUS, 4096, 2);
    Bytes whole = wide.frame.luma;  // the frame as handed in, before it is adjusted
    whole.insert(whole.end(), wide.frame.chroma.begin(), wide.frame.chroma.end());
    ASSERT_EQ(wide.engine.run_dsp(&wide.data), 0);
    EXPECT_EQ(wide.ctx().stride, 4096u);
    EXPECT_EQ(wide.sharedIn(), whole);
}

TEST_F(DspEngine, DisabledRecordMakesNoRemoteCall) {
    auto rec = lut2d_test::neutralRecord();
    DspFrame d(&rec, LUT2D_MODE_YDS, 64, 16);
    auto disabled = rec;
    disabled.enable = 0;
    EXPECT_EQ(d.engine.UpdateCfg_dsp(&disabled), 0);  // the shared copy, not the caller's record
    EXPECT_EQ(d.engine.m_cfg->enable, 0);
    const Frame before = d.frame;
    lut2d_test::clearLog();
    EXPECT_EQ(d.engine.run_dsp(&d.data), 0);
    EXPECT_TRUE(lut2d_test::callsOf(3).empty());
    EXPECT_TRUE(lut2d_test::logLines().empty());
    EXPECT_EQ(d.frame.luma, before.luma);
    EXPECT_EQ(d.frame.chroma, before.chroma);
}

TEST_F(DspEngine, FailedExecuteLeavesTheFrameAlone) {
    auto rec = lut2d_test::neutralRecord();
    DspFrame d(&rec, LUT2D_MODE_CHRUS, 64, 16);
    const Frame before = d.frame;
    lut2d_test::clearLog();
    host::failNext(3, 0x77);
    EXPECT_EQ(d.engine.run_dsp(&d.data), 8);
    auto expected = lut2d_test::executeLog();
    expected.push_back(error("Error: sw2dlut_dsp_execute failed, code=119\n"));
    expected.push_back(error("[Error]: SW2dLUTExecute failed\n"));
    EXPECT_EQ(lut2d_test::logWithoutTimes(), expected);
    EXPECT_EQ(lut2d_test::logLines()[1].text.rfind("SW2DLUTExecute: dsp: 0 us, rpc: ", 0), 0u);
    EXPECT_EQ(d.frame.luma, before.luma);
    EXPECT_EQ(d.frame.chroma, before.chroma);
}

TEST_F(DspEngine, FailedContextSetUpIsReportedAndReleasable) {
    auto rec = lut2d_test::neutralRecord();
    SW_2DLut_v10 e;
    host::failNext(2, 5);
    EXPECT_EQ(e.InitLut2D_dsp(&rec, LUT2D_MODE_CHRUS, {64, 16, 64, 0}), 9);
    EXPECT_EQ(lut2d_test::logLines().back(), error("[Error]: SW2DLUTInit failed\n"));
    EXPECT_EQ(e.m_dspCtx, nullptr);
    EXPECT_EQ(e.m_cfg, nullptr);

    Frame f(64, 16, 64);
    Lut2DImageData data = f.data();
    EXPECT_EQ(e.run_dsp(&data), 8);
    lut2d_test::clearLog();
    EXPECT_EQ(e.DenitLut2D_dsp(), 0);
    EXPECT_EQ(lut2d_test::logLines(),
              (std::vector<LogLine>{lut2d_test::info("SW2DLUTDeinit\n"),
                                    error("[Error]: SW2DLUTDeinit failed\n")}));
}

using DspEngineDeathTest = lut2d_test::DspTest;

TEST_F(DspEngineDeathTest, SingleByteRowsCannotBeExtended) {
    auto rec = lut2d_test::neutralRecord();
    DspFrame d(&rec, LUT2D_MODE_CHRUS, 1, 2);
    EXPECT_DEATH(d.engine.run_dsp(&d.data), "");
}

}  // namespace
