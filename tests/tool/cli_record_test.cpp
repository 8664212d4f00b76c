// lut2d record new | check | show | convert, end to end.

#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "record.h"
#include "record_io.h"
#include "tool_support.h"

namespace {

using namespace lut2d_tool_test;
using lut2d_tool::neutralRecord;
using lut2d_tool::recordToJson;

std::map<std::string, std::vector<uint8_t>> snapshot(const ScratchDir& dir) {
    std::map<std::string, std::vector<uint8_t>> files;
    for (const std::string& name : dir.files()) files[name] = readBytes(dir / name);
    return files;
}

size_t lineCount(const std::string& s) {
    return static_cast<size_t>(std::count(s.begin(), s.end(), '\n'));
}

// A failing command: its status, one line naming the problem, and the folder as it was.
void expectRefused(const ScratchDir& dir, const std::vector<std::string>& args,
                   const std::string& message, int status = 1) {
    const auto before = snapshot(dir);
    const RunResult r = dir.run(args);
    EXPECT_EQ(r.exitCode, status) << r.err;
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_EQ(lineCount(r.err), 1u) << r.err;
    EXPECT_TRUE(snapshot(dir) == before) << "files changed";
}

void writeRecord(const fs::path& p, const ISP2DLUTInStruct_V10& r) {
    writeBytes(p, std::vector<uint8_t>(reinterpret_cast<const uint8_t*>(&r),
                                       reinterpret_cast<const uint8_t*>(&r) + sizeof r));
}

TEST(RecordCommands, JsonToBinaryToJsonIsTheIdentity) {
    ScratchDir dir;
    for (const char* kind : {"neutral", "showcase"}) {
        std::vector<std::string> args = {"record", "new", "a.json"};
        if (std::string(kind) == "showcase") args.push_back("--showcase");
        ASSERT_EQ(dir.run(args).exitCode, 0);
        const RunResult toBinary = dir.run({"record", "convert", "a.json", "a.bin"});
        ASSERT_EQ(toBinary.exitCode, 0) << toBinary.err;
        EXPECT_EQ(readBytes(dir / "a.bin").size(), 1784u);
        ASSERT_EQ(dir.run({"record", "convert", "a.bin", "b.json"}).exitCode, 0);
        EXPECT_EQ(readText(dir / "b.json"), readText(dir / "a.json")) << kind;
        ASSERT_EQ(dir.run({"record", "convert", "b.json", "b.bin"}).exitCode, 0);
        EXPECT_EQ(readBytes(dir / "b.bin"), readBytes(dir / "a.bin")) << kind;
    }
    const ISP2DLUTInStruct_V10 neutral = neutralRecord();
    ASSERT_EQ(dir.run({"record", "new", "n.bin"}).exitCode, 0);
    EXPECT_EQ(std::memcmp(readBytes(dir / "n.bin").data(), &neutral, sizeof neutral), 0);
}

TEST(RecordCommands, ConvertComputesReciprocalsFromHandEditedJson) {
    ScratchDir dir;
    std::string text = recordToJson(neutralRecord());
    text.replace(text.find("[0, 512, 1024,"), 14, "[0, 700, 1024,");
    text.replace(text.find("\"l_boundary_start_B\": 128"), 25, "\"l_boundary_start_B\": 300");
    writeText(dir / "edited.json", text);
    const RunResult r = dir.run({"record", "convert", "edited.json", "edited.bin"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    ISP2DLUTInStruct_V10 rec;
    std::memcpy(&rec, readBytes(dir / "edited.bin").data(), sizeof rec);
    EXPECT_EQ(rec.lut_1d_h_inv[0], 16384 / 700);
    EXPECT_EQ(rec.lut_1d_h_inv[1], 16384 / 324);
    EXPECT_EQ(rec.lut_1d_h_inv[2], 32);
    EXPECT_EQ(rec.l_boundary_start_inv, 2048 / 300);
    EXPECT_EQ(dir.run({"record", "check", "edited.bin"}).exitCode, 0);
}

TEST(RecordCommands, BinaryToJsonReportsReciprocalsItCannotKeep) {
    ScratchDir dir;
    ISP2DLUTInStruct_V10 rec = neutralRecord();
    rec.lut_1d_s_inv[3] = 15;  // rounded instead of truncated
    writeRecord(dir / "rounded.bin", rec);
    const RunResult r = dir.run({"record", "convert", "rounded.bin", "fixed.json"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.err.find("lut_1d_s_inv[3] = 15 is not kept; read back, the spacing gives 14"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(readText(dir / "fixed.json"), recordToJson(neutralRecord()));
}

TEST(RecordCommands, CheckNamesEveryProblemAndTheLibrarysVerdict) {
    ScratchDir dir;
    ISP2DLUTInStruct_V10 rec = neutralRecord();
    rec.lut_2d_s[17] = 600;     // out of range: the library rejects it too
    rec.lut_1d_h[10] = 4000;    // below node 9
    rec.lut_1d_s_inv[14] = 15;  // does not match 137
    rec.l_boundary_end_B = 1900;
    writeRecord(dir / "bad.bin", rec);
    const RunResult r = dir.run({"record", "check", "bad.bin"});
    EXPECT_EQ(r.exitCode, 1);
    const std::vector<std::string> expected = {
        "bad.bin: lut_2d_s[1][1] (entry 17) = 600 is out of range -511..511",
        "bad.bin: lut_1d_h[10] = 4000 is not above lut_1d_h[9] = 4608: nodes must increase "
        "strictly",
        "bad.bin: lut_1d_h_inv[10] = 32 does not match the spacing of lut_1d_h[10]..lut_1d_h[11] "
        "(1632 apart): expected 10 = 16384 / 1632, truncated",
        "bad.bin: lut_1d_s_inv[14] = 15 does not match the spacing of lut_1d_s[14]..lut_1d_s[15] "
        "(137 apart): expected 14 = 2048 / 137, truncated",
        "bad.bin: l_boundary_end_A = 1918 must be below l_boundary_end_B = 1900",
        "bad.bin: 5 problems; the library's own validation rejects it (status 2, 1 out-of-range "
        "value)",
    };
    std::string all;
    for (const std::string& line : expected) all += line + "\n";
    EXPECT_EQ(r.out, all);

    // Invariants alone: the library accepts what it does not check.
    rec = neutralRecord();
    rec.lut_1d_h[0] = 2;
    rec.lut_1d_h_inv[0] = 16384 / 510;
    writeRecord(dir / "shifted.bin", rec);
    const RunResult s = dir.run({"record", "check", "shifted.bin"});
    EXPECT_EQ(s.exitCode, 1);
    EXPECT_NE(s.out.find("1 problem; the library's own validation accepts it"), std::string::npos)
        << s.out;

    ASSERT_EQ(dir.run({"record", "new", "good.json"}).exitCode, 0);
    const RunResult good = dir.run({"record", "check", "good.json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.out,
              "good.json: ok: the library's validation accepts it and every invariant holds\n");
}

TEST(RecordCommands, ShowPrintsTheRecordReadably) {
    ScratchDir dir;
    ASSERT_EQ(dir.run({"record", "new", "--showcase", "s.bin"}).exitCode, 0);
    const RunResult r = dir.run({"record", "show", "s.bin"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (const char* part :
         {"s.bin: binary tuning record", "h_shift       2",
          "lightness     0 up to 32, rising to full at 288", "   7   3584  105.0 deg   inv 32",
          "  15   2048  100.0 %", "lut_2d_h: offsets, each times 4 hue units",
          "     8  120 |    0 -142 -284 -427", "0 problems"}) {
        EXPECT_NE(r.out.find(part), std::string::npos) << part << "\n" << r.out;
    }
}

TEST(RecordCommands, BadInputIsRefusedWithoutTouchingAnyFile) {
    ScratchDir dir;
    ASSERT_EQ(dir.run({"record", "new", "n.json"}).exitCode, 0);
    ASSERT_EQ(dir.run({"record", "convert", "n.json", "n.bin"}).exitCode, 0);
    std::vector<uint8_t> shortRecord = readBytes(dir / "n.bin");
    shortRecord.resize(1000);
    writeBytes(dir / "short.bin", shortRecord);
    std::string text = readText(dir / "n.json");
    writeText(dir / "missing.json",
              std::string(text).replace(text.find("\"h_shift\": 0,"), 13, ""));
    writeText(dir / "type.json",
              std::string(text).replace(text.find("\"enable\": 1"), 11, "\"enable\": true"));
    writeText(dir / "range.json",
              std::string(text).replace(text.find("\"s_shift\": 0"), 12, "\"s_shift\": 4"));
    writeText(dir / "broken.json", text.substr(0, 200));
    writeText(dir / "order.json",
              std::string(text).replace(text.find("[0, 512, 1024,"), 14, "[0, 512, 500,"));

    expectRefused(dir, {"record", "check", "nope.bin"}, "nope.bin: cannot open:");
    expectRefused(dir, {"record", "show", "short.bin"},
                  "short.bin: a binary tuning record is 1784 bytes, this file has 1000");
    expectRefused(dir, {"record", "convert", "missing.json", "x.bin"},
                  "missing.json: missing field \"h_shift\"");
    expectRefused(dir, {"record", "convert", "type.json", "x.bin"},
                  "type.json: enable must be an integer, found true");
    expectRefused(dir, {"record", "check", "range.json"},
                  "range.json: s_shift = 4 is out of range 0..3");
    expectRefused(dir, {"record", "convert", "broken.json", "x.bin"},
                  "broken.json: not valid JSON:");
    expectRefused(dir, {"record", "convert", "n.bin", "n.bin"},
                  "n.bin: is also an input (n.bin); choose another output name");
    expectRefused(dir, {"record", "new", "no/such/folder/x.json"},
                  "no/such/folder/x.json: cannot write");
    expectRefused(dir, {"record", "convert", "n.json"}, "output is required", 2);
    expectRefused(dir, {"record", "check", "n.json", "--bogus"}, "--bogus", 2);
    expectRefused(dir, {"record", "frobnicate"}, "not expected: frobnicate", 2);
    expectRefused(dir, {"record"}, "record needs a command", 2);
    expectRefused(dir, {"frobnicate"}, "not expected: frobnicate", 2);

    // An unusable record: one line per problem and a last line saying nothing was written.
    const auto before = snapshot(dir);
    const RunResult r = dir.run({"record", "convert", "order.json", "order.bin"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err,
              "lut2d: error: order.json: lut_1d_h[2] = 500 is not above lut_1d_h[1] = 512: nodes "
              "must increase strictly\n"
              "lut2d: error: order.json: not converted; order.bin is not written\n");
    EXPECT_TRUE(snapshot(dir) == before);
}

}  // namespace
