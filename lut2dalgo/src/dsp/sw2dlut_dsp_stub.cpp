// Host side of the remote interface "sw2dlut_dsp": marshals init, execute and deinit into
// calls of the DSP remote-call runtime.

#include <cstdlib>
#include <cstring>

#include "../common/checked_math.h"
#include "dsp_internal.h"
#include "sw2dlut_dsp.h"

// Optional debug log of the platform; absent from most processes, so bound weakly.
extern "C" {
__attribute__((weak)) void DRT_debug_v2(int level, const char* file, int line, const char* fmt,
                                        ...);
__attribute__((weak, format(printf, 4, 5))) void DRT_debug_runtime(int level, const char* file,
                                                                   int line, const char* fmt, ...);
}

namespace {

using namespace sw2dlut_dsp_wire;

constexpr int kLogLevelError = 3;
constexpr const char* kSourcePath = "lut2dalgo/src/dsp/sw2dlut_dsp_stub";

// Where each method reports a failure, and under which name.
struct MethodSite {
    uint32_t method;
    uint32_t scalars;
    int line;
    const char* name;
};
constexpr MethodSite kInitSite{kMethodInit, kInitScalars, 314, "_stub_method"};
constexpr MethodSite kExecuteSite{kMethodExecute, kExecuteScalars, 494, "_stub_method_1"};
constexpr MethodSite kDeinitSite{kMethodDeinit, kDeinitScalars, 507, "_stub_method_2"};

// The runtime's calls, or kNoRuntime when the process has no runtime.
int openConnection(const char* uri, remote_handle64* handle) {
    return lut2d::haveRuntime() ? remote_handle64_open(uri, handle) : lut2d::kNoRuntime;
}
int closeConnection(remote_handle64 handle) {
    return lut2d::haveRuntime() ? remote_handle64_close(handle) : lut2d::kNoRuntime;
}
int invoke(remote_handle64 handle, uint32_t scalars, remote_arg* args) {
    return lut2d::haveRuntime() ? remote_handle64_invoke(handle, scalars, args) : lut2d::kNoRuntime;
}

// Returns `result`, logging it first when it is a failure and the platform's debug log exists.
int reported(int result, remote_handle64 handle, const MethodSite& site) {
    if (result != 0 && DRT_debug_v2 != nullptr && DRT_debug_runtime != nullptr) {
        DRT_debug_runtime(kLogLevelError, kSourcePath, site.line,
                          "ERROR 0x%x: handle=0x%lx, scalar=0x%x, method ID=%d: %s failed\n",
                          static_cast<unsigned>(result), static_cast<unsigned long>(handle),
                          site.scalars, static_cast<int>(site.method), site.name);
    }
    return result;
}

// The heap block of one execute call: a link to the next block of a chain (none here), a zero
// word, and the remote arguments.
struct ArgumentBlock {
    ArgumentBlock* next;
    uint64_t zero;
    remote_arg args[kExecuteArgCount];
};
static_assert(sizeof(ArgumentBlock) == 240);

// Kept out of line: after a failed execute the block is deliberately not released, and leak
// checkers recognise it by this function's name in its stack. The caller fills every
// argument.
__attribute__((noinline)) ArgumentBlock* allocateArgumentBlock() {
    auto* block = static_cast<ArgumentBlock*>(std::malloc(sizeof(ArgumentBlock)));
    if (block != nullptr) {
        block->next = nullptr;
        block->zero = 0;
    }
    return block;
}

void releaseArgumentBlocks(ArgumentBlock* block) {
    while (block != nullptr) {
        ArgumentBlock* next = block->next;
        std::free(block);
        block = next;
    }
}

// Wire length of `count` elements of `elementBytes` each; a negative count stops the process.
size_t wireLength(int32_t count, uint32_t elementBytes) {
    return lut2d::checkedMul<uint32_t>(lut2d::checkedCast<uint32_t>(count), elementBytes);
}

// Describes `count` 16-bit elements at `data` and returns the count, for the primary input.
template <typename T>
int32_t describe(remote_arg& arg, T* data, int32_t count) {
    arg.buf.pv = const_cast<void*>(static_cast<const void*>(data));
    arg.buf.nLen = wireLength(count, 2);
    return count;
}

}  // namespace

