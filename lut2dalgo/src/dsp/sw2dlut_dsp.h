// The remote interface "sw2dlut_dsp": the host side of the DSP module that runs the colour
// adjustment, as exported functions, and the wire layout of its methods.
//
// Calling order over one connection: sw2dlut_dsp_open, sw2dlut_dsp_init, any number of
// sw2dlut_dsp_execute, sw2dlut_dsp_deinit, sw2dlut_dsp_close. Every function returns the
// runtime's result, 0 on success, or -1 when the process has no runtime. Large arrays travel as
// remote buffers and are never copied here: the tables point into the caller's tuning record, and
// the frame and scratch buffers should be shared memory (rpcmem_alloc) so that the runtime can map
// them.
#pragma once

#include <cstdint>

#include "../common/lut2d_export.h"
#include "remote_runtime.h"

// The module file, its dispatch entry, module version and domain.
inline constexpr const char* kSw2dlutDspUri =
    "file:///libsw2dlut_dsp_skel.so?sw2dlut_dsp_skel_handle_invoke&_modver=1.0&_dom=cdsp";

// A sequence of 16-bit values: element pointer and signed 32-bit element count. Its wire
// length is twice the count.
struct sw2dlut_dsp_u16_seq {
    const uint16_t* data;
    int32_t dataLen;
};
struct sw2dlut_dsp_s16_seq {
    const int16_t* data;
    int32_t dataLen;
};
struct sw2dlut_dsp_scratch_seq {  // written by the DSP, never read back
    uint16_t* data;
    int32_t dataLen;
};

// Configuration of one execute call: geometry of the shared frame and the tuning tables.
struct sw2dlut_dsp_config {
    uint16_t height;  // rows
    uint16_t stride;  // row pitch of the shared frame buffers, bytes
    uint16_t mode;    // Lut2DMode
    sw2dlut_dsp_u16_seq lut_1d_h;
    sw2dlut_dsp_u16_seq lut_1d_s;
    sw2dlut_dsp_s16_seq lut_2d_h;
    sw2dlut_dsp_s16_seq lut_2d_s;
    sw2dlut_dsp_u16_seq lut_1d_h_inv;
    sw2dlut_dsp_u16_seq lut_1d_s_inv;
    uint16_t h_shift;
    uint16_t s_shift;
    uint16_t l_boundary_start_A;
    uint16_t l_boundary_start_B;
    uint16_t l_boundary_end_A;
    uint16_t l_boundary_end_B;
    uint16_t l_boundary_start_inv;
    uint16_t l_boundary_end_inv;
};

// Scratch space of the DSP: four sequences, which may overlap.
struct sw2dlut_dsp_scratch {
    sw2dlut_dsp_scratch_seq seq0;
    sw2dlut_dsp_scratch_seq seq1;
    sw2dlut_dsp_scratch_seq seq2;
    sw2dlut_dsp_scratch_seq seq3;
};

extern "C" {

LUT2D_EXPORT int sw2dlut_dsp_open(const char* uri, remote_handle64* handle);
LUT2D_EXPORT int sw2dlut_dsp_close(remote_handle64 handle);

// Method 2: one 4-byte input, the init value (the module's to interpret).
LUT2D_EXPORT int sw2dlut_dsp_init(remote_handle64 handle, uint32_t value);

// Method 3: processes the packed frame `in` into `out` and stores the DSP's time in
// microseconds in *dspTime (only on success). A negative sequence count or length stops the
// process.
LUT2D_EXPORT int sw2dlut_dsp_execute(remote_handle64 handle, const sw2dlut_dsp_config* config,
                                     sw2dlut_dsp_scratch* scratch, const uint8_t* in,
                                     int32_t inLength, uint8_t* out, int32_t outLength,
                                     uint64_t* dspTime);

// Method 4: no arguments.
LUT2D_EXPORT int sw2dlut_dsp_deinit(remote_handle64 handle);

}  // extern "C"

// ---- wire format --------------------------------------------------------------------------
namespace sw2dlut_dsp_wire {

inline constexpr uint32_t kMethodInit = 2;
inline constexpr uint32_t kMethodExecute = 3;
inline constexpr uint32_t kMethodDeinit = 4;

inline constexpr uint32_t kInitScalars = lut2d::remote::scalars(kMethodInit, 1, 0);
inline constexpr uint32_t kExecuteScalars = lut2d::remote::scalars(kMethodExecute, 8, 6);
inline constexpr uint32_t kDeinitScalars = lut2d::remote::scalars(kMethodDeinit, 0, 0);
static_assert(kInitScalars == 0x02010000 && kExecuteScalars == 0x03080600 &&
              kDeinitScalars == 0x04000000);

// Primary input of execute, little-endian (the layout in memory on the supported targets).
struct ExecutePrimaryIn {
    uint16_t height;
    uint16_t stride;
    uint16_t mode;
    uint16_t zero;             // alignment
    int32_t tableCounts[6];    // lut_1d_h, lut_1d_s, lut_2d_h, lut_2d_s, lut_1d_h_inv, ..s_inv
    uint16_t values[8];        // h_shift .. l_boundary_end_inv, in configuration order
    int32_t scratchCounts[4];  // sequences 0 to 3
    int32_t inLength;          // bytes of the input frame
    int32_t outLength;         // bytes of the output frame
};
static_assert(sizeof(ExecutePrimaryIn) == 72);
static_assert(offsetof(ExecutePrimaryIn, tableCounts) == 8);
static_assert(offsetof(ExecutePrimaryIn, values) == 32);
static_assert(offsetof(ExecutePrimaryIn, scratchCounts) == 48);
static_assert(offsetof(ExecutePrimaryIn, inLength) == 64);
static_assert(offsetof(ExecutePrimaryIn, outLength) == 68);

// Remote arguments of execute: 8 inputs, then 6 outputs.
enum ExecuteArg : uint32_t {
    kPrimaryIn = 0,
    kFirstTable = 1,  // six tables, 1 to 6, in configuration order
    kInFrame = 7,
    kPrimaryOut = 8,    // 8 bytes: the DSP's time in microseconds
    kFirstScratch = 9,  // four scratch sequences, 9 to 12
    kOutFrame = 13,
    kExecuteArgCount = 14,
};

}  // namespace sw2dlut_dsp_wire
