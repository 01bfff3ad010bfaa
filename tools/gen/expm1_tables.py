#!/usr/bin/env python3
"""Generates elementary/expm1_data.cpp: the tables of expm1 (tier e7), exp2m1 and pow2o3.

Every value is computed at 200 bits with mpmath and rounded once (a tail is the rest of the
value after its head, rounded again).  The rows the design prints are checked here.

  exp_split64  row j: t = 2^(j/64) - 1.M (absolute tail) and M, the mantissa bits of
               2^(j/64) cut to 29 fraction bits, so that the head times a 14-bit number is
               an exact product.
  exp_xor16    row j: W = the mantissa bits of 2^(j/16) cut to 26 fraction bits, XORed with
               j << 48, and t = 2^(j/16)/head - 1 (relative tail).  The shifter's low bits
               moved to the top carry the biased exponent and j; XOR with W cancels j and
               leaves the head's mantissa.
  p23_rows     row (rem, i): (2^rem c)^(2/3) as hi, lo, c = 1 + (i + 1/2)/32, and p23_rcp[i]
               = -1/c: x^(2/3) = 2^(2q - 682) (2^rem c)^(2/3) (1 + u)^(2/3) with
               u = (m - c)/c, |u| <= 1/64.

The polynomials of these functions that are fixed words are measured here against what they
stand for, and the measured bounds written beside the tables.
Run: python3 tools/gen/expm1_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 200
SCRIPT = "expm1_tables.py"


def d(x):
    return g.hexfloat(x, g.BINARY64)


def mant_cut(v, frac_bits):
    """The 52-bit mantissa field of v in [1, 2), cut to frac_bits fraction bits."""
    f = int(mp.floor((v - 1) * 2 ** frac_bits))
    return f << (52 - frac_bits)


def split64():
    rows = []
    for j in range(64):
        v = mpf(2) ** (mpf(j) / 64)
        M = mant_cut(v, 29)
        head = 1 + mpf(M) / 2 ** 52
        rows.append((g.to_format(v - head, g.BINARY64), M))
    t1, M1 = rows[1]
    assert (g.to_bits(t1, g.BINARY64), M1) == (0x3E1DE0183B9BDF2B, 0x00002C9A3E000000), "exp_split64 row 1"
    return rows


def xor16():
    rows = []
    for j in range(16):
        v = mpf(2) ** (mpf(j) / 16)
        M = mant_cut(v, 26)
        head = 1 + mpf(M) / 2 ** 52
        rows.append((M ^ (j << 48), g.to_format(v / head - 1, g.BINARY64)))
    W1, t1 = rows[1]
    assert (W1, g.to_bits(t1, g.BINARY64)) == (0x0001B5586C000000, 0x3E2DDE96D061D086), "exp_xor16 row 1"
    return rows


def p23():
    rcp, rows = [], []
    for i in range(32):
        c = 1 + (mpf(i) + mpf(1) / 2) / 32
        rcp.append(g.to_format(-1 / c, g.BINARY64))
    # The printed leading values of -1/c.
    assert abs(rcp[0] - mpf("-0.984615")) < 1e-6 and abs(rcp[1] - mpf("-0.955223")) < 1e-6, "p23 -1/c"
    for rem in range(3):
        for i in range(32):
            c = 1 + (mpf(i) + mpf(1) / 2) / 32
            v = (2 ** rem * c) ** (mpf(2) / 3)
            hi = g.to_format(v, g.BINARY64)
            rows.append((hi, g.to_format(v - hi, g.BINARY64)))
    return rcp, rows


# (1 + u)^(2/3) = 1 + u P(u) on |u| <= 1/65 (the row's half step over its centre).
P23 = [0x3FE5555555555555, 0xBFBC71C71C71CD70, 0x3FA948B0FCD71F02, 0xBF9D7F791D664B46,
       0x3F93AA50B1954E55, 0xBF8C69D9BF1D426F, 0x3F85A6EAA3EFFAF7]


def p23_f(u):
    if u == 0:
        return mpf(2) / 3
    return ((1 + u) ** (mpf(2) / 3) - 1) / u


def main():
    out = [g.header(SCRIPT), '#include "elementary/expm1_data.h"', "", "namespace tsr::em1 {", ""]
    rows = ["{%s, 0x%016xull}" % (d(t), M) for t, M in split64()]
    out += g.c_array("const SplitRow exp_split64[64]", rows, 2,
                     "Row j: t = 2^(j/64) - 1.M, M = 2^(j/64) cut to 29 fraction bits (expm1 tier e7).") + [""]
    rows = ["{0x%016xull, %s}" % (W, d(t)) for W, t in xor16()]
    out += g.c_array("const XorRow exp_xor16[16]", rows, 2,
                     "Row j: W = 2^(j/16) cut to 26 fraction bits XOR j << 48, t = 2^(j/16)/head - 1\n"
                     "(exp2m1).") + [""]
    rcp, prow = p23()
    out += g.c_array("const double p23_rcp[32]", [d(v) for v in rcp], 4,
                     "pow2o3: -1/c, c = 1 + (i + 1/2)/32.") + [""]
    e = g.evaluate(P23, p23_f, -mpf(1) / 64, mpf(1) / 64, relative=False)
    out += g.c_array("const HiLo p23_rows[96]", ["{%s, %s}" % (d(h), d(l)) for h, l in prow], 2,
                     "pow2o3: row 32 rem + i: (2^rem c)^(2/3) as hi, lo.  The polynomial P of\n"
                     "(1 + u)^(2/3) = 1 + u P(u) beside it (elementary/pow2o3.cpp) errs by %s\n"
                     "absolute on |u| <= 1/64." % ("2^%.2f" % float(mp.log(e.err, 2)))) + [""]
    out += ["}  // namespace tsr::em1"]
    g.write_outputs({"elementary/expm1_data.cpp": "\n".join(out) + "\n"})


if __name__ == "__main__":
    main()
