// Captures the lines the remote-call interface writes through the platform's optional debug
// log (DRT_debug_runtime). Only executables that link debug_log_capture.cpp provide those
// functions; in the others the interface finds them absent and stays silent.
#pragma once

#include <string>
#include <vector>

namespace lut2d_test {

struct DebugLine {
    int level;
    std::string file;
    int line;
    std::string text;

    bool operator==(const DebugLine&) const = default;
};

void clearDebugLog();
std::vector<DebugLine> debugLines();

}  // namespace lut2d_test
