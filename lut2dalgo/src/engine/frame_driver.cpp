// Frame driver: cuts a frame into four horizontal bands, adjusts them on four threads and
// finishes the frame: in the full-resolution mode on the calling thread; in the low-resolution
// mode, with the portable Gaussian upscale built in, on the four threads once the driver has
// seen every band done and checked for an abort, exactly where it used to join them.

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "../common/checked_math.h"
#include "../common/lut2d_log.h"
#include "band_workers.h"
#include "luma_offset.h"
#include "sw_2dlut_v10.h"

namespace {

using lut2d::checkedMul;
using lut2d::kBandCount;

// Copies the bytes of each chroma row that hold adjusted pairs from one plane to the other:
// after the join, the full-resolution workers' results over the frame (row padding keeps its
// input value). With no supported byte order the workers wrote no chroma: nothing is copied.
void copyChromaRows(uint8_t* to, const uint8_t* from, uint32_t width, uint32_t stride,
                    uint32_t height, uint32_t format) {
    if (format > 1) return;
    const size_t rowBytes = std::min(width, stride) & ~1u;
    const size_t rows = height / 2;
    for (size_t r = 0; r < rows; ++r) {
        std::memcpy(to + r * stride, from + r * stride, rowBytes);
    }
}

// Whether the band records carry the working geometry: they hold rows, width and stride in
// 16 bits. Beyond that the records' values are cut to 16 bits, so the workers cover only
// part of the frame and their row ranges may overlap.
bool recordsCarry(uint32_t width, uint32_t stride, uint32_t height) {
    return std::max({width, stride, height}) <= UINT16_MAX;
}

}  // namespace

