// The tool's model of the tuning record: field table, reciprocals, invariants and JSON.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "chart.h"
#include "engine/sw_2dlut_v10.h"
#include "record.h"
#include "record_io.h"
#include "tool_error.h"

namespace {

using namespace lut2d_tool;

std::vector<std::string> jsonProblems(const std::string& text) {
    try {
        recordFromJson(text, "r.json");
    } catch (const ToolError& e) {
        return e.lines();
    }
    return {};
}

// The neutral record's JSON with one edit made to its text.
std::string editedJson(const std::string& from, const std::string& to) {
    std::string text = recordToJson(neutralRecord());
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

TEST(RecordFields, CoverTheBinaryRecordExactlyOnce) {
    std::vector<int> owner(kRecordBytes, 0);
    for (const FieldInfo& f : recordFields()) {
        for (size_t b = 0; b < 2 * f.count; ++b) ++owner.at(f.offset + b);
    }
    for (size_t b = 0; b < kRecordBytes; ++b) EXPECT_EQ(owner[b], 1) << "byte " << b;
}

TEST(RecordFields, ReadAndWriteElementsByTheirSignedness) {
    ISP2DLUTInStruct_V10 r{};
    recordField("lut_2d_s").set(r, 37, -300);
    recordField("lut_1d_h").set(r, 24, 12288);
    EXPECT_EQ(r.lut_2d_s[37], -300);
    EXPECT_EQ(recordField("lut_2d_s").get(r, 37), -300);
    EXPECT_EQ(recordField("lut_1d_h").get(r, 24), 12288);
    r.h_shift = 0xFFFF;
    EXPECT_EQ(recordField("h_shift").get(r, 0), 65535);  // unsigned, as the library prints it
    EXPECT_EQ(elementName(recordField("lut_2d_h"), 37), "lut_2d_h[2][5] (entry 37)");
    EXPECT_EQ(elementName(recordField("lut_1d_s_inv"), 3), "lut_1d_s_inv[3]");
    EXPECT_EQ(elementName(recordField("K_b_integer"), 0), "K_b_integer");
}

TEST(Reciprocals, AreTheTruncatedQuotientOfTheSpacing) {
    EXPECT_EQ(spacingReciprocal(16384, 512), 32);
    EXPECT_EQ(spacingReciprocal(16384, 700), 23);  // 23.4
    EXPECT_EQ(spacingReciprocal(2048, 137), 14);   // 14.95: truncated, not rounded
    EXPECT_EQ(spacingReciprocal(2048, 0), 0);
    ISP2DLUTInStruct_V10 r = neutralRecord();
    r.lut_1d_s[1] = 2;  // 2 wide: 1024; then 271 wide
    r.l_boundary_start_B = 3;
    deriveReciprocals(r);
    EXPECT_EQ(r.lut_1d_s_inv[0], 1024);
    EXPECT_EQ(r.lut_1d_s_inv[1], 7);
    EXPECT_EQ(r.l_boundary_start_inv, 682);
    EXPECT_EQ(r.lut_1d_h_inv[23], 32);
}

TEST(BuiltInRecords, PassTheLibrarysValidationAndEveryInvariant) {
    const SW_2DLut_v10 engine;
    for (const ISP2DLUTInStruct_V10& r : {neutralRecord(), showcaseRecord()}) {
        EXPECT_EQ(recordProblems(r), std::vector<std::string>{});
        EXPECT_EQ(engine.parameterCheck(&r), 0);
        EXPECT_EQ(r.enable, 1);
    }
    for (int16_t v : neutralRecord().lut_2d_h) EXPECT_EQ(v, 0);
    for (int16_t v : neutralRecord().lut_2d_s) EXPECT_EQ(v, 0);
}

TEST(BuiltInRecords, ShowcaseLeavesGreysSkinAndRedsAlone) {
    const ISP2DLUTInStruct_V10 r = showcaseRecord();
    for (int i = 0; i < kHueNodes; ++i) {
        // Saturation node 0 carries nothing, so greys and near-greys keep their colour.
        EXPECT_EQ(r.lut_2d_h[i * kSatNodes], 0);
        EXPECT_EQ(r.lut_2d_s[i * kSatNodes], 0);
        const bool untouchedHue = i <= 4 || i == 12 || i >= 17;  // reds to yellows, cyan, ...
        for (int j = 0; j < kSatNodes; ++j) {
            if (untouchedHue) {
                EXPECT_EQ(r.lut_2d_h[i * kSatNodes + j], 0) << i << "," << j;
                EXPECT_EQ(r.lut_2d_s[i * kSatNodes + j], 0) << i << "," << j;
            }
        }
    }
    EXPECT_LT(r.lut_2d_h[8 * kSatNodes + 8], -300);  // greens turn strongly towards yellow
    EXPECT_GT(r.lut_2d_s[14 * kSatNodes + 8], 100);  // blues gain saturation
}

TEST(RecordProblems, NameEachBrokenInvariantWithFieldAndIndex) {
    struct Case {
        const char* what;
        std::function<void(ISP2DLUTInStruct_V10&)> edit;
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases = {
        {"node order",
         [](auto& r) { r.lut_1d_h[5] = 2000; },
         {"lut_1d_h[5] = 2000 is not above lut_1d_h[4] = 2048: nodes must increase strictly",
          "lut_1d_h_inv[5] = 32 does not match the spacing of lut_1d_h[5]..lut_1d_h[6] (1072 "
          "apart): expected 15 = 16384 / 1072, truncated"}},
        {"first hue node",
         [](auto& r) {
             r.lut_1d_h[0] = 4;
             r.lut_1d_h_inv[0] = 16384 / 508;
         },
         {"lut_1d_h[0] = 4 must be 0, so that every value lies at or after the first node"}},
        {"last hue node",
         [](auto& r) {
             r.lut_1d_h[24] = 12287;
             r.lut_1d_h_inv[23] = 16384 / 511;
         },
         {"lut_1d_h[24] = 12287 must be 12288, so that every value lies at or before the last "
          "node"}},
        {"last saturation node",
         [](auto& r) {
             r.lut_1d_s[15] = 2047;
             r.lut_1d_s_inv[14] = 2048 / 136;
         },
         {"lut_1d_s[15] = 2047 must be 2048, so that every value lies at or before the last "
          "node"}},
        {"saturation reciprocal",
         [](auto& r) { r.lut_1d_s_inv[14] = 15; },
         {"lut_1d_s_inv[14] = 15 does not match the spacing of lut_1d_s[14]..lut_1d_s[15] (137 "
          "apart): expected 14 = 2048 / 137, truncated"}},
        {"nodes too close",
         [](auto& r) {
             r.lut_1d_s[1] = 1;
             r.lut_1d_s_inv[1] = 2048 / 272;
         },
         {"lut_1d_s[0]..lut_1d_s[1] are 1 apart: nodes must be at least 2 apart, since 2048 / 1 "
          "does not fit lut_1d_s_inv"}},
        {"boundary order",
         [](auto& r) {
             r.l_boundary_end_A = 100;
             r.l_boundary_end_inv = 2048 / 1946;
         },
         {"l_boundary_end_A = 100 must not be below l_boundary_start_B = 128"}},
        {"empty ramp",
         [](auto& r) { r.l_boundary_start_B = 0; },
         {"l_boundary_start_A = 0 must be below l_boundary_start_B = 0"}},
        {"ramp reciprocal",
         [](auto& r) { r.l_boundary_end_inv = 17; },
         {"l_boundary_end_inv = 17 does not match the ramp l_boundary_end_A..l_boundary_end_B (128 "
          "wide): expected 16 = 2048 / 128, truncated"}},
        {"ranges",
         [](auto& r) {
             r.lut_2d_h[399] = -512;
             r.h_shift = 0xFFFF;
         },
         {"h_shift = 65535 is out of range 0..5",
          "lut_2d_h[24][15] (entry 399) = -512 is out of range -511..511"}},
    };
    for (const Case& c : cases) {
        ISP2DLUTInStruct_V10 r = neutralRecord();
        c.edit(r);
        EXPECT_EQ(recordProblems(r), c.expected) << c.what;
    }
}

TEST(RecordJson, ReadingBackWhatWasWrittenIsTheIdentity) {
    std::mt19937 rng(7);
    ISP2DLUTInStruct_V10 random = neutralRecord();
    std::uniform_int_distribution<int> offset(-511, 511);
    for (auto& v : random.lut_2d_h) v = static_cast<int16_t>(offset(rng));
    for (auto& v : random.lut_2d_s) v = static_cast<int16_t>(offset(rng));
    random.lut_1d_s[0] = 40;
    random.lut_1d_h[7] = 3333;
    random.h_shift = 5;
    random.s_shift = 3;
    random.K_r_integer = 255;
    deriveReciprocals(random);
    for (const ISP2DLUTInStruct_V10& r : {neutralRecord(), showcaseRecord(), random}) {
        const std::string text = recordToJson(r);
        const ISP2DLUTInStruct_V10 back = recordFromJson(text, "r.json");
        EXPECT_EQ(std::memcmp(&back, &r, sizeof r), 0);
        EXPECT_EQ(recordToJson(back), text);
    }
}

TEST(RecordJson, EveryProblemIsNamedOnItsOwnLine) {
    EXPECT_EQ(jsonProblems(editedJson("\"h_shift\": 0,", "")),
              std::vector<std::string>{"r.json: missing field \"h_shift\""});
    EXPECT_EQ(jsonProblems(editedJson("\"s_shift\": 0", "\"s_shift\": \"2\"")),
              std::vector<std::string>{"r.json: s_shift must be an integer, found \"2\""});
    EXPECT_EQ(jsonProblems(editedJson("\"s_shift\": 0", "\"s_shift\": 1.5")),
              std::vector<std::string>{"r.json: s_shift must be an integer, found 1.5"});
    EXPECT_EQ(jsonProblems(editedJson("\"enable\": 1", "\"enable\": 2")),
              std::vector<std::string>{"r.json: enable = 2 is out of range 0..1"});
    EXPECT_EQ(jsonProblems(editedJson("\"K_b_integer\": 0", "\"K_b_integer\": 99999999999")),
              std::vector<std::string>{"r.json: K_b_integer = 99999999999 is out of range 0..255"});
    EXPECT_EQ(jsonProblems(editedJson("[0, 136,", "[0,")),
              std::vector<std::string>{"r.json: lut_1d_s must hold 16 values, found 15"});
    EXPECT_EQ(
        jsonProblems(editedJson("\"lut_1d_s\": [", "\"lut_1d_s\": 5, \"x_\": [")),
        (std::vector<std::string>{"r.json: unknown field \"x_\"",
                                  "r.json: lut_1d_s must be an array of 16 values, found 5"}));
    // A grid entry, a grid row and several problems at once.
    const std::string grid = "[   0,    0,    0,    0,    0,    0";
    const size_t row2 = recordToJson(neutralRecord()).find("\"lut_2d_h\"");
    std::string text = recordToJson(neutralRecord());
    size_t at = text.find(grid, row2);
    for (int row = 0; row < 2; ++row) at = text.find(grid, at + 1);
    text.replace(at, grid.size(), "[   0,    0,    0,    0,    0,  600");
    text.replace(text.find("\"enable\": 1"), 11,
                 "\"enable\": 1, \"bogus\": 3, \"lut_1d_s_inv\": []");
    EXPECT_EQ(
        jsonProblems(text),
        (std::vector<std::string>{
            "r.json: unknown field \"bogus\"",
            "r.json: field \"lut_1d_s_inv\" is computed from the node positions; leave it out",
            "r.json: lut_2d_h[2][5] (entry 37) = 600 is out of range -511..511"}));
    EXPECT_EQ(jsonProblems(editedJson("\"lut_2d_s\": [\n    [", "\"lut_2d_s\": [\n    [7], [")),
              std::vector<std::string>{"r.json: lut_2d_s must hold 25 values, found 26"});
    EXPECT_EQ(jsonProblems("[1, 2]"),
              std::vector<std::string>{
                  "r.json: a JSON record must be an object of fields, found a JSON array"});
    EXPECT_EQ(jsonProblems("{\"enable\": "),
              std::vector<std::string>{"r.json: not valid JSON: parse error at line 1, column 12: "
                                       "syntax error while parsing value - unexpected end of "
                                       "input; expected '[', '{', or a literal"});
}

TEST(RecordJson, IgnoresCommentKeysAndKeepsNodePositionsAsWritten) {
    std::string text = editedJson("\"enable\": 1", "\"_note\": {\"any\": [1]}, \"enable\": 1");
    EXPECT_EQ(jsonProblems(text), std::vector<std::string>{});
    const ISP2DLUTInStruct_V10 r = recordFromJson(editedJson("[0, 136,", "[40, 136,"), "r.json");
    EXPECT_EQ(r.lut_1d_s[0], 40);
    EXPECT_EQ(r.lut_1d_s_inv[0], 2048 / 96);
}

}  // namespace
