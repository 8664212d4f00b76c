// The low-resolution mode's last step, shared by YOffsetAddition_tessel and the frame driver.
#pragma once

#include <cstdint>

namespace lut2d {

// Whether the portable Gaussian upscale is built in, so that the frame driver can have the
// upscale-and-add done by rows on the band threads; with a platform vision library it calls
// YOffsetAddition_tessel, which upscales the whole plane in one call.
#if defined(LUT2D_PORTABLE_TESSEL)
inline constexpr bool kOffsetRowsBuiltIn = true;
#else
inline constexpr bool kOffsetRowsBuiltIn = false;
#endif

// The steps before the upscale, for an offset plane of width x height with rows stride
// apart: the vision library's operation mode (a failure is logged and passed over), the size
// checks that stop the process, and the temporary of 4 x stride x height bytes. Returns false
// after logging when the temporary cannot be allocated (the luma plane is then left as it is);
// otherwise the caller owns *temporary.
bool beginOffsetAddition(uint32_t width, uint32_t stride, uint32_t height, uint8_t** temporary);

}  // namespace lut2d
