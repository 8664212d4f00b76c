// The DSP context functions and the engine's DSP members against the host emulation of the
// runtime: connection set-up, marshalling of a frame, packing into shared memory and the copy
// back, failures, and the result against the CPU engine. This executable has no platform
// debug log, so failing remote methods stay silent.

#include "dsp/sw2dlut_context.h"
#include "dsp/sw2dlut_dsp.h"
#include "engine/sw_2dlut_v10.h"
#include "support/dsp_support.h"

namespace {

using namespace lut2d_test;
using DspEngine = DspTest;
using Methods = std::vector<uint32_t>;

// An engine on the DSP path and a frame of random packed rows.
struct DspFrame {
    SW_2DLut_v10 engine;
    Frame frame;
    Lut2DImageData data;
    int initStatus;

    DspFrame(ISP2DLUTInStruct_V10* rec, Lut2DMode mode, uint32_t width, uint32_t height)
        : frame(width, height, width) {
        frame.luma = randomBytes(frame.luma.size(), width * 7 + height);
        frame.chroma = randomBytes(frame.chroma.size(), width * 5 + height);
        data = frame.data();
        initStatus = engine.InitLut2D_dsp(rec, mode, frame.info);
    }
    ~DspFrame() { engine.DenitLut2D_dsp(); }
    SW2DLUTContext& ctx() { return *engine.m_dspCtx; }
};

TEST_F(DspEngine, FullHdFrameIsMarshalledFromSharedMemory) {
    auto rec = uniformRecord(12, -7);
    rec.h_shift = 1;
    rec.s_shift = 2;
    DspFrame d(&rec, LUT2D_MODE_CHRUS, 1920, 1080);
    SW_2DLut_v10& e = d.engine;
    std::vector<int> sizes;
    for (const auto& a : host::allocations()) {
        EXPECT_EQ(std::pair(a.heap, a.flags), std::pair(25, 1u));
        sizes.push_back(a.size);
    }
    EXPECT_EQ(sizes, (std::vector<int>{sizeof(SW2DLUTContext), 1784, 4423680, 3317760, 3317760}));

    clearLog();
    ASSERT_EQ(e.run_dsp(&d.data), 0);
    const host::Call c = host::calls().back();
    EXPECT_EQ(c.lengths, (std::vector<uint64_t>{72, 50, 32, 800, 800, 48, 30, 3317760, 8, 2211840,
                                                2211840, 1105920, 2211840, 3317760}));
    const uint16_t* scratch = d.ctx().scratch_buf;  // two halves, then a quarter and the rest
    EXPECT_EQ((std::vector{c.buffers[9], c.buffers[10], c.buffers[11], c.buffers[12]}),
              (std::vector<const void*>{scratch, scratch + 1105920, scratch, scratch + 552960}));
    // clang-format off
    struct Wire {  // the primary input, little-endian
        uint16_t height, stride, mode, zero;
        int32_t tableCounts[6];
        uint16_t values[8];
        int32_t scratchCounts[4], inLength, outLength;
    } want{1080, 2048, 1, 0, {25, 16, 400, 400, 24, 15}, {1, 2, 0, 128, 1918, 2046, 16, 16},
           {1105920, 1105920, 552960, 1105920}, 3317760, 3317760};
    // clang-format on
    static_assert(sizeof want == 72);
    EXPECT_EQ(c.primaryIn, Bytes(reinterpret_cast<uint8_t*>(&want),
                                 reinterpret_cast<uint8_t*>(&want) + sizeof want));

    e.DenitLut2D_dsp();
    const auto calls = host::calls();
    EXPECT_EQ(calls[1].primaryIn, (Bytes{3, 0, 0, 0}));  // init: the value
    EXPECT_EQ((Methods{calls[1].scalars, calls[2].scalars, calls[3].scalars}),
              (Methods{0x02010000, 0x03080600, 0x04000000}));
}

TEST_F(DspEngine, ResultEqualsTheCpuEngineOnTheSharedFrame) {
    auto rec = uniformRecord(300, 200);
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        // The shared pitch is the width rounded up to a multiple of 256.
        for (auto [width, height, stride] :
             {std::tuple{2u, 2u, 256u}, {256u, 32u, 256u}, {257u, 18u, 512u}, {510u, 18u, 512u}}) {
            SCOPED_TRACE(::testing::Message() << "mode " << mode << ", " << width << "x" << height);
            DspFrame d(&rec, mode, width, height);
            ASSERT_EQ(d.ctx().stride, stride);
            Bytes shared(size_t{stride} * height * 3 / 2, 0);
            packRows(shared, 0, d.frame.luma, width, stride);
            packRows(shared, size_t{stride} * height, d.frame.chroma, width, stride);
            ASSERT_EQ(d.engine.run_dsp(&d.data), 0);
            EXPECT_EQ(Bytes(d.ctx().in_buf, d.ctx().in_buf + shared.size()), shared);

            // The CPU engine (handle functions of this build) over the same shared frame.
            const Handle cpu(&rec, {stride, height, stride, 0}, mode);
            Lut2DImageData packed{shared.data(), shared.data() + size_t{stride} * height};
            ASSERT_EQ(processLut2d(cpu.get(), &packed, 0), 0);
            Bytes result = d.frame.luma;
            result.insert(result.end(), d.frame.chroma.begin(), d.frame.chroma.end());
            for (uint32_t r = 0; r < height * 3 / 2; ++r) {
                ASSERT_EQ(0, std::memcmp(&result[r * width], &shared[r * stride], width)) << r;
            }
        }
    }
}

