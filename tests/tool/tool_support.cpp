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

}  // namespace lut2d_tool_test
