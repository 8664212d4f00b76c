#include "support/frame_reference.h"

#include <algorithm>

namespace lut2d_test {

namespace {

int clampIndex(int i, int n) {
    return std::min(std::max(i, 0), n - 1);
}

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

FrameReference::FrameReference(ISP2DLUTInStruct_V10* record, Lut2DMode mode,
                               const Lut2DImageInfo& info)
    : mode_(mode) {
    engine_.InitLut2D(record, mode, info);
}

FrameReference::~FrameReference() {
    engine_.DenitLut2D();
}

void FrameReference::apply(Frame& frame) {
    if (mode_ == LUT2D_MODE_CHRUS) applyFullResolution(frame);
    if (mode_ == LUT2D_MODE_YDS) applyLowResolution(frame);
}

void FrameReference::applyFullResolution(Frame& f) {
    const Lut2DImageInfo& g = f.info;
    const int pairsW = static_cast<int>(g.width / 2), pairsH = static_cast<int>(g.height / 2);
    const int uByte = g.format == 1 ? 1 : 0;
    const std::vector<uint8_t> chromaIn = f.chroma;
    auto* cache = reinterpret_cast<HM_RGB*>(engine_.m_workArea);
    auto pair = [&](int row, int col, int byte) {
        return int{
            chromaIn[clampIndex(row, pairsH) * g.stride + 2 * clampIndex(col, pairsW) + byte]};
    };
    for (int pr = 0; pr < pairsH; ++pr) {
        for (int pc = 0; pc < pairsW; ++pc) {
            short outY[4], outU[4], outV[4];
            for (int k = 0; k < 4; ++k) {  // TL, TR, BL, BR
                const int dy = k < 2 ? -1 : 1, dx = k % 2 == 0 ? -1 : 1;
                int c10[2] = {0, 0};
                for (int b = 0; b < 2 && g.format <= 1; ++b) {
                    c10[b] = (9 * pair(pr, pc, b) + 3 * pair(pr, pc + dx, b) +
                              3 * pair(pr + dy, pc, b) + pair(pr + dy, pc + dx, b)) >>
                             2;
                }
                const size_t pos = (2 * pr + k / 2) * size_t{g.stride} + 2 * pc + k % 2;
                engine_.process(static_cast<short>(f.luma[pos] * 4), static_cast<short>(c10[uByte]),
                                static_cast<short>(c10[1 - uByte]), &outY[k], &outU[k], &outV[k],
                                cache);
            }
            for (int k = 0; k < 4; ++k) {
                f.luma[(2 * pr + k / 2) * size_t{g.stride} + 2 * pc + k % 2] =
                    static_cast<uint8_t>(outY[k] >> 2);
            }
            if (g.format > 1) continue;
            const int u = ((outU[1] + outU[3]) / 2 + (outU[0] + outU[2]) / 2) / 8;
            const int v = ((outV[1] + outV[3]) / 2 + (outV[0] + outV[2]) / 2) / 8;
            f.chroma[pr * size_t{g.stride} + 2 * pc + uByte] = static_cast<uint8_t>(u);
            f.chroma[pr * size_t{g.stride} + 2 * pc + 1 - uByte] = static_cast<uint8_t>(v);
        }
    }
}

void FrameReference::applyLowResolution(Frame& f) {
    const Lut2DImageInfo& g = f.info;
    const uint32_t pairsW = g.width / 2, pairsH = g.height / 2, halfStride = g.stride / 2;
    const int uByte = g.format == 0 ? 0 : 1;
    auto* cache = reinterpret_cast<HM_RGB*>(engine_.m_workArea);
    std::vector<uint8_t> offsets(size_t{halfStride} * pairsH, 128);
    for (uint32_t pr = 0; pr < pairsH; ++pr) {
        for (uint32_t pc = 0; pc < pairsW; ++pc) {
            const size_t tl = 2 * pr * size_t{g.stride} + 2 * pc;
            const int sum =
                f.luma[tl] + f.luma[tl + 1] + f.luma[tl + g.stride] + f.luma[tl + g.stride + 1];
            uint8_t* pairBytes = &f.chroma[pr * size_t{g.stride} + 2 * pc];
            const int u = pairBytes[uByte], v = pairBytes[1 - uByte];
            short y2, u2, v2;
            engine_.process(static_cast<short>(sum / 4 * 4), static_cast<short>(u * 4),
                            static_cast<short>(v * 4), &y2, &u2, &v2, cache);
            offsets[pr * size_t{halfStride} + pc] =
                static_cast<uint8_t>((y2 / 4 - sum / 4 + 128) & 0xFF);
            if (g.format <= 1) {
                pairBytes[uByte] = static_cast<uint8_t>(u2 / 4);
                pairBytes[1 - uByte] = static_cast<uint8_t>(v2 / 4);
            }
        }
    }
    const std::vector<uint8_t> up = gaussianExpand(offsets.data(), pairsW, pairsH, halfStride);
    for (uint32_t y = 0; y < 2 * pairsH; ++y) {
        for (uint32_t x = 0; x < 2 * pairsW; ++x) {
            uint8_t& l = f.luma[y * size_t{g.stride} + x];
            l = static_cast<uint8_t>(std::clamp(l + up[y * size_t{2} * pairsW + x] - 128, 0, 255));
        }
    }
}

}  // namespace lut2d_test
