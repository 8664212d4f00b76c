// Shared memory and frame packing of the DSP back-end (library-internal).
#pragma once

#include <cstdint>

namespace lut2d {

// Whether the process has the DSP remote-call runtime, every entry point of which the library
// binds weakly. Without it the remote interface's functions return kNoRuntime and no shared
// memory can be had.
bool haveRuntime();
inline constexpr int kNoRuntime = -1;

// A block of the runtime's shared memory (system heap, cached), zero or more bytes; null on
// failure or without the runtime. A size beyond the runtime's signed 32-bit size stops the
// process.
void* allocShared(uint32_t bytes);

// Gives a block of allocShared back to the runtime (null included).
void freeShared(void* block);

}  // namespace lut2d

// Packs a frame whose rows are `width` bytes apart into the shared input buffer `dst`:
// height luma rows, then height / 2 chroma rows, `stride` bytes apart. With stride != width
// each row is followed by its last two bytes once more; with stride == width the planes are
// copied whole. height * stride must fit in 32 bits, and width must be at least 2 when the
// pitches differ (else the process stops). Nothing past (3 * height * stride) / 2 is written.
void copyInputData(uint8_t* dst, uint8_t* luma, uint8_t* chroma, uint32_t width, uint32_t height,
                   uint32_t stride);
