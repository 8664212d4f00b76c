// Thin wrappers over POSIX threads, mutexes, condition variables and the wall clock, exported
// for hosts. Each returns the result of the POSIX call it wraps (0 or an error number) unless
// noted. Thread identifiers are the platform's pthread_t held in a long.
#pragma once

#include <pthread.h>

#include "../common/lut2d_export.h"

extern "C" {

LUT2D_EXPORT int os_thread_create(long* thread, void* (*start)(void*), void* arg);

// Creates the thread, then names it. Returns the creation result; a name the platform refuses
// (for example one longer than 15 characters) does not change it. `reserved` is not used.
LUT2D_EXPORT int os_thread_create_ex(long* thread, void* (*start)(void*), void* arg, int reserved,
                                     unsigned char* name);
LUT2D_EXPORT int os_thread_join(long* thread, void** result);
LUT2D_EXPORT int os_thread_detach(long* thread);
LUT2D_EXPORT long os_thread_self();

LUT2D_EXPORT int os_mutex_init(pthread_mutex_t* m);
LUT2D_EXPORT int os_recursive_mutex_init(pthread_mutex_t* m);
LUT2D_EXPORT int os_mutex_destroy(pthread_mutex_t* m);
LUT2D_EXPORT int os_mutex_lock(pthread_mutex_t* m);
LUT2D_EXPORT int os_mutex_unlock(pthread_mutex_t* m);

LUT2D_EXPORT int os_cond_init(pthread_cond_t* c);
LUT2D_EXPORT int os_cond_destroy(pthread_cond_t* c);
LUT2D_EXPORT int os_cond_signal(pthread_cond_t* c);
LUT2D_EXPORT int os_cond_broadcast(pthread_cond_t* c);
LUT2D_EXPORT int os_cond_wait(pthread_cond_t* c, pthread_mutex_t* m);

// Waits at most `ms` milliseconds past the current wall-clock time. A time-out returns 11
// rather than the platform's 110. The deadline's nanoseconds are not carried into its
// seconds, so when the current nanoseconds plus the sub-second part of `ms` reach one second
// the platform refuses the deadline and its invalid-argument error is returned.
LUT2D_EXPORT int os_cond_timedwait(pthread_cond_t* c, pthread_mutex_t* m, unsigned int ms);

// Wall-clock milliseconds since the epoch, with a fractional part.
LUT2D_EXPORT double now_ms();

}  // extern "C"
