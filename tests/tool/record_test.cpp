// The tool's model of the tuning record: field table, invariants and JSON.

#include <gtest/gtest.h>

#include <functional>

#include "engine/sw_2dlut_v10.h"
#include "library.h"
#include "record.h"
#include "record_io.h"
#include "tool_error.h"

namespace {

using namespace lut2d_tool;
using Lines = std::vector<std::string>;

TEST(RecordFields, CoverTheBinaryRecordExactlyOnce) {
    std::vector<int> owner(kRecordBytes, 0);
    for (const FieldInfo& f : recordFields())
        for (size_t b = 0; b < 2 * f.count; ++b) ++owner.at(f.offset + b);
    for (size_t b = 0; b < kRecordBytes; ++b) EXPECT_EQ(owner[b], 1) << "byte " << b;
}

// The tool accepts exactly what the library's validation accepts, element by element: each
// field's bounds pass SW_2DLut_v10::parameterCheck, the values just outside them do not (an
// unsigned field's minimum - 1 is 65535).
TEST(RecordFields, RangesAreTheLibrarysValidation) {
    const SW_2DLut_v10 library;
    for (const FieldInfo& f : recordFields()) {
        for (size_t i = 0; i < f.count; ++i) {
            for (const int32_t v : {f.min - 1, f.min, f.max, f.max + 1}) {
                ISP2DLUTInStruct_V10 r = neutralRecord();
                f.set(r, i, v);
                const int expected = v >= f.min && v <= f.max ? LUT2D_OK : LUT2D_ERR_BAD_CONFIG;
                ASSERT_EQ(library.parameterCheck(&r), expected) << elementName(f, i) << " = " << v;
            }
        }
    }
    takeLibraryErrors();
}

// The plot's lightness weight is the library's, overshooting ramps wrapping to 12 bits.
TEST(LightnessWeights, AreTheLibrarysWithTheTwelveBitWrap) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    setLightnessRamps(r, 100, 104, 1900, 2000);
    r.l_boundary_start_inv = 2047;  // 3 x 2047 = 6141 at lightness 103, 2045 in 12 bits
    const std::vector<int32_t> w = lightnessWeights(r);
    ASSERT_EQ(w.size(), 2047u);
    EXPECT_EQ(std::vector<int32_t>(w.begin() + 100, w.begin() + 105),
              (std::vector<int32_t>{0, 2047, 4094, 2045, 2048}));
    EXPECT_EQ(w[1950], 1000);  // (2000 - 1950) x 20
}

TEST(RecordProblems, NameEachBrokenInvariantWithFieldAndIndex) {
    const struct {
        std::function<void(ISP2DLUTInStruct_V10&)> edit;
        Lines expected;
    } cases[] = {
        {[](auto& r) { r.lut_1d_h[0] = 4, r.lut_1d_h_inv[0] = 16384 / 508; },
         {"lut_1d_h[0] = 4 must be 0, so that every value lies at or after the first node"}},
        {[](auto& r) { r.lut_1d_s[15] = 2047, r.lut_1d_s_inv[14] = 2048 / 136; },
         {"lut_1d_s[15] = 2047 must be 2048, so that every value lies at or before the last node"}},
        {[](auto& r) { r.lut_1d_s[1] = 1, r.lut_1d_s_inv[1] = 2048 / 272; },
         {"lut_1d_s[0]..lut_1d_s[1] are 1 apart: nodes must be at least 2 apart, since 2048 / 1 "
          "does not fit lut_1d_s_inv"}},
        {[](auto& r) { r.l_boundary_start_B = 0; },
         {"l_boundary_start_A = 0 must be below l_boundary_start_B = 0"}},
        {[](auto& r) { r.l_boundary_end_inv = 17; },
         {"l_boundary_end_inv = 17 does not match the ramp l_boundary_end_A..l_boundary_end_B (128 "
          "wide): expected 16 = 2048 / 128, truncated"}},
        {[](auto& r) { r.lut_2d_h[399] = -512, r.h_shift = 0xFFFF; },
         {"h_shift = 65535 is out of range 0..5",
          "lut_2d_h[24][15] (entry 399) = -512 is out of range -511..511"}},
    };
    for (const auto& c : cases) {
        ISP2DLUTInStruct_V10 r = neutralRecord();
        c.edit(r);
        EXPECT_EQ(recordProblems(r), c.expected);
    }
}

Lines jsonProblems(const std::string& text) {
    try {
        recordFromJson(text, "j");
    } catch (const ToolError& e) {
        return e.lines();
    }
    return {};
}

TEST(RecordJson, EveryProblemIsNamedOnItsOwnLine) {
    ISP2DLUTInStruct_V10 r = neutralRecord();
    r.lut_2d_h[37] = 377;
    const std::string json = recordToJson(r);
    const struct {
        std::string from, to;
        Lines expected;
    } cases[] = {
        {"\"s_shift\": 0", "\"s_shift\": \"2\"", {"j: s_shift must be an integer, found \"2\""}},
        {"\"K_b_integer\": 0",
         "\"K_b_integer\": 99999999999",
         {"j: K_b_integer = 99999999999 is out of range 0..255"}},
        {"[0, 136,", "[0,", {"j: lut_1d_s must hold 16 values, found 15"}},
        {"\"lut_1d_s\": [",
         "\"lut_1d_s\": 5, \"x_\": [",
         {"j: unknown field \"x_\"", "j: lut_1d_s must be an array of 16 values, found 5"}},
        {" 377", " 600", {"j: lut_2d_h[2][5] (entry 37) = 600 is out of range -511..511"}},
        // A key starting with "_" is a comment; a derived field is refused.
        {"\"enable\": 1",
         "\"enable\": 1, \"_note\": {\"any\": [1]}, \"lut_1d_s_inv\": []",
         {"j: field \"lut_1d_s_inv\" is computed from the node positions; leave it out"}},
        {json, "[1, 2]", {"j: a JSON record must be an object of fields, found a JSON array"}},
    };
    for (const auto& c : cases) {
        std::string text = json;
        EXPECT_EQ(jsonProblems(text.replace(text.find(c.from), c.from.size(), c.to)), c.expected);
    }
    EXPECT_EQ(
        jsonProblems("{").at(0).rfind("j: not valid JSON: parse error at line 1, column 2", 0), 0u);
    EXPECT_EQ(jsonProblems("{\"enable\": -64e446}"),
              Lines{"j: not valid JSON: number overflow parsing '-64e446'"});
}

}  // namespace
