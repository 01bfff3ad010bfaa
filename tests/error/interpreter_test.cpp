// The error interpreter against a model built from the reference rows: every code, every
// mode, with the default handler and with user handlers answering 0 and 1, on operands
// and results of both signs, zero, subnormal and infinite, in each precision's cell.
#include <cfloat>
#include <limits>
#include <type_traits>
#include <thread>
#include "error_util.h"
#include "harness/harness.h"
#include "tsr/common.h"

using namespace errtest;

namespace {

// Each precision's column in the policy's tables (p) and the values its results take.
template <class T> struct Prec {
    static constexpr int p = std::is_same_v<T, float> ? 0 : std::is_same_v<T, double> ? 1 : 2;
    static T max() { return std::numeric_limits<T>::max(); }
    static T tiny() { return std::numeric_limits<T>::denorm_min(); }
    static T inf() { return std::numeric_limits<T>::infinity(); }
};
template <> struct Prec<__float128> {
    static constexpr int p = 3;
    static __float128 max() { return tsr::from_q(0x7ffeffffffffffffull, ~0ull); }
    static __float128 tiny() { return tsr::from_q(0, 1); }
    static __float128 inf() { return tsr::from_q(0x7fff000000000000ull, 0); }
};

template <class T> T table_value(int i) {
    T v[8] = {T(0), -T(0), T(1), -T(1), Prec<T>::inf(), -Prec<T>::inf(), Prec<T>::max(),
              -Prec<T>::max()};
    return v[i];
}
template <class T> int sign_of(const T &x) {
    const auto *b = reinterpret_cast<const unsigned char *>(&x);
    return b[kBytes[Prec<T>::p] - 1] >> 7;
}
template <class T> bool all_bits_zero(const T &x) {
    const auto *b = reinterpret_cast<const unsigned char *>(&x);
    for (int i = 0; i < kBytes[Prec<T>::p]; ++i)
        if (b[i]) return false;
    return true;
}

enum Handler { kDefault, kAnswer0, kAnswer1 };

struct Outcome {
    unsigned char result[16] = {};
    int err = kSentinelErrno;
    Seen seen;
    std::string message;
};

// What the policy says one report does, read off the reference rows.
template <class T>
Outcome model(int code, int mode, Handler h, T a1, T a2, T r) {
    Outcome o;
    const CodeInfo &ci = codes()[code];
    const int bytes = kBytes[Prec<T>::p];
    auto store = [&] { std::memcpy(o.result, &r, bytes); };
    store();
    if (mode < 0) return o;
    const ref::ClassRow *c = class_row(ci.cls);
    const ref::ActionRow *a = action_row(c->mode[mode]);
    int value = index_of(kValueNames, 8, a->value);
    int err = errno_of(a->err);
    int sign_state = 0;
    const T *src = nullptr;
    auto apply = [&] {
        if (src) sign_state |= sign_of(*src);
        value ^= sign_state;
    };
    for (const std::string &s : program_steps(a->program)) {
        if (s == "SET_ERRNO") {
            o.err = err;
        } else if (s == "ERRNO_IF_ZERO") {
            if (r == 0) o.err = ERANGE;
        } else if (s == "SET_RESULT") {
            r = table_value<T>(value);
        } else if (s == "COPY_ARG1") {
            r = a1;
        } else if (s == "SIGNED_BY_ARG1" || s == "SIGNED_NONPOSITIVE_ARG1") {
            if (s == "SIGNED_NONPOSITIVE_ARG1" && all_bits_zero(a1)) sign_state = 1;
            src = &a1;
            apply();
            r = table_value<T>(value);
        } else if (s == "SIGNED_BY_RESULT") {
            T now = r;
            src = &now;
            apply();
            r = table_value<T>(value);
        } else if (s == "WRITE_MESSAGE") {
            o.message += format3(ref::kFormats[c->message], ci.name, kSuffix[Prec<T>::p],
                                 c->type);
        } else if (s == "CALL_HANDLER") {
            if (Prec<T>::p == 3) ADD_FAILURE() << "binary128 code " << code << " calls a handler";
            if (h == kDefault) break;
            o.seen.calls = 1;
            o.seen.prec = Prec<T>::p;
            o.seen.type = type_number(c->type);
            o.seen.name = ci.name + kSuffix[Prec<T>::p];
            std::memcpy(o.seen.arg1, &a1, bytes);
            std::memcpy(o.seen.arg2, &a2, bytes);
            std::memcpy(o.seen.retval, &r, bytes);
            if (h == kAnswer1) break;
        } else {
            ADD_FAILURE() << "unknown step " << s;
        }
        store();
    }
    store();
    return o;
}

// A cell inside guard bytes, so that a copy of too many words or a write to the wrong
// place shows.
struct Guarded {
    unsigned char b[48];
    Guarded() { std::memset(b, 0xa5, sizeof b); }
    void *cell() { return b + 16; }
};

struct Inputs {
    double a1, a2, r;  // converted to the precision; tiny stands for the least subnormal
};
constexpr double kTiny = 1e-300;  // marker, replaced by the precision's least subnormal

template <class T> T conv(double x) {
    if (x == kTiny) return Prec<T>::tiny();
    if (x == -kTiny) return -Prec<T>::tiny();
    return T(x);
}

const Inputs kInputs[] = {
    {2.5, 3.25, 1.5},    {-2.5, 3.25, -1.5}, {0.0, -0.75, 0.0},     {-0.0, 1.0, -0.0},
    {2.5, 1.0, kTiny},   {-2.5, 1.0, -kTiny}, {0.0, 2.0, -1.5},     {-__builtin_inf(), 0.0, __builtin_inf()},
};

// What one report leaves, as the call runner compares it (errno aside): the result cell (and
// whether the bytes beside it and the argument cells stayed as they were), the record the
// handler saw, and the message.
using Left = std::tuple<std::string, std::string, std::string>;
std::string hex(const void *p, int n) {
    std::string s;
    char b[4];
    for (int i = n - 1; i >= 0; --i) std::snprintf(b, sizeof b, "%02x", static_cast<const unsigned char *>(p)[i]), s += b;
    return s;
}
std::string record(const Seen &s, int bytes) {
    if (!s.calls) return "no handler call";
    return "handler called " + std::to_string(s.calls) + " times: precision " + std::to_string(s.prec) + " type " +
           std::to_string(s.type) + " name " + s.name + " arg1 " + hex(s.arg1, bytes) + " arg2 " + hex(s.arg2, bytes) +
           " retval " + hex(s.retval, bytes);
}

// The report in a precision's cells, with the default handler or a recording one.
template <class T> Left report_in(int code, int mode, Handler h, const Inputs &in, StderrCapture &cap, int &failure_lines) {
    const int bytes = kBytes[Prec<T>::p];
    T a1 = conv<T>(in.a1), a2 = conv<T>(in.a2), r0 = conv<T>(in.r);
    Guarded g1, g2, gr;
    std::memcpy(g1.cell(), &a1, bytes);
    std::memcpy(g2.cell(), &a2, bytes);
    std::memcpy(gr.cell(), &r0, bytes);
    const Guarded g1c = g1, g2c = g2, grc = gr;
    if (h == kDefault) install_defaults(); else install_recorders();
    g_answer = h == kAnswer1 ? 1 : 0;
    g_seen = Seen{};
    _LIB_VERSIONQVT = mode;
    errno = kSentinelErrno;
    __libm_error_support(g1.cell(), g2.cell(), gr.cell(), code);
    _LIB_VERSIONQVT = 3;
    std::string msg = cap.take();
    if (msg.rfind(kCatalogueFailure, 0) == 0) {
        ++failure_lines;
        msg.erase(0, std::strlen(kCatalogueFailure));
    }
    bool beside = std::memcmp(gr.b, grc.b, 16) == 0 && std::memcmp(gr.b + 16 + bytes, grc.b + 16 + bytes, 32 - bytes) == 0;
    bool args = std::memcmp(g1.b, g1c.b, 48) == 0 && std::memcmp(g2.b, g2c.b, 48) == 0;
    return {hex(gr.cell(), bytes) + (beside ? "" : ", bytes beside it changed") + (args ? "" : ", an argument cell changed"),
            record(g_seen, bytes), msg};
}
// What the policy says it leaves, with errno and the code seen first by the observer.
template <class T> th::Expect<Left> policy(int code, int mode, Handler h, const Inputs &in) {
    const int bytes = kBytes[Prec<T>::p];
    Outcome o = model<T>(code, mode, h, conv<T>(in.a1), conv<T>(in.a2), conv<T>(in.r));
    return {{hex(o.result, bytes), record(o.seen, bytes), o.message}, th::ANY_FLAGS, o.err, code};
}
// Runs f with a value of the code's precision.
template <class F> auto in_precision(int code, F f) {
    switch (codes()[code].prec) {
    case 0: return f(float());
    case 1: return f(double());
    case 2: return f((long double)0);
    default: return f(__float128());
    }
}

TEST(ErrorInterpreter, EveryCodeEveryModeEveryHandler) {
    std::vector<std::tuple<int, int, int, int>> in;  // code, mode, handler, inputs
    for (int code = 0; code < 404; ++code) {
        ASSERT_GE(codes()[code].prec, 0) << "code " << code << " has no reference row";
        for (int mode = -1; mode <= 3; ++mode)
            for (int h : {kDefault, kAnswer0, kAnswer1})
                for (int i = 0; i < int(std::size(kInputs)); ++i) in.push_back({code, mode, h, i});
    }
    int failure_lines = 0;
    {
        StderrCapture cap;
        th::Calls<Left, int, int, int, int> report;
        th::add_call(report, "__libm_error_support", [&](int code, int mode, int h, int i) {
            return in_precision(code, [&](auto t) {
                return report_in<decltype(t)>(code, mode, Handler(h), kInputs[i], cap, failure_lines);
            });
        });
        EXPECT_EQ(th::check_calls("error report", report, in, th::RN, [](const auto &, const auto &p, int) {
            auto [code, mode, h, i] = p;
            return in_precision(code, [&](auto t) { return policy<decltype(t)>(code, mode, Handler(h), kInputs[i]); });
        }), 0);
    }
    install_defaults();
    EXPECT_LE(failure_lines, 1) << "the catalogue failure line appeared more than once";
}

// Every class but the unused one is reached by some code, so the matrix above covers all
// classes in every mode.
TEST(ErrorInterpreter, CodesReachEveryClass) {
    std::vector<int> seen(42);
    for (const auto &c : codes()) {
        ASSERT_GE(c.cls, 0);
        ++seen[c.cls];
    }
    for (const auto &c : ref::kClasses) EXPECT_GT(seen[c.number], 0) << "class " << c.number;
    EXPECT_EQ(seen[26], 0);
}

// log(0) in double, mode by mode, written out.
TEST(ErrorInterpreter, LogOfZeroByMode) {
    install_recorders();
    struct Row {
        int mode;
        int answer;
        double result;
        int err;
        int calls;
    } rows[] = {
        {3, 0, -__builtin_inf(), ERANGE, 0},  {2, 0, -__builtin_inf(), ERANGE, 0},
        {1, 1, -__builtin_inf(), kSentinelErrno, 1}, {1, 0, -__builtin_inf(), EDOM, 1},
        {0, 1, -DBL_MAX, kSentinelErrno, 1},  {0, 0, -DBL_MAX, EDOM, 1},
        {-1, 0, -__builtin_inf(), kSentinelErrno, 0},
    };
    for (const Row &r : rows) {
        StderrCapture cap;
        double x = 0.0, res = -__builtin_inf();
        g_seen = Seen{};
        g_answer = r.answer;
        errno = kSentinelErrno;
        {
            ModeGuard m(r.mode);
            __libm_error_support(&x, &x, &res, 2);
        }
        EXPECT_EQ(errno, r.err) << "mode " << r.mode;
        EXPECT_EQ(res, r.result) << "mode " << r.mode;
        EXPECT_EQ(g_seen.calls, r.calls) << "mode " << r.mode;
        if (r.calls) {
            EXPECT_EQ(g_seen.type, 2);
            EXPECT_EQ(g_seen.name, "log");
        }
        std::string msg = cap.take();
        if (msg.rfind(kCatalogueFailure, 0) == 0) msg.erase(0, std::strlen(kCatalogueFailure));
        EXPECT_EQ(msg, r.mode == 0 && r.answer == 0 ? "\rlog: SING error\n" : "") << "mode " << r.mode;
    }
    install_defaults();
}

TEST(ErrorInterpreter, DefaultHandlerAndItsInstallation) {
    tessera_exception e{};
    EXPECT_EQ(matherr(&e), 1);
    tessera_exceptionf ef{};
    EXPECT_EQ(matherrf(&ef), 1);
    tessera_exceptionl el{};
    EXPECT_EQ(matherrl(&el), 1);
    EXPECT_EQ(reinterpret_cast<void *>(&matherr), reinterpret_cast<void *>(&matherrf));
    EXPECT_EQ(reinterpret_cast<void *>(&matherr), reinterpret_cast<void *>(&matherrl));

    // A user handler answering 0 lets errno through; restoring the default stops it again.
    ModeGuard m(1);
    double x = -1.0, res = 0.0;
    __libm_setusermatherr(handler_d);
    g_answer = 0;
    errno = kSentinelErrno;
    __libm_error_support(&x, &x, &res, 3);
    EXPECT_EQ(errno, EDOM);
    __libm_setusermatherr(nullptr);
    g_seen = Seen{};
    errno = kSentinelErrno;
    __libm_error_support(&x, &x, &res, 3);
    EXPECT_EQ(errno, kSentinelErrno);
    EXPECT_EQ(g_seen.calls, 0);
}

TEST(ErrorInterpreter, OutOfRangeModesAndCodesDoNothing) {
    install_recorders();
    double x = 0.0, res = 7.0;
    for (int mode : {-2, 4, 1000, -1000}) {
        ModeGuard m(mode);
        errno = kSentinelErrno;
        g_seen = Seen{};
        __libm_error_support(&x, &x, &res, 2);
        EXPECT_EQ(res, 7.0);
        EXPECT_EQ(errno, kSentinelErrno);
        EXPECT_EQ(g_seen.calls, 0);
    }
    for (int code : {-1, 404, 100000}) {
        errno = kSentinelErrno;
        __libm_error_support(&x, &x, &res, code);
        EXPECT_EQ(res, 7.0);
        EXPECT_EQ(errno, kSentinelErrno);
    }
    install_defaults();
}

std::vector<int> g_observed;
void observe(int code) { g_observed.push_back(code); }

TEST(ErrorInterpreter, ObserverSeesEveryCodeFirst) {
    g_observed.clear();
    __libm_error_observer = observe;
    double x = 0.0, res = 0.0;
    {
        ModeGuard m(-1);
        __libm_error_support(&x, &x, &res, 2);
    }
    __libm_error_support(&x, &x, &res, 403);
    __libm_error_observer = nullptr;
    __libm_error_support(&x, &x, &res, 5);
    EXPECT_EQ(g_observed, (std::vector<int>{2, 403}));
}

TEST(ErrorInterpreter, WrappersReturnTheResultCell) {
    ModeGuard m(0);
    EXPECT_EQ(__libm_error_support_wrapper_x64(-__builtin_inf(), 0.0, 0.0, 2), -DBL_MAX);
    EXPECT_EQ(__libm_error_support_wrapper_x64f(-__builtin_inff(), 0.0f, 0.0f, 4), -FLT_MAX);
    // pow overflow takes the sign of the function's own result.
    EXPECT_EQ(__libm_error_support_wrapper_x64(-__builtin_inf(), -3.0, 3.0, 24), -DBL_MAX);
    _LIB_VERSIONQVT = 2;
    long double a = -2.0L, r = 0.0L;
    __libm128_error_support(&a, &a, &r, 0);
    EXPECT_EQ(r, -__builtin_infl());
}

TEST(ErrorInterpreter, CopyValueGoesForwardWordByWord) {
    uint16_t w[6] = {1, 2, 3, 4, 5, 6};
    __libm_copy_value(w + 1, w, 4);  // overlapping: the first word spreads forward
    EXPECT_EQ((std::vector<uint16_t>(w, w + 6)), (std::vector<uint16_t>{1, 1, 1, 1, 1, 6}));
    uint16_t v[3] = {7, 8, 9};
    __libm_copy_value(v, v + 1, 2);
    EXPECT_EQ((std::vector<uint16_t>(v, v + 3)), (std::vector<uint16_t>{8, 9, 9}));
    __libm_copy_value(v, w, 0);
    __libm_copy_value(v, w, -3);
    EXPECT_EQ((std::vector<uint16_t>(v, v + 3)), (std::vector<uint16_t>{8, 9, 9}));
}

// errno is each thread's own: threads reporting different conditions at once each see
// their own value.
TEST(ErrorInterpreter, ThreadsSeeTheirOwnErrno) {
    std::vector<std::thread> ts;
    std::vector<int> wrong(8);
    for (int t = 0; t < 8; ++t)
        ts.emplace_back([t, &wrong] {
            double x = t % 2 ? -1.0 : 0.0, res = 0.0;
            int code = t % 2 ? 3 : 2, want = t % 2 ? EDOM : ERANGE;
            for (int i = 0; i < 20000; ++i) {
                errno = 0;
                __libm_error_support(&x, &x, &res, code);
                if (errno != want) ++wrong[t];
            }
        });
    for (auto &t : ts) t.join();
    for (int t = 0; t < 8; ++t) EXPECT_EQ(wrong[t], 0) << "thread " << t;
}

}  // namespace
