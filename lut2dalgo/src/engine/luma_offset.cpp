// Low-resolution mode, last step: the quarter-size luma offset plane is enlarged to full
// size with the vision library's Gaussian 2x upscale and added to the luma plane.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "../../platform/tessel/tessel.h"
#include "../common/checked_math.h"
#include "../common/luma_offset_add.h"
#include "../common/lut2d_log.h"
#include "band_workers.h"
#include "luma_offset.h"
#include "sw_2dlut_v10.h"
#if defined(LUT2D_PORTABLE_TESSEL)
#include "../../platform/tessel/tessel_rows.h"
#endif

namespace {

constexpr int kTesselCpuFast = 3;

}  // namespace

namespace lut2d {

bool beginOffsetAddition(uint32_t width, uint32_t stride, uint32_t height, uint8_t** temporary) {
    const uint8_t modeStatus = static_cast<uint8_t>(tslSetOperationMode(kTesselCpuFast));
    if (modeStatus != 0) LUT2D_LOGE("Tessel Error %d in tslSetOperationMode", modeStatus);

    // The enlarged plane holds four bytes per offset; its size must fit in 32 bits.
    const uint32_t samples = checkedMul<uint32_t>(stride, height);
    const uint32_t bytes = checkedMul<uint32_t>(samples, 4u);
    *temporary = static_cast<uint8_t*>(std::malloc(bytes));
    if (*temporary == nullptr) {
        LUT2D_LOGE("%s: %d: malloc failed \n", "YOffsetAddition_tessel", 1737);
        return false;
    }
    // The strided upscale's destination pitch, twice the stride, must fit too.
    if (width != stride) (void)checkedMul<uint32_t>(checkedCast<int32_t>(stride), 2u);
    return true;
}

#if defined(LUT2D_PORTABLE_TESSEL)
// The rows of the upscale added straight to the luma plane: what YOffsetAddition_tessel
// leaves there, the temporary's row padding being "no change".
void addUpscaledOffsetRows(const uint8_t* offsets, uint8_t* luma, uint32_t width, uint32_t stride,
                           uint32_t height, uint32_t rowBegin, uint32_t rowEnd) {
    const uint32_t columns = width == stride ? stride : std::min(width, stride);
    tessel::scaleUpBy2Gaussian5x5AddRows(offsets, columns, height, stride, luma, 2 * stride,
                                         rowBegin, rowEnd);
}
#else
void addUpscaledOffsetRows(const uint8_t*, uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t,
                           uint32_t) {}  // the driver calls YOffsetAddition_tessel
#endif

}  // namespace lut2d

int SW_2DLut_v10::YOffsetAddition_tessel(unsigned char* offsets, unsigned char* luma,
                                         unsigned int width, unsigned int stride,
                                         unsigned int height) {
    uint8_t* upscaled = nullptr;
    if (!lut2d::beginOffsetAddition(width, stride, height, &upscaled)) return LUT2D_ERR_NO_MEMORY;
    const uint32_t bytes = 4 * stride * height;  // checked by beginOffsetAddition

    if (width == stride) {
        tslScaleUpBy2Gaussian5x5u8(offsets, stride, height, upscaled);
    } else {
        const uint32_t pitch = 2 * stride;  // checked by beginOffsetAddition
        // Columns the upscale does not write (row padding) hold "no change".
        // A width beyond the pitch (a caller error) is cut to the pitch.
        const uint32_t cols = std::min(width, stride);
        const size_t written = size_t{2} * cols;
        for (size_t row = 0; row < size_t{2} * height; ++row) {
            std::memset(upscaled + row * pitch + written, 128, pitch - written);
        }
        tslScaleUpBy2Gaussian5x5u8_v2(offsets, cols, height, stride, upscaled, pitch);
    }

    // Independent byte operations over the whole span, 16 bytes at a time.
    if (bytes != 0) lut2d::addLumaOffsets(luma, upscaled, bytes);
    std::free(upscaled);
    return LUT2D_OK;
}
