// Frame driver.

#include "sw_2dlut_v10.h"

// Frames are not adjusted yet: the banded driver and its workers land here next.
int SW_2DLut_v10::run2dlut_fx(Lut2DImageData* /*image*/) {
    return LUT2D_OK;
}
