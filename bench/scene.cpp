#include "scene.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>

#include "interface/record_shape.h"

namespace lut2d_bench {

std::string sizeName(Size s) {
    return std::to_string(s.width) + "x" + std::to_string(s.height);
}

namespace {

// ---------------------------------------------------------------------------------------------
// The realistic scene

struct Rgb {
    float r, g, b;
};

Rgb scale(Rgb c, float k) {
    return {c.r * k, c.g * k, c.b * k};
}
Rgb mix(Rgb a, Rgb b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

// Colour of the clean scene at (fx, fy), both in 0..1 of the frame, so that both frame sizes
// show the same scene (as two cameras of different resolution would). 8-bit RGB, unclamped.
Rgb sceneColour(float fx, float fy) {
    // Person in the middle ground: hair, a face and a bare arm (skin tones), a shirt.
    const float faceX = (fx - 0.44f) / 0.022f, faceY = (fy - 0.50f) / 0.042f;
    if (faceX * faceX + faceY * faceY < 1.0f) {
        if (faceY < -0.55f) return {70, 45, 30};  // hair
        return scale({226, 172, 138}, 1.0f - 0.18f * faceX - 0.08f * faceY);
    }
    const float armX = (fx - 0.470f) / 0.009f, armY = (fy - 0.625f) / 0.075f;
    if (armX * armX + armY * armY < 1.0f) return scale({205, 148, 112}, 1.0f - 0.2f * armX);
    if (fx > 0.418f && fx < 0.462f && fy > 0.54f && fy < 0.72f) {
        return scale({118, 82, 142}, 0.85f + 0.3f * (fx - 0.418f) / 0.044f);  // shirt
    }
    // Yellow diamond sign on a grey pole.
    if (std::fabs(fx - 0.63f) / 0.035f + std::fabs(fy - 0.40f) / 0.06f < 1.0f) {
        return scale({236, 198, 24}, 1.0f - 0.15f * (fy - 0.34f) / 0.12f);
    }
    if (std::fabs(fx - 0.63f) < 0.0025f && fy > 0.40f && fy < 0.62f) return {128, 128, 132};
    // A red car and a blue van, shaded top to bottom, with dark windows.
    if (fx > 0.12f && fx < 0.30f && fy > 0.60f && fy < 0.74f) {
        if (fy < 0.64f && fx > 0.16f && fx < 0.27f) return {40, 48, 60};
        return scale({196, 28, 34}, 1.1f - 0.5f * (fy - 0.60f) / 0.14f);
    }
    if (fx > 0.72f && fx < 0.86f && fy > 0.56f && fy < 0.68f) {
        if (fy < 0.59f && fx > 0.80f) return {35, 42, 55};
        return scale({32, 62, 186}, 1.1f - 0.4f * (fy - 0.56f) / 0.12f);
    }
    // Sky above a wavy tree line: deep blue at the top, pale towards the horizon.
    const float treeTop =
        0.30f + 0.05f * std::sin(fx * 17.0f) + 0.025f * std::sin(fx * 53.0f + 1.0f);
    if (fy < treeTop) {
        const float t = fy / 0.35f;
        return mix({62, 118, 215}, {182, 208, 236}, t * t + 0.05f * fx);
    }
    // Foliage: dark and light leaves, some yellowish, at a scale of a few pixels.
    if (fy < 0.55f) {
        const float leaf = std::sin(fx * 900.0f + 3.0f * std::sin(fy * 310.0f)) *
                           std::sin(fy * 720.0f + 2.0f * std::sin(fx * 260.0f));
        const float patch = std::sin(fx * 47.0f + fy * 29.0f);
        const Rgb leaves = mix({38, 82, 30}, {112, 150, 46}, 0.5f + 0.5f * patch);
        return scale(leaves, 0.7f + 0.45f * leaf);
    }
    // Ground: a grey road narrowing to the horizon, with a dashed white centre line.
    const float depth = (fy - 0.55f) / 0.45f;
    const float roadHalf = 0.03f + 0.33f * depth;
    if (std::fabs(fx - 0.5f) < roadHalf) {
        const float lineHalf = 0.002f + 0.008f * depth;
        if (std::fabs(fx - 0.5f) < lineHalf && std::fmod(std::sqrt(depth) * 12.0f, 1.0f) < 0.5f) {
            return {222, 222, 214};
        }
        const float grain = std::sin(fx * 1700.0f) * std::sin(fy * 1300.0f + fx * 400.0f);
        const float g = 92.0f + 38.0f * depth + 5.0f * grain;
        return {g, g, g + 3.0f};
    }
    // Grass: vertical blades, brighter and yellower towards the camera.
    const float blade = std::sin(fx * 1500.0f + 4.0f * std::sin(fy * 95.0f)) *
                        (0.6f + 0.4f * std::sin(fy * 600.0f + fx * 80.0f));
    const Rgb grass = mix({62, 112, 40}, {128, 158, 58}, depth);
    return scale(grass, 0.85f + 0.25f * blade);
}

// The clean scene as full-range BT.601 YUV (the library's colour space), before noise:
// luma per pixel, chroma from the average colour of each 2x2 block.
struct CleanScene {
    std::vector<float> luma, chroma;
};

CleanScene renderScene(Size s) {
    CleanScene c{std::vector<float>(s.pixels()), std::vector<float>(s.pixels() / 2)};
    std::vector<Rgb> rows(2 * size_t{s.width});
    for (uint32_t y = 0; y < s.height; y += 2) {
        for (uint32_t dy = 0; dy < 2; ++dy) {
            const float fy = (static_cast<float>(y + dy) + 0.5f) / static_cast<float>(s.height);
            for (uint32_t x = 0; x < s.width; ++x) {
                const float fx = (static_cast<float>(x) + 0.5f) / static_cast<float>(s.width);
                const Rgb p = sceneColour(fx, fy);
                rows[dy * s.width + x] = p;
                c.luma[size_t{y + dy} * s.width + x] = 0.299f * p.r + 0.587f * p.g + 0.114f * p.b;
            }
        }
        for (uint32_t x = 0; x < s.width; x += 2) {
            Rgb a{0, 0, 0};
            for (size_t i :
                 {size_t{x}, size_t{x} + 1, s.width + size_t{x}, s.width + size_t{x} + 1}) {
                a = {a.r + rows[i].r, a.g + rows[i].g, a.b + rows[i].b};
            }
            a = scale(a, 0.25f);
            const float luma = 0.299f * a.r + 0.587f * a.g + 0.114f * a.b;
            float* pair = &c.chroma[size_t{y / 2} * s.width + x];
            pair[0] = 128.0f + (a.b - luma) / 1.772f;
            pair[1] = 128.0f + (a.r - luma) / 1.402f;
        }
    }
    return c;
}

// Sensor noise as a phone camera leaves it after its processing: independent per sample and
// per frame, sigma 2.5 levels in luma and 1.5 in chroma.
Planes noisyFrame(const CleanScene& c, uint32_t seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<float> lumaNoise(0.0f, 2.5f), chromaNoise(0.0f, 1.5f);
    auto add = [&rng](const std::vector<float>& clean, std::normal_distribution<float>& noise) {
        std::vector<uint8_t> out(clean.size());
        for (size_t i = 0; i < clean.size(); ++i) {
            const float v = std::clamp(clean[i] + noise(rng), 0.0f, 255.0f);
            out[i] = static_cast<uint8_t>(v + 0.5f);
        }
        return out;
    };
    Planes p;
    p.luma = add(c.luma, lumaNoise);
    p.chroma = add(c.chroma, chromaNoise);
    return p;
}

}  // namespace

const std::vector<Planes>& realisticSequence(Size s) {
    static std::map<uint32_t, std::vector<Planes>> cache;
    std::vector<Planes>& seq = cache[s.width];
    if (seq.empty()) {
        const CleanScene clean = renderScene(s);
        for (int v = 0; v < kNoiseVariants; ++v) {
            seq.push_back(noisyFrame(clean, 0x5EED0000u + static_cast<uint32_t>(v)));
        }
    }
    return seq;
}

const std::vector<Planes>& tiledSequence(Size s) {
    static std::map<uint32_t, std::vector<Planes>> cache;
    std::vector<Planes>& seq = cache[s.width];
    if (seq.empty()) {
        const Size tile{s.width / 2, s.height / 2};
        const CleanScene clean = renderScene(tile);
        for (int v = 0; v < kNoiseVariants; ++v) {
            Planes frame{std::vector<uint8_t>(s.pixels()), std::vector<uint8_t>(s.pixels() / 2)};
            for (uint32_t t = 0; t < 4; ++t) {
                const Planes p = noisyFrame(clean, 0x711E0000u + 4 * static_cast<uint32_t>(v) + t);
                const size_t x = (t & 1) * size_t{tile.width}, y = (t >> 1) * size_t{tile.height};
                for (size_t r = 0; r < tile.height; ++r) {
                    std::copy_n(&p.luma[r * tile.width], tile.width,
                                &frame.luma[(y + r) * s.width + x]);
                }
                for (size_t r = 0; r < tile.height / 2; ++r) {
                    std::copy_n(&p.chroma[r * tile.width], tile.width,
                                &frame.chroma[(y / 2 + r) * s.width + x]);
                }
            }
            seq.push_back(std::move(frame));
        }
    }
    return seq;
}

const std::vector<Planes>& flatSequence(Size s) {
    static std::map<uint32_t, std::vector<Planes>> cache;
    std::vector<Planes>& seq = cache[s.width];
    if (seq.empty()) {
        seq.push_back(
            {std::vector<uint8_t>(s.pixels(), 140), std::vector<uint8_t>(s.pixels() / 2, 100)});
    }
    return seq;
}

ISP2DLUTInStruct_V10 busyRecord() {
    ISP2DLUTInStruct_V10 r = lut2d::neutralRecord();
    for (int k = 0; k < lut2d::kGridEntries; ++k) {
        r.lut_2d_h[k] = static_cast<int16_t>(120 * std::sin(k * 0.37));
        r.lut_2d_s[k] = static_cast<int16_t>(80 + 60 * std::cos(k * 0.21));
    }
    r.h_shift = 2;
    r.s_shift = 1;
    r.l_boundary_start_A = 40;
    r.l_boundary_start_B = 200;
    r.l_boundary_end_A = 1800;
    r.l_boundary_end_B = 2000;
    r.l_boundary_start_inv = 12;
    r.l_boundary_end_inv = 10;
    return r;
}

}  // namespace lut2d_bench
