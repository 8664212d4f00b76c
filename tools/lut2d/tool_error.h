// Failures the user can fix: a missing file, a bad argument, a bad record value.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace lut2d_tool {

// Each line names one problem and what it concerns (a file, a field with its index, or a
// command-line argument); the command prints every line and exits non-zero.
class ToolError : public std::runtime_error {
  public:
    explicit ToolError(const std::string& line) : std::runtime_error(line), lines_{line} {}
    explicit ToolError(std::vector<std::string> lines)
        : std::runtime_error(lines.empty() ? std::string() : lines.front()),
          lines_(std::move(lines)) {}

    const std::vector<std::string>& lines() const { return lines_; }

  private:
    std::vector<std::string> lines_;
};

}  // namespace lut2d_tool
