// Symbol visibility for liborvix_lut2d.
//
// The library is built with hidden visibility by default; only declarations marked
// LUT2D_EXPORT form its binary interface.
#pragma once

#if defined(LUT2D_BUILDING_LIBRARY)
#define LUT2D_EXPORT __attribute__((visibility("default")))
#else
#define LUT2D_EXPORT
#endif
