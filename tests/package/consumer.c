/* A host built against the installed package alone: one frame through the four handle
 * functions. Written in the common part of C11 and C++17, it is built as C through pkg-config
 * and as C++ through CMake's find_package and as part of a CMake project. EXPECTED_VERSION is
 * the version the package reports, which the header's must equal. */
#include <orvix_lut2d.h>
#include <stdio.h>
#include <string.h>

#ifdef __cplusplus
#define HOST_LANGUAGE "C++"
#else
#define HOST_LANGUAGE "C"
#endif

enum { kWidth = 64, kHeight = 32 };

/* Even hue and saturation nodes, every hue turned by 200 and saturation raised by 100,
 * at every lightness but the extremes. The offsets are uniform, so the reciprocals can stay
 * 0 (no interpolation between nodes). */
static void tuning(ISP2DLUTInStruct_V10* r) {
    memset(r, 0, sizeof *r);
    r->enable = 1;
    for (int i = 0; i < 25; ++i) r->lut_1d_h[i] = (uint16_t)(i * 512);
    for (int j = 0; j < 16; ++j) r->lut_1d_s[j] = (uint16_t)(j * 2048 / 15);
    for (int k = 0; k < 400; ++k) {
        r->lut_2d_h[k] = 200;
        r->lut_2d_s[k] = 100;
    }
    r->l_boundary_start_B = 128;
    r->l_boundary_end_A = 1918;
    r->l_boundary_end_B = 2046;
}

int main(void) {
    static uint8_t luma[kWidth * kHeight];
    static uint8_t chroma[kWidth * kHeight / 2];
    static uint8_t before[sizeof chroma];
    for (int i = 0; i < kWidth * kHeight; ++i) luma[i] = (uint8_t)(60 + i % 128);
    for (int i = 0; i < kWidth * kHeight / 2; i += 2) {
        chroma[i] = 90;      /* Cb */
        chroma[i + 1] = 170; /* Cr: a red */
    }
    memcpy(before, chroma, sizeof chroma);

    ISP2DLUTInStruct_V10 record;
    tuning(&record);
    const Lut2DImageInfo info = {kWidth, kHeight, kWidth, 0};
    void* handle = NULL;
    int status = InitLut2D(&handle, &record, info, LUT2D_MODE_CHRUS);
    if (status == LUT2D_OK) {
        Lut2DImageData frame = {luma, chroma};
        status = processLut2d(handle, &frame, 0);
    }
    releaseLut2d(handle);

    int changed = 0;
    for (size_t i = 0; i < sizeof chroma; ++i) changed += chroma[i] != before[i];
    printf("%s host, liborvix_lut2d %s: status %d, %d of %d chroma bytes changed\n", HOST_LANGUAGE,
           LUT2D_VERSION_STRING, status, changed, (int)sizeof chroma);
    return status == LUT2D_OK && changed > 0 && strcmp(LUT2D_VERSION_STRING, EXPECTED_VERSION) == 0
               ? 0
               : 1;
}
