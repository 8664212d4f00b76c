// The exported OS wrappers. Nothing inside the library calls them.

#include "os_layer.h"

#include <sys/time.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "../common/checked_math.h"

static_assert(sizeof(pthread_t) == sizeof(long), "thread identifiers are held in a long");
static_assert(PTHREAD_MUTEX_RECURSIVE == 1, "type 1 is the recursive mutex type");
static_assert(ETIMEDOUT == 110 && EAGAIN == 11, "time-outs are reported as 11, not 110");

namespace {

// pthread_t and long are the same size; on glibc pthread_t is the unsigned variant, which may
// alias a long.
pthread_t* asThread(long* thread) {
    return reinterpret_cast<pthread_t*>(thread);
}

constexpr long kNanosPerMilli = 1000000;

}  // namespace

extern "C" {

int os_thread_create(long* thread, void* (*start)(void*), void* arg) {
    return pthread_create(asThread(thread), nullptr, start, arg);
}

int os_thread_create_ex(long* thread, void* (*start)(void*), void* arg, int /*reserved*/,
                        unsigned char* name) {
    const int created = pthread_create(asThread(thread), nullptr, start, arg);
    // Only a created thread is named: after a failed creation *thread is not a thread, and
    // naming it would act on whatever the caller left there.
    if (created == 0) (void)pthread_setname_np(*asThread(thread), reinterpret_cast<char*>(name));
    return created;
}

int os_thread_join(long* thread, void** result) {
    return pthread_join(*asThread(thread), result);
}

int os_thread_detach(long* thread) {
    return pthread_detach(*asThread(thread));
}

long os_thread_self() {
    return static_cast<long>(pthread_self());
}

int os_mutex_init(pthread_mutex_t* m) {
    return pthread_mutex_init(m, nullptr);
}

int os_recursive_mutex_init(pthread_mutex_t* m) {
    // A zero-filled attribute object is a default one on the platform; only its type is set.
    pthread_mutexattr_t attr;
    std::memset(&attr, 0, sizeof attr);
    (void)pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    return pthread_mutex_init(m, &attr);
}

int os_mutex_destroy(pthread_mutex_t* m) {
    return pthread_mutex_destroy(m);
}

int os_mutex_lock(pthread_mutex_t* m) {
    return pthread_mutex_lock(m);
}

int os_mutex_unlock(pthread_mutex_t* m) {
    return pthread_mutex_unlock(m);
}

int os_cond_init(pthread_cond_t* c) {
    return pthread_cond_init(c, nullptr);
}

int os_cond_destroy(pthread_cond_t* c) {
    return pthread_cond_destroy(c);
}

int os_cond_signal(pthread_cond_t* c) {
    return pthread_cond_signal(c);
}

int os_cond_broadcast(pthread_cond_t* c) {
    return pthread_cond_broadcast(c);
}

int os_cond_wait(pthread_cond_t* c, pthread_mutex_t* m) {
    return pthread_cond_wait(c, m);
}

int os_cond_timedwait(pthread_cond_t* c, pthread_mutex_t* m, unsigned int ms) {
    timespec deadline{};
    const int clock = clock_gettime(CLOCK_REALTIME, &deadline);
    if (clock < 0) return clock;
    if (ms < 1000) {
        deadline.tv_nsec = lut2d::checkedAdd<long>(deadline.tv_nsec, ms * kNanosPerMilli);
    } else {
        deadline.tv_sec = lut2d::checkedAdd<time_t>(deadline.tv_sec, ms / 1000);
        deadline.tv_nsec = lut2d::checkedAdd<long>(deadline.tv_nsec, (ms % 1000) * kNanosPerMilli);
    }
    // The nanoseconds are deliberately not normalised; the platform judges the deadline.
    const int rc = pthread_cond_timedwait(c, m, &deadline);
    return rc == ETIMEDOUT ? EAGAIN : rc;
}

double now_ms() {
    timeval tv{};
    struct timezone tz {};
    gettimeofday(&tv, &tz);
    return static_cast<double>(tv.tv_sec) * 1000.0 + static_cast<double>(tv.tv_usec) / 1000.0;
}

}  // extern "C"
