// The stop: one error line, then a trap.

#include "fatal.h"

#include <cstdio>

#include "lut2d_log.h"

namespace lut2d {

void fatal(const char* reason, SourceSite where) {
    LUT2D_LOGE("fatal: %s, in %s at %s:%d\n", reason, where.function, where.file, where.line);
    __builtin_trap();
}

void overflowStop(char op, StopValue a, StopValue b, bool isSigned, int bits, SourceSite where) {
    char reason[128];
    const char* sign = isSigned ? "" : "u";
    if (op == 0) {
        std::snprintf(reason, sizeof reason, "%s%llu does not fit in %sint%d",
                      a.negative ? "-" : "", a.magnitude, sign, bits);
    } else {
        std::snprintf(reason, sizeof reason, "%s%llu %c %s%llu does not fit in %sint%d",
                      a.negative ? "-" : "", a.magnitude, op, b.negative ? "-" : "", b.magnitude,
                      sign, bits);
    }
    fatal(reason, where);
}

}  // namespace lut2d
