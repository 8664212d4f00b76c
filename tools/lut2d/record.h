// The tuning record as the tool sees it: every field with its name, place and accepted
// range, the reciprocals derived from the node positions, and the invariants a usable
// record keeps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/int_math.h"
#include "interface/orvix_lut2d.h"
#include "interface/record_shape.h"

namespace lut2d_tool {

inline constexpr size_t kRecordBytes = sizeof(ISP2DLUTInStruct_V10);
using lut2d::gridEntry;
using lut2d::kHueInvFull;
using lut2d::kHueNodes;
using lut2d::kHueTurn;
using lut2d::kLightInvFull;
using lut2d::kSatFull;
using lut2d::kSatInvFull;
using lut2d::kSatNodes;
using lut2d::neutralRecord;
using lut2d::spacingReciprocal;

// The hue or saturation units one step of lut_2d_h or lut_2d_s stands for at a shift field's
// value: 1 shifted by it under the library's signed shift rule (2^shift for a valid record).
inline int32_t gridStep(uint16_t shift) {
    return lut2d::signedShift(1, shift);
}

// One field of the record. Values are 16-bit; `get` and `set` read and write element `i`
// (0 for a scalar) as a signed or unsigned number, by the field's type.
struct FieldInfo {
    const char* name;
    size_t offset;  // byte offset in the binary record
    size_t count;   // 1 for a scalar, else the number of elements
    bool isSigned;  // int16 elements (the two offset grids); all others are uint16
    int32_t min;    // accepted range, inclusive
    int32_t max;
    bool derived;  // a reciprocal: computed from node positions, never written in JSON
    bool grid;     // 25 rows (hue nodes) of 16 (saturation nodes)

    int32_t get(const ISP2DLUTInStruct_V10& r, size_t i) const;
    void set(ISP2DLUTInStruct_V10& r, size_t i, int32_t v) const;
};

// Every field, in the order the tool writes and checks them: scalars first, then the node
// positions, the two grids and the derived reciprocals.
std::span<const FieldInfo> recordFields();

// The field named `name`; throws std::out_of_range for an unknown name.
const FieldInfo& recordField(std::string_view name);

// How problems name an element: "h_shift", "lut_1d_h[3]", "lut_2d_h[2][5] (entry 37)".
std::string elementName(const FieldInfo& f, size_t i);

// Sets the four lightness boundaries (in lightness units, 0..2046) and derives all
// reciprocals.
void setLightnessRamps(ISP2DLUTInStruct_V10& r, uint16_t startA, uint16_t startB, uint16_t endA,
                       uint16_t endB);

// Fills the four reciprocal fields and both reciprocal arrays from the node positions and
// lightness boundaries. A spacing that is not positive gives 0; one too narrow for its
// reciprocal to fit gives the largest accepted value (recordProblems reports both).
void deriveReciprocals(ISP2DLUTInStruct_V10& r);

// Every way the record breaks a field's range or an invariant the library relies on, one
// line each naming the field and index: nodes strictly increasing, hue nodes from 0 to
// 12288, last saturation node 2048, reciprocals equal to spacingReciprocal of their
// spacing, lightness boundaries in order. Empty when the record is usable.
std::vector<std::string> recordProblems(const ISP2DLUTInStruct_V10& r);

}  // namespace lut2d_tool
