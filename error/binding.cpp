// The binding to the C runtime.  The library shares one C library with its caller, so
// setting errno and writing to standard error are direct operations; the ready state is
// kept so that nothing reaches errno or fd 2 before the first report has bound them.
#include <cerrno>
#include <unistd.h>
#include "tsr/report.h"

namespace {
// 0 until the first report, then 1; written with release order after the binding so
// that a reader who sees 1 sees the rest.
unsigned char g_ready;
constexpr int kMaxText = 512;
}  // namespace

extern "C" void __libm_dynamic_RT_init(void) {
    if (__atomic_load_n(&g_ready, __ATOMIC_ACQUIRE)) return;
    __atomic_store_n(&g_ready, 1, __ATOMIC_RELEASE);
}

extern "C" void __libm_dynamic_RT_set_errno(int value) {
    if (!__atomic_load_n(&g_ready, __ATOMIC_ACQUIRE)) return;
    int *cell = __errno_location();
    if (cell) *cell = value;
}

// At most 512 bytes go out: a text is measured up to its terminator or that length.
// The caller's errno survives a failing write.
extern "C" void __libm_dynamic_RT_stderr_puts(const char *text) {
    if (!__atomic_load_n(&g_ready, __ATOMIC_ACQUIRE)) return;
    int n = 0;
    if (text)
        while (n < kMaxText && text[n]) ++n;
    int saved = errno;
    const char *p = text ? text : "";
    while (n > 0) {
        ssize_t w = write(2, p, size_t(n));
        if (w < 0) {
            if (errno == EINTR) continue;
            break;
        }
        p += w;
        n -= int(w);
    }
    if (!text) (void)write(2, p, 0);
    errno = saved;
}
