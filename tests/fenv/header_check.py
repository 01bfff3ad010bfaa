#!/usr/bin/env python3
"""tessera.h with the system's <math.h> and <fenv.h>, in C and C++ of several standards and
in either order; then the example program, linked with -ltessera, run, and its environment
and classification calls found bound to libtessera."""
import os
import re
import shutil
import subprocess
import sys
import tempfile

build = os.path.abspath(sys.argv[1])
src = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
gen = os.path.join(build, "gen")


def cache(var, default):
    try:
        for line in open(os.path.join(build, "CMakeCache.txt")):
            m = re.match(r"%s:[A-Z]+=(.*)$" % var, line.strip())
            if m and m.group(1):
                return m.group(1)
    except OSError:
        pass
    return default


cc = cache("CMAKE_C_COMPILER", "cc")
cxx = cache("CMAKE_CXX_COMPILER", "c++")
failures = []

BODY = """
int use(double x, long double y, __float128 z) {
    fenv_t e;
    fexcept_t f;
    fegetenv(&e);
    fegetexceptflag(&f, FE_ALL_EXCEPT);
    return __fpclassify(x) + __isnanl(y) + __isinfq(z) + isgreaterf(1.0f, 2.0f)
        + fesetround(FE_UPWARD) + fetestexcept(FE_INEXACT) + __libm_flt_rounds()
        + %s(x) + %s(x, x) + (fpclassify(x) == FP_NORMAL);
}
"""
ORDERS = [("<math.h>", "<fenv.h>", '"tessera.h"'), ('"tessera.h"', "<math.h>", "<fenv.h>")]
RUNS = [(cc, "c", std, ("isnan", "isunordered")) for std in ("c99", "gnu11", "c17")]
RUNS += [(cxx, "c++", std, ("tessera::isnan", "tessera::isunordered"))
         for std in ("c++98", "c++11", "c++17", "gnu++20")]
# clang too where it is installed: its -pedantic is stricter about extensions in C++.
if shutil.which("clang++"):
    RUNS += [("clang++", "c++", "c++20", ("tessera::isnan", "tessera::isunordered"))]

with tempfile.TemporaryDirectory() as tmp:
    for compiler, lang, std, (one, two) in RUNS:
        for order in ORDERS:
            text = "".join("#include %s\n" % h for h in order) + BODY % (one, two)
            path = os.path.join(tmp, "t." + ("c" if lang == "c" else "cpp"))
            with open(path, "w") as f:
                f.write(text)
            cmd = [compiler, "-std=" + std, "-Wall", "-Wextra", "-pedantic", "-Werror", "-I", gen,
                   "-fsyntax-only", path]
            r = subprocess.run(cmd, capture_output=True, text=True)
            if r.returncode != 0:
                failures.append("%s -std=%s %s:\n%s" % (lang, std, order, r.stderr[-3000:]))

    exe = os.path.join(tmp, "fenv_classify")
    cmd = [cc, "-O2", "-I", gen, os.path.join(src, "examples", "fenv_classify.c"),
           "-L", build, "-Wl,-rpath," + build, "-ltessera", "-lm", "-o", exe]
    r = subprocess.run(cmd, capture_output=True, text=True)
    if r.returncode != 0:
        failures.append("example does not build:\n" + r.stderr[-3000:])
    else:
        env = dict(os.environ, LD_DEBUG="bindings")
        r = subprocess.run([exe], capture_output=True, text=True, env=env)
        if r.returncode != 0 or "ok" not in r.stdout:
            failures.append("example failed (%d):\n%s" % (r.returncode, r.stdout))
        for name in ("fesetround", "fetestexcept", "__fpclassify", "fegetenv", "fesetenv"):
            lines = [l for l in r.stderr.splitlines()
                     if "fenv_classify" in l.split(" to ")[0] and "`%s'" % name in l]
            if not lines or not all("libtessera" in l.split(" to ")[1] for l in lines):
                failures.append("%s is not bound to libtessera: %s" % (name, lines))

if failures:
    print("\n\n".join(failures))
    sys.exit(1)
print("header and example: ok")
