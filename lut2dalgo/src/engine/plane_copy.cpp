// Plane copies between packed and strided frames, and the 8-bit / 10-bit planar conversions.

#include "plane_copy.h"

#include <algorithm>
#include <cstring>

#include "../common/checked_math.h"
#include "../common/fatal.h"
#include "../common/int_math.h"
#include "plane_rows.h"

namespace lut2d {

namespace {

// Copies one packed row into its strided place and writes the row's last two bytes again just
// past its end. Nothing at or beyond `room` bytes from the row's start is written.
void packRow(uint8_t* dst, const uint8_t* src, uint32_t width, size_t room) {
    std::memcpy(dst, src, std::min<size_t>(width, room));
    const uint32_t last = checkedSub<uint32_t>(width, 2u);  // a row needs two bytes to repeat
    if (room > width) dst[width] = src[last];
    if (room > size_t{width} + 1) dst[width + 1] = src[last + 1];
}

void packPlane(uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t rows, uint32_t stride,
               size_t room) {
    for (uint32_t r = 0; r < rows; ++r) {
        const size_t at = size_t{r} * stride;
        packRow(dst + std::min(at, room), src + size_t{r} * width, width,
                room - std::min(at, room));
    }
}

void unpackPlane(uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t rows, uint32_t stride,
                 size_t room) {
    for (uint32_t r = 0; r < rows; ++r) {
        const size_t at = std::min(size_t{r} * stride, room);
        std::memcpy(dst + size_t{r} * width, src + at, std::min<size_t>(width, room - at));
    }
}

struct PlaneMove {
    uint8_t* dst;
    const uint8_t* src;
};

// Equal pitches: each plane in one piece, height * stride luma bytes and half as many chroma
// bytes (for an odd height, half a row more than height / 2 rows).
void copyWholePlanes(PlaneMove luma, PlaneMove chroma, uint32_t planeBytes, StridedRoom room) {
    std::memcpy(luma.dst, luma.src, std::min<size_t>(planeBytes, room.luma));
    std::memcpy(chroma.dst, chroma.src, std::min<size_t>(planeBytes / 2, room.chroma));
}

}  // namespace

void packFrame(const CopyThreadArgs& a, StridedRoom room) {
    const uint32_t planeBytes = checkedMul<uint32_t>(a.height, a.stride);
    if (a.stride == a.width) {
        copyWholePlanes({a.pStridedLuma, a.pPackedLuma}, {a.pStridedChroma, a.pPackedChroma},
                        planeBytes, room);
        return;
    }
    packPlane(a.pStridedLuma, a.pPackedLuma, a.width, a.height, a.stride, room.luma);
    packPlane(a.pStridedChroma, a.pPackedChroma, a.width, a.height / 2, a.stride, room.chroma);
}

void unpackFrame(const CopyThreadArgs& a, StridedRoom room) {
    const uint32_t planeBytes = checkedMul<uint32_t>(a.height, a.stride);
    if (a.stride == a.width) {
        copyWholePlanes({a.pPackedLuma, a.pStridedLuma}, {a.pPackedChroma, a.pStridedChroma},
                        planeBytes, room);
        return;
    }
    unpackPlane(a.pPackedLuma, a.pStridedLuma, a.width, a.height, a.stride, room.luma);
    unpackPlane(a.pPackedChroma, a.pStridedChroma, a.width, a.height / 2, a.stride, room.chroma);
}

}  // namespace lut2d

namespace {

// The strided planes of a thread's record are its band: height * stride luma bytes and half
// as many chroma bytes, the amount the whole-plane copy moves.
lut2d::StridedRoom bandRoom(const CopyThreadArgs& a) {
    const uint32_t planeBytes = lut2d::checkedMul<uint32_t>(a.height, a.stride);
    return {planeBytes, planeBytes / 2};
}

// An 8-bit sample as a 16-bit planar 10-bit value, and back.
uint16_t planar10(uint8_t v) {
    return static_cast<uint16_t>(lut2d::to10Bit(uint32_t{v}));
}
uint8_t interleaved8(uint16_t v) {
    return static_cast<uint8_t>(lut2d::to8Bit(uint32_t{v}));
}

// Sample indices are signed 32-bit: the last luma index must stay below 2^31 and the last
// chroma byte index (2 * pairs - 1) at or below 2^31 - 1.
void checkSampleCounts(uint32_t lumaCount, uint32_t chromaPairs) {
    if (lumaCount > 0x80000000u || chromaPairs > 0x40000000u) {
        lut2d::fatal("more samples than signed 32-bit indices reach");
    }
}

}  // namespace

extern "C" {

void* copyInputData_MT(void* args) {
    const auto& a = *static_cast<const CopyThreadArgs*>(args);
    lut2d::packFrame(a, bandRoom(a));
    return nullptr;
}

void* copyOutputData_MT(void* args) {
    const auto& a = *static_cast<const CopyThreadArgs*>(args);
    lut2d::unpackFrame(a, bandRoom(a));
    return nullptr;
}

}  // extern "C"

void SW_2DLut_v10::DeinterleaveCbCr(Lut2DImageData* src, ImageData10Bit* dst, uint32_t lumaCount,
                                    uint32_t chromaPairs) {
    checkSampleCounts(lumaCount, chromaPairs);
    for (uint32_t i = 0; i < lumaCount; ++i) dst->pY[i] = planar10(src->pLuma[i]);
    for (uint32_t j = 0; j < chromaPairs; ++j) {
        dst->pCb[j] = planar10(src->pChroma[2 * size_t{j}]);
        dst->pCr[j] = planar10(src->pChroma[2 * size_t{j} + 1]);
    }
}

void SW_2DLut_v10::InterleaveCbCr(ImageData10Bit* src, Lut2DImageData* dst, uint32_t lumaCount,
                                  uint32_t chromaPairs) {
    checkSampleCounts(lumaCount, chromaPairs);
    for (uint32_t i = 0; i < lumaCount; ++i) dst->pLuma[i] = interleaved8(src->pY[i]);
    for (uint32_t j = 0; j < chromaPairs; ++j) {
        dst->pChroma[2 * size_t{j}] = interleaved8(src->pCb[j]);
        dst->pChroma[2 * size_t{j} + 1] = interleaved8(src->pCr[j]);
    }
}
