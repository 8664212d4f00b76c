// The portable Gaussian 2x upscale's rows for x86-64 processors with AVX2.

#define LUT2D_ISA_TAG avx2
#include "tessel_rows_body.h"

namespace lut2d::tessel {

void outputRowRangeAvx2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                        uint8_t* dst, uint32_t dstStride, size_t rowBegin, size_t rowEnd,
                        bool add) {
    if (add) {
        outputRowRange<true>(src, width, height, srcStride, dst, dstStride, rowBegin, rowEnd);
    } else {
        outputRowRange<false>(src, width, height, srcStride, dst, dstStride, rowBegin, rowEnd);
    }
}

}  // namespace lut2d::tessel
