// The colour kernel's arithmetic stated plainly, in 64-bit integers and from the rules rather
// than from the code's way of computing them; random tuning records that pass validation; and
// the kernel tests' fixture.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

#include "support/fixtures.h"

namespace kmodel {

using Rec = ISP2DLUTInStruct_V10;
using lut2d_test::pick;

// Three values: Y U V, G B R, R G B, H S L, or hue offset, saturation offset, neutral flag.
struct V3 {
    int a, b, c;
    bool operator==(const V3&) const = default;
};

inline int i16(int64_t v) {
    return static_cast<int16_t>(v);
}

// The 3x3 transform of a record: offsets in, Q10 matrix, rounded, offset out, clamped.
inline V3 cst(const CST_params& p, int a, int b, int c) {
    const int64_t d[3] = {a - p.inOffset[0], b - p.inOffset[1], c - p.inOffset[2]};
    auto out = [&](int k) {
        const int16_t* m = &p.coef[3 * k];
        const int64_t t = ((m[0] * d[0] + m[1] * d[1] + m[2] * d[2] + 512) >> 10) + p.outOffset[k];
        return i16(t > p.outMax[k] ? p.outMax[k] : std::max<int64_t>(t, p.outMin[k]));
    };
    return {out(0), out(1), out(2)};
}

// a * 2048 / n through the division tables: ceil(2^(12 + ceil(log2 n)) / n), then the shift.
inline int q(int a, int n) {
    int sh = 0;
    while ((1 << sh) < n) ++sh;
    const int64_t recip = n == 0 ? 4096 : ((int64_t{1} << (12 + sh)) + n - 1) / n;
    return static_cast<int>((((recip * a) >> sh) + 1) >> 1);
}

inline int denom(int l) {
    return l < 1024 ? l : 2046 - l;
}

// The hexcone hue, with the channels taken round the circle red, green, blue: the largest
// names the third (red over green on a tie, blue only when strictly largest), and the hue
// lies towards the next third when the channel after the largest is the larger of the other
// two, towards the previous one otherwise, by Q(mid - min, max - min). Returns H, S, L.
inline V3 rgbToHsl(int r, int g, int b) {
    const int c[3] = {r, g, b};
    const int top = b > std::max(r, g) ? 2 : (r >= g ? 0 : 1);
    const int next = c[(top + 1) % 3], prev = c[(top + 2) % 3];
    const int mx = c[top], mid = std::max(next, prev), mn = std::min(next, prev);
    const int l = mx + mn, ch = mx - mn;
    if (ch == 0) return {0, 0, l};
    const int step = q(mid - mn, ch);
    const int h = top * 4096 + (next > prev ? step : -step);
    return {h < 0 ? h + 12288 : h, q(ch, denom(l)), l};
}

// Sextant k = 0, 1, 2 has R, G, B largest; k = 3 is red again. Returns R, G, B.
inline V3 hslToRgb(int h, int s, int l) {
    const int ch = static_cast<int>((int64_t{denom(l)} * s + 1024) >> 11);
    const int k = (h + 2048) >> 12, f = h - k * 4096;
    int c[3] = {0, 0, 0};
    c[k % 3] = ch;
    c[(k + (f >= 0 ? 1 : 2)) % 3] = (ch * (f < 0 ? -f : f) + 1024) >> 11;
    for (int& v : c) v = std::clamp(v + ((l - ch) >> 1), 0, 1023);
    return {c[0], c[1], c[2]};
}

// Offsets of grid cell (hi, si) at (h, s): along hue first (weight in 15 bits, values as
// 16 bits, grid values shifted by the signed shift amounts), then along saturation.
inline V3 bilinear(const Rec& c, int h, int s, int hi, int si) {
    const int hn = hi >= 23 ? 24 : hi + 1, sn = si >= 14 ? 15 : si + 1;
    const int at[4] = {hi * 16 + si, hn * 16 + si, hi * 16 + sn, hn * 16 + sn};
    bool zero = true;
    for (int i : at) zero = zero && c.lut_2d_h[i] == 0 && c.lut_2d_s[i] == 0;
    if (zero) return {0, 0, 1};
    const int64_t wH = (hi <= 23 ? c.lut_1d_h_inv[hi] : 0) * int64_t{(h - c.lut_1d_h[hi]) & 0xFFFF};
    const int64_t wS = (si <= 14 ? c.lut_1d_s_inv[si] : 0) * int64_t{(s - c.lut_1d_s[si]) & 0xFFFF};
    auto axes = [&](const int16_t* g, int shift) {
        const int n = i16(shift);
        int64_t v[4];
        for (int i = 0; i < 4; ++i) v[i] = g[at[i]];
        for (int64_t& u : v)
            u = n >= 0 ? static_cast<int>(uint32_t(u) << (n & 31)) : u >> (-n & 31);
        const int64_t x = ((wH % 32768 * i16(v[1] - v[0]) + 8192) >> 14) + i16(v[0]);
        const int64_t y = ((wH % 32768 * i16(v[3] - v[2]) + 8192) >> 14) + i16(v[2]);
        return static_cast<int>(x + ((wS % 4096 * (y - x) + 1024) >> 11));
    };
    return {axes(c.lut_2d_h, c.h_shift), axes(c.lut_2d_s, c.s_shift), 0};
}

// Lightness weight in 1/2048: 0 outside, 2048 on the plateau, the ramps kept to 12 bits.
inline int weight(const Rec& c, int l) {
    if (l <= c.l_boundary_start_A || l >= c.l_boundary_end_B) return 0;
    if (l < c.l_boundary_start_B) return (l - c.l_boundary_start_A) * c.l_boundary_start_inv % 4096;
    if (l > c.l_boundary_end_A) return (c.l_boundary_end_B - l) * c.l_boundary_end_inv % 4096;
    return 2048;
}

// One turn added to a hue below the range or taken from one past it, then the low 14 bits
// kept: right within one turn outside the range, 12288 or more beyond that.
inline int wrapHue(int h) {
    return (h < 0 ? h + 12288 : (h >= 12288 ? h - 12288 : h)) & 16383;
}

// The interval of a value among n nodes: the last node at or below it (0 below all).
inline int interval(const uint16_t* nodes, int n, int x) {
    return static_cast<int>(std::upper_bound(nodes + 1, nodes + n, x) - nodes - 1);
}

// colorAdjust: hue and saturation moved, wrapped and clamped, or zeros and the neutral flag.
inline V3 colorAdjust(const Rec& c, int h, int s, int l) {
    if (s < c.lut_1d_s[0]) return {h, s, 0};
    const V3 d = bilinear(c, h, s, interval(c.lut_1d_h, 25, h), interval(c.lut_1d_s, 16, s));
    if (d.c) return d;
    const int w = weight(c, l);
    return {wrapHue(h + ((d.a * w + 1024) >> 11)),
            std::clamp(s + ((d.b * w + 1024) >> 11), 0, 2048), 0};
}

// process on one in-range 10-bit colour; a neutral cell keeps the colour's own RGB.
inline V3 process(const SW_2DLut_v10& e, const Rec& c, int y, int u, int v) {
    const V3 gbr = cst(e.m_cst[1], y, u, v), hsl = rgbToHsl(gbr.c, gbr.a, gbr.b);
    const V3 m = colorAdjust(c, hsl.a, hsl.b, hsl.c);
    const V3 rgb = m.c ? V3{gbr.c, gbr.a, gbr.b} : hslToRgb(m.a, m.b, hsl.c);
    return cst(e.m_cst[0], rgb.b, rgb.c, rgb.a);
}

// Lightness boundaries start A, start B, end A, end B, and ramp reciprocals that are the
// spacing's or `over` above it.
inline void setLightness(Rec& r, int sa, int sb, int ea, int eb, int over = 0) {
    std::tie(r.l_boundary_start_A, r.l_boundary_start_B, r.l_boundary_end_A, r.l_boundary_end_B) =
        std::tuple(sa, sb, ea, eb);
    r.l_boundary_start_inv = std::min(2047, 2048 / (sb - sa) + over);
    r.l_boundary_end_inv = std::min(2047, 2048 / (eb - ea) + over);
}

// A random record that passes validation: non-uniform nodes (sometimes not reaching the ends
// of the hue and saturation ranges), reciprocals at or just above the spacing, grid values
// with neutral 4 x 4 blocks, random shifts and lightness ramps.
inline Rec randomRecord(std::mt19937& rng) {
    Rec r = lut2d::neutralRecord();
    // n nodes from first to last (at least two apart) and their reciprocals of `one`; first
    // is sometimes above 0 and last sometimes below `end`.
    auto nodes = [&](uint16_t* x, uint16_t* inv, int n, int end, int one, int firstMax) {
        const int first = pick(rng, 0, 3) ? 0 : pick(rng, 1, firstMax);
        const int last = pick(rng, 0, 3) ? end : pick(rng, end - end / 10, end);
        std::vector<uint16_t> pos;
        for (int v = first + 2 + pick(rng, 0, 1); v <= last - 2; v += 2) pos.push_back(v);
        std::sample(pos.begin(), pos.end(), x + 1, n - 2, rng);  // keeps them in order
        x[0] = first, x[n - 1] = last;
        for (int i = 0; i + 1 < n; ++i)
            inv[i] = std::min(one - 1, one / (x[i + 1] - x[i]) + pick(rng, 0, 1));
    };
    nodes(r.lut_1d_h, r.lut_1d_h_inv, 25, 12288, 16384, 200);
    nodes(r.lut_1d_s, r.lut_1d_s_inv, 16, 2048, 2048, 300);
    const uint32_t zero = rng();  // one bit per 4 x 4 block of the grid
    for (int i = 0; i < 400; ++i) {
        const bool z = zero >> (i / 64 * 4 + i % 16 / 4) & 1;
        r.lut_2d_h[i] = z ? 0 : pick(rng, -511, 511);
        r.lut_2d_s[i] = z ? 0 : pick(rng, -511, 511);
    }
    r.h_shift = pick(rng, 0, 5);
    r.s_shift = pick(rng, 0, 3);
    int b[4];  // sorted, then spread so that start A < start B and end A < end B
    for (int& v : b) v = pick(rng, 0, 2044);
    std::sort(b, b + 4);
    setLightness(r, b[0], b[1] + 1, b[2] + 1, b[3] + 2, pick(rng, 0, 2));
    return r;
}

// An engine on a record (the neutral one to begin with), set up again after the record is
// edited, with the kernel's members called on plain values. The division tables handed to
// RGBtoHSL are copies at their exact size, so that a read beyond them is caught.
struct KernelTest : ::testing::Test {
    Rec rec = lut2d::neutralRecord();
    std::unique_ptr<lut2d_test::SetUpEngine> g = std::make_unique<lut2d_test::SetUpEngine>(&rec);
    std::vector<int> recip = std::vector<int>(e().m_recip, e().m_recip + 1024);
    std::vector<int> shift = std::vector<int>(e().m_shift, e().m_shift + 1024);
    std::mt19937 rng{3};

