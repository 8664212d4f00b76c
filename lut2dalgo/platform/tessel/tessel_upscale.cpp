// Portable implementation of the vision library's Gaussian 2x upscale (the arithmetic is in
// tessel_rows_body.h), with the row-range forms the library's frame driver uses. On x86-64
// processors with AVX2 the rows are made sixteen columns at a time (chosen at run time).

#include "tessel.h"
#include "tessel_rows.h"
#include "tessel_rows_body.h"

namespace lut2d::tessel {

#if defined(__x86_64__)
// tessel_rows_avx2.cpp
void outputRowRangeAvx2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                        uint8_t* dst, uint32_t dstStride, size_t rowBegin, size_t rowEnd, bool add);
#endif

// The rows in this machine's best form.
void rowRange(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
              uint32_t dstStride, size_t rowBegin, size_t rowEnd, bool add) {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2") != 0;
    if (avx2) {
        outputRowRangeAvx2(src, width, height, srcStride, dst, dstStride, rowBegin, rowEnd, add);
        return;
    }
#endif
    if (add) {
        portable::outputRowRange<true>(src, width, height, srcStride, dst, dstStride, rowBegin,
                                       rowEnd);
    } else {
        portable::outputRowRange<false>(src, width, height, srcStride, dst, dstStride, rowBegin,
                                        rowEnd);
    }
}

int scaleUpBy2Gaussian5x5Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride,
                              uint32_t rowBegin, uint32_t rowEnd) {
    rowRange(src, srcWidth, srcHeight, srcStride, dst, dstStride, rowBegin, rowEnd, false);
    return 0;
}

void scaleUpBy2Gaussian5x5AddRows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* luma, uint32_t lumaStride,
                                  uint32_t rowBegin, uint32_t rowEnd) {
    rowRange(src, srcWidth, srcHeight, srcStride, luma, lumaStride, rowBegin, rowEnd, true);
}

}  // namespace lut2d::tessel

extern "C" {

int tslSetOperationMode(int mode) {
    return mode >= 0 && mode <= 3 ? 0 : -1;
}

int tslScaleUpBy2Gaussian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint8_t* dst) {
    lut2d::tessel::rowRange(src, srcWidth, srcHeight, srcWidth, dst, 2 * srcWidth, 0, SIZE_MAX,
                            false);
    return 0;
}

int tslScaleUpBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lut2d::tessel::rowRange(src, srcWidth, srcHeight, srcStride, dst, dstStride, 0, SIZE_MAX,
                            false);
    return 0;
}
}
