// The exported OS wrappers: threads, recursive mutexes, timed waits and the clock.

#include <gtest/gtest.h>

#include <sys/time.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <thread>

#include "os/os_layer.h"

namespace {

void* addOne(void* arg) {
    ++*static_cast<int*>(arg);
    return arg;
}

TEST(OsThreads, CreateJoinAndSelf) {
    int counter = 0;
    long t = 0;
    ASSERT_EQ(os_thread_create(&t, addOne, &counter), 0);
    void* result = nullptr;
    ASSERT_EQ(os_thread_join(&t, &result), 0);
    EXPECT_EQ(result, &counter);
    EXPECT_EQ(counter, 1);
    EXPECT_EQ(os_thread_self(), static_cast<long>(pthread_self()));
}

struct NameProbe {
    std::atomic<bool> named{false};
    char name[16] = {};
};

// Reads its own name once the creator has returned from os_thread_create_ex.
void* readName(void* arg) {
    auto* probe = static_cast<NameProbe*>(arg);
    while (!probe->named.load()) std::this_thread::yield();
    pthread_getname_np(pthread_self(), probe->name, sizeof probe->name);
    return nullptr;
}

TEST(OsThreads, CreateExNamesTheThreadAndIgnoresANamingFailure) {
    NameProbe probe;
    long t = 0;
    unsigned char name[] = "lut2d-copy";
    ASSERT_EQ(os_thread_create_ex(&t, readName, &probe, 0, name), 0);
    probe.named = true;
    ASSERT_EQ(os_thread_join(&t, nullptr), 0);
    EXPECT_STREQ(probe.name, "lut2d-copy");

    int counter = 0;
    unsigned char tooLong[] = "a-name-longer-than-sixteen-bytes";  // the platform refuses it
    ASSERT_EQ(os_thread_create_ex(&t, addOne, &counter, 7, tooLong), 0);
    ASSERT_EQ(os_thread_join(&t, nullptr), 0);
    EXPECT_EQ(counter, 1);
}

// A flag raised by another thread under a mutex, with a broadcast.
struct Flag {
    pthread_mutex_t* m;
    pthread_cond_t* c;
    int (*wake)(pthread_cond_t*);  // os_cond_signal or os_cond_broadcast
    bool raised = false;
};

void* raiseFlag(void* arg) {
    auto* f = static_cast<Flag*>(arg);
    os_mutex_lock(f->m);
    f->raised = true;
    f->wake(f->c);
    os_mutex_unlock(f->m);
    return nullptr;
}

TEST(OsThreads, DetachedThreadRuns) {
    pthread_mutex_t m;
    pthread_cond_t c;
    ASSERT_EQ(os_mutex_init(&m), 0);
    ASSERT_EQ(os_cond_init(&c), 0);
    Flag flag{&m, &c, os_cond_broadcast};
    long t = 0;
    ASSERT_EQ(os_thread_create(&t, raiseFlag, &flag), 0);
    ASSERT_EQ(os_thread_detach(&t), 0);
    ASSERT_EQ(os_mutex_lock(&m), 0);
    while (!flag.raised) ASSERT_EQ(os_cond_wait(&c, &m), 0);
    ASSERT_EQ(os_mutex_unlock(&m), 0);
    EXPECT_EQ(os_cond_destroy(&c), 0);
    EXPECT_EQ(os_mutex_destroy(&m), 0);
}

TEST(OsMutex, RecursiveMutexLocksTwiceOnOneThread) {
    pthread_mutex_t m;
    ASSERT_EQ(os_recursive_mutex_init(&m), 0);
    ASSERT_EQ(os_mutex_lock(&m), 0);
    ASSERT_EQ(os_mutex_lock(&m), 0);
    EXPECT_EQ(pthread_mutex_trylock(&m), 0);  // a third level, still the owner
    EXPECT_EQ(os_mutex_unlock(&m), 0);
    EXPECT_EQ(os_mutex_unlock(&m), 0);
    EXPECT_EQ(os_mutex_unlock(&m), 0);
    EXPECT_EQ(os_mutex_destroy(&m), 0);
}

class TimedWait : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(os_mutex_init(&m), 0);
        ASSERT_EQ(os_cond_init(&c), 0);
    }
    void TearDown() override {
        os_cond_destroy(&c);
        os_mutex_destroy(&m);
    }
    // Waits until the wall clock's nanoseconds lie in [low, high).
    static void waitForNanos(long low, long high) {
        for (;;) {
            timespec now{};
            clock_gettime(CLOCK_REALTIME, &now);
            if (now.tv_nsec >= low && now.tv_nsec < high) return;
        }
    }
    int waitLocked(unsigned int ms) {
        os_mutex_lock(&m);
        const int rc = os_cond_timedwait(&c, &m, ms);
        os_mutex_unlock(&m);
        return rc;
    }

    pthread_mutex_t m;
    pthread_cond_t c;
};

TEST_F(TimedWait, TimeOutIsReportedAsEleven) {
    EXPECT_EQ(waitLocked(0), 11);
    waitForNanos(0, 500000000);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(waitLocked(30), 11);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(25));
}

TEST_F(TimedWait, UnnormalisedDeadlineIsRefusedByThePlatform) {
    waitForNanos(600000000, 900000000);
    EXPECT_EQ(waitLocked(999), EINVAL);  // at least 1,599,000,000 ns
    waitForNanos(600000000, 900000000);
    EXPECT_EQ(waitLocked(1500), EINVAL);  // one second and 1,100,000,000 ns or more
}

TEST_F(TimedWait, SignalInTimeReturnsZero) {
    Flag flag{&m, &c, os_cond_signal};
    ASSERT_EQ(os_mutex_lock(&m), 0);
    long t = 0;
    ASSERT_EQ(os_thread_create(&t, raiseFlag, &flag), 0);
    int rc = 0;
    // Whole seconds add no nanoseconds, so this deadline is always a valid one.
    while (!flag.raised && rc == 0) rc = os_cond_timedwait(&c, &m, 10000);
    ASSERT_EQ(os_mutex_unlock(&m), 0);
    EXPECT_EQ(rc, 0);
    EXPECT_TRUE(flag.raised);
    ASSERT_EQ(os_thread_join(&t, nullptr), 0);
}

TEST(OsClock, NowIsWallClockMilliseconds) {
    auto ms = [](const timeval& tv) { return tv.tv_sec * 1000.0 + tv.tv_usec / 1000.0; };
    timeval before{}, after{};
    gettimeofday(&before, nullptr);
    const double now = now_ms();
    gettimeofday(&after, nullptr);
    EXPECT_GE(now, ms(before));
    EXPECT_LE(now, ms(after));
}

}  // namespace
