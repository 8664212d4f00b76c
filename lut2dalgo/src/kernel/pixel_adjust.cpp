// Colour kernel members: the per-pixel adjustment with its result cache, and the luma change
// of a channel change.

#include "../common/checked_math.h"
#include "../common/int_math.h"
#include "../engine/sw_2dlut_v10.h"
#include "kernel_inline.h"

// One 10-bit pixel end to end, through the caller's cache slice.
int SW_2DLut_v10::process(short y, short u, short v, short* yOut, short* uOut, short* vOut,
                          HM_RGB* cache) {
    const lut2d::Yuv10 out = lut2d::processCached(lut2d::kernelTables(*this), y, u, v, cache);
    *yOut = static_cast<short>(out.y);
    *uOut = static_cast<short>(out.u);
    *vOut = static_cast<short>(out.v);
    return 0;
}

// dC2 + ((kb * int16(dC3 - dC2) + kr * int16(dC1 - dC2) + 256) >> 9), kb and kr as unsigned
// 16 bits (Q9): with channels R, G, B the luma change of a colour change.
int SW_2DLut_v10::get_luma_delta(int kb, int kr, int c1New, int c2New, int c3New, int c1Old,
                                 int c2Old, int c3Old) {
    using lut2d::checkedAdd;
    using lut2d::checkedSub;
    const int32_t d1 = checkedSub<int32_t>(c1New, c1Old);
    const int32_t d2 = checkedSub<int32_t>(c2New, c2Old);
    const int32_t d3 = checkedSub<int32_t>(c3New, c3Old);
    const int32_t a = lut2d::toInt16(checkedSub<int32_t>(d3, d2));
    const int32_t b = lut2d::toInt16(checkedSub<int32_t>(d1, d2));
    // Each product is below 2^31 in size; their sum may not be.
    const int32_t sum = checkedAdd<int32_t>(a * lut2d::toUint16(kb), b * lut2d::toUint16(kr));
    return checkedAdd<int32_t>(d2, lut2d::checkedRoundShift(sum, 9));
}
