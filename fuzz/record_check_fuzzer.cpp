// libFuzzer target: the library's record validation (SW_2DLut_v10::parameterCheck) on any
// 1784 bytes, held in a block of exactly that size, against the ranges restated here: the
// result is 0 when every value examined is in its range and 2 otherwise, a disabled record
// (enable 0) has nothing else examined, and each value out of range writes exactly one log
// line at error priority under the library's tag.

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "engine/sw_2dlut_v10.h"

namespace {

int g_errorLines = 0;

void expect(bool condition) {
    if (!condition) std::abort();
}

template <typename T, size_t N>
int outOfRange(const T (&values)[N], int32_t min, int32_t max) {
    int n = 0;
    for (const T v : values) n += v < min || v > max ? 1 : 0;
    return n;
}

int outOfRange(int32_t value, int32_t min, int32_t max) {
    return value < min || value > max ? 1 : 0;
}

// The values out of range, as the record's documentation gives the ranges.
int expectedFailures(const ISP2DLUTInStruct_V10& r) {
    int n = outOfRange(r.enable, 0, 1);
    if (r.enable != 1) return n;
    n += outOfRange(r.h_shift, 0, 5) + outOfRange(r.s_shift, 0, 3);
    for (int32_t b : {r.l_boundary_start_A, r.l_boundary_start_B, r.l_boundary_end_A,
                      r.l_boundary_end_B, r.l_boundary_start_inv, r.l_boundary_end_inv}) {
        n += outOfRange(b, 0, 2047);
    }
    n += outOfRange(r.y_blend_factor_integer, 0, 16);
    n += outOfRange(r.K_b_integer, 0, 255) + outOfRange(r.K_r_integer, 0, 255);
    n += outOfRange(r.lut_1d_h, 0, 12288) + outOfRange(r.lut_1d_s, 0, 2048);
    n += outOfRange(r.lut_2d_h, -511, 511) + outOfRange(r.lut_2d_s, -511, 511);
    n += outOfRange(r.lut_1d_h_inv, 0, 16383) + outOfRange(r.lut_1d_s_inv, 0, 2047);
    return n;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int __android_log_print(int prio, const char* tag,
                                                                          const char*, ...) {
    expect(prio == 6 && tag != nullptr && std::strcmp(tag, "sw2dlut") == 0);
    ++g_errorLines;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto* record = static_cast<ISP2DLUTInStruct_V10*>(std::malloc(sizeof(ISP2DLUTInStruct_V10)));
    std::memset(record, 0, sizeof *record);
    if (size > 0) std::memcpy(record, data, size < sizeof *record ? size : sizeof *record);
    static const SW_2DLut_v10 engine;
    g_errorLines = 0;
    const int status = engine.parameterCheck(record);
    const int failures = expectedFailures(*record);
    expect(status == (failures == 0 ? 0 : 2));
    expect(g_errorLines == failures);
    std::free(record);
    return 0;
}
