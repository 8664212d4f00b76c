// The exported OS wrappers: threads, recursive mutexes and timed waits. (The clock, now_ms, only
// passes the time of day on.)

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <string>

#include "os/os_layer.h"

namespace {

// A mutex and a condition variable; a started thread raises `raised` under the mutex and
// signals.
struct OsLayer : ::testing::Test {
    pthread_mutex_t m;
    pthread_cond_t c;
    bool raised = false;

    void SetUp() override {
        ASSERT_EQ(os_mutex_init(&m), 0);
        ASSERT_EQ(os_cond_init(&c), 0);
        ASSERT_EQ(os_mutex_lock(&m), 0);
    }
    void TearDown() override {
        EXPECT_EQ(os_mutex_unlock(&m), 0);
        EXPECT_EQ(os_cond_destroy(&c), 0);
        EXPECT_EQ(os_mutex_destroy(&m), 0);
    }
    static void* raise(void* arg) {
        auto* t = static_cast<OsLayer*>(arg);
        os_mutex_lock(&t->m);
        t->raised = true;
        os_cond_signal(&t->c);
        os_mutex_unlock(&t->m);
        return arg;
    }
};

// The thread waits for the mutex the test holds until the test has read its name.
TEST_F(OsLayer, NamedThreadRunsAndIsJoinedWithItsResult) {
    long t = 0;
    unsigned char name[] = "lut2d-copy";
    ASSERT_EQ(os_thread_create_ex(&t, raise, this, 0, name), 0);
    char named[16] = {};
    pthread_getname_np(t, named, sizeof named);
    EXPECT_EQ(std::string(named), "lut2d-copy");
    ASSERT_EQ(os_mutex_unlock(&m), 0);
    void* result = nullptr;
    ASSERT_EQ(os_thread_join(&t, &result), 0);
    EXPECT_EQ(result, this);
    ASSERT_EQ(os_mutex_lock(&m), 0);
    EXPECT_TRUE(raised);
}

TEST(OsThread, WithANameTooLongStillRuns) {
    long t = 0;
    unsigned char tooLong[] = "a-name-longer-than-sixteen-bytes";
    ASSERT_EQ(os_thread_create_ex(
                  &t, [](void*) -> void* { return nullptr; }, nullptr, 7, tooLong),
              0);
    EXPECT_EQ(os_thread_detach(&t), 0);
    EXPECT_EQ(os_thread_self(), static_cast<long>(pthread_self()));
}

TEST(OsMutex, RecursiveMutexIsReentered) {
    pthread_mutex_t m;
    ASSERT_EQ(os_recursive_mutex_init(&m), 0);
    ASSERT_EQ(os_mutex_lock(&m), 0);
    ASSERT_EQ(pthread_mutex_trylock(&m), 0);  // a second level: still the owner
    for (int i = 0; i < 2; ++i) EXPECT_EQ(os_mutex_unlock(&m), 0);
    EXPECT_EQ(os_mutex_destroy(&m), 0);
}

// Waits until the wall clock's nanoseconds lie in [low, high).
void waitForNanos(long low, long high) {
    timespec now{};
    do clock_gettime(CLOCK_REALTIME, &now);
    while (now.tv_nsec < low || now.tv_nsec >= high);
}

// The deadline is the wall clock plus the milliseconds, added to the nanoseconds without
// carrying into the seconds: a wait times out (11) after the milliseconds given, and one whose
// deadline has a second or more of nanoseconds is refused.
TEST_F(OsLayer, TimedWaitUntilTheClockPlusTheMillisecondsUnnormalised) {
    EXPECT_EQ(os_cond_timedwait(&c, &m, 0), 11);
    waitForNanos(0, 500000000);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(os_cond_timedwait(&c, &m, 30), 11);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(25));
    waitForNanos(600000000, 900000000);
    EXPECT_EQ(os_cond_timedwait(&c, &m, 999), EINVAL);  // at least 1,599,000,000 ns
    waitForNanos(600000000, 900000000);
    EXPECT_EQ(os_cond_timedwait(&c, &m, 1500), EINVAL);  // 1 s and 1,100,000,000 ns or more
}

// Whole seconds add no nanoseconds, so the deadline is always a valid one.
TEST_F(OsLayer, TimedWaitReturnsWhenSignalled) {
    long t = 0;
    ASSERT_EQ(os_thread_create(&t, raise, this), 0);
    int rc = 0;
    while (!raised && rc == 0) rc = os_cond_timedwait(&c, &m, 10000);
    EXPECT_EQ(rc, 0);
    ASSERT_EQ(os_mutex_unlock(&m), 0);
    ASSERT_EQ(os_thread_join(&t, nullptr), 0);
    ASSERT_EQ(os_mutex_lock(&m), 0);
}

}  // namespace
