// The stand-in for GoogleTest (gtest/gtest.h beside this file): registry, results, death
// tests and main; and std::to_string, the one function of LLVM's C++ library that the tests
// use which writes a string from inside its shared library, without instrumentation: the
// definitions here take its place in the test programs.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
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

// The running test's state. Assertions may fail on other threads than the test's own.
std::mutex g_mutex;
bool g_failed = false;
bool g_fatal = false;
std::vector<std::string> g_traces;  // SCOPED_TRACE messages, innermost last

void recordFailure(const char* file, int line, const std::string& text, bool fatal) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_failed = true;
    g_fatal = g_fatal || fatal;
    std::printf("%s:%d: Failure\n%s\n", file, line, text.c_str());
    for (auto t = g_traces.rbegin(); t != g_traces.rend(); ++t) std::printf("%s\n", t->c_str());
    std::fflush(stdout);
}

// GoogleTest's filter, one pattern: '*' any text, '?' any character.
bool matches(const char* pattern, const char* text) {
    if (*pattern == '\0') return *text == '\0';
    if (*pattern == '*')
        return matches(pattern + 1, text) || (*text != '\0' && matches(pattern, text + 1));
    if (*text == '\0') return false;
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

Result isTrue(bool value, const char* text, bool expected) {
    if (value == expected) return {};
    return {false, std::string("Value of: ") + text + "\n  Actual: " + (value ? "true" : "false") +
                       "\nExpected: " + (expected ? "true" : "false")};
}

bool dies(const std::function<void()>& statement) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) {
        const int devNull = open("/dev/null", O_WRONLY);
        if (devNull >= 0) dup2(devNull, STDERR_FILENO);
        statement();
        _exit(0);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) return false;
    return WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) != 0);
}

void AssertHelper::operator=(const Message& message) const {
    recordFailure(file, line, message.str().empty() ? text : text + "\n" + message.str(), fatal);
}

void ScopedTrace::push(const char* file, int line, const std::string& text) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_traces.push_back(std::string("Trace: ") + file + ":" + format("%d", line) + ": " + text);
}

ScopedTrace::~ScopedTrace() {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_traces.pop_back();
}

Registrar::Registrar(const char* suite, const char* name, Test* (*make)()) {
    registry().push_back({suite, name, make});
}

}  // namespace internal

int runAllTests(int argc, char** argv) {
    std::string filter = "*";
    bool list = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--gtest_list_tests") list = true;
        if (arg.rfind("--gtest_filter=", 0) == 0) filter = arg.substr(15);
    }
    // Suites in the order of their first test, as GoogleTest lists them.
    std::vector<const char*> suites;
    for (const Registered& t : registry()) {
        bool known = false;
        for (const char* s : suites) known = known || std::strcmp(s, t.suite) == 0;
        if (!known) suites.push_back(t.suite);
    }
    int ran = 0, failed = 0;
    for (const char* suite : suites) {
        bool listed = false;
        for (const Registered& t : registry()) {
            if (std::strcmp(t.suite, suite) != 0) continue;
            if (!matches(filter.c_str(), (std::string(t.suite) + "." + t.name).c_str())) continue;
            if (list) {
                if (!listed) std::printf("%s.\n", suite);
                listed = true;
                std::printf("  %s\n", t.name);
                continue;
            }
            std::printf("[ RUN      ] %s.%s\n", t.suite, t.name);
            std::fflush(stdout);
            g_failed = g_fatal = false;
            Test* test = t.make();
            test->SetUp();
            if (!g_fatal) test->TestBody();
            test->TearDown();
            delete test;
            ++ran;
            failed += g_failed ? 1 : 0;
            std::printf("%s %s.%s\n", g_failed ? "[  FAILED  ]" : "[       OK ]", t.suite, t.name);
            std::fflush(stdout);
        }
    }
    if (!list) std::printf("[==========] %d tests ran, %d failed.\n", ran, failed);
    return failed == 0 ? 0 : 1;
}

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

int main(int argc, char** argv) {
    return testing::runAllTests(argc, argv);
}
