/* liborvix_lut2d: two-dimensional hue/saturation look-up-table colour adjustment of 8-bit
 * YUV 4:2:0 semi-planar frames, in place.
 *
 * This is the header a camera host includes, from C (C11 or later) or C++. It declares the
 * tuning record, the frame records, the processing modes, the status codes, the four handle
 * functions and the library's version.
 *
 *   void* h = NULL;
 *   int st = InitLut2D(&h, &record, info, LUT2D_MODE_CHRUS);   // record must outlive h
 *   st = processLut2d(h, &frame, 0);                            // once per frame
 *   releaseLut2d(h);
 */
#ifndef ORVIX_LUT2D_H
#define ORVIX_LUT2D_H

#include <stddef.h>
#include <stdint.h>

#include "orvix_lut2d_version.h"

/* The library builds with hidden symbols; these declarations are its binary interface. */
#if defined(LUT2D_BUILDING_LIBRARY)
#define LUT2D_API __attribute__((visibility("default")))
#else
#define LUT2D_API
#endif

#ifdef __cplusplus
#define LUT2D_STATIC_ASSERT(condition, message) static_assert(condition, message)
#define LUT2D_ALIGNOF(type) alignof(type)
extern "C" {
#else
#define LUT2D_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#define LUT2D_ALIGNOF(type) _Alignof(type)
#endif

// ---------------------------------------------------------------------------------------
// Tuning record: a little-endian binary record of exactly 1784 bytes made only of 16-bit
// fields, with no padding. Shared byte for byte with the host and with the DSP module.
//
// Units: hue 0..12288 (12288 is a full turn; red 0, green 4096, blue 8192), saturation
// 0..2048 (2048 = fully saturated), lightness = max + min of the 10-bit R, G, B (0..2046).
// Grid entry for hue node i (0..24) and saturation node j (0..15) is at index i * 16 + j.
// ---------------------------------------------------------------------------------------
typedef struct ISP2DLUTInStruct_V10 {
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
} ISP2DLUTInStruct_V10;

LUT2D_STATIC_ASSERT(sizeof(ISP2DLUTInStruct_V10) == 1784, "tuning record is 1784 bytes");
LUT2D_STATIC_ASSERT(LUT2D_ALIGNOF(ISP2DLUTInStruct_V10) == 2,
                    "tuning record holds 16-bit fields only");
#define LUT2D_FIELD_AT(field, offset)                                    \
    LUT2D_STATIC_ASSERT(offsetof(ISP2DLUTInStruct_V10, field) == offset, \
                        #field " is at byte " #offset)
LUT2D_FIELD_AT(enable, 0);
LUT2D_FIELD_AT(lut_2d_h, 2);
LUT2D_FIELD_AT(lut_2d_s, 802);
LUT2D_FIELD_AT(lut_1d_h, 1602);
LUT2D_FIELD_AT(lut_1d_s, 1652);
LUT2D_FIELD_AT(lut_1d_h_inv, 1684);
LUT2D_FIELD_AT(lut_1d_s_inv, 1732);
LUT2D_FIELD_AT(h_shift, 1762);
LUT2D_FIELD_AT(s_shift, 1764);
LUT2D_FIELD_AT(l_boundary_start_A, 1766);
LUT2D_FIELD_AT(l_boundary_start_B, 1768);
LUT2D_FIELD_AT(l_boundary_end_A, 1770);
LUT2D_FIELD_AT(l_boundary_end_B, 1772);
LUT2D_FIELD_AT(y_blend_factor_integer, 1774);
LUT2D_FIELD_AT(K_b_integer, 1776);
LUT2D_FIELD_AT(K_r_integer, 1778);
LUT2D_FIELD_AT(l_boundary_start_inv, 1780);
LUT2D_FIELD_AT(l_boundary_end_inv, 1782);
#undef LUT2D_FIELD_AT

// Frame geometry, passed by value (16 bytes).
typedef struct Lut2DImageInfo {
    uint32_t width;   // pixels, nonzero
    uint32_t height;  // rows, nonzero
    uint32_t stride;  // luma and chroma row pitch in bytes, >= width
    uint32_t format;  // chroma byte order: 0 = Cb first (NV12), 1 = Cr first (NV21)
} Lut2DImageInfo;
LUT2D_STATIC_ASSERT(sizeof(Lut2DImageInfo) == 16, "geometry is four 32-bit fields");

// One frame: luma plane (height rows of stride bytes) and interleaved chroma plane
// (height / 2 rows of stride bytes). Both are rewritten in place.
typedef struct Lut2DImageData {
    uint8_t* pLuma;
    uint8_t* pChroma;
} Lut2DImageData;

// Processing mode, a 32-bit unsigned value. In C++ an enumeration of its own type, part of
// the exported engine members' signatures; in C the same values in a uint32_t.
#ifdef __cplusplus
enum Lut2DMode : uint32_t {
#else
typedef uint32_t Lut2DMode;
enum {
#endif
    LUT2D_MODE_YDS = 0,    // low resolution: one adjusted colour per 2x2 block, luma offsets
    LUT2D_MODE_CHRUS = 1,  // full resolution: every pixel, with upsampled chroma
};

// Status codes returned by every exported function, as int.
enum Lut2DStatus {
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

// Creates a handle for one geometry, mode and tuning record. The record is not copied: it
// must stay valid for the life of the handle and may be edited between frames. A set-up
// that fails with LUT2D_ERR_NO_MEMORY still stores the handle; release it.
LUT2D_API int InitLut2D(void** phandle, ISP2DLUTInStruct_V10* cfg, Lut2DImageInfo info,
                        Lut2DMode mode);

// Adjusts one frame in place. Bit 0 of flags: the node positions of the record changed since
// the last frame, rebuild the derived index tables first.
LUT2D_API int processLut2d(void* handle, Lut2DImageData* image, unsigned int flags);

// Frees everything the handle owns and the handle itself.
LUT2D_API int releaseLut2d(void* handle);

// From another thread: asks a running processLut2d to stop and waits up to about 500 ms
// for it. Always returns LUT2D_ERR_ABORTED for a non-null handle.
LUT2D_API int AbortLut2d(void* handle);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // ORVIX_LUT2D_H
