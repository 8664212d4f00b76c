// The engine's DSP back-end members and the packing of frames into shared memory.
//
// A DSP handle keeps a copy of the tuning record in shared memory (the engine's record pointer
// points at it) and three shared buffers in its DSP context: the packed input frame, the
// packed output frame and the DSP's scratch space. Frames travel as rows of `width` bytes on
// the caller's side and rows of the context's `stride` bytes in shared memory.

#include <cstring>

#include "../common/checked_math.h"
#include "../common/fatal.h"
#include "../common/lut2d_log.h"
#include "../engine/plane_rows.h"
#include "../engine/sw_2dlut_v10.h"
#include "dsp_internal.h"
#include "sw2dlut_context.h"

namespace {

constexpr uint32_t kInitParam = 3;  // interpreted by the DSP module

// A shared block that the DSP path cannot do without; its absence stops the process rather
// than letting a copy run through a null pointer.
template <typename T>
T* requireShared(void* block, lut2d::SourceSite where = lut2d::SourceSite::current()) {
    if (block == nullptr) lut2d::fatal("a shared block of the DSP path is missing", where);
    return static_cast<T*>(block);
}

// The shared frame in `buffer`: height luma rows and then height / 2 chroma rows, `stride`
// bytes apart, beside the caller's planes of `width`-byte rows.
CopyThreadArgs sharedFrame(uint8_t* buffer, uint32_t width, uint32_t height, uint32_t stride,
                           uint8_t* luma, uint8_t* chroma) {
    const uint32_t lumaBytes = lut2d::checkedMul<uint32_t>(height, stride);
    return {width, height, stride, buffer, buffer + lumaBytes, luma, chroma};
}

// The whole shared frame buffer, (3 * height * stride) / 2 bytes. A row's extension may spill
// from the last luma row into the chroma rows that follow.
lut2d::StridedRoom sharedRoom(const CopyThreadArgs& frame) {
    const size_t lumaBytes = size_t{frame.height} * frame.stride;
    const size_t frameBytes = lumaBytes + lumaBytes / 2;
    return {frameBytes, frameBytes - lumaBytes};
}

}  // namespace

void copyInputData(uint8_t* dst, uint8_t* luma, uint8_t* chroma, uint32_t width, uint32_t height,
                   uint32_t stride) {
    const CopyThreadArgs frame = sharedFrame(dst, width, height, stride, luma, chroma);
    lut2d::packFrame(frame, sharedRoom(frame));
}

int SW_2DLut_v10::InitLut2D_dsp(ISP2DLUTInStruct_V10* cfg, Lut2DMode mode, Lut2DImageInfo info) {
    m_dspCtx = SW2DLUTInit(static_cast<uint16_t>(mode), kInitParam, info.width, info.height);
    if (m_dspCtx == nullptr) {
        LUT2D_LOGE("[Error]: SW2DLUTInit failed\n");
        return LUT2D_ERR_DSP;
    }
    m_cfg = requireShared<ISP2DLUTInStruct_V10>(lut2d::allocShared(sizeof(ISP2DLUTInStruct_V10)));
    std::memcpy(m_cfg, cfg, sizeof(ISP2DLUTInStruct_V10));

    const uint32_t n = lut2d::checkedCast<uint32_t>(
        lut2d::checkedMul<int32_t>(m_dspCtx->height, m_dspCtx->stride));
    m_dspCtx->scratch_buf =
        static_cast<uint16_t*>(lut2d::allocShared(lut2d::checkedMul<uint32_t>(2u, n)));
    const uint32_t frameBytes = lut2d::checkedMul<uint32_t>(3u, n) / 2;
    m_dspCtx->in_buf = static_cast<uint8_t*>(lut2d::allocShared(frameBytes));
    m_dspCtx->out_buf = static_cast<uint8_t*>(lut2d::allocShared(frameBytes));
    return LUT2D_OK;
}

// Refreshes the shared copy of the record; the frame path never does this by itself. Only a
// handle with a DSP context has such a copy (on the CPU engine the record is the caller's).
int SW_2DLut_v10::UpdateCfg_dsp(ISP2DLUTInStruct_V10* cfg) {
    if (m_dspCtx != nullptr && cfg != nullptr) {
        std::memcpy(m_cfg, cfg, sizeof(ISP2DLUTInStruct_V10));
    }
    return LUT2D_OK;
}

int SW_2DLut_v10::run_dsp(Lut2DImageData* image) {
    // Without a context (its set-up failed, or this is a CPU handle) there is nothing to run.
    if (m_dspCtx == nullptr || m_cfg == nullptr) {
        LUT2D_LOGE("[Error]: SW2dLUTExecute failed\n");
        return LUT2D_ERR_DSP_EXECUTE;
    }
    if (m_cfg->enable == 0) return LUT2D_OK;

    const SW2DLUTContext& ctx = *m_dspCtx;
    copyInputData(requireShared<uint8_t>(ctx.in_buf), image->pLuma, image->pChroma, ctx.width,
                  ctx.height, ctx.stride);
    if (SW2DLUTExecute(m_dspCtx, m_cfg) != 0) {
        LUT2D_LOGE("[Error]: SW2dLUTExecute failed\n");
        return LUT2D_ERR_DSP_EXECUTE;
    }
    // The result goes back row by row (whole planes when the pitches agree); the bytes past
    // each row are never read.
    const CopyThreadArgs frame = sharedFrame(requireShared<uint8_t>(ctx.out_buf), ctx.width,
                                             ctx.height, ctx.stride, image->pLuma, image->pChroma);
    lut2d::unpackFrame(frame, sharedRoom(frame));
    return LUT2D_OK;
}

// Frees the frame buffers before the connection closes and the record copy after.
int SW_2DLut_v10::DenitLut2D_dsp() {
    SW2DLUTContext* ctx = m_dspCtx;
    if (ctx != nullptr) {
        lut2d::freeShared(ctx->in_buf);
        lut2d::freeShared(ctx->out_buf);
        lut2d::freeShared(ctx->scratch_buf);
    }
    if (SW2DLUTDeinit(ctx) != 0) LUT2D_LOGE("[Error]: SW2DLUTDeinit failed\n");
    m_dspCtx = nullptr;
    if (ctx != nullptr) {  // the record is the shared copy made with the context
        lut2d::freeShared(m_cfg);
        m_cfg = nullptr;
    }
    return LUT2D_OK;
}
