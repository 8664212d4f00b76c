// Set-up that fails part-way: every failing allocation reports 5 with its own line, the
// handle is still handed out, and releasing it frees everything that was allocated.
//
// This executable replaces malloc and free to make one allocation fail and to track what is
// live; it is built only without sanitizers, which bring their own allocator.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "interface/orvix_lut2d.h"
#include "support/fixtures.h"

extern "C" void* __libc_malloc(size_t);
extern "C" void __libc_free(void*);

namespace {

size_t g_failSize = 0;  // the next allocation of this size fails
bool g_tracking = false;
void* g_live[256];  // allocations made while tracking and not yet freed
size_t g_liveCount = 0;

char g_lastError[512];

size_t liveCount() {
    return g_liveCount - static_cast<size_t>(std::count(g_live, g_live + g_liveCount, nullptr));
}

}  // namespace

extern "C" void* malloc(size_t n) {
    if (g_failSize != 0 && n == g_failSize) {
        g_failSize = 0;
        return nullptr;
    }
    void* p = __libc_malloc(n);
    if (g_tracking && p != nullptr && g_liveCount < 256) g_live[g_liveCount++] = p;
    return p;
}

extern "C" void free(void* p) {
    if (g_tracking) std::replace(g_live, g_live + g_liveCount, p, static_cast<void*>(nullptr));
    __libc_free(p);
}

// Keeps the last error line without allocating.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int prio, const char*, const char* fmt, ...) {
    if (prio != 6) return 0;
    va_list ap;
    va_start(ap, fmt);
    const int n = std::vsnprintf(g_lastError, sizeof g_lastError, fmt, ap);
    va_end(ap);
    return n;
}

namespace {

struct Case {
    size_t bytes;
    int line;
};

class AllocFailure : public ::testing::TestWithParam<Case> {};

TEST_P(AllocFailure, HandleIsHandedOutAndReleasedCompletely) {
    auto rec = lut2d_test::neutralRecord();
    lut2d_test::Frame f(64, 16, 64);
    auto data = f.data();
    void* handle = nullptr;
    g_lastError[0] = '\0';
    g_liveCount = 0;
    g_tracking = true;
    g_failSize = GetParam().bytes;
    const int status = InitLut2D(&handle, &rec, {64, 16, 64, 0}, LUT2D_MODE_CHRUS);
    g_failSize = 0;
    EXPECT_EQ(status, 5);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(std::string(g_lastError),
              "InitLut2D: " + std::to_string(GetParam().line) + ": malloc failed \n");
    EXPECT_GT(liveCount(), 0u);

    // A frame on a part-built handle is refused rather than run on missing tables.
    EXPECT_EQ(processLut2d(handle, &data, 1), 5);
    EXPECT_EQ(std::string(g_lastError), "processLut2d: handle set-up incomplete, release it \n");

    EXPECT_EQ(releaseLut2d(handle), 0);
    g_tracking = false;
    EXPECT_EQ(liveCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(EachAllocation, AllocFailure,
                         ::testing::Values(Case{12289 * 2, 414}, Case{2049 * 2, 420},
                                           Case{2048 * 2, 426}, Case{1600000, 477}),
                         [](const ::testing::TestParamInfo<Case>& p) {
                             return "line" + std::to_string(p.param.line);
                         });

}  // namespace
