// Reading inputs and writing outputs safely.
//
// An output is written to a temporary file beside its final name and renamed over it only
// when the command has succeeded, so a failing command (or one stopped with Ctrl-C) leaves
// no partial file behind. An output that names one of the command's inputs is refused.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace lut2d_tool {

namespace fs = std::filesystem;

// The whole file; a ToolError naming the file when it cannot be read.
std::vector<uint8_t> readFile(const fs::path& path);

// The lower-case extension of `path`, with its dot (".png"), or "".
std::string extensionOf(const fs::path& path);

// Throws a ToolError when `output` is the same file as one of `inputs` (an existing file
// reached by any name) or the same path as another output.
void refuseToOverwriteInputs(const fs::path& output, std::initializer_list<fs::path> inputs);

// An output file under construction. Writes go to a temporary file in the target's folder;
// commit() renames it to the target. Destroying an uncommitted OutputFile removes the
// temporary file.
class OutputFile {
  public:
    explicit OutputFile(fs::path target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* stream() { return stream_; }
    const fs::path& target() const { return target_; }
    void write(std::span<const uint8_t> bytes);
    // Flushes, closes and renames the temporary file to the target.
    void commit();

  private:
    void discard();

    fs::path target_;
    fs::path temp_;
    std::FILE* stream_ = nullptr;
    int slot_ = -1;  // place in the interrupt cleanup list
};

// Writes `bytes` to `path` through an OutputFile.
void writeFileAtomically(const fs::path& path, std::span<const uint8_t> bytes);

// Makes Ctrl-C (SIGINT), SIGTERM and SIGHUP remove any temporary output before the
// program ends.
void removeTemporaryOutputsOnInterrupt();

}  // namespace lut2d_tool
