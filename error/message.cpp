// System V style error messages.  The texts come from the POSIX message catalogue
// `tesseraUI` (set 1, message n) when it can be opened, and from the built-in formats
// otherwise; a catalogue that cannot be opened is reported once and never tried again.
// The catalogue state is shared without a lock: two threads may both open the
// catalogue, and the loser of the race closes its handle again.
#include <cerrno>
#include <dlfcn.h>
#include <nl_types.h>
#include "error/message.h"
#include "error/report_data.h"
#include "tsr/report.h"

namespace {

constexpr const char *kCatalogue = "tesseraUI";
constexpr int kSet = 1;
constexpr int kBuffer = 512;

// Where an installed tree keeps the catalogue, relative to the directory of the library
// itself (the build writes it from the install directories; both lie under one prefix).
#ifndef TSR_CATALOGUE_FROM_LIBDIR
#define TSR_CATALOGUE_FROM_LIBDIR "../share/locale"
#endif

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

// The catalogue that was installed beside this library, for when NLSPATH and the locale
// find none: <directory of the library>/<TSR_CATALOGUE_FROM_LIBDIR>/C/LC_MESSAGES/tesseraUI,
// opened by its path (catopen takes a name containing a slash as the file itself).
nl_catd open_installed() {
    Dl_info info;
    const nl_catd none = reinterpret_cast<nl_catd>(-1);
    if (!dladdr(reinterpret_cast<void *>(&open_installed), &info) || !info.dli_fname) return none;
    static const char kTail[] = "/" TSR_CATALOGUE_FROM_LIBDIR "/C/LC_MESSAGES/tesseraUI";
    char path[kBuffer];
    int n = 0, slash = -1;
    for (const char *s = info.dli_fname; *s && n < kBuffer - 1; ++s, ++n) {
        path[n] = *s;
        if (*s == '/') slash = n;
    }
    if (slash < 0 || slash + int(sizeof kTail) > kBuffer) return none;
    for (int k = 0; k < int(sizeof kTail); ++k) path[slash + k] = kTail[k];
    int saved = errno;  // a failed try leaves errno as it found it
    nl_catd cat = catopen(path, NL_CAT_LOCALE);
    errno = saved;
    return cat;
}

nl_catd open_catalogue() {
    nl_catd cat = __atomic_load_n(&g_catalogue, __ATOMIC_ACQUIRE);
    if (cat || __atomic_load_n(&g_failed, __ATOMIC_RELAXED)) return cat;
    cat = catopen(kCatalogue, NL_CAT_LOCALE);
    if (cat == reinterpret_cast<nl_catd>(-1)) cat = open_installed();
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
