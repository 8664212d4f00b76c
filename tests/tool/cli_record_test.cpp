// lut2d record new | check | show | convert, end to end.

#include <gtest/gtest.h>

#include <random>

#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;

std::string bytesOf(const ISP2DLUTInStruct_V10& r) {
    return std::string(reinterpret_cast<const char*>(&r), sizeof r);
}

// A scratch folder and a record starting out neutral.
struct RecordCommands : ::testing::Test {
    ScratchDir dir;
    ISP2DLUTInStruct_V10 r = neutralRecord();
};

TEST_F(RecordCommands, JsonToBinaryToJsonIsTheIdentity) {
    std::mt19937 rng(7);
    for (auto& v : r.lut_2d_h) v = static_cast<int16_t>(int(rng() % 1023) - 511);
    for (auto& v : r.lut_2d_s) v = static_cast<int16_t>(int(rng() % 1023) - 511);
    r.lut_1d_h[1] = 700;
    r.h_shift = 5;
    r.K_r_integer = 255;
    setLightnessRamps(r, 0, 300, 1918, 2046);
    // Reciprocals are the quotients of the spacing, truncated (50.6 and 6.8 here).
    EXPECT_EQ(r.lut_1d_h_inv[1], 16384 / 324);
    EXPECT_EQ(r.l_boundary_start_inv, 2048 / 300);
    writeText(dir / "a.json", recordToJson(r));
    ASSERT_EQ(dir.run("record convert a.json a.bin").exitCode, 0);
    ASSERT_EQ(dir.run("record convert a.bin b.json").exitCode, 0);
    EXPECT_EQ(readText(dir / "a.bin"), bytesOf(r));
    EXPECT_EQ(readText(dir / "b.json"), readText(dir / "a.json"));
    ASSERT_EQ(dir.run("record new n.bin").exitCode, 0);
    EXPECT_EQ(readText(dir / "n.bin"), bytesOf(neutralRecord()));
}

// Each problem on a line of its own (their texts are the record model's), then the library's
// verdict.
TEST_F(RecordCommands, CheckNamesEachProblemAndTheLibrarysVerdict) {
    r.lut_2d_s[17] = 600;  // out of range: the library rejects it too
    r.l_boundary_end_B = 1900;
    writeText(dir / "bad.bin", bytesOf(r));
    const RunResult bad = dir.run("record check bad.bin");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.out,
              "bad.bin: lut_2d_s[1][1] (entry 17) = 600 is out of range -511..511\n"
              "bad.bin: l_boundary_end_A = 1918 must be below l_boundary_end_B = 1900\n"
              "bad.bin: 2 problems; the library's own validation rejects it (status 2, 1 "
              "out-of-range value)\n");
}

// A reciprocal rounded instead of truncated: the library does not look; JSON cannot keep it.
TEST_F(RecordCommands, ConvertRederivesAReciprocalThatDoesNotMatch) {
    r.lut_1d_s_inv[3] = 15;
    writeText(dir / "rounded.bin", bytesOf(r));
    EXPECT_NE(dir.run("record check rounded.bin")
                  .out.find("1 problem; the library's own validation accepts it"),
              std::string::npos);
    const RunResult convert = dir.run("record convert rounded.bin fixed.json");
    EXPECT_EQ(convert.err,
              "lut2d: note: rounded.bin: lut_1d_s_inv[3] = 15 is not kept; read back, the spacing "
              "gives 14\n");
    EXPECT_EQ(readText(dir / "fixed.json"), recordToJson(neutralRecord()));
    const RunResult good = dir.run("record check fixed.json");
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.out,
              "fixed.json: ok: the library's validation accepts it and every invariant holds\n"
              "fixed.json: lint: no red seam, fold-over or near-grey push\n");
}

TEST_F(RecordCommands, CheckListsLintWarningsAfterTheVerdictAndStrictMakesThemErrors) {
    for (int j = 1; j < 16; ++j) r.lut_2d_s[24 * 16 + j] = 40;  // 2 % more saturation at 360 only
    writeText(dir / "seam.bin", bytesOf(r));
    const std::string seam =
        "seam.bin: ok: the library's validation accepts it and every invariant holds\n"
        "seam.bin: lint warning: red seam: lut_2d_s row 0 (0 degrees) and row 24 (360 degrees) "
        "are both red but differ, largest jump 2.0 % at saturation node 1 (7 %); jump per "
        "saturation node: 0.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0 2.0; make "
        "lut_2d_s[24][1..15] equal lut_2d_s[0][1..15]\n"
        "seam.bin: lint: 1 warning (--strict makes them errors)\n";
    const RunResult warned = dir.run("record check seam.bin");
    EXPECT_EQ(warned.exitCode, 0);
    EXPECT_EQ(warned.out, seam);
    const RunResult strict = dir.run("record check --strict seam.bin");
    EXPECT_EQ(strict.exitCode, 1);
    EXPECT_NE(strict.out.find("seam.bin: lint error: red seam"), std::string::npos) << strict.out;
    EXPECT_NE(strict.out.find("seam.bin: lint: 1 warning, errors under --strict"),
              std::string::npos);
    ASSERT_EQ(dir.run("record new --showcase s.json").exitCode, 0);
    EXPECT_EQ(dir.run("record check --strict s.json").exitCode, 0);
}

TEST_F(RecordCommands, ShowPrintsTheRecordReadably) {
    ASSERT_EQ(dir.run("record new --showcase s.bin").exitCode, 0);
    const RunResult shown = dir.run("record show s.bin");
    ASSERT_EQ(shown.exitCode, 0) << shown.err;
    for (const char* part :
         {"s.bin: binary tuning record", "h_shift       2",
          "lightness     0 up to 32, rising to full at 288", "   7   3584  105.0 deg   inv 32",
          "     8  120 |    0    0  -10  -37", "0 problems"}) {
        EXPECT_NE(shown.out.find(part), std::string::npos) << part << "\n" << shown.out;
    }
}

}  // namespace
