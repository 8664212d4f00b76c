// A small stand-in for GoogleTest, used by the memory-sanitizer build in its place (see
// lut2d_sanitizer_options in the top CMakeLists.txt): the same test sources compile against
// it, and everything it runs is compiled into the test program with the instrumentation.
// Messages are formatted with snprintf, never with streams.
//
// It has what the suite uses: TEST and TEST_F (SetUp, TearDown), the EXPECT_ and ASSERT_
// comparisons with streamed messages, ADD_FAILURE, EXPECT_DEATH (the statement runs in a child
// process; the pattern is not matched), SCOPED_TRACE and HasFailure; and the command line that
// CTest's test discovery uses: --gtest_list_tests and --gtest_filter with one pattern.
#pragma once

#include <cstdint>
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
    // Whether the running test has failed so far.
    static bool HasFailure();
};

// Text built with <<: strings, numbers (std::hex and std::dec switch their base), enumerations
// and pointers.
class Message {
  public:
    template <typename T>
    Message& operator<<(const T& value);
    Message& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        hex_ = manipulator == std::hex;
        return *this;
    }
    const std::string& str() const { return text_; }

  private:
    std::string text_;
    bool hex_ = false;
};

namespace internal {

std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

template <typename T>
std::string printValue(const T& v, bool hex = false) {
    using U = std::decay_t<T>;
    if constexpr (std::is_same_v<U, bool>) {
        return v ? "true" : "false";
    } else if constexpr (std::is_same_v<U, std::nullptr_t>) {
        return "nullptr";
    } else if constexpr (std::is_same_v<U, Message>) {
        return v.str();
    } else if constexpr (std::is_enum_v<U>) {
        return printValue(static_cast<std::underlying_type_t<U>>(v));
    } else if constexpr (std::is_integral_v<U>) {
        if (std::is_signed_v<U> && !hex) return format("%lld", static_cast<long long>(v));
        return format(hex ? "%llx" : "%llu", static_cast<unsigned long long>(v));
    } else if constexpr (std::is_floating_point_v<U>) {
        return format("%.17g", static_cast<double>(v));
    } else if constexpr (std::is_convertible_v<const U&, std::string_view>) {
        return std::string(std::string_view(v));
    } else if constexpr (std::is_pointer_v<U>) {
        return format("%p", static_cast<const void*>(v));
    } else if constexpr (requires { v.size(); }) {
        return "(" + printValue(v.size()) + " elements)";
    } else {
        return "(" + printValue(sizeof v) + "-byte object)";
    }
}

// An assertion's outcome: success, or the text of its failure.
struct Result {
    bool ok = true;
    std::string text;
    explicit operator bool() const { return ok; }
};

template <typename A, typename B, typename Op>
Result compare(const char* opText, const char* a, const char* b, const A& va, const B& vb, Op op) {
    if (op(va, vb)) return {};
    return {false, std::string("Expected: (") + a + ") " + opText + " (" + b +
                       "), actual: " + printValue(va) + " vs " + printValue(vb)};
}

Result isTrue(bool value, const char* text, bool expected);
// Runs the statement in a child process; whether the child died (a signal or a non-zero exit).
bool dies(const std::function<void()>& statement);

// Records a failure of the running test where a failing assertion's message ends.
struct AssertHelper {
    const char* file;
    int line;
    std::string text;
    bool fatal;
    void operator=(const Message& message) const;
};

class ScopedTrace {
  public:
    template <typename T>
    ScopedTrace(const char* file, int line, const T& message) {
        push(file, line, printValue(message));
    }
    ~ScopedTrace();
    ScopedTrace(const ScopedTrace&) = delete;
    ScopedTrace& operator=(const ScopedTrace&) = delete;

  private:
    static void push(const char* file, int line, const std::string& text);
};

struct Registrar {
    Registrar(const char* suite, const char* name, Test* (*make)());
};

}  // namespace internal

template <typename T>
Message& Message::operator<<(const T& value) {
    text_ += internal::printValue(value, hex_);
    return *this;
}

int runAllTests(int argc, char** argv);

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

#define LUT2D_GTEST_CHECK_(result, fatal)                               \
    switch (0)                                                          \
    case 0:                                                             \
    default:                                                            \
        if (const ::testing::internal::Result lut2d_gtest_r = (result)) \
            ;                                                           \
        else                                                            \
            LUT2D_GTEST_ON_FAILURE_##fatal(lut2d_gtest_r)
#define LUT2D_GTEST_ON_FAILURE_0(r) \
    ::testing::internal::AssertHelper{__FILE__, __LINE__, r.text, false} = ::testing::Message()
#define LUT2D_GTEST_ON_FAILURE_1(r)                                              \
    return ::testing::internal::AssertHelper{__FILE__, __LINE__, r.text, true} = \
               ::testing::Message()

#define LUT2D_GTEST_CMP_(a, b, op, fatal)                                                        \
    LUT2D_GTEST_CHECK_(                                                                          \
        ::testing::internal::compare(#op, #a, #b, a, b,                                          \
                                     [](const auto& x, const auto& y) { return bool(x op y); }), \
        fatal)

#define EXPECT_EQ(a, b) LUT2D_GTEST_CMP_(a, b, ==, 0)
#define EXPECT_NE(a, b) LUT2D_GTEST_CMP_(a, b, !=, 0)
#define EXPECT_LT(a, b) LUT2D_GTEST_CMP_(a, b, <, 0)
#define EXPECT_LE(a, b) LUT2D_GTEST_CMP_(a, b, <=, 0)
#define EXPECT_GT(a, b) LUT2D_GTEST_CMP_(a, b, >, 0)
#define EXPECT_GE(a, b) LUT2D_GTEST_CMP_(a, b, >=, 0)
#define ASSERT_EQ(a, b) LUT2D_GTEST_CMP_(a, b, ==, 1)
#define ASSERT_NE(a, b) LUT2D_GTEST_CMP_(a, b, !=, 1)
#define ASSERT_LT(a, b) LUT2D_GTEST_CMP_(a, b, <, 1)
#define ASSERT_LE(a, b) LUT2D_GTEST_CMP_(a, b, <=, 1)
#define ASSERT_GT(a, b) LUT2D_GTEST_CMP_(a, b, >, 1)
#define ASSERT_GE(a, b) LUT2D_GTEST_CMP_(a, b, >=, 1)
#define EXPECT_TRUE(c) LUT2D_GTEST_CHECK_(::testing::internal::isTrue(bool(c), #c, true), 0)
#define EXPECT_FALSE(c) LUT2D_GTEST_CHECK_(::testing::internal::isTrue(bool(c), #c, false), 0)
#define ASSERT_TRUE(c) LUT2D_GTEST_CHECK_(::testing::internal::isTrue(bool(c), #c, true), 1)
#define ASSERT_FALSE(c) LUT2D_GTEST_CHECK_(::testing::internal::isTrue(bool(c), #c, false), 1)
#define ADD_FAILURE() \
    ::testing::internal::AssertHelper{__FILE__, __LINE__, "Failed", false} = ::testing::Message()
#define EXPECT_DEATH(statement, pattern)                                                          \
    LUT2D_GTEST_CHECK_(::testing::internal::isTrue(::testing::internal::dies([&] { statement; }), \
                                                   "the process dies in " #statement, true),      \
                       0)

#define SCOPED_TRACE(message)                                                             \
    const ::testing::internal::ScopedTrace LUT2D_GTEST_CAT(lut2d_gtest_trace_, __LINE__)( \
        __FILE__, __LINE__, (message))
