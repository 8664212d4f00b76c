// Running the lut2d program in a scratch folder, and comparing what it writes.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "frame_io.h"
#include "image_io.h"
#include "raster.h"
#include "tool_error.h"
#include "yuv.h"

namespace lut2d_tool_test {

using namespace lut2d_tool;
namespace fs = std::filesystem;

struct RunResult {
    int exitCode = -1;
    std::string out, err;
};

// A fresh folder for one test, removed afterwards.
class ScratchDir {
  public:
    ScratchDir();
    ~ScratchDir();
    fs::path operator/(const std::string& name) const { return path_ / name; }
    // Runs lut2d in this folder with `args`, split into words by the shell, after the shell
    // commands `prefix` (a ulimit, say); its output goes to files outside the folder.
    RunResult run(const std::string& args, const std::string& prefix = "") const;

  private:
    fs::path path_;
};

std::string readText(const fs::path& p);
void writeText(const fs::path& p, const std::string& bytes);
// The message of the ToolError that `f` throws; empty when it throws none.
template <class F>
std::string refusal(F f) {
    try {
        f();
    } catch (const ToolError& e) {
        return e.what();
    }
    return "";
}

// Every entry of `folder` (hidden ones included) with its contents.
std::map<std::string, std::string> snapshot(const fs::path& folder);

// A picture file's pixels.
inline RgbImage loadPicture(const fs::path& p) {
    return readPicture(p, kDefaultMaxPixels).image;
}

// A frame as a raw file holds it: luma, then chroma.
inline std::string frameBytes(const YuvFrame& f) {
    return std::string(f.luma.begin(), f.luma.end()) +
           std::string(f.chroma.begin(), f.chroma.end());
}

// True when every pixel of `r` has the same luma and chroma pair in both frames.
inline bool same(const YuvFrame& a, const YuvFrame& b, Rect r) {
    auto pixel = [s = size_t{a.geometry.stride}](const YuvFrame& f, int x, int y) {
        const size_t c = y / 2 * s + (x & ~1);
        return std::array{f.luma[y * s + x], f.chroma[c], f.chroma[c + 1]};
    };
    for (int y = r.y; y < r.y + r.h; ++y)
        for (int x = r.x; x < r.x + r.w; ++x)
            if (pixel(a, x, y) != pixel(b, x, y)) return false;
    return true;
}

}  // namespace lut2d_tool_test
