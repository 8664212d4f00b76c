// Running the lut2d program in a scratch folder, and the files the tests feed it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "raster.h"
#include "yuv.h"

namespace lut2d_tool_test {

namespace fs = std::filesystem;

struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// A fresh folder for one test, removed afterwards.
class ScratchDir {
  public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const fs::path& path() const { return path_; }
    fs::path operator/(const std::string& name) const { return path_ / name; }

    // Runs lut2d with `args` in this folder; its output goes to files outside the folder.
    RunResult run(const std::vector<std::string>& args) const;

    // The names of the files in the folder, hidden ones included.
    std::set<std::string> files() const;

  private:
    fs::path path_;
};

std::vector<uint8_t> readBytes(const fs::path& p);
void writeBytes(const fs::path& p, const std::vector<uint8_t>& bytes);
void writeText(const fs::path& p, const std::string& text);
std::string readText(const fs::path& p);

// A raw frame file: luma then chroma of each frame, in order.
void writeFrames(const fs::path& p, const std::vector<lut2d_tool::YuvFrame>& frames);
std::vector<lut2d_tool::YuvFrame> readFrames(const fs::path& p, const lut2d_tool::FrameGeometry& g);

// True when the library adjusts frames: a strong desaturating record visibly changes a
// saturated frame. Tests of the adjustment itself skip while it does not.
bool libraryAdjustsFrames();

// True when the 8-bit colour (y, u, v) comes back as itself from the library's colour
// round trip: 10-bit YUV to RGB with clamping and back with the library's full-range BT.601
// constants, truncated to 8 bits. A neutral record leaves exactly such colours unchanged.
bool roundTripIsExact(int y, int u, int v);

// True when every pixel of `r` has the same luma and chroma pair in both frames.
bool sameInside(const lut2d_tool::YuvFrame& a, const lut2d_tool::YuvFrame& b, lut2d_tool::Rect r);

// True when every pixel of `r` is the same in both pictures.
bool samePixels(const lut2d_tool::RgbImage& a, const lut2d_tool::RgbImage& b, lut2d_tool::Rect r);

// Flat square patches in a grid, one colour each, for comparing patch interiors.
struct PatchChart {
    int patch = 24;  // patch side in pixels
    int border = 8;  // pixels at each patch edge left out of comparisons
    int columns = 8;
    std::vector<lut2d_tool::Rgb> colours;

    lut2d_tool::RgbImage picture() const;
    lut2d_tool::Rect interior(size_t i) const;
};

}  // namespace lut2d_tool_test
