// The four exported handle functions.

#include <unistd.h>

#include <new>

#include "../common/lut2d_log.h"
#include "../engine/sw_2dlut_v10.h"
#include "orvix_lut2d.h"

namespace {

// Allocates the engine object. Kept out of line so that the object a failed InitLut2D
// leaves behind (it is neither handed out nor released) is recognisable by name.
__attribute__((noinline)) SW_2DLut_v10* newEngineObject() {
    return new (std::nothrow) SW_2DLut_v10();
}

constexpr int kAbortPolls = 250;
constexpr useconds_t kAbortPollMicros = 2000;

}  // namespace

extern "C" {

int InitLut2D(void** phandle, ISP2DLUTInStruct_V10* cfg, Lut2DImageInfo info, Lut2DMode mode) {
    SW_2DLut_v10* engine = newEngineObject();
    LUT2D_LOGI("===========SW2DLUT_VERSION : %s===========\n", lut2d::kVersion);
    if (engine == nullptr) return LUT2D_ERR_NO_MEMORY;

    engine->m_useDsp = 0;
    engine->m_abort = 0;
    engine->m_done = 0;

    if (info.height == 0 || info.width == 0 || info.stride == 0) {
        LUT2D_LOGE("%s: %d: Image width or height passed is 0 \n", "InitLut2D", 30);
        return LUT2D_ERR_BAD_GEOMETRY;
    }
    if (static_cast<int32_t>(info.stride) < static_cast<int32_t>(info.width)) {
        LUT2D_LOGE("%s: %d: Image stride passed is invalid \n", "InitLut2D", 35);
        return LUT2D_ERR_BAD_GEOMETRY;
    }
    if (cfg == nullptr) return LUT2D_ERR_NULL_CONFIG;

    const int check = engine->parameterCheck(cfg);
    if (check != 0) {
        LUT2D_LOGE("%s: %d: parameters not set properly during init \n", "InitLut2D", 47);
        return check;
    }

#if defined(LUT2D_FORCE_DSP_BACKEND)
    // Build option for exercising the DSP back-end through the handle functions.
    engine->m_useDsp = 1;
#endif

    if (engine->m_useDsp == 1) {
        LUT2D_LOGI("===========InitLut2D 2DLut 01===========\n");
        (void)engine->InitLut2D_dsp(cfg, mode, info);
        *phandle = engine;
        return LUT2D_OK;
    }

    LUT2D_LOGI("===========InitLut2D 2DLut 02===========\n");
    const int status = engine->InitLut2D(cfg, mode, info);
    // Handed out even when the set-up failed part-way: the caller releases it.
    *phandle = engine;
    return status;
}

int processLut2d(void* handle, Lut2DImageData* image, unsigned int flags) {
    if (handle == nullptr) {
        LUT2D_LOGE("%s: %d: handle passed in process call is NULL \n", "processLut2d", 75);
        return LUT2D_ERR_NULL_HANDLE;
    }
    auto* engine = static_cast<SW_2DLut_v10*>(handle);
    engine->m_abort = 0;
    engine->m_done = 0;

    if (image == nullptr || image->pLuma == nullptr || image->pChroma == nullptr) {
        LUT2D_LOGE("%s: %d: Image pLuma or pChroma passed is NULL \n", "processLut2d", 84);
        return LUT2D_ERR_NULL_PLANE;
    }
    if (engine->m_cfg == nullptr) {
        LUT2D_LOGE("%s: %d: Image config passed is NULL \n", "processLut2d", 90);
        return LUT2D_ERR_BAD_CONFIG;
    }
    const int check = engine->parameterCheck(engine->m_cfg);
    if (check != 0) {
        LUT2D_LOGE("%s: %d: parameters not set properly during process call \n", "processLut2d",
                   97);
        return check;
    }

    if (engine->m_useDsp == 1) return engine->run_dsp(image);

    int status;
    if (!lut2d::engineIsSetUp(*engine)) {
        // The set-up of this handle failed part-way; it can only be released.
        LUT2D_LOGE("processLut2d: handle set-up incomplete, release it \n");
        status = LUT2D_ERR_NO_MEMORY;
    } else {
        if ((flags & 1u) != 0) engine->UpdateCfg(engine->m_cfg);
        status = engine->m_cfg->enable == 0 ? LUT2D_OK : engine->run2dlut_fx(image);
    }
    engine->m_done = 1;
    return status;
}

int releaseLut2d(void* handle) {
    if (handle == nullptr) {
        LUT2D_LOGE("%s: %d: handle passed in release call is NULL \n", "releaseLut2d", 124);
        return LUT2D_ERR_NULL_HANDLE;
    }
    auto* engine = static_cast<SW_2DLut_v10*>(handle);
    engine->m_done = 0;
    if (engine->m_useDsp == 0) {
        engine->DenitLut2D();
    } else {
        engine->DenitLut2D_dsp();
    }
    delete engine;
    return LUT2D_OK;
}

int AbortLut2d(void* handle) {
    if (handle == nullptr) {
        LUT2D_LOGE("%s: %d: handle passed in abort call is NULL \n", "AbortLut2d", 152);
        return LUT2D_ERR_NULL_HANDLE;
    }
    auto* engine = static_cast<SW_2DLut_v10*>(handle);
    engine->m_abort = 1;

    bool done = false;
    for (int poll = 0; poll < kAbortPolls; ++poll) {
        if (engine->m_done == 1) {
            done = true;
            break;
        }
        usleep(kAbortPollMicros);
    }
    if (!done) done = engine->m_done == 1;

    if (done) {
        LUT2D_LOGE("Abort returned successfully from 2dLUT algo \n");
    } else {
        LUT2D_LOGE("Abort returned successfully due to timedout \n");
    }
    return LUT2D_ERR_ABORTED;
}

}  // extern "C"
