#include "debug_log_capture.h"

#include <cstdarg>
#include <cstdio>

std::vector<std::string>& lut2d_test::debugLines() {
    static std::vector<std::string> lines;  // remote calls are made one at a time
    return lines;
}

extern "C" __attribute__((visibility("default"))) void DRT_debug_v2(int, const char*, int,
                                                                    const char*, ...) {}

extern "C" __attribute__((visibility("default"), format(printf, 4, 5))) void DRT_debug_runtime(
    int level, const char* file, int line, const char* fmt, ...) {
    char text[512];
    const int head = std::snprintf(text, sizeof text, "%d %s:%d ", level, file, line);
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text + head, sizeof text - head, fmt, ap);
    va_end(ap);
    lut2d_test::debugLines().push_back(text);
}
