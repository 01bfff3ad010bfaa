#!/usr/bin/env python3
"""Generates vectorcore/powr_data.cpp: the tables of the cores of powr and powrf.

Every value is computed at 200 bits with mpmath and rounded once (a tail is the rest of the
value after its head, rounded again).  The rows the design prints are checked here.

  powr_log1024  row i (0 .. 1024), for the mantissa m of x in [1 + (i - 1/2)/1024,
                1 + (i + 1/2)/1024): c, C/(1 + i/1024) rounded to 24 significant bits
                (C = 0x1.71547p+0, log2 e cut to 23 bits), and log2(C/c) as hi + lo, hi on
                the grid 2^-42 so that n + hi is exact for every exponent n of a double.
                From row 512 on (m >= 1.4995) the exponent counts one more and the pair
                carries the -1.  With p = m c and v = p - C (exact), log2 m = hi + lo +
                log2(1 + v/C), and |v| <= 7.05e-4.
  powrf_lnr     row R - 512 for the integer R in 512 .. 1024: ln(512/R) for R <= 724,
                ln(1024/R) above.
  powrf_exp2048 row j: the double nearest 2^(j/2048).

The polynomials of the cores, fixed words, are measured here against what they stand for
and the bounds written beside the tables.
Run: python3 tools/gen/powr_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 200
SCRIPT = "powr_tables.py"

C = g.from_bits(0x3FF7154740000000, g.BINARY64)  # log2 e cut to 23 significant bits


def d(x):
    return g.hexfloat(x, g.BINARY64)


def log1024():
    rows = []
    for i in range(1025):
        c = g.round_bits(C / (1 + mpf(i) / 1024), 24)
        v = mp.log(C / c, 2) - (1 if i >= 512 else 0)
        hi = g.round_grid(v, -42)
        rows.append((c, hi, g.to_format(v - hi, g.BINARY64)))
    assert rows[0] == (C, 0, 0) and rows[1024][1:] == (0, 0), "powr_log1024 rows 0 and 1024"
    return rows


def lnr():
    return [g.to_format(mp.log(mpf(512 if R <= 724 else 1024) / R), g.BINARY64) for R in range(512, 1025)]


def exp2048():
    rows = [g.to_format(mpf(2) ** (mpf(j) / 2048), g.BINARY64) for j in range(2048)]
    # The design's table carries a factor 0x3feffffffc27dd9e that centres the error of a
    # linear exponential; the core here takes the square term instead, which the factor
    # would spoil, so the rows are plain.  Row 1 against the printed row over that factor:
    k = g.from_bits(0x3FEFFFFFFC27DD9E, g.BINARY64)
    assert abs(g.from_bits(0x3FF00162F1A4047D, g.BINARY64) / k - rows[1]) < mpf(2) ** -52, "exp2048 row 1"
    return rows


# log2(1 + v/C) - v = v Q(v) on |v| <= 7.05e-4 (powr core, words of the design).
QLOG = [0x3E79C3A6966457EE, 0xBFD62E4346694107, 0x3FC47FD462B3B816, 0xBFB550472A8BB463,
        0x3FA7A334DDFC9F86, 0xBF9B4EA0E9419F52]
# 2^z = 1 + z ln2 + z^2 E(z) on |z| <= 2^-8 (powr core).
EXP = [0x3FCEBFBDFF82C58E, 0x3FAC6B08D704A0BF, 0x3F83B2AB6FBA4E77, 0x3F55D87FE78A6731]
# ln(1 + u) = u + u^2 L(u) on |u| <= 0.875 2^-9 (powrf core: R within 0.875 of 1/a), the
# series to u^4: one term more than the design's two words, whose 2^-38.8 would cost up to
# 0.02 ulp of a float where y ln x nears the range's end.
LNF = [0xBFE0000000000000, 0x3FD5555555555555, 0xBFD0000000000000]
VMAX = mpf("7.05e-4")
UMAX = mpf(0.875) / 512


def qlog_f(v):
    if v == 0:
        return 1 / (C * mp.log(2)) - 1
    return (mp.log(1 + v / C, 2) - v) / v


def exp_f(z):
    if z == 0:
        return mp.log(2) ** 2 / 2
    return (mpf(2) ** z - 1 - z * mp.log(2)) / z ** 2


def lnf_f(u):
    if u == 0:
        return mpf(-1) / 2
    return (mp.log(1 + u) - u) / u ** 2


def err_text(words, f, a, b, scale):
    e = g.evaluate(words, f, a, b, relative=False)
    return "2^%.2f" % float(mp.log(e.err * scale, 2))


def main():
    out = [g.header(SCRIPT), '#include "vectorcore/powr_data.h"', "", "namespace tsr::powr {", ""]
    rows = ["{%s, %s, %s}" % (d(c), d(h), d(l)) for c, h, l in log1024()]
    out += g.c_array("const LogRow powr_log1024[1025]", rows, 1,
                     "Row i: c = C/(1 + i/1024) to 24 bits, log2(C/c) (less 1 from row 512) as\n"
                     "hi (grid 2^-42) + lo.  The polynomial v Q(v) of log2(1 + v/C) - v beside it\n"
                     "(vectorcore/powr.cpp) errs by %s absolute on |v| <= 7.05e-4; 2^z =\n"
                     "1 + z ln2 + z^2 E(z) by %s on |z| <= 2^-8."
                     % (err_text(QLOG, qlog_f, -VMAX, VMAX, VMAX),
                        err_text(EXP, exp_f, -mpf(2) ** -8, mpf(2) ** -8, mpf(2) ** -16))) + [""]
    out += g.c_array("const double powrf_lnr[513]", [d(v) for v in lnr()], 4,
                     "Row R - 512: ln(512/R) for R <= 724, ln(1024/R) above.  ln(1 + u) = u +\n"
                     "u^2 L(u) (powrf core) errs by %s absolute on |u| <= 0.875 2^-9."
                     % err_text(LNF, lnf_f, -UMAX, UMAX, UMAX ** 2)) + [""]
    out += g.c_array("const double powrf_exp2048[2048]", [d(v) for v in exp2048()], 4,
                     "Row j: the double nearest 2^(j/2048).") + [""]
    out += ["}  // namespace tsr::powr"]
    g.write_outputs({"vectorcore/powr_data.cpp": "\n".join(out) + "\n"})


if __name__ == "__main__":
    main()
