// Row copies between packed and strided semi-planar frames, shared by the exported copy
// thread bodies and by the DSP back-end's packing of frames into shared memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sw_2dlut_v10.h"

namespace lut2d {

// How many bytes may be touched from the start of each strided plane. The copies never go
// past these, whatever the geometry: a row that would run over the end is cut short there.
struct StridedRoom {
    size_t luma;
    size_t chroma;
};

// Packed to strided, as described for copyInputData_MT, on the planes of `args`:
// height * stride must fit in 32 bits and, when the pitches differ, width must be at least 2
// (else the process stops).
void packFrame(const CopyThreadArgs& args, StridedRoom room);

// Strided to packed, as described for copyOutputData_MT; height * stride must fit in 32 bits.
void unpackFrame(const CopyThreadArgs& args, StridedRoom room);

}  // namespace lut2d
