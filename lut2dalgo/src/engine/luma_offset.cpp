// Low-resolution mode, last step: the quarter-size luma offset plane is enlarged to full
// size with the vision library's Gaussian 2x upscale and added to the luma plane.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "../../platform/tessel/tessel.h"
#include "../common/checked_math.h"
#include "../common/luma_offset_add.h"
#include "../common/lut2d_log.h"
#include "sw_2dlut_v10.h"

namespace {

constexpr int kTesselCpuFast = 3;

}  // namespace

int SW_2DLut_v10::YOffsetAddition_tessel(unsigned char* offsets, unsigned char* luma,
                                         unsigned int width, unsigned int stride,
                                         unsigned int height) {
    const uint8_t modeStatus = static_cast<uint8_t>(tslSetOperationMode(kTesselCpuFast));
    if (modeStatus != 0) LUT2D_LOGE("Tessel Error %d in tslSetOperationMode", modeStatus);

    // The enlarged plane holds four bytes per offset; its size must fit in 32 bits.
    const uint32_t samples = lut2d::checkedMul<uint32_t>(stride, height);
    const uint32_t bytes = lut2d::checkedMul<uint32_t>(samples, 4u);

    auto* upscaled = static_cast<uint8_t*>(std::malloc(bytes));
    if (upscaled == nullptr) {
        LUT2D_LOGE("%s: %d: malloc failed \n", "YOffsetAddition_tessel", 1737);
        return LUT2D_ERR_NO_MEMORY;
    }

    if (width == stride) {
        tslScaleUpBy2Gaussian5x5u8(offsets, stride, height, upscaled);
    } else {
        const uint32_t pitch = lut2d::checkedMul<uint32_t>(lut2d::checkedCast<int32_t>(stride), 2u);
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
