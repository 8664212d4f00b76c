// Host emulation of the DSP-side module "sw2dlut_dsp".
//
// The runtime loads this file by the name in the module URI and calls its dispatch entry with
// the connection handle, the scalars word and the remote arguments. It decodes init, execute
// and deinit as the wire format lays them out, and for execute runs the library's own CPU
// engine over the packed frame: the row pitch it receives serves as the width (the width is
// not sent), the chroma order is 0, and the engine's tables, lightness weights included, are
// built from the tables and the eight values received. The result goes into the output frame
// and the time it took, in microseconds, into the primary output.

#include <sys/time.h>

#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "dsp/remote_runtime.h"
#include "dsp/sw2dlut_dsp.h"
#include "engine/sw_2dlut_v10.h"

namespace {

namespace wire = sw2dlut_dsp_wire;

// Results of the module.
constexpr int kBadParameter = 0x0E;
constexpr int kNotInitialised = 0x27;
constexpr int kNoMemory = 0x02;

struct Connections {
    std::mutex mutex;
    std::map<remote_handle64, uint32_t> initValues;  // initialised connections
};

Connections& connections() {
    static Connections c;
    return c;
}

bool initialised(remote_handle64 handle) {
    Connections& c = connections();
    std::lock_guard<std::mutex> lock(c.mutex);
    return c.initValues.count(handle) != 0;
}

uint64_t nowMicros() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return static_cast<uint64_t>(tv.tv_sec) * 1000000u + static_cast<uint64_t>(tv.tv_usec);
}

int init(remote_handle64 handle, uint32_t sc, const remote_arg* args) {
    if (sc != wire::kInitScalars || args[0].buf.nLen != sizeof(uint32_t)) return kBadParameter;
    uint32_t value;
    std::memcpy(&value, args[0].buf.pv, sizeof value);
    Connections& c = connections();
    std::lock_guard<std::mutex> lock(c.mutex);
    c.initValues[handle] = value;
    return 0;
}

int deinit(remote_handle64 handle, uint32_t sc) {
    if (sc != wire::kDeinitScalars) return kBadParameter;
    Connections& c = connections();
    std::lock_guard<std::mutex> lock(c.mutex);
    return c.initValues.erase(handle) != 0 ? 0 : kNotInitialised;
}

// Copies table `index` of execute into `dst`, which must be exactly its size.
template <typename T, size_t N>
bool receiveTable(T (&dst)[N], const remote_arg* args, const wire::ExecutePrimaryIn& in,
                  uint32_t index) {
    const remote_buf& buf = args[wire::kFirstTable + index].buf;
    if (in.tableCounts[index] != static_cast<int32_t>(N) || buf.nLen != sizeof dst) return false;
    std::memcpy(dst, buf.pv, sizeof dst);
    return true;
}

// The tuning record rebuilt from what execute carries; the fields that are not sent keep
// neutral values (enabled, reserved fields 0).
bool receiveRecord(ISP2DLUTInStruct_V10& rec, const remote_arg* args,
                   const wire::ExecutePrimaryIn& in) {
    rec = {};
    rec.enable = 1;
    if (!receiveTable(rec.lut_1d_h, args, in, 0) || !receiveTable(rec.lut_1d_s, args, in, 1) ||
        !receiveTable(rec.lut_2d_h, args, in, 2) || !receiveTable(rec.lut_2d_s, args, in, 3) ||
        !receiveTable(rec.lut_1d_h_inv, args, in, 4) ||
        !receiveTable(rec.lut_1d_s_inv, args, in, 5)) {
        return false;
    }
    rec.h_shift = in.values[0];
    rec.s_shift = in.values[1];
    rec.l_boundary_start_A = in.values[2];
    rec.l_boundary_start_B = in.values[3];
    rec.l_boundary_end_A = in.values[4];
    rec.l_boundary_end_B = in.values[5];
    rec.l_boundary_start_inv = in.values[6];
    rec.l_boundary_end_inv = in.values[7];
    return true;
}

bool lengthsMatch(const remote_arg* args, const wire::ExecutePrimaryIn& in, size_t frameBytes) {
    if (args[wire::kPrimaryOut].buf.nLen != sizeof(uint64_t)) return false;
    for (uint32_t i = 0; i < 4; ++i) {
        const int32_t count = in.scratchCounts[i];
        if (count < 0 || args[wire::kFirstScratch + i].buf.nLen != 2 * size_t(count)) return false;
    }
    return in.inLength >= 0 && in.outLength >= 0 &&
           args[wire::kInFrame].buf.nLen == size_t(in.inLength) &&
           args[wire::kOutFrame].buf.nLen == size_t(in.outLength) &&
           size_t(in.inLength) >= frameBytes && size_t(in.outLength) >= frameBytes;
}

int execute(remote_handle64 handle, uint32_t sc, remote_arg* args) {
    if (sc != wire::kExecuteScalars || args[wire::kPrimaryIn].buf.nLen != 72) return kBadParameter;
    if (!initialised(handle)) return kNotInitialised;
    wire::ExecutePrimaryIn in;
    std::memcpy(&in, args[wire::kPrimaryIn].buf.pv, sizeof in);

    const size_t lumaBytes = size_t{in.height} * in.stride;
    const size_t frameBytes = lumaBytes + size_t{in.height / 2u} * in.stride;
    ISP2DLUTInStruct_V10 rec;
    if (!lengthsMatch(args, in, frameBytes) || !receiveRecord(rec, args, in)) return kBadParameter;

    const uint64_t start = nowMicros();
    auto engine = std::make_unique<SW_2DLut_v10>();
    if (engine->parameterCheck(&rec) != 0) return kBadParameter;
    auto* out = static_cast<uint8_t*>(args[wire::kOutFrame].buf.pv);
    std::memcpy(out, args[wire::kInFrame].buf.pv, frameBytes);  // the engine works in place
    const Lut2DImageInfo geometry{in.stride, in.height, in.stride, 0};
    int status = engine->InitLut2D(&rec, static_cast<Lut2DMode>(in.mode), geometry);
    if (status == LUT2D_OK) {
        Lut2DImageData frame{out, out + lumaBytes};
        status = engine->run2dlut_fx(&frame);
    }
    engine->DenitLut2D();
    if (status != LUT2D_OK) return status == LUT2D_ERR_NO_MEMORY ? kNoMemory : status;

    const uint64_t took = nowMicros() - start;
    std::memcpy(args[wire::kPrimaryOut].buf.pv, &took, sizeof took);
    return 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int sw2dlut_dsp_skel_handle_invoke(
    remote_handle64 handle, uint32_t sc, remote_arg* args) {
    switch (lut2d::remote::method(sc)) {
        case wire::kMethodInit:
            return init(handle, sc, args);
        case wire::kMethodExecute:
            return execute(handle, sc, args);
        case wire::kMethodDeinit:
            return deinit(handle, sc);
        default:
            return kBadParameter;
    }
}
