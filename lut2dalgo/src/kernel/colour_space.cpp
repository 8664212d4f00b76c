// Colour kernel members: colour-space transforms and HSL conversion.

#include "../engine/sw_2dlut_v10.h"
#include "colour_math.h"

using lut2d::cstTransform;
using lut2d::Triple;

namespace {

void store(const Triple& t, short* o1, short* o2, short* o3) {
    *o1 = static_cast<short>(t.c1);
    *o2 = static_cast<short>(t.c2);
    *o3 = static_cast<short>(t.c3);
}

// The division tables as the engine holds them (int and unsigned int share a representation).
const uint32_t* asTable(const int* t) {
    return reinterpret_cast<const uint32_t*>(t);
}

}  // namespace

int SW_2DLut_v10::CST(short a, short b, short c, short* o1, short* o2, short* o3, CST_params* p) {
    store(cstTransform<lut2d::kCstGeneral>(*p, a, b, c), o1, o2, o3);
    return 0;
}

int SW_2DLut_v10::CST_YUV2RGB(short y, short u, short v, short* g, short* b, short* r) {
    store(cstTransform<lut2d::kCstYuvToRgb>(m_cst[1], y, u, v), g, b, r);
    return 0;
}

int SW_2DLut_v10::CST_RGB2YUV(short g, short b, short r, short* y, short* u, short* v) {
    store(cstTransform<lut2d::kCstRgbToYuv>(m_cst[0], g, b, r), y, u, v);
    return 0;
}

int SW_2DLut_v10::RGBtoHSL(int r, int g, int b, int* h, int* s, int* l, int* recipSat,
                           int* recipHue, int* shiftSat, int* shiftHue) {
    const lut2d::Hsl hsl = lut2d::rgbToHsl(r, g, b, asTable(recipSat), asTable(recipHue),
                                           asTable(shiftSat), asTable(shiftHue));
    *l = hsl.l;
    *s = hsl.s;
    *h = hsl.h;
    return 0;
}

int SW_2DLut_v10::HSLtoRGB(int* r, int* g, int* b, int h, int s, int l) {
    const lut2d::Rgb rgb = lut2d::hslToRgb(h, s, l);
    *r = rgb.r;
    *g = rgb.g;
    *b = rgb.b;
    return 0;
}
