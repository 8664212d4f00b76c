// The entry points of the DSP remote-call runtime that the DSP back-end uses.
//
// On Android the platform provides them; on Linux hosts an emulation (host/dsp_runtime) does,
// which the tests load. The library binds them weakly: it loads into a process without the
// runtime, and its DSP functions then fail (lut2d::haveRuntime). The binary conventions are
// the runtime's: a 64-bit connection handle, remote arguments of 16 bytes (buffer pointer and
// length in bytes), and a 32-bit scalars word per call that gives the method number and the
// numbers of buffers.
#pragma once

#include <cstddef>
#include <cstdint>

typedef uint64_t remote_handle64;

struct remote_buf {
    void* pv;     // buffer
    size_t nLen;  // length in bytes
};

union remote_arg {
    remote_buf buf;
    remote_handle64 h64;
};
static_assert(sizeof(remote_arg) == 16, "a remote argument is a pointer and a 64-bit length");

namespace lut2d::remote {

// Fields of the scalars word.
inline constexpr uint32_t scalars(uint32_t method, uint32_t inBuffers, uint32_t outBuffers) {
    return (method & 0x1Fu) << 24 | (inBuffers & 0xFFu) << 16 | (outBuffers & 0xFFu) << 8;
}
inline constexpr uint32_t method(uint32_t sc) {
    return (sc >> 24) & 0x1Fu;
}
inline constexpr uint32_t inBuffers(uint32_t sc) {
    return (sc >> 16) & 0xFFu;
}
inline constexpr uint32_t outBuffers(uint32_t sc) {
    return (sc >> 8) & 0xFFu;
}
inline constexpr uint32_t inHandles(uint32_t sc) {
    return (sc >> 4) & 0xFu;
}
inline constexpr uint32_t outHandles(uint32_t sc) {
    return sc & 0xFu;
}
inline constexpr uint32_t reservedBits(uint32_t sc) {
    return sc >> 29;
}

}  // namespace lut2d::remote

#if defined(LUT2D_BUILDING_LIBRARY)
#define LUT2D_RUNTIME_ENTRY __attribute__((weak))
#else
#define LUT2D_RUNTIME_ENTRY
#endif

extern "C" {

// Opens a connection to the module named by `uri`; stores the handle in *handle. 0 on success.
LUT2D_RUNTIME_ENTRY int remote_handle64_open(const char* uri, remote_handle64* handle);

// Calls one method: `args` holds the input buffers, then the output buffers, as counted in
// `scalars`. Returns the method's result, 0 on success.
LUT2D_RUNTIME_ENTRY int remote_handle64_invoke(remote_handle64 handle, uint32_t scalars,
                                               remote_arg* args);

LUT2D_RUNTIME_ENTRY int remote_handle64_close(remote_handle64 handle);

// Memory that the runtime maps to the DSP instead of copying. Returns null on failure.
LUT2D_RUNTIME_ENTRY void* rpcmem_alloc(int heapid, uint32_t flags, int size);
LUT2D_RUNTIME_ENTRY void rpcmem_free(void* block);

}  // extern "C"
