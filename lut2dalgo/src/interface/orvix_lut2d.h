// liborvix_lut2d: two-dimensional hue/saturation look-up-table colour adjustment of 8-bit
// YUV 4:2:0 semi-planar frames, in place.
//
// This is the header a camera host includes. It declares the tuning record, the frame
// records, the processing modes, the status codes and the four handle functions.
//
//   void* h = nullptr;
//   int st = InitLut2D(&h, &record, info, LUT2D_MODE_CHRUS);   // record must outlive h
//   st = processLut2d(h, &frame, 0);                            // once per frame
//   releaseLut2d(h);
#pragma once

#include <cstddef>
#include <cstdint>

#include "../common/lut2d_export.h"

// ---------------------------------------------------------------------------------------
// Tuning record: a little-endian binary record of exactly 1784 bytes made only of 16-bit
// fields, with no padding. Shared byte for byte with the host and with the DSP module.
//
// Units: hue 0..12288 (12288 is a full turn; red 0, green 4096, blue 8192), saturation
// 0..2048 (2048 = fully saturated), lightness = max + min of the 10-bit R, G, B (0..2046).
// Grid entry for hue node i (0..24) and saturation node j (0..15) is at index i * 16 + j.
// ---------------------------------------------------------------------------------------
struct ISP2DLUTInStruct_V10 {
    uint16_t enable;                  // 1: frames are adjusted; 0: frames pass through
    int16_t lut_2d_h[400];            // hue offset per node, in steps of 2^h_shift
    int16_t lut_2d_s[400];            // saturation offset per node, steps of 2^s_shift
    uint16_t lut_1d_h[25];            // hue coordinate of each hue node
    uint16_t lut_1d_s[16];            // saturation coordinate of each saturation node
    uint16_t lut_1d_h_inv[24];        // 16384 / width of hue interval i
    uint16_t lut_1d_s_inv[15];        // 2048 / width of saturation interval j
    uint16_t h_shift;                 // 0..5; read as a signed amount by the interpolation
    uint16_t s_shift;                 // 0..3; read as a signed amount by the interpolation
    uint16_t l_boundary_start_A;      // at or below: no adjustment
    uint16_t l_boundary_start_B;      // from here: full adjustment
    uint16_t l_boundary_end_A;        // up to here: full adjustment
    uint16_t l_boundary_end_B;        // at or above: no adjustment
    uint16_t y_blend_factor_integer;  // reserved, validated only (0..16)
    uint16_t K_b_integer;             // reserved, validated only (0..255)
    uint16_t K_r_integer;             // reserved, validated only (0..255)
    uint16_t l_boundary_start_inv;    // 2048 / (l_boundary_start_B - l_boundary_start_A)
    uint16_t l_boundary_end_inv;      // 2048 / (l_boundary_end_B - l_boundary_end_A)
};

static_assert(sizeof(ISP2DLUTInStruct_V10) == 1784, "tuning record is 1784 bytes");
static_assert(alignof(ISP2DLUTInStruct_V10) == 2, "tuning record holds 16-bit fields only");
static_assert(offsetof(ISP2DLUTInStruct_V10, enable) == 0);
static_assert(offsetof(ISP2DLUTInStruct_V10, lut_2d_h) == 2);
static_assert(offsetof(ISP2DLUTInStruct_V10, lut_2d_s) == 802);
static_assert(offsetof(ISP2DLUTInStruct_V10, lut_1d_h) == 1602);
static_assert(offsetof(ISP2DLUTInStruct_V10, lut_1d_s) == 1652);
static_assert(offsetof(ISP2DLUTInStruct_V10, lut_1d_h_inv) == 1684);
static_assert(offsetof(ISP2DLUTInStruct_V10, lut_1d_s_inv) == 1732);
static_assert(offsetof(ISP2DLUTInStruct_V10, h_shift) == 1762);
static_assert(offsetof(ISP2DLUTInStruct_V10, s_shift) == 1764);
static_assert(offsetof(ISP2DLUTInStruct_V10, l_boundary_start_A) == 1766);
static_assert(offsetof(ISP2DLUTInStruct_V10, l_boundary_start_B) == 1768);
static_assert(offsetof(ISP2DLUTInStruct_V10, l_boundary_end_A) == 1770);
static_assert(offsetof(ISP2DLUTInStruct_V10, l_boundary_end_B) == 1772);
static_assert(offsetof(ISP2DLUTInStruct_V10, y_blend_factor_integer) == 1774);
static_assert(offsetof(ISP2DLUTInStruct_V10, K_b_integer) == 1776);
static_assert(offsetof(ISP2DLUTInStruct_V10, K_r_integer) == 1778);
static_assert(offsetof(ISP2DLUTInStruct_V10, l_boundary_start_inv) == 1780);
static_assert(offsetof(ISP2DLUTInStruct_V10, l_boundary_end_inv) == 1782);

// Frame geometry, passed by value (16 bytes).
struct Lut2DImageInfo {
    uint32_t width;   // pixels, nonzero
    uint32_t height;  // rows, nonzero
    uint32_t stride;  // luma and chroma row pitch in bytes, >= width
    uint32_t format;  // chroma byte order: 0 = Cb first (NV12), 1 = Cr first (NV21)
};
static_assert(sizeof(Lut2DImageInfo) == 16);

// One frame: luma plane (height rows of stride bytes) and interleaved chroma plane
// (height / 2 rows of stride bytes). Both are rewritten in place.
struct Lut2DImageData {
    uint8_t* pLuma;
    uint8_t* pChroma;
};

// Processing mode.
enum Lut2DMode : uint32_t {
    LUT2D_MODE_YDS = 0,    // low resolution: one adjusted colour per 2x2 block, luma offsets
    LUT2D_MODE_CHRUS = 1,  // full resolution: every pixel, with upsampled chroma
};

// Status codes returned by every exported function.
enum Lut2DStatus : int {
    LUT2D_OK = 0,
    LUT2D_ERR_NULL_HANDLE = 1,
    LUT2D_ERR_BAD_CONFIG = 2,  // no tuning record, or a record value out of range
    LUT2D_ERR_BAD_GEOMETRY = 3,
    LUT2D_ERR_NULL_PLANE = 4,
    LUT2D_ERR_NO_MEMORY = 5,
    LUT2D_ERR_ABORTED = 6,
    LUT2D_ERR_DSP_EXECUTE = 8,
    LUT2D_ERR_DSP = 9,           // DSP context not created / execute failed / null
    LUT2D_ERR_NULL_CONFIG = 10,  // null tuning record at InitLut2D
};

extern "C" {

// Creates a handle for one geometry, mode and tuning record. The record is not copied: it
// must stay valid for the life of the handle and may be edited between frames. A set-up
// that fails with LUT2D_ERR_NO_MEMORY still stores the handle; release it.
LUT2D_EXPORT int InitLut2D(void** phandle, ISP2DLUTInStruct_V10* cfg, Lut2DImageInfo info,
                           Lut2DMode mode);

// Adjusts one frame in place. Bit 0 of flags: the node positions of the record changed since
// the last frame, rebuild the derived index tables first.
LUT2D_EXPORT int processLut2d(void* handle, Lut2DImageData* image, unsigned int flags);

// Frees everything the handle owns and the handle itself.
LUT2D_EXPORT int releaseLut2d(void* handle);

// From another thread: asks a running processLut2d to stop and waits up to about 500 ms
// for it. Always returns LUT2D_ERR_ABORTED for a non-null handle.
LUT2D_EXPORT int AbortLut2d(void* handle);

}  // extern "C"
