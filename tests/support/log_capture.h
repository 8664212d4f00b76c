// Captures every line the library writes to the Android log.
//
// The test executable defines __android_log_print itself; the library resolves it through
// the dynamic linker, so each line (priority, tag, formatted text) lands here.
#pragma once

#include <string>
#include <vector>

namespace lut2d_test {

struct LogLine {
    int priority;
    std::string tag;
    std::string text;

    bool operator==(const LogLine&) const = default;
};

// Forgets every line captured so far.
void clearLog();

// From now on every line is also written to standard error, where a death test sees it.
void echoLogToStderr();

// The lines captured since the last clearLog(), in order.
std::vector<LogLine> logLines();

// The lines captured, with every measured time ("123 us") written as "# us".
std::vector<LogLine> logWithoutTimes();

inline LogLine info(std::string text) {
    return {4, "sw2dlut", std::move(text)};
}
inline LogLine error(std::string text) {
    return {6, "sw2dlut", std::move(text)};
}

}  // namespace lut2d_test
