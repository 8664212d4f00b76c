#include "tool_support.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace lut2d_tool_test {

ScratchDir::ScratchDir() {
    std::string pattern = (fs::temp_directory_path() / "lut2d-tool-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ec;
    for (const char* suffix : {"", ".out", ".err"}) fs::remove_all(path_.string() + suffix, ec);
}

RunResult ScratchDir::run(const std::string& args, const std::string& prefix) const {
    const std::string out = path_.string() + ".out", err = path_.string() + ".err";
    const int status =
        std::system(("exec >'" + out + "' 2>'" + err + "'; cd '" + path_.string() + "' && " +
                     (prefix.empty() ? "" : prefix + " && ") + "'" LUT2D_TOOL_PATH "' " + args)
                        .c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readText(out), readText(err)};
}

std::string readText(const fs::path& p) {
    std::ostringstream s;
    s << std::ifstream(p, std::ios::binary).rdbuf();
    return s.str();
}

void writeText(const fs::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary) << bytes;
}

std::map<std::string, std::string> snapshot(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& e : fs::directory_iterator(folder)) {
        files[e.path().filename()] = e.is_regular_file() ? readText(e.path()) : "(folder)";
    }
    return files;
}

std::vector<uint8_t> pngHeaderOnly(uint32_t w, uint32_t h) {
    auto crc = [](const std::vector<uint8_t>& b, size_t from) {
        uint32_t c = 0xFFFFFFFFu;
        for (size_t i = from; i < b.size(); ++i) {
            c ^= b[i];
            for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1)));
        }
        return ~c;
    };
    std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    auto be = [&](uint32_t v) {
        for (int s = 24; s >= 0; s -= 8) png.push_back(uint8_t(v >> s));
    };
    auto chunk = [&](const char* type, std::vector<uint8_t> data) {
        be(uint32_t(data.size()));
        const size_t start = png.size();
        png.insert(png.end(), type, type + 4);
        png.insert(png.end(), data.begin(), data.end());
        be(crc(png, start));
    };
    std::vector<uint8_t> ihdr;
    for (uint32_t v : {w, h})
        for (int s = 24; s >= 0; s -= 8) ihdr.push_back(uint8_t(v >> s));
    ihdr.insert(ihdr.end(), {8, 2, 0, 0, 0});
    chunk("IHDR", ihdr);
    // Ten zero bytes in one stored deflate block, with their Adler-32.
    chunk("IDAT",
          {0x78, 0x01, 0x01, 10, 0, 0xF5, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x0A, 0, 0x01});
    chunk("IEND", {});
    return png;
}

}  // namespace lut2d_tool_test
