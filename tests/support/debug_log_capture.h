// Captures the lines the remote-call interface writes through the platform's optional debug
// log (DRT_debug_runtime). Only executables that link debug_log_capture.cpp provide those
// functions; in the others the interface finds them absent and stays silent.
#pragma once

#include <string>
#include <vector>

namespace lut2d_test {

// The lines written so far, each as "<level> <file>:<line> <text>"; the test clears them.
std::vector<std::string>& debugLines();

}  // namespace lut2d_test
