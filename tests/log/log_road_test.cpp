// log(0.0) end to end through the public entry point: the first call of a fresh process
// (dispatch stub, tier body, error report, errno), then each error mode.  Each case runs in a
// child process (the DISABLED_ tests, started through run_self).
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cfenv>
#include <cfloat>
#include <cmath>
#include <string>

#include "harness/harness.h"
#include "tessera.h"

namespace {

int g_handler_calls = 0;
tessera_exception g_seen{};
int answer_zero(tessera_exception *e) {
    ++g_handler_calls;
    g_seen = *e;
    return 0;
}

struct Call {
    double y;
    th::Outcome o;
};
Call call_log(double x) {
    auto [y, o] = th::observe([&] { return ::log(x); });
    return {y, o};
}

TEST(LogRoadChild, DISABLED_FirstCallDefaultMode) {
    Call c = call_log(0.0);
    EXPECT_EQ(c.y, -INFINITY);
    EXPECT_TRUE(c.o.flags & FE_DIVBYZERO);
    EXPECT_EQ(c.o.err, ERANGE);
    EXPECT_EQ(c.o.code, 2);
    c = call_log(-0.0);  // a pole as well, not a NaN
    EXPECT_EQ(c.y, -INFINITY);
    EXPECT_EQ(c.o.code, 2);
    c = call_log(-1.0);
    EXPECT_TRUE(std::isnan(c.y));
    EXPECT_EQ(c.o.err, EDOM);
    EXPECT_EQ(c.o.code, 3);
}

TEST(LogRoadChild, DISABLED_Modes) {
    struct Row {
        int mode;
        bool user_handler;
        double want;
        int err;
        int handler_calls;
    } rows[] = {
        {3, false, -INFINITY, ERANGE, 0},
        {2, false, -INFINITY, ERANGE, 0},
        {1, false, -INFINITY, 0, 0},       // default handler: nothing else
        {1, true, -INFINITY, EDOM, 1},
        {0, true, -DBL_MAX, EDOM, 1},
        {-1, true, -INFINITY, 0, 0},
    };
    for (const Row &r : rows) {
        _LIB_VERSIONQVT = r.mode;
        __libm_setusermatherr(r.user_handler ? answer_zero : nullptr);
        g_handler_calls = 0;
        Call c = call_log(0.0);
        EXPECT_EQ(c.y, r.want) << "mode " << r.mode;
        EXPECT_EQ(c.o.err, r.err) << "mode " << r.mode;
        EXPECT_EQ(g_handler_calls, r.handler_calls) << "mode " << r.mode;
        if (r.handler_calls) {
            EXPECT_EQ(g_seen.type, 2) << "SING";
            EXPECT_STREQ(g_seen.name, "log");
            EXPECT_EQ(g_seen.arg1, 0.0);
            EXPECT_EQ(g_seen.retval, r.want);
        }
    }
    _LIB_VERSIONQVT = 3;
    __libm_setusermatherr(nullptr);
}

TEST(LogRoad, FirstCallInFreshProcess) {
    th::ChildResult r = th::run_self("LogRoadChild.DISABLED_FirstCallDefaultMode");
    EXPECT_EQ(r.status, 0) << r.out;
}

TEST(LogRoad, ErrorModes) {
    th::ChildResult r = th::run_self("LogRoadChild.DISABLED_Modes", {"-LC_ALL", "-LC_MESSAGES", "-LANG", "-LANGUAGE"});
    EXPECT_EQ(r.status, 0) << r.out;
    // Mode 0 with a handler that returns 0 writes the message, once.
    size_t at = r.out.find("\rlog: SING error\n");
    EXPECT_NE(at, std::string::npos) << r.out;
    if (at != std::string::npos) EXPECT_EQ(r.out.find("log: SING error", at + 2), std::string::npos) << r.out;
}

}  // namespace
