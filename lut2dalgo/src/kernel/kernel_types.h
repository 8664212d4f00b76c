// Types shared by the colour kernel and the engine: the colour-transform record, a result
// cache entry, and the set of tables one colour is computed from.
//
// The kernel reads only what KernelTables names, so the scalar kernel and the batched
// vector kernels take the same small struct rather than the whole engine object.
#pragma once

#include <cstdint>

#include "../interface/orvix_lut2d.h"
#include "../interface/record_shape.h"

// Fixed-point 3x3 colour-space transform parameters (21 signed 16-bit values).
struct CST_params {
    int16_t inOffset[3];   // subtracted from each input before the matrix
    uint16_t outMin[3];    // lower clamp of each output
    uint16_t outMax[3];    // upper clamp of each output
    int16_t coef[9];       // Q10 matrix, row-major: row k gives output k
    int16_t outOffset[3];  // added to each output after the rounding shift
};
static_assert(sizeof(CST_params) == 42);

// One entry of a band worker's result cache: packed output colour and packed input key.
struct HM_RGB {
    uint32_t result;
    uint32_t key;
};
static_assert(sizeof(HM_RGB) == 8);

namespace lut2d {

inline constexpr uint32_t kCstBits = 10;                    // fraction bits of CST_params::coef
inline constexpr uint32_t kDivTableSize = 1024;             // divisors 0..1023
inline constexpr uint32_t kHueIndexEntries = kHueTurn + 1;  // hues 0..12288
inline constexpr uint32_t kSatIndexEntries = kSatFull + 1;  // saturations 0..2048
inline constexpr uint32_t kLightWeightEntries = kLightnessValues;  // lightness 0..2047
inline constexpr uint32_t kCacheEntries = 50000;                   // HM_RGB entries per cache slice
inline constexpr uint32_t kCacheModulus = 49999;                   // index = key mod 49999
// The moved hue is wrapped into the hue range once, then kept to 14 bits (see wrapHue).
inline constexpr int32_t kHueWrapMask = (1 << 14) - 1;

// Everything one colour's adjustment reads: the tuning record (grid, nodes, reciprocals,
// shifts), the division tables (saturation and hue copies), the index tables, the
// lightness weight table and the two transform records.
struct KernelTables {
    const ISP2DLUTInStruct_V10* cfg;
    const uint32_t* recipSat;
    const uint32_t* recipHue;
    const uint32_t* shiftSat;
    const uint32_t* shiftHue;
    const uint16_t* hueIndex;     // kHueIndexEntries entries
    const uint16_t* satIndex;     // kSatIndexEntries entries
    const uint16_t* lightWeight;  // kLightWeightEntries entries
    const CST_params* rgbToYuv;
    const CST_params* yuvToRgb;
};

}  // namespace lut2d