// An engine's whole DSP life with one failure in it: the statuses of set-up, frame and
// release, every log line and the remote calls made.
TEST_F(DspEngine, FailuresAreReportedAndLeaveNothingBehind) {
    auto* ctx = static_cast<SW2DLUTContext*>(rpcmem_alloc(25, 1, sizeof(SW2DLUTContext)));
    EXPECT_EQ(SW2DLUTDeinit(ctx), 0);  // handle 0: both times logged, no remote call
    EXPECT_EQ(SW2DLUTDeinit(nullptr), 9);
    EXPECT_EQ(logWithoutTimes(), kDeinitLog + std::vector{info("SW2DLUTDeinit\n")});
    EXPECT_EQ(methodsCalled(), Methods{});

    constexpr uint32_t kAllocation = 99;
    const Methods all{host::kOpen, 2, 3, 4, host::kClose};  // a failed deinit is ignored
    // clang-format off
    const std::vector<LogLine> noContext{error("[Error]: SW2DLUTInit failed\n"),
        error("[Error]: SW2dLUTExecute failed\n"), info("SW2DLUTDeinit\n"),
        error("[Error]: SW2DLUTDeinit failed\n")};
    struct Failure { uint32_t method; int code; std::vector<int> statuses;
                     std::vector<LogLine> log; Methods methods; };
    const std::vector<Failure> failures{
        {kAllocation, 0, {9, 8, 0},
         std::vector{kInitLog[0], error("context allocation failed\n")} + noContext, {}},
        {host::kOpen, 0x123, {9, 8, 0}, std::vector{kInitLog[0], kInitLog[1], kInitLog[2],
         error("Error: sw2dlut_dsp_open failed, code=291\n")} + noContext, {host::kOpen}},
        {2, 0x45, {9, 8, 0}, kInitLog + std::vector{
         error("Error: sw2dlut_dsp_init failed, code=69\n"), info("sw2dlut_dsp_close: # us\n")}
         + noContext, {host::kOpen, 2, host::kClose}},
        {3, 0x77, {0, 8, 0}, kInitLog + kExecuteLog + std::vector{
         error("Error: sw2dlut_dsp_execute failed, code=119\n"),
         error("[Error]: SW2dLUTExecute failed\n")} + kDeinitLog, all},
        {4, 0x99, {0, 0, 0}, kInitLog + kExecuteLog + kDeinitLog, all}};
    // clang-format on
    auto rec = neutralRecord();
    for (const Failure& f : failures) {
        SCOPED_TRACE(f.method);
        host::reset();
        clearLog();
        if (f.method == kAllocation) host::failNextAllocation();
        if (f.method <= 2) host::failNext(f.method, f.code);
        DspFrame d(&rec, LUT2D_MODE_CHRUS, 64, 16);
        const Frame before = d.frame;
        if (f.method == 3) host::failNext(3, f.code);
        std::vector<int> statuses{d.initStatus, d.engine.run_dsp(&d.data)};
        EXPECT_TRUE(statuses[1] == 0 || d.frame.luma == before.luma);  // untouched on failure
        if (f.method == 4) host::failNext(4, f.code);
        statuses.push_back(d.engine.DenitLut2D_dsp());
        EXPECT_EQ(statuses, f.statuses);
        EXPECT_EQ(logWithoutTimes(), f.log);
        EXPECT_EQ(methodsCalled(), f.methods);
    }
}

}  // namespace
