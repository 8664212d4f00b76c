// The tuning record's shape and units: the grid of 25 hue nodes by 16 saturation nodes, the
// units of hue, saturation and lightness, and the fixed-point scale of the reciprocal fields.
// The library, its DSP context and the tool name the record through these, never through bare
// numbers; the record's binary layout itself is the public header's.
#pragma once

#include <cstdint>
#include <type_traits>

#include "orvix_lut2d.h"

namespace lut2d {

// ---- shape -------------------------------------------------------------------------------

inline constexpr int kHueNodes = 25;
inline constexpr int kSatNodes = 16;
// Interval i lies between nodes i and i + 1; the last node starts no interval of its own.
inline constexpr int kHueIntervals = kHueNodes - 1;
inline constexpr int kSatIntervals = kSatNodes - 1;
// lut_2d_h and lut_2d_s: one row of kSatNodes entries per hue node.
inline constexpr int kGridEntries = kHueNodes * kSatNodes;

// The entry of hue node i and saturation node j in either grid: the saturation runs fastest.
inline constexpr uint32_t gridEntry(uint32_t hueNode, uint32_t satNode) {
    return hueNode * kSatNodes + satNode;
}

static_assert(std::extent_v<decltype(ISP2DLUTInStruct_V10::lut_1d_h)> == kHueNodes);
static_assert(std::extent_v<decltype(ISP2DLUTInStruct_V10::lut_1d_s)> == kSatNodes);
static_assert(std::extent_v<decltype(ISP2DLUTInStruct_V10::lut_1d_h_inv)> == kHueIntervals);
static_assert(std::extent_v<decltype(ISP2DLUTInStruct_V10::lut_1d_s_inv)> == kSatIntervals);
static_assert(std::extent_v<decltype(ISP2DLUTInStruct_V10::lut_2d_h)> == kGridEntries);
static_assert(std::extent_v<decltype(ISP2DLUTInStruct_V10::lut_2d_s)> == kGridEntries);

// ---- units -------------------------------------------------------------------------------

// Hue: a full turn of six sixths of 2^11 units (red 0, yellow 2048, green 4096, blue 8192;
// 12288 is red again).
inline constexpr int kHueSixthBits = 11;
inline constexpr int kHueTurn = 6 << kHueSixthBits;
// Saturation: 2^11 units are full saturation.
inline constexpr int kSatBits = 11;
inline constexpr int kSatFull = 1 << kSatBits;
// Lightness, the largest plus the smallest of three 10-bit components: 0 .. kLightnessMax.
// The lightness weight table has an entry for every lightness below kLightnessValues.
inline constexpr int kLightnessMax = 2046;
inline constexpr int kLightnessValues = 2048;

// The reciprocal fields hold one whole interval divided by its width: weights with 14
// fraction bits along hue, 11 along saturation and 11 for lightness, where 2048 applies the
// offsets in full.
inline constexpr int kHueWeightBits = 14;
inline constexpr int kSatWeightBits = 11;
inline constexpr int kLightWeightBits = 11;
inline constexpr int kHueInvFull = 1 << kHueWeightBits;      // lut_1d_h_inv = 16384 / width
inline constexpr int kSatInvFull = 1 << kSatWeightBits;      // lut_1d_s_inv = 2048 / width
inline constexpr int kLightInvFull = 1 << kLightWeightBits;  // l_boundary_*_inv = 2048 / width

// A reciprocal field's value for a node spacing or a ramp of `width`: full / width, truncated,
// so that a weight never exceeds one whole interval; 0 for a width that is not positive.
inline constexpr int32_t spacingReciprocal(int32_t full, int32_t width) {
    return width > 0 ? full / width : 0;
}

// The record that changes nothing: enabled, hue nodes every 512 units (15 degrees), saturation
// nodes j * 2048 / 15, every offset 0, no shifts, lightness ramps 0 -> 128 and 1918 -> 2046,
// every reciprocal matching its spacing. The tool starts its records from it, and the tests
// and benchmarks their tunings.
inline constexpr ISP2DLUTInStruct_V10 neutralRecord() {
    ISP2DLUTInStruct_V10 r{};
    r.enable = 1;
    for (int i = 0; i < kHueNodes; ++i) {
        r.lut_1d_h[i] = static_cast<uint16_t>(i * kHueTurn / kHueIntervals);
    }
    for (int j = 0; j < kSatNodes; ++j) {
        r.lut_1d_s[j] = static_cast<uint16_t>(j * kSatFull / kSatIntervals);
    }
    for (int i = 0; i < kHueIntervals; ++i) {
        r.lut_1d_h_inv[i] = static_cast<uint16_t>(
            spacingReciprocal(kHueInvFull, r.lut_1d_h[i + 1] - r.lut_1d_h[i]));
    }
    for (int j = 0; j < kSatIntervals; ++j) {
        r.lut_1d_s_inv[j] = static_cast<uint16_t>(
            spacingReciprocal(kSatInvFull, r.lut_1d_s[j + 1] - r.lut_1d_s[j]));
    }
    r.l_boundary_start_A = 0;
    r.l_boundary_start_B = 128;
    r.l_boundary_end_A = 1918;
    r.l_boundary_end_B = kLightnessMax;
    r.l_boundary_start_inv = static_cast<uint16_t>(
        spacingReciprocal(kLightInvFull, r.l_boundary_start_B - r.l_boundary_start_A));
    r.l_boundary_end_inv = static_cast<uint16_t>(
        spacingReciprocal(kLightInvFull, r.l_boundary_end_B - r.l_boundary_end_A));
    return r;
}

}  // namespace lut2d
