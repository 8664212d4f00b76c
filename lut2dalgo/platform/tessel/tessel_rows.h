// Row-range forms of the portable Gaussian 2x upscale, for the library's own frame driver:
// they let the upscale (and the addition to the luma plane that follows it) be split across
// threads by bands of output rows. Hidden: they are not part of the vision library's
// interface and exist only when the portable implementation is built in.
#pragma once

#include <cstdint>

namespace lut2d::tessel {

// Writes output rows [rowBegin, rowEnd) of tslScaleUpBy2Gaussian5x5u8_v2(src, srcWidth,
// srcHeight, srcStride, dst, dstStride): output row y goes to dst + y * dstStride, 2 srcWidth
// bytes of it, and nothing else is written. Every output row depends only on the source, so
// writing each range of any partition of [0, 2 srcHeight) gives exactly the bytes of the
// whole-plane call, and ranges may be written concurrently. rowEnd is cut to 2 srcHeight; an
// empty range or an empty plane writes nothing. Returns 0.
int scaleUpBy2Gaussian5x5Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride,
                              uint32_t rowBegin, uint32_t rowEnd);

// The same output rows, added to luma rows [rowBegin, rowEnd) instead of stored: each of the
// first 2 srcWidth bytes of row y (at luma + y * lumaStride) becomes luma + (upscaled - 128),
// saturated to 0 .. 255 (lut2d::addLumaOffset), and the rest of the row is left alone. No
// full-size temporary: each row is produced in column chunks in a small stack buffer.
//
// Over all rows, with srcWidth = min(width, stride) and lumaStride = 2 stride, this leaves the
// luma plane exactly as SW_2DLut_v10::YOffsetAddition_tessel(src, luma, width, stride,
// srcHeight) does (which adds 128, no change, wherever the upscale writes nothing).
void scaleUpBy2Gaussian5x5AddRows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* luma, uint32_t lumaStride,
                                  uint32_t rowBegin, uint32_t rowEnd);

}  // namespace lut2d::tessel