int SW_2DLut_v10::run2dlut_fx(Lut2DImageData* image) {
    uint32_t stride = m_stride;
    uint32_t height = m_height;
    uint32_t width = m_width;
    // Quarter of the frame: one luma offset per 2x2 block, or half the chroma plane.
    const uint32_t quarter = checkedMul<uint32_t>(stride, height) / 4;

    if (m_abort == 1) {
        LUT2D_LOGE("Aborting Execution at start of run2dlut_fx \n");
        return LUT2D_ERR_ABORTED;
    }

    const bool fullRes = m_mode == LUT2D_MODE_CHRUS;
    const bool lowRes = m_mode == LUT2D_MODE_YDS;
    uint8_t* scratch = nullptr;
    if (fullRes) {
        scratch = static_cast<uint8_t*>(std::malloc(size_t{2} * quarter));
        if (scratch == nullptr) {
            LUT2D_LOGE("%s: %d: malloc failed \n", "run2dlut_fx", 844);
            return LUT2D_ERR_NO_MEMORY;
        }
    } else if (lowRes) {
        scratch = static_cast<uint8_t*>(std::malloc(quarter));
        if (scratch == nullptr) {
            LUT2D_LOGE("%s: %d: malloc failed \n", "run2dlut_fx", 852);
            return LUT2D_ERR_NO_MEMORY;
        }
        height >>= 1;
        width >>= 1;
        stride >>= 1;
    }
    // A geometry the records cannot carry: what no worker writes of the scratch plane holds
    // "no change" (the input chroma, the offset 128), so the finish, which covers the whole
    // frame, brings nothing but computed bytes and the frame's own into it; and the bands run
    // one after another on this thread, since their rows may overlap.
    const bool carried = recordsCarry(width, stride, height);
    if (!carried && fullRes)
        copyChromaRows(scratch, image->pChroma, width, stride, height, m_format);
    if (!carried && lowRes) std::memset(scratch, 128, quarter);

    pthread_t threads[kBandCount] = {};
    bool started[kBandCount] = {};
    lut2d::BandWork bands[kBandCount] = {};
    lut2d::BandJob jobs[kBandCount] = {};
    lut2d::Finish finish(scratch, image->pLuma, width, stride, height);
    const bool sharedFinish = lowRes && lut2d::kOffsetRowsBuiltIn;
    // A scratch engine object is part of every frame; it takes no part in the work.
    SW_2DLut_v10 frameLocal;
    (void)frameLocal;

    // Full resolution: a quarter of the height rounded to an even row count (chroma rows
    // come in pairs). Low resolution: a quarter of the half height, not rounded.
    const int32_t band = fullRes ? static_cast<int32_t>(((height >> 2) + 1) & ~1u)
                                 : static_cast<int32_t>(height >> 2);

    if (fullRes || lowRes) {
        // The record and the tables cannot change during a frame: the colour kernel's tables
        // are prepared once for all four bands, before the threads start.
        lut2d::BatchTables tables;
        void* (*body)(void*) = fullRes ? run2dlut_fx_ChrUs : run2dlut_fx_yDs;
        // Bands whose rows may overlap run in band order, one after another, on this thread.
        lut2d::BandQueue queue(carried ? m_bandOrder : lut2d::kBandsInOrder,
                               carried ? lut2d::bandThreadsAtOnce() : 1);
        if (sharedFinish) queue.setFinish(&finish);
        for (int i = 0; i < kBandCount; ++i) {
            bands[i].tables = &tables;
            Lut2DThreadArgs& a = bands[i].args;
            a.pLumaIn = image->pLuma;
            a.pChromaIn = image->pChroma;
            a.pLumaOut = fullRes ? image->pLuma : nullptr;
            a.pChromaOut = fullRes ? scratch : image->pChroma;
            a.pLumaOffset = fullRes ? nullptr : scratch;
            a.startRow = static_cast<uint16_t>(checkedMul<int32_t>(i, band));
            a.endRow =
                static_cast<uint16_t>(i == kBandCount - 1 ? static_cast<int32_t>(height)
                                                          : checkedMul<int32_t>(i + 1, band));
            a.width = static_cast<uint16_t>(width);
            a.stride = static_cast<uint16_t>(stride);
            a.height = fullRes ? static_cast<uint16_t>(height) : 0;
            a.engine = this;
            a.pScratch = m_workArea + size_t{lut2d::kCacheSliceBytes} * static_cast<size_t>(i);
            a.format = m_format;
            jobs[i].finish = sharedFinish ? &finish : nullptr;
            jobs[i].bands = bands;
            jobs[i].queue = &queue;
        }
        lut2d::prepareBatchTables(tables, lut2d::kernelTables(*this));
        const lut2d::FrameKernels kernels = lut2d::selectFrameKernels(tables);
        for (lut2d::BandWork& work : bands) work.kernels = kernels;
        // What a thread that does not start would have done is done on this thread: the
        // bands still untaken (all four when no thread is started, for a geometry the records
        // cannot carry). The threads that take no band from the start are started once the
        // bands are drained (a processor is free then, and there is nothing left to take).
        auto start = [&](int i) {
            started[i] = carried && pthread_create(&threads[i], nullptr, body, &jobs[i]) == 0;
            if (started[i]) return;
            jobs[i].finish = nullptr;
            body(&jobs[i]);
        };
        for (int i = 0; i < kBandCount; ++i) {
            if (queue.works(i)) start(i);
        }
        queue.wait();
        for (int i = 0; i < kBandCount; ++i) {
            if (!queue.works(i)) start(i);
        }
        if (sharedFinish) {
            finish.awaitBands();
            if (carried) m_bandOrder = queue.longestFirst();
            // The abort check after the workers, made where the threads used to be joined.
            const bool aborted = m_abort == 1;
            uint8_t* temporary = nullptr;
            const bool finished =
                !aborted && lut2d::beginOffsetAddition(width, stride, height, &temporary);
            // This thread adds rows too, with the threads that have come.
            finish.decide(finished ? lut2d::Finish::Decision::kFinish
                                   : lut2d::Finish::Decision::kStop);
            for (int i = 0; i < kBandCount; ++i) {
                if (started[i]) pthread_join(threads[i], nullptr);
            }
            std::free(temporary);
            if (!aborted) {
                std::free(scratch);
                return LUT2D_OK;
            }
        } else {
            for (int i = 0; i < kBandCount; ++i) {
                if (started[i]) pthread_join(threads[i], nullptr);
            }
            if (carried) m_bandOrder = queue.longestFirst();
        }
    }

    if (m_abort == 1) {
        std::free(scratch);
        LUT2D_LOGE("Aborting Execution after threads joined\n");
        return LUT2D_ERR_ABORTED;
    }

    if (fullRes) {
        copyChromaRows(image->pChroma, scratch, width, stride, height, m_format);
    } else if (lowRes) {
        (void)YOffsetAddition_tessel(scratch, image->pLuma, width, stride, height);
    }
    std::free(scratch);
    return LUT2D_OK;
}
