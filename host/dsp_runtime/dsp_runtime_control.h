// Test controls of the host emulation of the DSP remote-call runtime.
//
// The emulation records every open, invoke and close, and every shared-memory allocation,
// and can be told to make the next call of a method fail with a given code.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dsp/remote_runtime.h"

namespace dsp_runtime_host {

// Method numbers as the runtime sees them: 0 open and 1 close are its own, 2 and up are the
// module's methods.
inline constexpr uint32_t kOpen = 0;
inline constexpr uint32_t kClose = 1;

// Results of the emulation itself (the module's results are passed through).
inline constexpr int kBadParameter = 0x0E;  // a malformed URI, handle or scalars word
inline constexpr int kNoSuchModule = 0x50;  // the module file or its entry was not found

struct Call {
    uint32_t method = 0;  // kOpen, kClose or the remote method number
    remote_handle64 handle = 0;
    int result = 0;
    std::string uri;       // open only
    uint32_t scalars = 0;  // invoke only, as given
    uint32_t inBuffers = 0;
    uint32_t outBuffers = 0;
    std::vector<const void*> buffers;  // every buffer, inputs first
    std::vector<uint64_t> lengths;     // and its length
    std::vector<bool> inSharedMemory;  // whether each buffer lies within an rpcmem block
    std::vector<uint8_t> primaryIn;    // the bytes of the first input buffer, if any
};

struct Allocation {
    int heap;
    uint32_t flags;
    int size;
};

// Forgets every record and armed failure (live shared blocks stay live).
void reset();

// What happened since the last reset, in order.
std::vector<Call> calls();
std::vector<Allocation> allocations();

// Shared blocks allocated and not yet freed.
size_t liveBlocks();

// The next open (kOpen), close (kClose) or call of remote method `method` returns `code`
// without reaching the module. The call is still recorded.
void failNext(uint32_t method, int code);

// The next rpcmem_alloc returns null.
void failNextAllocation();

}  // namespace dsp_runtime_host
