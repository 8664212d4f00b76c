#include "log_capture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

std::mutex g_mutex;
std::vector<lut2d_test::LogLine> g_lines;
bool g_echo = false;

}  // namespace

extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    va_list ap2;
    va_copy(ap2, ap);
    const int n = std::vsnprintf(nullptr, 0, fmt, ap);
    va_end(ap);
    std::string text(n > 0 ? static_cast<size_t>(n) : 0u, '\0');
    std::vsnprintf(text.data(), text.size() + 1, fmt, ap2);
    va_end(ap2);
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_echo) std::fputs(text.c_str(), stderr);
    g_lines.push_back({prio, tag != nullptr ? tag : "", std::move(text)});
    return n;
}

namespace lut2d_test {

void echoLogToStderr() {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_echo = true;
}

void clearLog() {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

std::vector<LogLine> logLines() {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_lines;
}

std::vector<LogLine> logWithoutTimes() {
    std::vector<LogLine> lines = logLines();
    for (LogLine& l : lines) {
        const std::string& s = l.text;
        std::string text;
        for (size_t i = 0; i < s.size();) {
            const size_t digitsEnd = std::min(s.find_first_not_of("0123456789", i), s.size());
            if (digitsEnd == i) {
                text += s[i++];
                continue;
            }
            text += s.compare(digitsEnd, 3, " us") == 0 ? "#" : s.substr(i, digitsEnd - i);
            i = digitsEnd;
        }
        l.text = text;
    }
    return lines;
}

}  // namespace lut2d_test
