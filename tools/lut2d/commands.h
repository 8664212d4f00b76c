// The lut2d commands. Each returns the process exit status (0 success, 1 failure) and
// reports problems by throwing a ToolError.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "frame_io.h"
#include "interface/orvix_lut2d.h"
#include "yuv.h"

namespace lut2d_tool {

namespace fs = std::filesystem;

struct DemoOptions {
    fs::path output = "lut2d-demo";
};

struct ApplyOptions {
    fs::path input;
    fs::path output;
    fs::path record;
    Lut2DMode mode = LUT2D_MODE_CHRUS;
    std::optional<std::string> size;  // "WIDTHxHEIGHT" of raw frames
    std::optional<uint32_t> stride;   // row pitch of the frames the library gets
    // Layout of raw input frames (over what the name says); of a raw output only when its
    // name does not say and the input is not raw.
    std::optional<RawLayout> format;
    // Colour range of the YUV frames read and written; by default a y4m clip's tag, else full.
    std::optional<ColourRange> range;
    fs::path compare;  // optional before | after | difference picture
    int jpegQuality = 95;
    uint64_t maxPixels = kDefaultMaxPixels;
};

int runDemo(const DemoOptions& options);
int runApply(const ApplyOptions& options);
int runRecordNew(const fs::path& output, bool showcase);
int runRecordCheck(const fs::path& record, bool strict);
int runRecordShow(const fs::path& record);
int runRecordConvert(const fs::path& input, const fs::path& output);
int runPlot(const fs::path& record, const fs::path& folder);

}  // namespace lut2d_tool
