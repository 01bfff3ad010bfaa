// Shared pieces of the error-reporting tests: the reference rows turned into lookups,
// the exception records a recording handler saw, and capture of file descriptor 2.
#pragma once
#include <gtest/gtest.h>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>
#include <sys/mman.h>
#include <unistd.h>
#include "tessera.h"
#include "tsr/report.h"
#include "reference_rows.h"

namespace errtest {

inline const char *const kValueNames[8] = {"+0", "-0", "+1", "-1", "+inf", "-inf", "+MAX", "-MAX"};
inline const char *const kSuffix[4] = {"f", "", "l", "q"};
inline const int kBytes[4] = {4, 8, 10, 16};
constexpr int kSentinelErrno = 4242;

struct CodeInfo {
    int prec = -1;
    int cls = -1;
    std::string name;
};

inline const std::vector<CodeInfo> &codes() {
    static const std::vector<CodeInfo> t = [] {
        std::vector<CodeInfo> v(404);
        for (const auto &r : ref::kCodes)
            for (int i = 0; i < 3; ++i)
                if (r.code[i] >= 0) v[r.code[i]] = {i == 0 ? 2 : i == 1 ? 1 : 0, r.cls[i], r.fn};
        for (const auto &q : ref::kQuadCodes) {
            std::istringstream names(q.names);
            int c = q.first;
            for (std::string n; names >> n;) v[c++] = {3, q.cls, n};
        }
        return v;
    }();
    return t;
}

inline const ref::ClassRow *class_row(int n) {
    for (const auto &c : ref::kClasses)
        if (c.number == n) return &c;
    return nullptr;
}
inline const ref::ActionRow *action_row(int n) {
    for (const auto &a : ref::kActions)
        if (a.row == n) return &a;
    return nullptr;
}
inline std::vector<std::string> program_steps(int n) {
    std::vector<std::string> out;
    for (const auto &p : ref::kPrograms)
        if (p.number == n) {
            std::string s = p.steps, w;
            for (char c : s + " ") {
                if (c == ' ') {
                    if (!w.empty()) out.push_back(w);
                    w.clear();
                } else {
                    w += c;
                }
            }
        }
    return out;
}
inline int index_of(const char *const *list, int n, const std::string &s) {
    for (int i = 0; i < n; ++i)
        if (s == list[i]) return i;
    return -1;
}
inline int type_number(const char *t) { return index_of(ref::kTypes, 7, t); }
inline int errno_of(const std::string &e) { return e == "EDOM" ? EDOM : ERANGE; }

inline std::string format3(const char *fmt, const std::string &a, const std::string &b,
                           const std::string &c) {
    char buf[600];
    snprintf(buf, sizeof buf, fmt, a.c_str(), b.c_str(), c.c_str());
    return buf;
}

// What a recording handler saw.
struct Seen {
    int calls = 0;
    int prec = -1;
    int type = 0;
    std::string name;
    unsigned char arg1[16], arg2[16], retval[16];
};
inline Seen g_seen;
inline int g_answer = 0;

template <class Rec>
int record(Rec *e, int prec, int bytes) {
    ++g_seen.calls;
    g_seen.prec = prec;
    g_seen.type = e->type;
    g_seen.name = e->name ? e->name : "(null)";
    std::memcpy(g_seen.arg1, &e->arg1, bytes);
    std::memcpy(g_seen.arg2, &e->arg2, bytes);
    std::memcpy(g_seen.retval, &e->retval, bytes);
    e->retval = 12345;  // a handler's change must not reach the caller
    return g_answer;
}
inline int handler_f(tessera_exceptionf *e) { return record(e, 0, 4); }
inline int handler_d(tessera_exception *e) { return record(e, 1, 8); }
inline int handler_l(tessera_exceptionl *e) { return record(e, 2, 10); }

inline void install_recorders() {
    __libm_setusermatherrf(handler_f);
    __libm_setusermatherr(handler_d);
    __libm_setusermatherrl(handler_l);
}
inline void install_defaults() {
    __libm_setusermatherrf(nullptr);
    __libm_setusermatherr(nullptr);
    __libm_setusermatherrl(nullptr);
}

// Redirects fd 2 into a memory file for the life of the object; take() returns what was
// written since the last take().
class StderrCapture {
public:
    StderrCapture() {
        fflush(stderr);
        mem_ = memfd_create("stderr", 0);
        saved_ = dup(2);
        dup2(mem_, 2);
    }
    ~StderrCapture() {
        dup2(saved_, 2);
        close(saved_);
        close(mem_);
    }
    std::string take() {
        off_t end = lseek(mem_, 0, SEEK_END);
        std::string s(size_t(end - pos_), '\0');
        if (end > pos_) s.resize(size_t(pread(mem_, s.data(), size_t(end - pos_), pos_)));
        pos_ = end;
        return s;
    }

private:
    int mem_ = -1, saved_ = -1;
    off_t pos_ = 0;
};

struct ModeGuard {
    explicit ModeGuard(int m) { _LIB_VERSIONQVT = m; }
    ~ModeGuard() { _LIB_VERSIONQVT = 3; }
};

inline const char *kCatalogueFailure = "Cannot open message catalog tesseraUI\n";

}  // namespace errtest
