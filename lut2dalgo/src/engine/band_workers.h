// Thread bodies of the two processing modes, one band of rows each.
#pragma once

// Low-resolution mode: one adjusted colour per 2x2 block, chroma rewritten in place, luma
// change written to the quarter-size offset plane. The argument is a Lut2DThreadArgs.
void* run2dlut_fx_yDs(void* arg);

// Full-resolution mode: every pixel adjusted with upsampled chroma, luma rewritten in place,
// the new chroma written to the driver's result buffer. The argument is a Lut2DThreadArgs.
void* run2dlut_fx_ChrUs(void* arg);
