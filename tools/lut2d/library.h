// The library as a camera host uses it: one handle per geometry, mode and tuning record,
// frames adjusted in place, and the library's log lines.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "interface/orvix_lut2d.h"
#include "yuv.h"

namespace lut2d_tool {

// "full resolution" / "low resolution".
const char* modeName(Lut2DMode mode);

// A library handle. Keeps its own copy of the record, which the library reads in place for
// the life of the handle.
class LibraryHandle {
  public:
    // Throws a ToolError naming the status and the library's own error line on failure.
    LibraryHandle(const ISP2DLUTInStruct_V10& record, const FrameGeometry& geometry,
                  Lut2DMode mode);
    ~LibraryHandle();
    LibraryHandle(const LibraryHandle&) = delete;
    LibraryHandle& operator=(const LibraryHandle&) = delete;

    // Adjusts one frame in place; throws a ToolError on a failure status.
    void process(YuvFrame& frame);

  private:
    std::unique_ptr<ISP2DLUTInStruct_V10> record_;
    FrameGeometry geometry_;
    void* handle_ = nullptr;
};

// The library writes to the Android log; the tool takes those lines. Error lines are kept
// for the tool's own messages; with `verbose` every line is also printed to standard error.
void setLibraryLogVerbose(bool verbose);

// The library's error lines since the last call, oldest first, and forgets them.
std::vector<std::string> takeLibraryErrors();

// The share of the offsets that the library applies at each lightness 0..2046, in 2048ths:
// SW_2DLut_v10::BoundaryControl on an engine set up with the record (ramps that overshoot
// wrap to 12 bits, as they do in the library).
std::vector<int32_t> lightnessWeights(const ISP2DLUTInStruct_V10& record);

// The interval of `count` node positions that holds `value`, as the library's
// SW_2DLut_v10::searchIndex finds it: one below the first node lies in the first interval,
// one at or past the last node in the last.
int nodeInterval(const uint16_t* nodes, int count, uint16_t value);

}  // namespace lut2d_tool
