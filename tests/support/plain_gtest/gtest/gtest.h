// A small stand-in for GoogleTest, used by the memory-sanitizer build in its place (see
// lut2d_sanitizer_options in the top CMakeLists.txt): the same test sources compile against
// it, and everything it runs is compiled into the test program with the instrumentation.
// Messages are formatted with snprintf, never with streams.
//
// It has what the library's tests use: TEST and TEST_F (SetUp, TearDown), the EXPECT_ and
// ASSERT_ checks with streamed messages, ADD_FAILURE, EXPECT_DEATH (the statement runs in a
// child process; the pattern is not matched), SCOPED_TRACE and HasFailure; and the command
// line that CTest's test discovery uses: --gtest_list_tests and --gtest_filter with one pattern.
#pragma once

#include <functional>
#include <ios>
#include <string>
#include <string_view>
#include <type_traits>

namespace testing {

class Test {
  public:
    virtual ~Test() = default;
    virtual void SetUp() {}
    virtual void TearDown() {}
    virtual void TestBody() = 0;
    static bool HasFailure();  // whether the running test has failed so far
};

namespace internal {

std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Strings, integers (in hexadecimal after std::hex), enumerations and pointers; any other
// value is shown as an object.
template <typename T>
std::string printValue(const T& v, bool hex = false) {
    using U = std::decay_t<T>;
    if constexpr (std::is_same_v<U, bool>) {
        return v ? "true" : "false";
    } else if constexpr (std::is_enum_v<U>) {
        return printValue(static_cast<std::underlying_type_t<U>>(v));
    } else if constexpr (std::is_integral_v<U>) {
        if (std::is_signed_v<U> && !hex) return format("%lld", static_cast<long long>(v));
        return format(hex ? "%llx" : "%llu", static_cast<unsigned long long>(v));
    } else if constexpr (std::is_null_pointer_v<U>) {
        return "nullptr";
    } else if constexpr (std::is_convertible_v<const U&, std::string_view>) {
        return std::string(std::string_view(v));
    } else if constexpr (std::is_pointer_v<U>) {
        return format("%p", static_cast<const void*>(v));
    } else {
        return "(object)";
    }
}

}  // namespace internal

// Text built with <<; std::hex switches integers to hexadecimal.
class Message {
  public:
    template <typename T>
    Message& operator<<(const T& value) {
        text_ += internal::printValue(value, hex_);
        return *this;
    }
    Message& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        hex_ = manipulator == std::hex;
        return *this;
    }
    const std::string& str() const { return text_; }
    operator std::string_view() const { return text_; }  // as a trace

  private:
    std::string text_;
    bool hex_ = false;
};

namespace internal {

// A check's failure text, empty when it holds.
template <typename A, typename B, typename Op>
std::string compare(const char* expression, const A& a, const B& b, Op op) {
    if (op(a, b)) return {};
    return std::string("Expected: ") + expression + ", actual: " + printValue(a) + " vs " +
           printValue(b);
}

// Runs the statement in a child process; whether the child died (a signal or a non-zero exit).
bool dies(const std::function<void()>& statement);

// Records a failure of the running test where a failing check's message ends.
struct Failure {
    const char* file;
    int line;
    std::string text;
    bool fatal;
    void operator=(const Message& message) const;
};

struct ScopedTrace {
    template <typename T>
    ScopedTrace(const char* file, int line, const T& message) {
        push(std::string(file) + ":" + printValue(line) + ": " + printValue(message));
    }
    ~ScopedTrace();
    static void push(std::string text);
};

struct Registrar {
    Registrar(const char* suite, const char* name, Test* (*make)());
};

}  // namespace internal
}  // namespace testing

#define LUT2D_GTEST_CAT_(a, b) a##b
#define LUT2D_GTEST_CAT(a, b) LUT2D_GTEST_CAT_(a, b)

#define LUT2D_GTEST_TEST_(suite, name, base)                                            \
    class suite##_##name##_Test : public base {                                         \
      public:                                                                           \
        void TestBody() override;                                                       \
    };                                                                                  \
    static const ::testing::internal::Registrar suite##_##name##_registrar(             \
        #suite, #name, []() -> ::testing::Test* { return new suite##_##name##_Test; }); \
    void suite##_##name##_Test::TestBody()

#define TEST(suite, name) LUT2D_GTEST_TEST_(suite, name, ::testing::Test)
#define TEST_F(fixture, name) LUT2D_GTEST_TEST_(fixture, name, fixture)

// `failure` is the check's failure text; a fatal failure returns from the test body.
#define LUT2D_GTEST_CHECK_(failure, fatal)                                      \
    switch (0)                                                                  \
    case 0:                                                                     \
    default:                                                                    \
        if (const std::string lut2d_gtest_f = (failure); lut2d_gtest_f.empty()) \
            ;                                                                   \
        else                                                                    \
            LUT2D_GTEST_RETURN_##fatal ::testing::internal::Failure{            \
                __FILE__, __LINE__, lut2d_gtest_f, fatal} = ::testing::Message()
#define LUT2D_GTEST_RETURN_0
#define LUT2D_GTEST_RETURN_1 return

#define LUT2D_GTEST_CMP_(a, b, op, fatal)                                                        \
    LUT2D_GTEST_CHECK_(                                                                          \
        ::testing::internal::compare("(" #a ") " #op " (" #b ")", a, b,                          \
                                     [](const auto& x, const auto& y) { return bool(x op y); }), \
        fatal)
#define LUT2D_GTEST_BOOL_(c, expected, fatal) \
    LUT2D_GTEST_CHECK_(bool(c) == (expected) ? "" : "Expected " #expected ": " #c, fatal)

#define EXPECT_EQ(a, b) LUT2D_GTEST_CMP_(a, b, ==, 0)
#define EXPECT_NE(a, b) LUT2D_GTEST_CMP_(a, b, !=, 0)
#define EXPECT_LT(a, b) LUT2D_GTEST_CMP_(a, b, <, 0)
#define EXPECT_LE(a, b) LUT2D_GTEST_CMP_(a, b, <=, 0)
#define EXPECT_GT(a, b) LUT2D_GTEST_CMP_(a, b, >, 0)
#define EXPECT_GE(a, b) LUT2D_GTEST_CMP_(a, b, >=, 0)
#define ASSERT_EQ(a, b) LUT2D_GTEST_CMP_(a, b, ==, 1)
#define ASSERT_NE(a, b) LUT2D_GTEST_CMP_(a, b, !=, 1)
#define EXPECT_TRUE(c) LUT2D_GTEST_BOOL_(c, true, 0)
#define EXPECT_FALSE(c) LUT2D_GTEST_BOOL_(c, false, 0)
#define ASSERT_TRUE(c) LUT2D_GTEST_BOOL_(c, true, 1)
#define ASSERT_FALSE(c) LUT2D_GTEST_BOOL_(c, false, 1)
#define ADD_FAILURE() \
    ::testing::internal::Failure{__FILE__, __LINE__, "Failed", false} = ::testing::Message()
#define EXPECT_DEATH(statement, pattern)                                              \
    EXPECT_TRUE(::testing::internal::dies([&] { statement; })) << "the process dies " \
                                                                  "in " #statement

#define SCOPED_TRACE(message)                                                             \
    const ::testing::internal::ScopedTrace LUT2D_GTEST_CAT(lut2d_gtest_trace_, __LINE__)( \
        __FILE__, __LINE__, (message))
