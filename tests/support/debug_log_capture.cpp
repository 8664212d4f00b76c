#include "debug_log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

std::mutex g_mutex;
std::vector<lut2d_test::DebugLine> g_lines;

}  // namespace

extern "C" __attribute__((visibility("default"))) void DRT_debug_v2(int, const char*, int,
                                                                    const char*, ...) {}

extern "C" __attribute__((visibility("default"), format(printf, 4, 5))) void DRT_debug_runtime(
    int level, const char* file, int line, const char* fmt, ...) {
    char text[512];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.push_back({level, file, line, text});
}

namespace lut2d_test {

void clearDebugLog() {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

std::vector<DebugLine> debugLines() {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_lines;
}

}  // namespace lut2d_test
