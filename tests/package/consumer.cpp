// A C++ host built against the installed package alone, through find_package: one frame in
// the low-resolution mode. EXPECTED_VERSION is the version the package's CMake files report,
// which the header's must equal.
#include <orvix_lut2d.h>

#include <cstdio>
#include <string_view>
#include <vector>

int main() {
    constexpr uint32_t kWidth = 64, kHeight = 32;
    std::vector<uint8_t> luma(kWidth * kHeight), chroma(kWidth * kHeight / 2);
    for (size_t i = 0; i < luma.size(); ++i) luma[i] = static_cast<uint8_t>(60 + i % 128);
    for (size_t i = 0; i < chroma.size(); i += 2) {
        chroma[i] = 200;      // Cb: a blue
        chroma[i + 1] = 110;  // Cr
    }
    const std::vector<uint8_t> before = luma;

    // Even nodes; every hue turned by 300 at every lightness but the extremes. The offsets are
    // uniform, so the reciprocals can stay 0 (no interpolation between nodes).
    ISP2DLUTInStruct_V10 record{};
    record.enable = 1;
    for (int i = 0; i < 25; ++i) record.lut_1d_h[i] = static_cast<uint16_t>(i * 512);
    for (int j = 0; j < 16; ++j) record.lut_1d_s[j] = static_cast<uint16_t>(j * 2048 / 15);
    for (auto& h : record.lut_2d_h) h = 300;
    record.l_boundary_start_B = 128;
    record.l_boundary_end_A = 1918;
    record.l_boundary_end_B = 2046;

    void* handle = nullptr;
    int status = InitLut2D(&handle, &record, {kWidth, kHeight, kWidth, 0}, LUT2D_MODE_YDS);
    if (status == LUT2D_OK) {
        Lut2DImageData frame{luma.data(), chroma.data()};
        status = processLut2d(handle, &frame, 0);
    }
    releaseLut2d(handle);

    size_t changed = 0;
    for (size_t i = 0; i < luma.size(); ++i) changed += luma[i] != before[i];
    std::printf("C++ host, liborvix_lut2d %s: status %d, %zu of %zu luma bytes changed\n",
                LUT2D_VERSION_STRING, status, changed, luma.size());
    const bool sameVersion = std::string_view(LUT2D_VERSION_STRING) == EXPECTED_VERSION;
    return status == LUT2D_OK && changed > 0 && sameVersion ? 0 : 1;
}
