// Tuning records in files: the 1784-byte binary record and its readable JSON form.
//
// A file whose name ends in ".json" holds JSON; any other name holds the binary record.
// The JSON form names every field as the record does, writes the two grids as 25 rows (hue
// nodes) of 16 values (saturation nodes), and leaves out the six reciprocal fields, which
// are derived from the node positions whenever JSON is read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "interface/orvix_lut2d.h"

namespace lut2d_tool {

bool isJsonRecordPath(const std::filesystem::path& path);

// The record's JSON text (ends with a newline).
std::string recordToJson(const ISP2DLUTInStruct_V10& r);

// Parses JSON text; reciprocals are derived. Throws a ToolError with one line per problem
// (missing or unknown field, wrong type or length, value out of range), each starting with
// `source`.
ISP2DLUTInStruct_V10 recordFromJson(std::string_view text, const std::string& source);

// A record held in memory, JSON or the binary record (which must be exactly 1784 bytes).
// Checks the form only, like readRecordFile.
ISP2DLUTInStruct_V10 decodeRecord(std::span<const uint8_t> bytes, bool json,
                                  const std::string& source);

// Reads a record in either form. Binary records must be exactly 1784 bytes. Checks the
// form only; recordProblems() tells whether the values make a usable record.
ISP2DLUTInStruct_V10 readRecordFile(const std::filesystem::path& path);

// Writes a record in the form its name asks for, atomically.
void writeRecordFile(const std::filesystem::path& path, const ISP2DLUTInStruct_V10& r);

// Reads a record and refuses it, listing every problem, unless recordProblems() is empty.
ISP2DLUTInStruct_V10 readUsableRecord(const std::filesystem::path& path);

}  // namespace lut2d_tool
