// Thread bodies of the two processing modes, one band of rows each.
#pragma once

#include "../kernel/colour_batch.h"
#include "sw_2dlut_v10.h"

namespace lut2d {

// What a band worker receives: the band's argument record and the frame's colour kernel
// (its tables, prepared once per frame, and the form that runs it on this machine).
struct BandJob {
    Lut2DThreadArgs args;
    const BatchTables* tables;
    ColourKernel kernel;
};

}  // namespace lut2d

// Low-resolution mode: one adjusted colour per 2x2 block, chroma rewritten in place, luma
// change written to the quarter-size offset plane. The argument is a lut2d::BandJob.
void* run2dlut_fx_yDs(void* arg);

// Full-resolution mode: every pixel adjusted with upsampled chroma, luma rewritten in place,
// the new chroma written to the driver's result buffer. The argument is a lut2d::BandJob.
void* run2dlut_fx_ChrUs(void* arg);
