// Host emulation of the DSP remote-call runtime.
//
// Like the platform's runtime, remote_handle64_open reads the module file and its dispatch
// entry from the URI ("file:///<module>?<entry>&_modver=...&_dom=..."), loads the module and
// hands out a handle; remote_handle64_invoke checks the scalars word against the argument
// array and calls the entry with the handle, the scalars word and the arguments. Buffers are
// passed as they are (the host and the "DSP" share one address space), and rpcmem_alloc
// memory is zero-filled. Modules are loaded from the folder of this library.

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>

#include "dsp_runtime_control.h"

namespace {

using Entry = int (*)(remote_handle64, uint32_t, remote_arg*);

struct State {
    std::mutex mutex;
    std::map<remote_handle64, Entry> connections;
    remote_handle64 nextHandle = 0x5100;
    std::map<const uint8_t*, size_t> blocks;  // live rpcmem blocks and their sizes
    std::map<uint32_t, int> armed;            // method -> code of its next call
    bool failAllocation = false;
    std::vector<dsp_runtime_host::Call> calls;
    std::vector<dsp_runtime_host::Allocation> allocations;
};

State& state() {
    static State s;
    return s;
}

// The armed failure of `method`, taken; 0 when none. Caller holds the mutex.
int takeArmed(State& s, uint32_t method) {
    const auto it = s.armed.find(method);
    if (it == s.armed.end()) return 0;
    const int code = it->second;
    s.armed.erase(it);
    return code;
}

bool inSharedMemory(const State& s, const void* p, size_t length) {
    auto it = s.blocks.upper_bound(static_cast<const uint8_t*>(p));
    if (it == s.blocks.begin()) return false;
    --it;
    const auto start = reinterpret_cast<uintptr_t>(it->first);
    const auto at = reinterpret_cast<uintptr_t>(p);
    return at >= start && at - start <= it->second && length <= it->second - (at - start);
}

// Modules are looked up in the folder that holds this library (by path, so that a dlopen
// interposed by a sanitizer runtime finds them as well).
std::string moduleFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&moduleFolder), &info) == 0 || info.dli_fname == nullptr) {
        return "";
    }
    const std::string self = info.dli_fname;
    const size_t slash = self.rfind('/');
    return slash == std::string::npos ? "" : self.substr(0, slash + 1);
}

// Splits "file:///<module>?<entry>&<options>" into the module file and the entry name.
bool parseUri(const std::string& uri, std::string& module, std::string& entry) {
    const std::string scheme = "file:///";
    if (uri.compare(0, scheme.size(), scheme) != 0) return false;
    const size_t query = uri.find('?', scheme.size());
    if (query == std::string::npos) return false;
    module = uri.substr(scheme.size(), query - scheme.size());
    const size_t options = uri.find('&', query + 1);
    entry = uri.substr(query + 1,
                       options == std::string::npos ? std::string::npos : options - query - 1);
    return !module.empty() && !entry.empty();
}

// The scalars word must match the array: no reserved bits, no handles (not emulated), an
// array when there are buffers, and a pointer behind every non-empty buffer.
bool scalarsMatch(uint32_t sc, const remote_arg* args) {
    namespace r = lut2d::remote;
    if (r::reservedBits(sc) != 0 || r::inHandles(sc) != 0 || r::outHandles(sc) != 0) return false;
    const uint32_t buffers = r::inBuffers(sc) + r::outBuffers(sc);
    if (buffers != 0 && args == nullptr) return false;
    for (uint32_t i = 0; i < buffers; ++i) {
        if (args[i].buf.nLen != 0 && args[i].buf.pv == nullptr) return false;
    }
    return true;
}

}  // namespace