    SW_2DLut_v10& e() { return g->e; }
    void setUpAgain() { g = std::make_unique<lut2d_test::SetUpEngine>(&rec); }
    V3 random(int max = 1023) { return {pick(rng, 0, max), pick(rng, 0, max), pick(rng, 0, max)}; }
    // CST, CST_YUV2RGB or CST_RGB2YUV (the first takes its record as the last argument).
    template <class F, class... P>
    V3 cst(F f, V3 in, P... p) {
        short x, y, z;
        (e().*f)(in.a, in.b, in.c, &x, &y, &z, p...);
        return {x, y, z};
    }
    V3 hsl(V3 rgb) {
        V3 o{};
        e().RGBtoHSL(rgb.a, rgb.b, rgb.c, &o.a, &o.b, &o.c, recip.data(), recip.data(),
                     shift.data(), shift.data());
        return o;
    }
    V3 rgb(V3 hsl) {
        V3 o{};
        e().HSLtoRGB(&o.a, &o.b, &o.c, hsl.a, hsl.b, hsl.c);
        return o;
    }
    V3 bilinear(int h, int s, int hi, int si, bool flag = false) {
        V3 r{};
        e().bilinearInterpolation(h, s, hi, si, &r.a, &r.b, &rec, &flag);
        return {r.a, r.b, flag};
    }
    V3 colorAdjust(int h, int s, int l, bool flag = false) {
        V3 r{};
        e().colorAdjust(h, s, l, &r.a, &r.b, &rec, &flag);
        return {r.a, r.b, flag};
    }
    V3 process(V3 yuv, int band = 0) {
        short a, b, c;
        e().process(yuv.a, yuv.b, yuv.c, &a, &b, &c, g->slice(band));
        return {a, b, c};
    }
    // Sixty random records (a third with shifts no valid record has: wide, negative, 32 and
    // more), each set up, and `check` run 4000 times on each.
    void onRandomRecords(const std::function<void()>& check) {
        for (int k = 0; k < 60 && !HasFailure(); ++k) {
            rec = randomRecord(rng);
            if (k % 3 == 2) rec.h_shift = pick(rng, -40, 40), rec.s_shift = pick(rng, -40, 40);
            setUpAgain();
            for (int i = 0; i < 4000 && !HasFailure(); ++i) check();
        }
    }
};

}  // namespace kmodel
