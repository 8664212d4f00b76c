// A plain reference model of the colour kernel's arithmetic, written from its description
// in 64-bit integers, and random tuning records for comparing the library against it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>

#include "engine/sw_2dlut_v10.h"
#include "support/records.h"

namespace kmodel {

inline int i16(int64_t v) {
    return static_cast<int16_t>(static_cast<uint16_t>(v & 0xFFFF));
}

// Generic 3x3 transform; the two constant records below are the engine's.
struct Cst {
    int inOff[3], outMin[3], outMax[3], coef[9], outOff[3];
};
inline constexpr Cst kRgbToYuv{{0, 0, 0},
                               {0, 0, 0},
                               {1023, 1023, 1023},
                               {601, 117, 306, -338, 510, -172, -427, -83, 510},
                               {0, 512, 512}};
inline constexpr Cst kYuvToRgb{{0, 512, 512},
                               {0, 0, 0},
                               {1023, 1023, 1023},
                               {1024, -354, -734, 1024, 1822, 0, 1024, 0, 1441},
                               {0, 0, 0}};

struct V3 {
    int a, b, c;
    bool operator==(const V3&) const = default;
};

inline V3 cst(const Cst& p, int a, int b, int c) {
    const int64_t in[3] = {a - p.inOff[0], b - p.inOff[1], c - p.inOff[2]};
    int out[3];
    for (int k = 0; k < 3; ++k) {
        const int64_t s =
            p.coef[3 * k] * in[0] + p.coef[3 * k + 1] * in[1] + p.coef[3 * k + 2] * in[2];
        int64_t t = ((s + 512) >> 10) + p.outOff[k];
        if (t > p.outMax[k]) {
            t = p.outMax[k];
        } else if (t < p.outMin[k]) {
            t = p.outMin[k];
        }
        out[k] = i16(t);
    }
    return {out[0], out[1], out[2]};
}

// Table division a * 2048 / n through ceil(2^(12 + ceil(log2 n)) / n).
inline int q(int a, int n) {
    int shift = 0;
    while (n >= 2 && (1 << shift) < n) ++shift;
    const int64_t recip = n == 0 ? 4096 : ((int64_t{1} << (12 + shift)) + n - 1) / n;
    return static_cast<int>((((recip * a) >> shift) + 1) >> 1);
}

inline int denom(int l) {
    return l < 1024 ? l : 2046 - l;
}

struct Hsl {
    int h, s, l;
    bool operator==(const Hsl&) const = default;
};

inline Hsl rgbToHsl(int r, int g, int b) {
    int hi = g, lo = r, sign = -1;
    if (r >= g) hi = r, lo = g, sign = 1;
    int mx = hi, mid = lo, mn = b, sector = r >= g ? 0 : 1;
    if (hi < b) {
        mx = b, mid = hi, mn = lo, sector = 2;
    } else if (lo < b) {
        mid = b, mn = lo;
        sector = r >= g ? 3 : 1;
        sign = r >= g ? -1 : 1;
    }
    const int l = mx + mn, ch = mx - mn;
    if (ch == 0) return {0, 0, l};
    return {sign * q(mid - mn, ch) + sector * 4096, q(ch, denom(l)), l};
}

// Rows k = 0..3 of the sextant table, and k = 4 (one turn above) as row 1.
inline V3 hslToRgb(int h, int s, int l) {  // returns R, G, B
    const int ch = static_cast<int>((int64_t{denom(l)} * s + 1024) >> 11);
    const int k = (h + 2048) >> 12;
    const int f = h - k * 4096;
    const int x = (ch * (f < 0 ? -f : f) + 1024) >> 11;
    int c[3] = {0, 0, 0};  // R, G, B
    const int big = (k == 1 || k == 4) ? 1 : (k == 2 ? 2 : 0);
    const int next = (big + 1) % 3, prev = (big + 2) % 3;
    c[big] = ch;
    c[f >= 0 ? next : prev] = x;
    const int m = (l - ch) >> 1;
    for (int& v : c) v = std::min(std::max(v + m, 0), 1023);
    return {c[0], c[1], c[2]};
}

struct Offsets {
    int dH, dS;
    bool neutral;
};

inline int shifted(int v, int amount) {
    const int n = i16(amount);
    return n >= 0 ? static_cast<int>(static_cast<uint32_t>(v) << (n & 31)) : v >> ((-n) & 31);
}

inline Offsets bilinear(const ISP2DLUTInStruct_V10& c, int h, int s, int hi, int si) {
    const int sn = si >= 14 ? 15 : si + 1, hn = hi >= 23 ? 24 : hi + 1;
    const int i00 = hi * 16 + si, i01 = hi * 16 + sn, i10 = hn * 16 + si, i11 = hn * 16 + sn;
    bool allZero = true;
    for (int i : {i00, i01, i10, i11})
        allZero = allZero && c.lut_2d_h[i] == 0 && c.lut_2d_s[i] == 0;
    if (allZero) return {0, 0, true};
    const int64_t wH =
        ((hi <= 23 ? c.lut_1d_h_inv[hi] : 0) * int64_t{(h - c.lut_1d_h[hi]) & 0xFFFF}) % 32768;
    const int64_t wS =
        ((si <= 14 ? c.lut_1d_s_inv[si] : 0) * int64_t{(s - c.lut_1d_s[si]) & 0xFFFF}) % 4096;
    auto hueLine = [&](const int16_t* g, int shift, int a, int b) {
        const int ga = shifted(g[a], shift), gb = shifted(g[b], shift);
        return ((wH * i16(int64_t{gb} - ga) + 8192) >> 14) + i16(ga);
    };
    const int64_t hA = hueLine(c.lut_2d_h, c.h_shift, i00, i10),
                  hB = hueLine(c.lut_2d_h, c.h_shift, i01, i11);
    const int64_t sA = hueLine(c.lut_2d_s, c.s_shift, i00, i10),
                  sB = hueLine(c.lut_2d_s, c.s_shift, i01, i11);
    return {static_cast<int>(hA + ((wS * (hB - hA) + 1024) >> 11)),
            static_cast<int>(sA + ((wS * (sB - sA) + 1024) >> 11)), false};
}

inline int weight(const ISP2DLUTInStruct_V10& c, int l) {
    if (l <= c.l_boundary_start_A || l >= c.l_boundary_end_B) return 0;
    if (l < c.l_boundary_start_B)
        return ((l - c.l_boundary_start_A) * c.l_boundary_start_inv) % 4096;
    if (l > c.l_boundary_end_A) return ((c.l_boundary_end_B - l) * c.l_boundary_end_inv) % 4096;
    return 2048;
}

// Interval of x among strictly increasing nodes: the last node at or below x (0 below all).
inline int interval(const uint16_t* nodes, int last, int x) {
    int i = 0;
    for (int j = 1; j <= last; ++j)
        if (nodes[j] <= x) i = j;
    return i;
}

inline int wrapHue(int h) {
    return (h < 0 ? h + 12288 : (h >= 12288 ? h + 4096 : h)) & 16383;
}

// The whole adjustment of one in-range 10-bit colour.
inline V3 adjust(const ISP2DLUTInStruct_V10& c, int y, int u, int v) {
    const V3 gbr = cst(kYuvToRgb, y, u, v);
    const Hsl p = rgbToHsl(gbr.c, gbr.a, gbr.b);
    V3 rgb{gbr.c, gbr.a, gbr.b};
    if (p.s >= c.lut_1d_s[0]) {
        const Offsets d =
            bilinear(c, p.h, p.s, interval(c.lut_1d_h, 24, p.h), interval(c.lut_1d_s, 15, p.s));
        if (!d.neutral) {
            const int w = weight(c, p.l);
            const int h = wrapHue(p.h + ((d.dH * w + 1024) >> 11));
            const int s = std::min(std::max(p.s + ((d.dS * w + 1024) >> 11), 0), 2048);
            rgb = hslToRgb(h, s, p.l);
        }
    } else {
        rgb = hslToRgb(p.h, p.s, p.l);
    }
    return cst(kRgbToYuv, rgb.b, rgb.c, rgb.a);
}

// Strictly increasing nodes from first to last with gaps of at least two.
template <int N>
void randomNodes(std::mt19937& rng, uint16_t (&nodes)[N], int first, int last) {
    for (;;) {
        nodes[0] = static_cast<uint16_t>(first);
        nodes[N - 1] = static_cast<uint16_t>(last);
        for (int i = 1; i < N - 1; ++i)
            nodes[i] = static_cast<uint16_t>(std::uniform_int_distribution<int>(first, last)(rng));
        std::sort(nodes, nodes + N);
        bool ok = true;
        for (int i = 0; i + 1 < N; ++i) ok = ok && nodes[i + 1] - nodes[i] >= 2;
        if (ok) return;
    }
}

// Sets the four lightness boundaries and the two ramp reciprocals.
inline void setLightness(ISP2DLUTInStruct_V10& r, uint16_t startA, uint16_t startB, uint16_t endA,
                         uint16_t endB, uint16_t startInv, uint16_t endInv) {
    r.l_boundary_start_A = startA;
    r.l_boundary_start_B = startB;
    r.l_boundary_end_A = endA;
    r.l_boundary_end_B = endB;
    r.l_boundary_start_inv = startInv;
    r.l_boundary_end_inv = endInv;
}

// A random record that passes validation: non-uniform nodes (sometimes not reaching the
// ends of the hue and saturation ranges), reciprocals near the spacing, grid values with
// neutral 4 x 4 blocks, random shifts and lightness ramps.
inline ISP2DLUTInStruct_V10 randomRecord(std::mt19937& rng) {
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    ISP2DLUTInStruct_V10 r = lut2d_test::neutralRecord();
    randomNodes(rng, r.lut_1d_h, pick(0, 3) == 0 ? pick(1, 200) : 0,
                pick(0, 3) == 0 ? pick(11000, 12288) : 12288);
    randomNodes(rng, r.lut_1d_s, pick(0, 2) == 0 ? pick(1, 300) : 0,
                pick(0, 3) == 0 ? pick(1800, 2048) : 2048);
    for (int i = 0; i < 24; ++i)
        r.lut_1d_h_inv[i] = static_cast<uint16_t>(
            std::min(16383, 16384 / (r.lut_1d_h[i + 1] - r.lut_1d_h[i]) + pick(0, 1)));
    for (int j = 0; j < 15; ++j)
        r.lut_1d_s_inv[j] = static_cast<uint16_t>(
            std::min(2047, 2048 / (r.lut_1d_s[j + 1] - r.lut_1d_s[j]) + pick(0, 1)));
    bool zeroBlock[7][4];
    for (auto& row : zeroBlock)
        for (bool& z : row) z = pick(0, 1) == 0;
    for (int i = 0; i < 400; ++i) {
        const bool zero = zeroBlock[i / 16 / 4][i % 16 / 4];
        r.lut_2d_h[i] = static_cast<int16_t>(zero ? 0 : pick(-511, 511));
        r.lut_2d_s[i] = static_cast<int16_t>(zero ? 0 : pick(-511, 511));
    }
    r.h_shift = static_cast<uint16_t>(pick(0, 5));
    r.s_shift = static_cast<uint16_t>(pick(0, 3));
    int b[4];
    for (;;) {
        for (int& v : b) v = pick(0, 2047);
        std::sort(b, b + 4);
        if (b[0] < b[1] && b[2] < b[3]) break;
    }
    setLightness(r, static_cast<uint16_t>(b[0]), static_cast<uint16_t>(b[1]),
                 static_cast<uint16_t>(b[2]), static_cast<uint16_t>(b[3]),
                 static_cast<uint16_t>(std::min(2047, 2048 / (b[1] - b[0]) + pick(0, 2))),
                 static_cast<uint16_t>(std::min(2047, 2048 / (b[3] - b[2]) + pick(0, 2))));
    return r;
}

// An engine set up on a record, released at the end of the scope.
struct Engine {
    SW_2DLut_v10 e;
    explicit Engine(ISP2DLUTInStruct_V10* rec) {
        e.InitLut2D(rec, LUT2D_MODE_CHRUS, {64, 32, 64, 0});
    }
    ~Engine() { e.DenitLut2D(); }
    HM_RGB* cache(int band = 0) {
        return reinterpret_cast<HM_RGB*>(e.m_workArea) + band * lut2d::kCacheEntries;
    }
};

}  // namespace kmodel
