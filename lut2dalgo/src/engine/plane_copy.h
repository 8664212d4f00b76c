// Plane copy thread bodies for hosts.
//
// copyInputData_MT copies a packed semi-planar 8-bit frame (row pitch = width) into strided
// luma and chroma planes; copyOutputData_MT copies strided planes back into a packed frame.
// Each takes one CopyThreadArgs record, so a host can start one thread per band of rows
// (os_thread_create), each with band-relative plane pointers and a band height.
#pragma once

#include "sw_2dlut_v10.h"

extern "C" {

// Packed to strided. With stride != width every row is followed by its last two bytes once
// more (on a chroma row: the last Cb/Cr pair); bytes from width + 2 to stride are left alone.
// With stride == width the planes are copied whole: height * stride luma bytes and
// (height * stride) / 2 chroma bytes. Returns null.
LUT2D_EXPORT void* copyInputData_MT(void* args);

// Strided to packed: width bytes per row, height luma rows and height / 2 chroma rows, nothing
// past a row. With stride == width the same two whole-plane copies. Returns null.
LUT2D_EXPORT void* copyOutputData_MT(void* args);

}  // extern "C"