extern "C" {

int remote_handle64_open(const char* uri, remote_handle64* handle) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    dsp_runtime_host::Call call;
    call.method = dsp_runtime_host::kOpen;
    call.uri = uri != nullptr ? uri : "";
    call.result = takeArmed(s, dsp_runtime_host::kOpen);
    std::string module, entryName;
    if (call.result == 0 && (handle == nullptr || !parseUri(call.uri, module, entryName))) {
        call.result = dsp_runtime_host::kBadParameter;
    }
    if (call.result == 0) {
        void* library = dlopen((moduleFolder() + module).c_str(), RTLD_NOW | RTLD_LOCAL);
        void* entry = library != nullptr ? dlsym(library, entryName.c_str()) : nullptr;
        if (entry == nullptr) {
            std::fprintf(stderr, "DSP runtime emulation: %s\n", dlerror());
            call.result = dsp_runtime_host::kNoSuchModule;
        } else {
            call.handle = s.nextHandle++;
            s.connections[call.handle] = reinterpret_cast<Entry>(entry);
            *handle = call.handle;
        }
    }
    s.calls.push_back(call);
    return call.result;
}

int remote_handle64_invoke(remote_handle64 handle, uint32_t sc, remote_arg* args) {
    namespace r = lut2d::remote;
    dsp_runtime_host::Call call;
    call.method = r::method(sc);
    call.handle = handle;
    call.scalars = sc;
    call.inBuffers = r::inBuffers(sc);
    call.outBuffers = r::outBuffers(sc);
    Entry entry = nullptr;
    State& s = state();
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        const auto it = s.connections.find(handle);
        call.result = takeArmed(s, call.method);
        if (call.result == 0 && (it == s.connections.end() || !scalarsMatch(sc, args))) {
            call.result = dsp_runtime_host::kBadParameter;
        }
        if (call.result == 0) {
            entry = it->second;
            for (uint32_t i = 0; i < call.inBuffers + call.outBuffers; ++i) {
                call.buffers.push_back(args[i].buf.pv);
                call.lengths.push_back(args[i].buf.nLen);
                call.inSharedMemory.push_back(inSharedMemory(s, args[i].buf.pv, args[i].buf.nLen));
            }
            if (call.inBuffers > 0) {
                const auto* p = static_cast<const uint8_t*>(args[0].buf.pv);
                call.primaryIn.assign(p, p + args[0].buf.nLen);
            }
        }
    }
    if (entry != nullptr) call.result = entry(handle, sc, args);
    std::lock_guard<std::mutex> lock(s.mutex);
    s.calls.push_back(std::move(call));
    return s.calls.back().result;
}

int remote_handle64_close(remote_handle64 handle) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    dsp_runtime_host::Call call;
    call.method = dsp_runtime_host::kClose;
    call.handle = handle;
    call.result = takeArmed(s, dsp_runtime_host::kClose);
    if (call.result == 0 && s.connections.erase(handle) == 0) {
        call.result = dsp_runtime_host::kBadParameter;
    }
    s.calls.push_back(call);
    return call.result;
}

void* rpcmem_alloc(int heapid, uint32_t flags, int size) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.allocations.push_back({heapid, flags, size});
    if (s.failAllocation || size <= 0) {
        s.failAllocation = false;
        return nullptr;
    }
    auto* block = static_cast<uint8_t*>(std::calloc(static_cast<size_t>(size), 1));
    if (block != nullptr) s.blocks[block] = static_cast<size_t>(size);
    return block;
}

void rpcmem_free(void* block) {
    if (block == nullptr) return;
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.blocks.erase(static_cast<const uint8_t*>(block)) == 0) std::abort();  // not ours
    std::free(block);
}

}  // extern "C"

namespace dsp_runtime_host {

void reset() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.calls.clear();
    s.allocations.clear();
    s.armed.clear();
    s.failAllocation = false;
}

std::vector<Call> calls() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.calls;
}

std::vector<Allocation> allocations() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.allocations;
}

size_t liveBlocks() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.blocks.size();
}

void failNext(uint32_t method, int code) {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.armed[method] = code;
}

void failNextAllocation() {
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.failAllocation = true;
}

}  // namespace dsp_runtime_host
