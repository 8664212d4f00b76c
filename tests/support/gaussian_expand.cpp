#include "support/gaussian_expand.h"

#include <algorithm>

namespace lut2d_test {

namespace {

// Weight of source sample i for output position x of the 1-D expand (kernel 1 4 6 4 1
// over the zero-stuffed signal), with the border rules s(-1) = s(1), s(n) = s(n-1).
int expandWeight(int x, int i, int n) {
    auto sample = [n](int k) { return k < 0 ? (n > 1 ? 1 : 0) : std::min(k, n - 1); };
    int w = 0;
    const int half = x / 2;
    if (x % 2 == 0) {
        if (sample(half - 1) == i) w += 1;
        if (sample(half) == i) w += 6;
        if (sample(half + 1) == i) w += 1;
    } else {
        if (sample(half) == i) w += 4;
        if (sample(half + 1) == i) w += 4;
    }
    return w;
}

}  // namespace

std::vector<uint8_t> gaussianExpand(const uint8_t* src, uint32_t width, uint32_t height,
                                    uint32_t stride) {
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    std::vector<uint8_t> out(size_t{4} * width * height);
    for (int y = 0; y < 2 * h; ++y) {
        for (int x = 0; x < 2 * w; ++x) {
            int sum = 0;
            for (int j = std::max(0, y / 2 - 1); j <= std::min(h - 1, y / 2 + 1); ++j) {
                const int wy = expandWeight(y, j, h);
                for (int i = std::max(0, x / 2 - 1); i <= std::min(w - 1, x / 2 + 1); ++i) {
                    sum += wy * expandWeight(x, i, w) * src[j * stride + i];
                }
            }
            out[static_cast<size_t>(y) * 2 * w + x] = static_cast<uint8_t>((sum + 32) >> 6);
        }
    }
    return out;
}

}  // namespace lut2d_test
