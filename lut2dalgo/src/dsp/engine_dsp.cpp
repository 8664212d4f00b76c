// The engine's DSP back-end members.

#include "../engine/sw_2dlut_v10.h"

// The DSP back-end is not wired up in this build yet; every entry reports failure.
int SW_2DLut_v10::InitLut2D_dsp(ISP2DLUTInStruct_V10*, Lut2DMode, Lut2DImageInfo) {
    return LUT2D_ERR_DSP;
}
int SW_2DLut_v10::UpdateCfg_dsp(ISP2DLUTInStruct_V10*) {
    return LUT2D_OK;
}
int SW_2DLut_v10::run_dsp(Lut2DImageData*) {
    return LUT2D_ERR_DSP_EXECUTE;
}
int SW_2DLut_v10::DenitLut2D_dsp() {
    return LUT2D_OK;
}
