#!/usr/bin/env python3
"""tessera.h with <complex.h> in C and with <complex> in C++: the complex functions declared
with the by-value complex types, callable from both, and the library's results reaching
the program (cexp(i pi) = -1 + 1.2e-16 i)."""
import os
import re
import subprocess
import sys
import tempfile

build = os.path.abspath(sys.argv[1])
gen = os.path.join(build, "gen")
src = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
lib = os.path.join(build, "libtessera.a")

C = r"""
#include <complex.h>
#include <stdio.h>
#include "tessera.h"
int main(void) {
    double complex z = cexp(I * 3.141592653589793);
    float complex f = csqrtf(-4.0f);
    double complex p = cpow(I, 2.0);
    printf("%.17g %.17g %g %g %g %g\n", creal(z), cimag(z), crealf(f), cimagf(f), creal(p), cimag(p));
    return !(creal(z) == -1.0 && cimagf(f) == 2.0f && creal(p) == -1.0 && cimag(p) == 0.0);
}
"""
CXX = r"""
#include <complex>
#include <cstdio>
#include "tessera.h"
int main() {
    std::complex<double> z(0.0, 3.141592653589793);
    __complex__ double w = reinterpret_cast<__complex__ double &>(z);
    __complex__ double r = cexp(w);
    std::complex<double> back = reinterpret_cast<std::complex<double> &>(r);
    std::complex<float> s(-4.0f, 0.0f);
    __complex__ float q = csqrtf(reinterpret_cast<__complex__ float &>(s));
    std::printf("%.17g %.17g %g\n", back.real(), back.imag(), __imag__ q);
    return !(back.real() == -1.0 && __imag__ q == 2.0f);
}
"""
failures = []
with tempfile.TemporaryDirectory() as d:
    for name, text, cc, std in (("c.c", C, "cc", "-std=c99"), ("c.c", C, "cc", "-std=c17"),
                                ("cxx.cpp", CXX, "c++", "-std=c++17"), ("cxx.cpp", CXX, "c++", "-std=gnu++20")):
        path = os.path.join(d, name)
        open(path, "w").write(text)
        exe = os.path.join(d, "a.out")
        cmd = [cc, std, "-Wall", "-I", gen, "-I", os.path.join(src, "include"), path, lib, "-o", exe]
        r = subprocess.run(cmd, capture_output=True, text=True)
        if r.returncode != 0:
            failures.append("%s %s: %s" % (cc, std, r.stderr[-2000:]))
            continue
        r = subprocess.run([exe], capture_output=True, text=True)
        if r.returncode != 0:
            failures.append("%s %s ran: %s" % (cc, std, r.stdout))
        else:
            print("%s %s: %s" % (cc, std, r.stdout.strip()))
if failures:
    print("\n".join(failures))
    sys.exit(1)
