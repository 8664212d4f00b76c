#include "files.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>

#include "tool_error.h"

namespace lut2d_tool {

namespace {

std::string quoted(const fs::path& p) {
    return p.string();
}

std::string systemError(int err) {
    return std::strerror(err);
}

// Temporary outputs that an interrupt must remove. A signal handler may only use fixed
// storage and async-signal-safe calls, so the paths are kept in plain character arrays.
constexpr int kCleanupSlots = 8;
constexpr size_t kCleanupPathBytes = 4096;
char gCleanupPaths[kCleanupSlots][kCleanupPathBytes];
volatile sig_atomic_t gCleanupUsed[kCleanupSlots];
std::mutex gCleanupMutex;

int registerCleanup(const fs::path& temp) {
    const std::string s = temp.string();
    if (s.size() >= kCleanupPathBytes) return -1;
    std::lock_guard<std::mutex> lock(gCleanupMutex);
    for (int i = 0; i < kCleanupSlots; ++i) {
        if (gCleanupUsed[i] == 0) {
            std::memcpy(gCleanupPaths[i], s.c_str(), s.size() + 1);
            gCleanupUsed[i] = 1;
            return i;
        }
    }
    return -1;
}

void unregisterCleanup(int slot) {
    if (slot < 0) return;
    std::lock_guard<std::mutex> lock(gCleanupMutex);
    gCleanupUsed[slot] = 0;
}

extern "C" void removeTemporariesAndDie(int sig) {
    for (int i = 0; i < kCleanupSlots; ++i) {
        if (gCleanupUsed[i] != 0) unlink(gCleanupPaths[i]);
    }
    signal(sig, SIG_DFL);
    raise(sig);
}

}  // namespace

std::vector<uint8_t> readFile(const fs::path& path) {
    std::error_code ec;
    if (fs::is_directory(path, ec)) throw ToolError(quoted(path) + ": is a folder, not a file");
    std::ifstream in(path, std::ios::binary);
    if (!in) throw ToolError(quoted(path) + ": cannot open: " + systemError(errno));
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    if (in.bad()) throw ToolError(quoted(path) + ": cannot read: " + systemError(errno));
    return bytes;
}

std::string extensionOf(const fs::path& path) {
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

void refuseToOverwriteInputs(const fs::path& output, std::initializer_list<fs::path> inputs) {
    for (const fs::path& input : inputs) {
        if (input.empty()) continue;
        std::error_code ec1, ec2, ec3;
        const fs::path a = fs::weakly_canonical(output, ec1);
        const fs::path b = fs::weakly_canonical(input, ec2);
        const bool samePath = !ec1 && !ec2 && a == b;
        if (samePath || fs::equivalent(output, input, ec3)) {
            throw ToolError(quoted(output) + ": is also an input (" + quoted(input) +
                            "); choose another output name");
        }
    }
}

OutputFile::OutputFile(fs::path target) : target_(std::move(target)) {
    std::error_code ec;
    if (fs::is_directory(target_, ec)) {
        throw ToolError(quoted(target_) + ": is a folder; give a file name for the output");
    }
    const fs::path folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
    // Appended rather than "." + name: GCC 12 at -O3 takes the latter for an overlapping copy
    // (a false -Wrestrict).
    std::string name = ".";
    name += target_.filename().string();
    name += ".lut2d-XXXXXX";
    std::string pattern = (folder / name).string();
    const int fd = mkstemp(pattern.data());
    if (fd < 0) {
        throw ToolError(quoted(target_) + ": cannot write in " + quoted(folder) + ": " +
                        systemError(errno));
    }
    temp_ = pattern;
    slot_ = registerCleanup(temp_);
    stream_ = fdopen(fd, "wb");
    if (stream_ == nullptr) {
        const int err = errno;
        close(fd);
        discard();
        throw ToolError(quoted(target_) + ": cannot write: " + systemError(err));
    }
}

OutputFile::~OutputFile() {
    discard();
}

void OutputFile::write(std::span<const uint8_t> bytes) {
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size()) {
        throw ToolError(quoted(target_) + ": cannot write: " + systemError(errno));
    }
}

void OutputFile::commit() {
    std::FILE* s = stream_;
    stream_ = nullptr;
    if (std::fflush(s) != 0 || std::fclose(s) != 0) {
        throw ToolError(quoted(target_) + ": cannot write: " + systemError(errno));
    }
    // mkstemp creates the file readable by its owner only; give it the usual mode.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(temp_.c_str(), 0666 & ~mask);
    std::error_code ec;
    fs::rename(temp_, target_, ec);
    if (ec) throw ToolError(quoted(target_) + ": cannot write: " + ec.message());
    unregisterCleanup(slot_);
    slot_ = -1;
    temp_.clear();
}

void OutputFile::discard() {
    if (stream_ != nullptr) {
        std::fclose(stream_);
        stream_ = nullptr;
    }
    if (!temp_.empty()) {
        std::error_code ec;
        fs::remove(temp_, ec);
        temp_.clear();
    }
    unregisterCleanup(slot_);
    slot_ = -1;
}

void writeFileAtomically(const fs::path& path, std::span<const uint8_t> bytes) {
    OutputFile out(path);
    out.write(bytes);
    out.commit();
}

void removeTemporaryOutputsOnInterrupt() {
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) signal(sig, removeTemporariesAndDie);
}

}  // namespace lut2d_tool