bool lut2d::haveRuntime() {
    return remote_handle64_open != nullptr && remote_handle64_invoke != nullptr &&
           remote_handle64_close != nullptr && rpcmem_alloc != nullptr && rpcmem_free != nullptr;
}

extern "C" {

int sw2dlut_dsp_open(const char* uri, remote_handle64* handle) {
    return openConnection(uri, handle);
}

int sw2dlut_dsp_close(remote_handle64 handle) {
    return closeConnection(handle);
}

int sw2dlut_dsp_init(remote_handle64 handle, uint32_t value) {
    uint32_t primaryIn = value;
    remote_arg args[1];
    args[0].buf = {&primaryIn, sizeof primaryIn};
    return reported(invoke(handle, kInitScalars, args), handle, kInitSite);
}

int sw2dlut_dsp_execute(remote_handle64 handle, const sw2dlut_dsp_config* config,
                        sw2dlut_dsp_scratch* scratch, const uint8_t* in, int32_t inLength,
                        uint8_t* out, int32_t outLength, uint64_t* dspTime) {
    ExecutePrimaryIn primaryIn;
    std::memset(&primaryIn, 0, sizeof primaryIn);
    uint64_t primaryOut = 0;

    ArgumentBlock* block = allocateArgumentBlock();
    if (block == nullptr) return reported(-1, handle, kExecuteSite);
    remote_arg* args = block->args;

    primaryIn.height = config->height;
    primaryIn.stride = config->stride;
    primaryIn.mode = config->mode;
    int32_t* counts = primaryIn.tableCounts;
    counts[0] = describe(args[kFirstTable + 0], config->lut_1d_h.data, config->lut_1d_h.dataLen);
    counts[1] = describe(args[kFirstTable + 1], config->lut_1d_s.data, config->lut_1d_s.dataLen);
    counts[2] = describe(args[kFirstTable + 2], config->lut_2d_h.data, config->lut_2d_h.dataLen);
    counts[3] = describe(args[kFirstTable + 3], config->lut_2d_s.data, config->lut_2d_s.dataLen);
    counts[4] =
        describe(args[kFirstTable + 4], config->lut_1d_h_inv.data, config->lut_1d_h_inv.dataLen);
    counts[5] =
        describe(args[kFirstTable + 5], config->lut_1d_s_inv.data, config->lut_1d_s_inv.dataLen);

    const uint16_t values[8] = {config->h_shift,
                                config->s_shift,
                                config->l_boundary_start_A,
                                config->l_boundary_start_B,
                                config->l_boundary_end_A,
                                config->l_boundary_end_B,
                                config->l_boundary_start_inv,
                                config->l_boundary_end_inv};
    std::memcpy(primaryIn.values, values, sizeof values);
    const sw2dlut_dsp_scratch_seq* sequences[4] = {&scratch->seq0, &scratch->seq1, &scratch->seq2,
                                                   &scratch->seq3};
    for (uint32_t i = 0; i < 4; ++i) {
        primaryIn.scratchCounts[i] =
            describe(args[kFirstScratch + i], sequences[i]->data, sequences[i]->dataLen);
    }

    args[kInFrame].buf = {const_cast<uint8_t*>(in), wireLength(inLength, 1)};
    args[kOutFrame].buf = {out, wireLength(outLength, 1)};
    primaryIn.inLength = inLength;
    primaryIn.outLength = outLength;
    args[kPrimaryIn].buf = {&primaryIn, sizeof primaryIn};
    args[kPrimaryOut].buf = {&primaryOut, sizeof primaryOut};

    const int result = invoke(handle, kExecuteScalars, args);
    if (result != 0) return reported(result, handle, kExecuteSite);  // the block stays allocated
    *dspTime = primaryOut;
    releaseArgumentBlocks(block);
    return 0;
}

int sw2dlut_dsp_deinit(remote_handle64 handle) {
    return reported(invoke(handle, kDeinitScalars, nullptr), handle, kDeinitSite);
}

}  // extern "C"
