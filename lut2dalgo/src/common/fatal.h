// The library's one way to stop the process: for an integer overflow in a size, index or
// kernel computation, and for the few other states the code cannot go on from. It writes one
// error line under the library's tag naming what went wrong and where, then traps, so that
// the reason stands in the log beside the crash. A stop is never turned into a status code;
// wrap-around that the arithmetic wants stays with the named helpers of int_math.h.
#pragma once

#include <type_traits>

namespace lut2d {

// A place in the library's sources. As a default argument, SourceSite::current() stands for
// the place of the call that omits it.
struct SourceSite {
    const char* file;
    int line;
    const char* function;

    static constexpr SourceSite current(const char* file = __builtin_FILE(),
                                        int line = __builtin_LINE(),
                                        const char* function = __builtin_FUNCTION()) {
        return {file, line, function};
    }
};

// Writes "fatal: <reason>, in <function> at <file>:<line>" at error priority, then traps.
[[noreturn]] __attribute__((cold)) void fatal(const char* reason,
                                              SourceSite where = SourceSite::current());

// A value that took part in an overflow, as sign and magnitude (any integer type fits).
struct StopValue {
    bool negative;
    unsigned long long magnitude;
};

template <typename T>
constexpr StopValue stopValue(T v) {
    static_assert(std::is_integral_v<T>);
    if (v < 0) return {true, 0ull - static_cast<unsigned long long>(v)};
    return {false, static_cast<unsigned long long>(v)};
}

// The overflow stop of the checked helpers: fatal with the reason "<a> <op> <b> does not fit
// in <type>", or "<a> does not fit in <type>" when op is 0 (a conversion).
[[noreturn]] __attribute__((cold)) void overflowStop(char op, StopValue a, StopValue b,
                                                     bool isSigned, int bits, SourceSite where);

}  // namespace lut2d
