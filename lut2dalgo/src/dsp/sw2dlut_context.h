// DSP context: one connection with the DSP module and the shared buffers of one frame
// geometry. SW2DLUTInit opens and initialises the connection, SW2DLUTExecute runs one frame,
// SW2DLUTDeinit closes it again; each remote call is timed and its time logged in
// microseconds.
#pragma once

#include <cstdint>

#include "../common/lut2d_export.h"
#include "../interface/orvix_lut2d.h"
#include "remote_runtime.h"

// Lives in shared memory. The frame and scratch buffers are filled in and freed by their
// owner (the engine's DSP members), never by SW2DLUTDeinit.
struct SW2DLUTContext {
    remote_handle64 handle;  // 0 when no connection is open
    uint32_t init_param;     // handed to the module's init method
    uint32_t width;          // pixels
    uint32_t height;         // rows
    uint32_t stride;         // row pitch of the shared frame buffers: width rounded up to 256
    uint16_t mode;           // Lut2DMode
    uint8_t* in_buf;         // packed input frame, (3 * height * stride) / 2 bytes
    uint8_t* out_buf;        // packed output frame, the same size
    uint16_t* scratch_buf;   // height * stride 16-bit elements
};

extern "C" {

// Opens a context; null when the record cannot be allocated or the module cannot be opened
// or initialised (nothing is left behind then).
LUT2D_EXPORT SW2DLUTContext* SW2DLUTInit(uint16_t mode, uint32_t init_param, uint32_t width,
                                         uint32_t height);

// Runs the DSP over in_buf into out_buf with the tables of `record`. 0, or
// LUT2D_ERR_DSP (9) when the remote execute fails or the context is null.
LUT2D_EXPORT int SW2DLUTExecute(SW2DLUTContext* context, const ISP2DLUTInStruct_V10* record);

// Deinitialises and closes the connection and frees the record: 0, or 9 for a null context.
LUT2D_EXPORT int SW2DLUTDeinit(SW2DLUTContext* context);

}  // extern "C"
