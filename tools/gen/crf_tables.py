#!/usr/bin/env python3
"""The lists of the correctly rounded single-precision family (correct/crf_data.cpp).

Each member evaluates its function in double and narrows once; an argument whose double value
lies within the rounding test's margin of a float or of a point halfway between two floats
is settled by a row here.  Which arguments those are is found by running every float through
the test (the `CrfLong.ListsComplete` test prints them, `member key` per line, into
tools/gen/crf_hard.txt); this script gives each its value: the exact result rounded to odd
at 26 significant bits, which narrows to float exactly as the exact result does in every
rounding mode, underflow and inexactness included.  An exact result (a power of two's
logarithm, a perfect cube's root, 2^n - 1, ...) is stored exactly: a value within 2^-200
relative of a 26-bit number is taken as that number (the closest inexact case of any
member is some 2^-60 away, far from this tolerance).

Members with a careful phase in extended precision (the exponentials, logarithms, roots and
hyperbolic functions) need rows only for their exact results, listed in closed form below;
the search lists the rest of their failing arguments too where it was run.

Keys: the float bits of x, of |x| for odd and even members, of the significand scaled into
[1, 8) for cbrt and [1, 4) for the reciprocal square root.
"""
import os
import struct
import sys
from fractions import Fraction

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import tsrgen
from mpmath import mp, mpf

MEMBERS = ["expf", "exp2f", "exp10f", "expm1f", "exp2m1f", "sinhf", "coshf", "tanhf", "sinf",
           "cosf", "tanf", "asinf", "acosf", "atanf", "logf", "log2f", "log10f", "log1pf",
           "log2p1f", "cbrtf", "invsqrtf"]

FUNCS = {
    "expf": lambda x: mp.exp(x),
    "exp2f": lambda x: mp.power(2, x),
    "exp10f": lambda x: mp.power(10, x),
    "expm1f": lambda x: mp.expm1(x),
    "exp2m1f": lambda x: mp.expm1(x * mp.ln2),
    "sinhf": mp.sinh, "coshf": mp.cosh, "tanhf": mp.tanh,
    "sinf": mp.sin, "cosf": mp.cos, "tanf": mp.tan,
    "asinf": mp.asin, "acosf": mp.acos, "atanf": mp.atan,
    "logf": mp.log, "log2f": lambda x: mp.log(x, 2), "log10f": mp.log10,
    "log1pf": mp.log1p, "log2p1f": lambda x: mp.log1p(x) / mp.ln2,
    "cbrtf": mp.cbrt, "invsqrtf": lambda x: 1 / mp.sqrt(x),
}


def fbits(v):
    return struct.unpack("<I", struct.pack("<f", v))[0]


# The exact results known in closed form, listed for every member whatever the search found:
# a member whose failing arguments go to its careful phase still needs these rows, since an
# extended value next to an exact result cannot say on which side it lies.
EXACT = {
    "exp2f": [float(n) for n in range(-150, 128) if n],   # 2^n (2^-150: a midpoint)
    "exp10f": [float(n) for n in range(1, 11)],            # 10^n, n <= 10
    "exp2m1f": [float(n) for n in range(-25, 128) if n],   # 2^n - 1
    "logf": [1.0], "acosf": [1.0],
    "log2f": [2.0 ** k for k in range(-149, 128)],         # log2 2^k = k
    "log10f": [10.0 ** k for k in range(0, 11)],           # log10 10^k = k
    "log2p1f": [2.0 ** k - 1 for k in range(1, 25)] + [2.0 ** -k - 1 for k in range(1, 25)],
}

SIG = 26  # two bits beyond a float's 24: enough for round-to-odd to round once correctly


def f32(key):
    return struct.unpack("<f", struct.pack("<I", key))[0]


def rounded_to_odd(v):
    """v (mpf) rounded to odd at SIG bits, as a Fraction; exact when v is (within 2^-200)."""
    if v == 0:
        return Fraction(0)
    q = tsrgen.exact(v)
    rn = tsrgen.exact(tsrgen.round_bits(q, SIG, "nearest"))
    if abs(q - rn) <= abs(q) / Fraction(2) ** 200:
        return rn
    rz = tsrgen.exact(tsrgen.round_bits(q, SIG, "zero"))
    a = abs(rz)
    e = 0
    while a >= 2:
        a /= 2
        e += 1
    while a < 1:
        a *= 2
        e -= 1
    unit = Fraction(2) ** (e - SIG + 1)
    m = abs(rz) / unit
    assert m.denominator == 1
    if m.numerator % 2 == 0:
        m += 1
    return (m * unit) if rz > 0 else -(m * unit)


def main():
    mp.prec = 320
    src = os.path.join(tsrgen.ROOT, "tools/gen/crf_hard.txt")
    lists = {m: set() for m in MEMBERS}
    for line in open(src):
        line = line.split("#", 1)[0].split()
        if line:
            lists[line[0]].add(int(line[1], 16))
    for m, xs in EXACT.items():
        lists[m] |= {fbits(x) for x in xs}
    h = [tsrgen.header("crf_tables.py"), "#pragma once", '#include "tsr/common.h"', "",
         "namespace tsr::crf {", "",
         "// The members, in the order of their lists.",
         "enum class Member : int { %s };" % ", ".join(MEMBERS),
         "constexpr int kMembers = %d;" % len(MEMBERS), "",
         "// A member's arguments whose double value the rounding test cannot settle: keys in",
         "// increasing order, each with the exact result rounded to odd at 26 bits.",
         "struct HardList {", "    const uint32_t *key;", "    const double *value;", "    unsigned n;", "};",
         "extern const HardList kHard[kMembers] TSR_HIDDEN;", "", "}  // namespace tsr::crf", ""]
    c = [tsrgen.header("crf_tables.py", "tools/gen/crf_hard.txt"), '#include "correct/crf_data.h"', "",
         "namespace tsr::crf {", "namespace {", ""]
    for m in MEMBERS:
        keys = sorted(lists[m])
        vals = []
        for k in keys:
            x = mpf(f32(k))
            vals.append(tsrgen.hexfloat(rounded_to_odd(FUNCS[m](x))))
        c.append("// %s: %d arguments" % (m, len(keys)))
        c.append("const uint32_t k_%s[] = {%s};" % (m, ", ".join(["0"] if not keys else
                                                                 ["0x%08x" % k for k in keys])))
        c.append("const double v_%s[] = {%s};" % (m, ", ".join(["0.0"] if not keys else vals)))
        c.append("")
    c += ["}  // namespace", "", "const HardList kHard[kMembers] = {"]
    c += ["    {k_%s, v_%s, %d}," % (m, m, len(lists[m])) for m in MEMBERS]
    c += ["};", "", "}  // namespace tsr::crf", ""]
    tsrgen.write_outputs({"correct/crf_data.h": "\n".join(h), "correct/crf_data.cpp": "\n".join(c)})


if __name__ == "__main__":
    main()
