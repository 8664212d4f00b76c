// The operations of the platform vision library that the engine uses: an 8-bit 2x upscale
// with 5x5 Gaussian smoothing, packed and strided, and the library's operation mode.
//
// A platform build links the vision library that provides these; other builds use the
// portable implementation next to this header.
#pragma once

#include <cstdint>

extern "C" {

// Selects the operation mode for later calls (3: run on the CPU, favouring speed).
// Returns 0 on success.
int tslSetOperationMode(int mode);

// Enlarges a srcWidth x srcHeight plane with rows of srcWidth bytes to 2 srcWidth x
// 2 srcHeight with rows of 2 srcWidth bytes. Returns 0 on success.
int tslScaleUpBy2Gaussian5x5u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint8_t* dst);

// The same with explicit row pitches; writes only the 2 srcWidth x 2 srcHeight region.
int tslScaleUpBy2Gaussian5x5u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
}
