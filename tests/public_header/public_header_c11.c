/* The public header as a C11 host sees it: the records, the mode and status values, the
 * version macros and the four handle functions with their prototypes. Compiled with
 * -std=c11 -pedantic and warnings as errors; nothing here runs. */
#include <orvix_lut2d.h>

_Static_assert(sizeof(Lut2DMode) == 4, "the mode is passed as a 32-bit value");
_Static_assert(LUT2D_MODE_YDS == 0 && LUT2D_MODE_CHRUS == 1, "mode values");
_Static_assert(LUT2D_OK == 0 && LUT2D_ERR_NULL_CONFIG == 10, "status values");
_Static_assert(sizeof(Lut2DImageData) == 2 * sizeof(uint8_t*), "two plane pointers");
_Static_assert(LUT2D_VERSION ==
                   LUT2D_VERSION_MAJOR * 10000 + LUT2D_VERSION_MINOR * 100 + LUT2D_VERSION_PATCH,
               "version number");

int (*const lut2d_c_init)(void**, ISP2DLUTInStruct_V10*, Lut2DImageInfo, Lut2DMode) = InitLut2D;
int (*const lut2d_c_process)(void*, Lut2DImageData*, unsigned int) = processLut2d;
int (*const lut2d_c_release)(void*) = releaseLut2d;
int (*const lut2d_c_abort)(void*) = AbortLut2d;
const char lut2d_c_version[] = LUT2D_VERSION_STRING;
