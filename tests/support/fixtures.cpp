#include "fixtures.h"

#include <gtest/gtest.h>

namespace lut2d_test {

namespace {

HM_RGB* sliceOf(const SW_2DLut_v10& e, int band) {
    return reinterpret_cast<HM_RGB*>(e.m_workArea + size_t{lut2d::kCacheSliceBytes} * band);
}

}  // namespace

ISP2DLUTInStruct_V10 uniformRecord(int16_t hueOffset, int16_t satOffset) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    for (auto& v : r.lut_2d_h) v = hueOffset;
    for (auto& v : r.lut_2d_s) v = satOffset;
    return r;
}

ISP2DLUTInStruct_V10 busyRecord(uint32_t seed) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    std::mt19937 rng(seed);
    for (auto& v : r.lut_2d_h) v = static_cast<int16_t>(pick(rng, -300, 300));
    for (auto& v : r.lut_2d_s) v = static_cast<int16_t>(pick(rng, -300, 300));
    r.h_shift = 2;
    r.s_shift = 1;
    return r;
}

Frame::Frame(uint32_t width, uint32_t height, uint32_t stride, uint32_t format)
    : info{width, height, stride, format},
      luma(static_cast<size_t>(stride) * height, 0),
      chroma(std::max<size_t>(static_cast<size_t>(stride) * (height / 2), 1), 128) {}

void fillRandom(Frame& frame, uint32_t seed) {
    std::mt19937 rng(seed);
    for (auto& b : frame.luma) b = static_cast<uint8_t>(rng());
    for (auto& b : frame.chroma) b = static_cast<uint8_t>(rng());
}

void fillPatches(Frame& f, std::mt19937& rng) {
    fillRandom(f, static_cast<uint32_t>(rng()));
    uint8_t palette[5][3];  // luma, first and second chroma byte
    for (auto& c : palette) c[0] = uint8_t(rng()), c[1] = uint8_t(rng()), c[2] = uint8_t(rng());
    const uint32_t cell = static_cast<uint32_t>(pick(rng, 2, 40)), hash = rng(), s = f.info.stride;
    auto colour = [&](uint32_t x, uint32_t y) {
        return palette[((x / cell * 2654435761u) ^ (y / 4 * 40503u) ^ hash) % 5];
    };
    for (uint32_t y = 0; y < f.info.height; ++y) {
        for (uint32_t x = 0; x < f.info.width; ++x) {
            f.luma[size_t{s} * y + x] = colour(x, y)[0];
            if (y % 2 == 0 && y + 1 < f.info.height)
                f.chroma[size_t{s} * (y / 2) + x] = colour(x & ~1u, y)[1 + x % 2];
        }
    }
}

std::string describe(const Case& c) {
    const Lut2DImageInfo& g = c.info;
    return std::string(c.mode == LUT2D_MODE_CHRUS ? "full " : "low ") + std::to_string(g.width) +
           "x" + std::to_string(g.height) + " pitch " + std::to_string(g.stride) + " format " +
           std::to_string(g.format);
}

std::string firstDifference(const char* unitName, const uint8_t* actual, const uint8_t* expected,
                            size_t bytes, size_t unit) {
    const auto [a, e] = std::mismatch(actual, actual + bytes, expected);
    if (a == actual + bytes) return "";
    const auto i = static_cast<size_t>(a - actual);
    return std::string(unitName) + " " + std::to_string(i / unit) + " byte " +
           std::to_string(i % unit) + ": " + std::to_string(*a) + ", expected " +
           std::to_string(*e);
}

std::string frameDifference(const Frame& a, const Frame& e) {
    const size_t s = a.info.stride;
    return firstDifference("luma row", a.luma.data(), e.luma.data(), a.luma.size(), s) +
           firstDifference("chroma row", a.chroma.data(), e.chroma.data(), a.chroma.size(), s);
}

SetUpEngine::SetUpEngine(ISP2DLUTInStruct_V10* record) {
    EXPECT_EQ(e.InitLut2D(record, LUT2D_MODE_CHRUS, {64, 32, 64, 0}), LUT2D_OK);
}

HM_RGB* SetUpEngine::slice(int band) {
    return sliceOf(e, band);
}

Handle::Handle(ISP2DLUTInStruct_V10* record, const Lut2DImageInfo& info, Lut2DMode mode) {
    EXPECT_EQ(InitLut2D(&handle_, record, info, mode), LUT2D_OK);
}

HM_RGB* Handle::slice(int band) const {
    return sliceOf(engine(), band);
}

int Handle::process(Frame& frame, unsigned flags) const {
    Lut2DImageData d = frame.data();
    return processLut2d(handle_, &d, flags);
}

}  // namespace lut2d_test
