// The frames the benchmarks time: a realistic outdoor scene in several noise variants, as a
// camera's video would deliver them, and a flat frame of one colour; and the tuning record
// they are adjusted with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "interface/orvix_lut2d.h"

namespace lut2d_bench {

struct Size {
    uint32_t width, height;
    size_t pixels() const { return size_t{width} * height; }
};

inline constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}};
inline constexpr int kNoiseVariants = 4;  // consecutive frames of a sequence differ by noise

std::string sizeName(Size s);

// One NV12 frame with stride = width: luma plane, then interleaved Cb, Cr plane.
struct Planes {
    std::vector<uint8_t> luma, chroma;
};

// A synthetic outdoor scene (sky, foliage, grass, road, saturated objects, a sign, skin) in
// kNoiseVariants variants that differ only by sensor noise, made on first use and kept (fixed
// seeds: every run sees the same frames).
const std::vector<Planes>& realisticSequence(Size s);

// The same scene at size s with the detail of a frame of half its width and height: four such
// frames side by side, 2x2, each with noise of its own. Its pixels are like those of the smaller
// frame, only four times as many, where the scene at full size is smoother per pixel (its leaves
// and grass blades span twice the pixels, so fewer of its colours are new).
const std::vector<Planes>& tiledSequence(Size s);

// One colour everywhere: a mid-bright green that the tuning below moves.
const std::vector<Planes>& flatSequence(Size s);

// A tuning that moves every hue and saturation (no grid cell has all-zero offsets, so no pixel
// takes the neutral shortcut) and fades out only in the darkest and brightest tones.
ISP2DLUTInStruct_V10 busyRecord();

}  // namespace lut2d_bench
