// Low-resolution mode, last step: the quarter-size luma offset plane is enlarged to full
// size with the vision library's Gaussian 2x upscale and added to the luma plane.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "../../platform/tessel/tessel.h"
#include "../common/checked_math.h"
#include "../common/lut2d_log.h"
#include "sw_2dlut_v10.h"

namespace {

constexpr int kTesselCpuFast = 3;
constexpr size_t kVectorBytes = 16;

// luma + (offset - 128), saturated to 0 .. 255. An offset of 128 leaves the sample as it is.
inline uint8_t addOffset(uint8_t luma, uint8_t offset) {
    const int32_t v = int32_t{luma} + int32_t{offset} - 128;
    return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

// Independent byte operations, a whole 16-byte vector at a time where the span allows.
void addOffsets(uint8_t* luma, const uint8_t* offsets, size_t count) {
    size_t i = 0;
    for (; i + kVectorBytes <= count; i += kVectorBytes) {
        for (size_t k = 0; k < kVectorBytes; ++k)
            luma[i + k] = addOffset(luma[i + k], offsets[i + k]);
    }
    for (; i < count; ++i) luma[i] = addOffset(luma[i], offsets[i]);
}

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

    if (bytes != 0) addOffsets(luma, upscaled, bytes);
    std::free(upscaled);
    return LUT2D_OK;
}
