#include "log_capture.h"

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
        const std::string& t = l.text;
        std::string text;
        size_t copied = 0;
        for (size_t at = t.find(" us"); at != std::string::npos; at = t.find(" us", at + 3)) {
            size_t digits = at;
            while (digits > copied && t[digits - 1] >= '0' && t[digits - 1] <= '9') --digits;
            if (digits < at) text.append(t, copied, digits - copied).append("#"), copied = at;
        }
        l.text = text + t.substr(copied);
    }
    return lines;
}

}  // namespace lut2d_test
