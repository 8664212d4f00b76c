// The DSP context functions.

#include "sw2dlut_context.h"

#include <sys/time.h>

#include "../common/checked_math.h"
#include "../common/lut2d_log.h"
#include "../interface/record_shape.h"
#include "dsp_internal.h"
#include "remote_runtime.h"
#include "sw2dlut_dsp.h"

namespace {

using lut2d::checkedAdd;
using lut2d::checkedMul;
using lut2d::checkedSub;
using lut2d::kGridEntries;
using lut2d::kHueIntervals;
using lut2d::kHueNodes;
using lut2d::kSatIntervals;
using lut2d::kSatNodes;

// Wall-clock time in microseconds from the time-of-day clock.
uint64_t timeStamp() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return checkedAdd<uint64_t>(checkedMul<uint64_t>(tv.tv_sec, 1000000u), tv.tv_usec);
}

// Runs `call`, logs its time under `what` and returns its result.
template <typename Call>
int timed(const char* what, Call call) {
    const uint64_t start = timeStamp();
    const int result = call();
    const uint64_t end = timeStamp();
    LUT2D_LOGI("%s: %lu us\n", what, static_cast<unsigned long>(checkedSub<uint64_t>(end, start)));
    return result;
}

}  // namespace

void* lut2d::allocShared(uint32_t bytes) {
    constexpr int kSystemHeap = 25;
    constexpr uint32_t kCached = 1;
    const int size = checkedCast<int>(bytes);
    return haveRuntime() ? rpcmem_alloc(kSystemHeap, kCached, size) : nullptr;
}

void lut2d::freeShared(void* block) {
    if (haveRuntime()) rpcmem_free(block);
}

extern "C" {

SW2DLUTContext* SW2DLUTInit(uint16_t mode, uint32_t init_param, uint32_t width, uint32_t height) {
    LUT2D_LOGI("%s: VERSION %s\n", "SW2DLUTInit", lut2d::kVersion);
    auto* ctx = static_cast<SW2DLUTContext*>(lut2d::allocShared(sizeof(SW2DLUTContext)));
    if (ctx == nullptr) {
        LUT2D_LOGE("context allocation failed\n");
        return nullptr;
    }
    ctx->mode = mode;
    ctx->width = width;
    ctx->height = height;
    ctx->init_param = init_param;
    (void)checkedAdd<int32_t>(width, 256);
    ctx->stride = (width + 255) & ~255u;
    ctx->handle = 0;
    ctx->in_buf = nullptr;
    ctx->out_buf = nullptr;
    ctx->scratch_buf = nullptr;

    LUT2D_LOGI("dsp_uri=%s\n", kSw2dlutDspUri);
    const int opened =
        timed("sw2dlut_dsp_open", [&] { return sw2dlut_dsp_open(kSw2dlutDspUri, &ctx->handle); });
    if (opened != 0) {
        LUT2D_LOGE("Error: sw2dlut_dsp_open failed, code=%d\n", opened);
        lut2d::freeShared(ctx);
        return nullptr;
    }
    const int initialised =
        timed("sw2dlut_dsp_init", [&] { return sw2dlut_dsp_init(ctx->handle, init_param); });
    if (initialised == 0) return ctx;

    LUT2D_LOGE("Error: sw2dlut_dsp_init failed, code=%d\n", initialised);
    timed("sw2dlut_dsp_close", [&] { return sw2dlut_dsp_close(ctx->handle); });
    ctx->handle = 0;
    lut2d::freeShared(ctx);
    return nullptr;
}

int SW2DLUTExecute(SW2DLUTContext* ctx, const ISP2DLUTInStruct_V10* rec) {
    LUT2D_LOGI("Running %s\n", "SW2DLUTExecute");
    if (ctx == nullptr) return LUT2D_ERR_DSP;

    sw2dlut_dsp_config config{};
    config.height = static_cast<uint16_t>(ctx->height);
    config.stride = static_cast<uint16_t>(ctx->stride);
    config.mode = ctx->mode;
    config.lut_1d_h = {rec->lut_1d_h, kHueNodes};
    config.lut_1d_s = {rec->lut_1d_s, kSatNodes};
    config.lut_2d_h = {rec->lut_2d_h, kGridEntries};
    config.lut_2d_s = {rec->lut_2d_s, kGridEntries};
    config.lut_1d_h_inv = {rec->lut_1d_h_inv, kHueIntervals};
    config.lut_1d_s_inv = {rec->lut_1d_s_inv, kSatIntervals};
    config.h_shift = rec->h_shift;
    config.s_shift = rec->s_shift;
    config.l_boundary_start_A = rec->l_boundary_start_A;
    config.l_boundary_start_B = rec->l_boundary_start_B;
    config.l_boundary_end_A = rec->l_boundary_end_A;
    config.l_boundary_end_B = rec->l_boundary_end_B;
    config.l_boundary_start_inv = rec->l_boundary_start_inv;
    config.l_boundary_end_inv = rec->l_boundary_end_inv;

    // The scratch buffer serves twice: as two halves and as a quarter followed by two more.
    const int32_t n = checkedMul<int32_t>(config.height, config.stride);
    uint16_t* scratchBuf = ctx->scratch_buf;
    sw2dlut_dsp_scratch scratch{{scratchBuf, n / 2},
                                {scratchBuf + n / 2, n / 2},
                                {scratchBuf, n / 4},
                                {scratchBuf + n / 4, 2 * (n / 4)}};

    const int32_t frameBytes = checkedMul<int32_t>(3, n) / 2;
    uint64_t dspTime = 0;
    const uint64_t start = timeStamp();
    const int result = sw2dlut_dsp_execute(ctx->handle, &config, &scratch, ctx->in_buf, frameBytes,
                                           ctx->out_buf, frameBytes, &dspTime);
    const uint64_t total = checkedSub<uint64_t>(timeStamp(), start);
    LUT2D_LOGI("%s: dsp: %lu us, rpc: %ld us, total: %ld us\n", "SW2DLUTExecute",
               static_cast<unsigned long>(dspTime),
               lut2d::checkedCast<long>(checkedSub<uint64_t>(total, dspTime)),
               lut2d::checkedCast<long>(total));
    if (result != 0) {
        LUT2D_LOGE("Error: sw2dlut_dsp_execute failed, code=%d\n", result);
        return LUT2D_ERR_DSP;
    }
    return LUT2D_OK;
}

int SW2DLUTDeinit(SW2DLUTContext* ctx) {
    LUT2D_LOGI("%s\n", "SW2DLUTDeinit");
    if (ctx == nullptr) return LUT2D_ERR_DSP;
    // Failures of these two are the stub's to report; the context is closed regardless.
    timed("sw2dlut_dsp_deinit",
          [&] { return ctx->handle != 0 ? sw2dlut_dsp_deinit(ctx->handle) : 0; });
    timed("sw2dlut_dsp_close",
          [&] { return ctx->handle != 0 ? sw2dlut_dsp_close(ctx->handle) : 0; });
    ctx->handle = 0;
    lut2d::freeShared(ctx);
    return LUT2D_OK;
}

}  // extern "C"
