// System V style error messages.  The texts come from the POSIX message catalogue
// `tesseraUI` (set 1, message n) when it can be opened, and from the built-in formats
// otherwise; a catalogue that cannot be opened is reported once and never tried again.
// The catalogue state is shared without a lock: two threads may both open the
// catalogue, and the loser of the race closes its handle again.
#include <cerrno>
#include <nl_types.h>
#include "error/message.h"
#include "error/report_data.h"
#include "tsr/report.h"

namespace {

constexpr const char *kCatalogue = "tesseraUI";
constexpr int kSet = 1;
constexpr int kBuffer = 512;

nl_catd g_catalogue;  // null until opened
int g_failed;         // set once opening has failed

// Copies the format with its three texts in place of %s (in turn) or %1$s .. %3$s; %%
// gives a percent sign, any other conversion stands as written.  The result is cut to
// fit the buffer.
void format3(char *out, int cap, const char *fmt, const char *const args[3]) {
    int n = 0, next = 0;
    auto put = [&](char c) {
        if (n < cap - 1) out[n++] = c;
    };
    auto puts = [&](const char *s) {
        for (; s && *s; ++s) put(*s);
    };
    for (const char *p = fmt; *p; ++p) {
        if (*p != '%') {
            put(*p);
            continue;
        }
        if (p[1] == '%') {
            put('%');
            ++p;
        } else if (p[1] == 's') {
            if (next < 3) puts(args[next++]);
            ++p;
        } else if (p[1] >= '1' && p[1] <= '3' && p[2] == '$' && p[3] == 's') {
            puts(args[p[1] - '1']);
            p += 3;
        } else {
            put('%');
        }
    }
    out[n] = 0;
}

nl_catd open_catalogue() {
    nl_catd cat = __atomic_load_n(&g_catalogue, __ATOMIC_ACQUIRE);
    if (cat || __atomic_load_n(&g_failed, __ATOMIC_RELAXED)) return cat;
    cat = catopen(kCatalogue, NL_CAT_LOCALE);
    if (cat == reinterpret_cast<nl_catd>(-1)) {
        __atomic_store_n(&g_failed, 1, __ATOMIC_RELAXED);
        char line[kBuffer];
        const char *args[3] = {kCatalogue, nullptr, nullptr};
        format3(line, kBuffer, "Cannot open message catalog %s\n", args);
        __libm_dynamic_RT_stderr_puts(line);
        return nullptr;
    }
    nl_catd expected = nullptr;
    if (!__atomic_compare_exchange_n(&g_catalogue, &expected, cat, false, __ATOMIC_ACQ_REL,
                                     __ATOMIC_ACQUIRE)) {
        catclose(cat);
        cat = expected;
    }
    return cat;
}

}  // namespace

extern "C" void __libm_write_message(int message, const char *name, const char *suffix,
                                     const char *exception) {
    if (message < 0 || message >= int(sizeof __libm_error_formats / sizeof *__libm_error_formats))
        return;
    int saved = errno;  // the catalogue functions may leave their own errno
    const char *fmt = __libm_error_formats[message];
    if (nl_catd cat = open_catalogue()) {
        if (const char *text = catgets(cat, kSet, message, nullptr)) fmt = text;
    }
    char buf[kBuffer];
    const char *args[3] = {name, suffix, exception};
    format3(buf, kBuffer, fmt, args);
    __libm_dynamic_RT_stderr_puts(buf);
    errno = saved;
}
