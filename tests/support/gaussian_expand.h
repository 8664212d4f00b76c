// A direct statement of the Gaussian 2x expand, for checking the luma offset upscale.
#pragma once

#include <cstdint>
#include <vector>

namespace lut2d_test {

// Gaussian 2x expand of a width x height plane (rows `stride` apart) into a
// 2 width x 2 height plane, rounded once.
std::vector<uint8_t> gaussianExpand(const uint8_t* src, uint32_t width, uint32_t height,
                                    uint32_t stride);

}  // namespace lut2d_test
