#include "record.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>

namespace lut2d_tool {

static_assert(std::endian::native == std::endian::little,
              "the binary record is little-endian and is read in place");

namespace {

#define LUT2D_FIELD(name, isSigned, min, max, derived, grid)                                    \
    FieldInfo {                                                                                 \
#name, offsetof(ISP2DLUTInStruct_V10, name),                                            \
            sizeof(ISP2DLUTInStruct_V10::name) / sizeof(uint16_t), isSigned, min, max, derived, \
            grid                                                                                \
    }

constexpr FieldInfo kFields[] = {
    LUT2D_FIELD(enable, false, 0, 1, false, false),
    LUT2D_FIELD(h_shift, false, 0, 5, false, false),
    LUT2D_FIELD(s_shift, false, 0, 3, false, false),
    LUT2D_FIELD(l_boundary_start_A, false, 0, 2047, false, false),
    LUT2D_FIELD(l_boundary_start_B, false, 0, 2047, false, false),
    LUT2D_FIELD(l_boundary_end_A, false, 0, 2047, false, false),
    LUT2D_FIELD(l_boundary_end_B, false, 0, 2047, false, false),
    LUT2D_FIELD(y_blend_factor_integer, false, 0, 16, false, false),
    LUT2D_FIELD(K_b_integer, false, 0, 255, false, false),
    LUT2D_FIELD(K_r_integer, false, 0, 255, false, false),
    LUT2D_FIELD(lut_1d_h, false, 0, kHueTurn, false, false),
    LUT2D_FIELD(lut_1d_s, false, 0, kSatFull, false, false),
    LUT2D_FIELD(lut_2d_h, true, -511, 511, false, true),
    LUT2D_FIELD(lut_2d_s, true, -511, 511, false, true),
    LUT2D_FIELD(lut_1d_h_inv, false, 0, 16383, true, false),
    LUT2D_FIELD(lut_1d_s_inv, false, 0, 2047, true, false),
    LUT2D_FIELD(l_boundary_start_inv, false, 0, 2047, true, false),
    LUT2D_FIELD(l_boundary_end_inv, false, 0, 2047, true, false),
};

#undef LUT2D_FIELD

std::string str(int32_t v) {
    return std::to_string(v);
}

// Node positions: strictly increasing, pinned ends, reciprocals matching the spacing.
void checkNodes(const ISP2DLUTInStruct_V10& r, const char* nodesName, const char* invName,
                int32_t invFull, bool firstMustBeZero, int32_t last,
                std::vector<std::string>& problems) {
    const FieldInfo& nodes = recordField(nodesName);
    const FieldInfo& inv = recordField(invName);
    const size_t n = nodes.count;
    for (size_t i = 1; i < n; ++i) {
        if (nodes.get(r, i) <= nodes.get(r, i - 1)) {
            problems.push_back(elementName(nodes, i) + " = " + str(nodes.get(r, i)) +
                               " is not above " + elementName(nodes, i - 1) + " = " +
                               str(nodes.get(r, i - 1)) + ": nodes must increase strictly");
        }
    }
    if (firstMustBeZero && nodes.get(r, 0) != 0) {
        problems.push_back(elementName(nodes, 0) + " = " + str(nodes.get(r, 0)) +
                           " must be 0, so that every value lies at or after the first node");
    }
    if (nodes.get(r, n - 1) != last) {
        problems.push_back(elementName(nodes, n - 1) + " = " + str(nodes.get(r, n - 1)) +
                           " must be " + str(last) +
                           ", so that every value lies at or before the last node");
    }
    for (size_t i = 0; i + 1 < n; ++i) {
        const int32_t width = nodes.get(r, i + 1) - nodes.get(r, i);
        if (width <= 0) continue;  // reported above as a node-order problem
        const int32_t expected = spacingReciprocal(invFull, width);
        const std::string span = elementName(nodes, i) + ".." + elementName(nodes, i + 1);
        if (expected > inv.max) {
            problems.push_back(span + " are " + str(width) +
                               " apart: nodes must be at least 2 apart, since " + str(invFull) +
                               " / " + str(width) + " does not fit " + inv.name);
        } else if (inv.get(r, i) != expected) {
            problems.push_back(elementName(inv, i) + " = " + str(inv.get(r, i)) +
                               " does not match the spacing of " + span + " (" + str(width) +
                               " apart): expected " + str(expected) + " = " + str(invFull) + " / " +
                               str(width) + ", truncated");
        }
    }
}

// One lightness ramp: its two boundaries in order and its reciprocal matching its width.
void checkRamp(const ISP2DLUTInStruct_V10& r, const char* lowName, const char* highName,
               const char* invName, std::vector<std::string>& problems) {
    const FieldInfo& low = recordField(lowName);
    const FieldInfo& high = recordField(highName);
    const FieldInfo& inv = recordField(invName);
    const int32_t width = high.get(r, 0) - low.get(r, 0);
    if (width <= 0) {
        problems.push_back(std::string(lowName) + " = " + str(low.get(r, 0)) + " must be below " +
                           highName + " = " + str(high.get(r, 0)));
        return;
    }
    const int32_t expected = spacingReciprocal(kLightInvFull, width);
    if (expected > inv.max) {
        problems.push_back(std::string(highName) + " - " + lowName + " = " + str(width) +
                           ": the ramp must be at least 2 wide, since " + str(kLightInvFull) +
                           " / " + str(width) + " does not fit " + invName);
    } else if (inv.get(r, 0) != expected) {
        problems.push_back(std::string(invName) + " = " + str(inv.get(r, 0)) +
                           " does not match the ramp " + lowName + ".." + highName + " (" +
                           str(width) + " wide): expected " + str(expected) + " = " +
                           str(kLightInvFull) + " / " + str(width) + ", truncated");
    }
}

}  // namespace

int32_t FieldInfo::get(const ISP2DLUTInStruct_V10& r, size_t i) const {
    uint16_t raw;
    std::memcpy(&raw, reinterpret_cast<const unsigned char*>(&r) + offset + 2 * i, 2);
    return isSigned ? int32_t{static_cast<int16_t>(raw)} : int32_t{raw};
}

void FieldInfo::set(ISP2DLUTInStruct_V10& r, size_t i, int32_t v) const {
    const auto raw = static_cast<uint16_t>(v);
    std::memcpy(reinterpret_cast<unsigned char*>(&r) + offset + 2 * i, &raw, 2);
}

std::span<const FieldInfo> recordFields() {
    return kFields;
}

const FieldInfo& recordField(std::string_view name) {
    for (const FieldInfo& f : recordFields()) {
        if (name == f.name) return f;
    }
    throw std::out_of_range("no record field " + std::string(name));
}

std::string elementName(const FieldInfo& f, size_t i) {
    if (f.grid) {
        return std::string(f.name) + "[" + std::to_string(i / kSatNodes) + "][" +
               std::to_string(i % kSatNodes) + "] (entry " + std::to_string(i) + ")";
    }
    if (f.count == 1) return f.name;
    return std::string(f.name) + "[" + std::to_string(i) + "]";
}

void setLightnessRamps(ISP2DLUTInStruct_V10& r, uint16_t startA, uint16_t startB, uint16_t endA,
                       uint16_t endB) {
    r.l_boundary_start_A = startA;
    r.l_boundary_start_B = startB;
    r.l_boundary_end_A = endA;
    r.l_boundary_end_B = endB;
    deriveReciprocals(r);
}

void deriveReciprocals(ISP2DLUTInStruct_V10& r) {
    auto fit = [](const char* invName, int32_t full, int32_t width) {
        return std::min(spacingReciprocal(full, width), recordField(invName).max);
    };
    for (int i = 0; i + 1 < kHueNodes; ++i) {
        r.lut_1d_h_inv[i] = static_cast<uint16_t>(
            fit("lut_1d_h_inv", kHueInvFull, r.lut_1d_h[i + 1] - r.lut_1d_h[i]));
    }
    for (int j = 0; j + 1 < kSatNodes; ++j) {
        r.lut_1d_s_inv[j] = static_cast<uint16_t>(
            fit("lut_1d_s_inv", kSatInvFull, r.lut_1d_s[j + 1] - r.lut_1d_s[j]));
    }
    r.l_boundary_start_inv = static_cast<uint16_t>(
        fit("l_boundary_start_inv", kLightInvFull, r.l_boundary_start_B - r.l_boundary_start_A));
    r.l_boundary_end_inv = static_cast<uint16_t>(
        fit("l_boundary_end_inv", kLightInvFull, r.l_boundary_end_B - r.l_boundary_end_A));
}

std::vector<std::string> recordProblems(const ISP2DLUTInStruct_V10& r) {
    std::vector<std::string> problems;
    for (const FieldInfo& f : recordFields()) {
        for (size_t i = 0; i < f.count; ++i) {
            const int32_t v = f.get(r, i);
            if (v < f.min || v > f.max) {
                problems.push_back(elementName(f, i) + " = " + str(v) + " is out of range " +
                                   str(f.min) + ".." + str(f.max));
            }
        }
    }
    checkNodes(r, "lut_1d_h", "lut_1d_h_inv", kHueInvFull, true, kHueTurn, problems);
    checkNodes(r, "lut_1d_s", "lut_1d_s_inv", kSatInvFull, false, kSatFull, problems);
    checkRamp(r, "l_boundary_start_A", "l_boundary_start_B", "l_boundary_start_inv", problems);
    if (r.l_boundary_end_A < r.l_boundary_start_B) {
        problems.push_back("l_boundary_end_A = " + str(r.l_boundary_end_A) +
                           " must not be below l_boundary_start_B = " + str(r.l_boundary_start_B));
    }
    checkRamp(r, "l_boundary_end_A", "l_boundary_end_B", "l_boundary_end_inv", problems);
    return problems;
}

}  // namespace lut2d_tool
