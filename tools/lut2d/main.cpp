// lut2d: host tool for tuning engineers.

#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "interface/orvix_lut2d.h"

namespace {

// A valid showcase record: nodes evenly spaced, a gentle hue and saturation push.
ISP2DLUTInStruct_V10 builtInRecord() {
    ISP2DLUTInStruct_V10 r{};
    r.enable = 1;
    for (int i = 0; i < 25; ++i) r.lut_1d_h[i] = static_cast<uint16_t>(i * 512);
    for (int i = 0; i < 24; ++i) r.lut_1d_h_inv[i] = 32;
    for (int j = 0; j < 16; ++j) r.lut_1d_s[j] = static_cast<uint16_t>(j * 2048 / 15);
    for (int j = 0; j < 15; ++j) {
        r.lut_1d_s_inv[j] = static_cast<uint16_t>(2048 / (r.lut_1d_s[j + 1] - r.lut_1d_s[j]));
    }
    for (auto& v : r.lut_2d_s) v = 40;
    r.l_boundary_start_A = 40;
    r.l_boundary_start_B = 200;
    r.l_boundary_end_A = 1800;
    r.l_boundary_end_B = 2000;
    r.l_boundary_start_inv = 12;
    r.l_boundary_end_inv = 10;
    return r;
}

int demo() {
    ISP2DLUTInStruct_V10 rec = builtInRecord();
    const Lut2DImageInfo info{1920, 1080, 1920, 0};
    for (Lut2DMode mode : {LUT2D_MODE_YDS, LUT2D_MODE_CHRUS}) {
        void* handle = nullptr;
        const int status = InitLut2D(&handle, &rec, info, mode);
        std::printf("mode %u: InitLut2D -> %d\n", static_cast<unsigned>(mode), status);
        if (handle != nullptr) releaseLut2d(handle);
        if (status != 0) return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "demo") == 0) return demo();
    std::fprintf(stderr, "usage: lut2d demo\n");
    return 2;
}
