// The band workers' vector stages for arm64 (Advanced SIMD is always there): the portable
// forms, eight lanes as pairs of 128-bit vectors.

#define LUT2D_ISA_TAG neon
#include "band_rows_body.h"

namespace lut2d {

LUT2D_DEFINE_ROWS(NEON, rows::PortableOps)

}  // namespace lut2d
