#include "tool_support.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "interface/orvix_lut2d.h"
#include "library.h"
#include "record.h"

#ifndef LUT2D_TOOL_PATH
#error "LUT2D_TOOL_PATH must name the lut2d program"
#endif

namespace lut2d_tool_test {

using lut2d_tool::FrameGeometry;
using lut2d_tool::YuvFrame;

ScratchDir::ScratchDir() {
    std::string pattern = (fs::temp_directory_path() / "lut2d-tool-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ec;
    fs::remove_all(path_, ec);
    fs::remove(path_.string() + ".out", ec);
    fs::remove(path_.string() + ".err", ec);
}

RunResult ScratchDir::run(const std::vector<std::string>& args) const {
    const std::string outPath = path_.string() + ".out";
    const std::string errPath = path_.string() + ".err";
    std::vector<std::string> argv = {LUT2D_TOOL_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (std::string& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);

    const pid_t pid = fork();
    if (pid == 0) {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out < 0 || err < 0 || chdir(path_.c_str()) != 0) _exit(127);
        dup2(out, 1);
        dup2(err, 2);
        execv(cargv[0], cargv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    RunResult r;
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.out = readText(outPath);
    r.err = readText(errPath);
    return r;
}

std::set<std::string> ScratchDir::files() const {
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(path_)) names.insert(e.path().filename().string());
    return names;
}

std::vector<uint8_t> readBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeBytes(const fs::path& p, const std::vector<uint8_t>& bytes) {
    std::ofstream out(p, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

void writeText(const fs::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
}

std::string readText(const fs::path& p) {
    const std::vector<uint8_t> b = readBytes(p);
    return {b.begin(), b.end()};
}

void writeFrames(const fs::path& p, const std::vector<YuvFrame>& frames) {
    std::vector<uint8_t> bytes;
    for (const YuvFrame& f : frames) {
        bytes.insert(bytes.end(), f.luma.begin(), f.luma.end());
        bytes.insert(bytes.end(), f.chroma.begin(), f.chroma.end());
    }
    writeBytes(p, bytes);
}

std::vector<YuvFrame> readFrames(const fs::path& p, const FrameGeometry& g) {
    const std::vector<uint8_t> bytes = readBytes(p);
    std::vector<YuvFrame> frames;
    for (size_t at = 0; at + g.frameBytes() <= bytes.size(); at += g.frameBytes()) {
        YuvFrame f(g);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), f.luma.size(), f.luma.begin());
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at + f.luma.size()),
                    f.chroma.size(), f.chroma.begin());
        frames.push_back(std::move(f));
    }
    return frames;
}

bool libraryAdjustsFrames() {
    static const bool adjusts = [] {
        ISP2DLUTInStruct_V10 rec = lut2d_tool::neutralRecord();
        rec.s_shift = 3;
        for (auto& v : rec.lut_2d_s) v = -511;  // every colour to grey
        const FrameGeometry g{32, 32, 32, lut2d_tool::ChromaOrder::Nv12};
        YuvFrame frame(g);
        std::fill(frame.luma.begin(), frame.luma.end(), 100);
        for (size_t i = 0; i < frame.chroma.size(); i += 2) {
            frame.chroma[i] = 90;       // Cb
            frame.chroma[i + 1] = 200;  // Cr: a strong red
        }
        const YuvFrame before = frame;
        lut2d_tool::LibraryHandle handle(rec, g, LUT2D_MODE_CHRUS);
        handle.process(frame);
        return !(frame == before);
    }();
    return adjusts;
}

bool roundTripIsExact(int y, int u, int v) {
    auto clamp = [](int x) { return std::clamp(x, 0, 1023); };
    const int y10 = 4 * y, u10 = 4 * u - 512, v10 = 4 * v - 512;
    const int g = clamp((1024 * y10 - 354 * u10 - 734 * v10 + 512) >> 10);
    const int b = clamp((1024 * y10 + 1822 * u10 + 512) >> 10);
    const int r = clamp((1024 * y10 + 1441 * v10 + 512) >> 10);
    const int y2 = clamp((601 * g + 117 * b + 306 * r + 512) >> 10);
    const int u2 = clamp(512 + ((-338 * g + 510 * b - 172 * r + 512) >> 10));
    const int v2 = clamp(512 + ((-427 * g - 83 * b + 510 * r + 512) >> 10));
    return (y2 >> 2) == y && (u2 >> 2) == u && (v2 >> 2) == v;
}

bool sameInside(const YuvFrame& a, const YuvFrame& b, lut2d_tool::Rect r) {
    const uint32_t s = a.geometry.stride;
    for (int y = r.y; y < r.y + r.h; ++y) {
        for (int x = r.x; x < r.x + r.w; ++x) {
            if (a.luma[size_t(y) * s + x] != b.luma[size_t(y) * s + x]) return false;
            const size_t c = size_t(y / 2) * s + 2 * (x / 2);
            if (a.chroma[c] != b.chroma[c] || a.chroma[c + 1] != b.chroma[c + 1]) return false;
        }
    }
    return true;
}

bool samePixels(const lut2d_tool::RgbImage& a, const lut2d_tool::RgbImage& b, lut2d_tool::Rect r) {
    for (int y = r.y; y < r.y + r.h; ++y) {
        for (int x = r.x; x < r.x + r.w; ++x) {
            if (!(a.at(x, y) == b.at(x, y))) return false;
        }
    }
    return true;
}

lut2d_tool::RgbImage PatchChart::picture() const {
    const int rows = static_cast<int>((colours.size() + columns - 1) / columns);
    lut2d_tool::RgbImage img(columns * patch, rows * patch, {128, 128, 128});
    for (size_t i = 0; i < colours.size(); ++i) {
        const int x = static_cast<int>(i % columns) * patch;
        const int y = static_cast<int>(i / columns) * patch;
        lut2d_tool::fillRect(img, {x, y, patch, patch}, colours[i]);
    }
    return img;
}

lut2d_tool::Rect PatchChart::interior(size_t i) const {
    const int x = static_cast<int>(i % columns) * patch;
    const int y = static_cast<int>(i / columns) * patch;
    return {x + border, y + border, patch - 2 * border, patch - 2 * border};
}

}  // namespace lut2d_tool_test
