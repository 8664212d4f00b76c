// libFuzzer target: the lut2d tool's tuning-record reader on any bytes, as JSON and as the
// binary record. Every problem must come out as a ToolError (any other exception is a
// finding); a record read from JSON is checked like `record check` does and written back to
// JSON, and reading that text again gives the same record.

#include <cstdlib>
#include <cstring>
#include <span>

#include "readers.h"
#include "record.h"
#include "tool_error.h"

namespace {

void expect(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> bytes(data, size);
    try {
        const ISP2DLUTInStruct_V10 r = lut2d_tool::decodeRecord(bytes, true, "fuzz.json");
        (void)lut2d_tool::recordProblems(r);
        const std::string text = lut2d_tool::recordToJson(r);
        const ISP2DLUTInStruct_V10 again = lut2d_tool::recordFromJson(text, "again.json");
        expect(std::memcmp(&r, &again, sizeof r) == 0);
    } catch (const lut2d_tool::ToolError& e) {
        expect(!e.lines().empty());
    }
    try {
        const ISP2DLUTInStruct_V10 r = lut2d_tool::decodeRecord(bytes, false, "fuzz.bin");
        (void)lut2d_tool::recordProblems(r);
        (void)lut2d_tool::recordToJson(r);
    } catch (const lut2d_tool::ToolError& e) {
        expect(!e.lines().empty());
    }
    return 0;
}
