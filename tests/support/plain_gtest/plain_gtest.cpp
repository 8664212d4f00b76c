// The stand-in for GoogleTest (gtest/gtest.h beside this file): registry, results, death
// tests and main; and std::to_string, the one function of LLVM's C++ library that the tests
// use which writes a string from inside its shared library, without instrumentation: the
// definitions here take its place in the test programs.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "gtest/gtest.h"

namespace testing {
namespace {

struct Registered {
    const char* suite;
    const char* name;
    Test* (*make)();
};

std::vector<Registered>& registry() {
    static std::vector<Registered> tests;
    return tests;
}

// The running test's state. Checks may fail on other threads than the test's own.
std::mutex g_mutex;
bool g_failed = false;
bool g_fatal = false;
std::vector<std::string> g_traces;  // SCOPED_TRACE messages, innermost last

// GoogleTest's filter, one pattern: '*' any text, '?' any character.
bool matches(const char* pattern, const char* text) {
    if (*pattern == '*')
        return matches(pattern + 1, text) || (*text != '\0' && matches(pattern, text + 1));
    if (*pattern == '\0' || *text == '\0') return *pattern == *text;
    return (*pattern == '?' || *pattern == *text) && matches(pattern + 1, text + 1);
}

}  // namespace

bool Test::HasFailure() {
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_failed;
}

namespace internal {

std::string format(const char* fmt, ...) {
    char text[64];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    return text;
}

bool dies(const std::function<void()>& statement) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int devNull = open("/dev/null", O_WRONLY);
        if (devNull >= 0) dup2(devNull, STDERR_FILENO);
        statement();
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return false;
    return WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) != 0);
}

void Failure::operator=(const Message& message) const {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_failed = true;
    g_fatal = g_fatal || fatal;
    std::printf("%s:%d: Failure\n%s\n%s\n", file, line, text.c_str(), message.str().c_str());
    for (auto t = g_traces.rbegin(); t != g_traces.rend(); ++t) std::printf("%s\n", t->c_str());
    std::fflush(stdout);
}

void ScopedTrace::push(std::string text) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_traces.push_back("Trace: " + text);
}

ScopedTrace::~ScopedTrace() {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_traces.pop_back();
}

Registrar::Registrar(const char* suite, const char* name, Test* (*make)()) {
    registry().push_back({suite, name, make});
}

}  // namespace internal
}  // namespace testing

_LIBCPP_BEGIN_NAMESPACE_STD

#define LUT2D_TO_STRING(type, format)               \
    string to_string(type value) {                  \
        char text[32];                              \
        snprintf(text, sizeof text, format, value); \
        return text;                                \
    }
LUT2D_TO_STRING(int, "%d")
LUT2D_TO_STRING(unsigned, "%u")
LUT2D_TO_STRING(long, "%ld")
LUT2D_TO_STRING(unsigned long, "%lu")
LUT2D_TO_STRING(long long, "%lld")
LUT2D_TO_STRING(unsigned long long, "%llu")
#undef LUT2D_TO_STRING

_LIBCPP_END_NAMESPACE_STD

// Runs the tests the filter names, or lists them (a suite's line before each run of its tests).
int main(int argc, char** argv) {
    using namespace testing;
    std::string filter = "*";
    bool list = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        list = list || arg == "--gtest_list_tests";
        if (arg.rfind("--gtest_filter=", 0) == 0) filter = arg.substr(15);
    }
    int ran = 0, failed = 0;
    const char* listed = "";
    for (const Registered& t : registry()) {
        const std::string name = std::string(t.suite) + "." + t.name;
        if (!matches(filter.c_str(), name.c_str())) continue;
        if (list) {
            if (std::strcmp(listed, t.suite) != 0) std::printf("%s.\n", listed = t.suite);
            std::printf("  %s\n", t.name);
            continue;
        }
        std::printf("[ RUN      ] %s\n", name.c_str());
        std::fflush(stdout);
        g_failed = g_fatal = false;
        const std::unique_ptr<Test> test(t.make());
        test->SetUp();
        if (!g_fatal) test->TestBody();
        test->TearDown();
        ++ran;
        failed += g_failed ? 1 : 0;
        std::printf("%s %s\n", g_failed ? "[  FAILED  ]" : "[       OK ]", name.c_str());
        std::fflush(stdout);
    }
    if (!list) std::printf("[==========] %d tests ran, %d failed.\n", ran, failed);
    return failed == 0 ? 0 : 1;
}
