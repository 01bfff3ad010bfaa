#!/usr/bin/env python3
"""Generates special/erfl_data.h and special/erfl_data.cpp: the rows of the extended-precision
error functions (erfl, erfcl, erfinvl).

Every row is a polynomial in d = x - x0 around the centre x0 of a piece:
    row = {x0, c0 head, c0 tail, c1, ..., cN}
c0 held as two extended values (the value at the centre to 128 bits), the others as one.
The polynomial is the interpolant of the function at the N + 1 Chebyshev nodes of the piece,
computed at 256 bits, its coefficients then rounded once to extended precision; the error
written beside each table is the largest relative error of the rounded polynomial (c0 as the
exact sum of its two words) on a grid of 33 points of every piece, against mpmath.

Tables:
  kErfSmall      erf(x)/x as a polynomial in v = x^2, |x| < 1/8 (x0 = 0);
  kErfcxRows     erfcx(x) = exp(x^2) erfc(x) on [1/8, 128): ten binades of 16 pieces each,
                 row 16 (binade - 0x3ffc) + (top four fraction bits);
  kErfinvSmall   erfinv(x)/x as a polynomial in v = x^2, |x| < 1/8;
  kErfinvRows    erfinv(x) on [1/8, 1/2): two binades of 16 pieces;
  kErfinvTail    erfinv(1 - exp(-s^2)) on s in [1/2, 8): four binades of 16 pieces, row
                 16 (binade of s - 0x3ffe) + (top four fraction bits of s).
Thresholds: where erfc(x) falls below half the least subnormal (zero in round-to-nearest),
and the check that erf has reached 1 - 2^-65 at the saturation key 0x4001d0e0.

Run: python3 tools/gen/erfl_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 256
SCRIPT = "erfl_tables.py"
X = g.X87
SUB = 16  # pieces per binade


def rx(v):
    return g.to_format(v, X)


def hx(v):
    return g.hexfloat(v, X)


def cheb_fit(f, x0, a, b, n):
    """Coefficients of the degree-n interpolant of f(x0 + t) at the Chebyshev nodes of [a, b]."""
    ta, tb = a - x0, b - x0
    ts = [(ta + tb) / 2 - (tb - ta) / 2 * mp.cos(mp.pi * (2 * i + 1) / (2 * n + 2)) for i in range(n + 1)]
    A = mp.matrix([[t ** k for k in range(n + 1)] for t in ts])
    c = mp.lu_solve(A, mp.matrix([f(x0 + t) for t in ts]))
    return [c[k] for k in range(n + 1)]


def row_words(x0, c):
    h = rx(c[0])
    return [rx(x0), h, rx(c[0] - h)] + [rx(v) for v in c[1:]]


def row_error(f, a, b, w, n=33):
    x0, worst = w[0], mpf(0)
    for i in range(n):
        x = a + (b - a) * i / (n - 1)
        t = x - x0
        p = mpf(0)
        for v in reversed(w[3:]):
            p = p * t + v
        fx = f(x)
        worst = max(worst, abs((w[1] + w[2] + t * p - fx) / fx))
    return worst


def fit_rows(f, pieces, n):
    rows, worst = [], mpf(0)
    for a, b in pieces:
        x0 = (a + b) / 2 if a != 0 else mpf(0)
        w = row_words(x0, cheb_fit(f, x0, a, b, n))
        worst = max(worst, row_error(f, a, b, w))
        rows.append(w)
    return rows, float(mp.log(worst, 2))


def binades(e0, count):
    out = []
    for r in range(count):
        base = mpf(2) ** (e0 + r)
        out += [(base * (1 + mpf(j) / SUB), base * (1 + mpf(j + 1) / SUB)) for j in range(SUB)]
    return out


out = [g.header(SCRIPT), '#include "special/erfl_data.h"', "", "namespace tsr::xerf {", ""]
hdr = [g.header(SCRIPT), "#pragma once", "", "namespace tsr::xerf {", ""]


def emit(name, rows, n, what, err):
    width = n + 3
    if len(rows) == 1:
        out.append("// %s: degree %d, max relative error 2^%.2f (measured by tools/gen/%s)." % (what, n, err, SCRIPT))
        out.append("alignas(16) const long double %s[%d] = {" % (name, width))
        out.extend(g.c_rows([hx(v) for v in rows[0]], 3))
        out.append("};")
        hdr.append("extern const long double %s[%d];" % (name, width))
    else:
        out.append("// %s: degree %d, max relative error 2^%.2f (measured by tools/gen/%s)." % (what, n, err, SCRIPT))
        out.append("alignas(16) const long double %s[%d][%d] = {" % (name, len(rows), width))
        for w in rows:
            out.append("    {")
            out.extend(g.c_rows([hx(v) for v in w], 3, "        "))
            out.append("    },")
        out.append("};")
        hdr.append("extern const long double %s[%d][%d];" % (name, len(rows), width))
    out.append("")
    hdr.append("constexpr int %sDegree = %d;" % (name, n))


def series(coef, v, terms=60):
    s, p = mpf(0), mpf(1)
    for k in range(terms):
        s += coef(k) * p
        p *= v
    return s


# ---- erf below 1/8 -------------------------------------------------------------------------
two_rt_pi = 2 / mp.sqrt(mp.pi)
erf_over_x = lambda v: two_rt_pi * series(lambda k: (-1) ** k / (mp.factorial(k) * (2 * k + 1)), v)
N_ERF_SMALL = 8
rows, err = fit_rows(erf_over_x, [(mpf(0), mpf(1) / 64)], N_ERF_SMALL)
assert err < -72, err
emit("kErfSmall", rows, N_ERF_SMALL, "erf(x)/x in v = x^2 on [0, 2^-6]", err)

# ---- erfcx on [1/8, 128) -------------------------------------------------------------------------
# Rows through the whole range of erfcl (its results vanish from 106.74 on): no division for
# 1/x in the tail.  Far out the pieces are wide (4 in [64, 128)) but erfcx is smooth in x/x0
# there (its k-th coefficient about erfcx(x0) / x0^k).
erfcx = lambda x: mp.exp(x * x) * mp.erfc(x)
N_ERFCX = 12
rows, err = fit_rows(erfcx, binades(-3, 10), N_ERFCX)
assert err < -69, err
emit("kErfcxRows", rows, N_ERFCX, "erfcx(x) on [2^-3, 2^7), 16 pieces a binade, in x - x0", err)

# ---- erfinv ------------------------------------------------------------------------------------
erfinv_over_x = lambda v: mp.sqrt(mp.pi) / 2 if v == 0 else mp.erfinv(mp.sqrt(v)) / mp.sqrt(v)
N_INV_SMALL = 10
rows, err = fit_rows(erfinv_over_x, [(mpf(0), mpf(1) / 64)], N_INV_SMALL)
assert err < -72, err
emit("kErfinvSmall", rows, N_INV_SMALL, "erfinv(x)/x in v = x^2 on [0, 2^-6]", err)

N_INV = 10
rows, err = fit_rows(mp.erfinv, binades(-3, 2), N_INV)
assert err < -69, err
emit("kErfinvRows", rows, N_INV, "erfinv(x) on [2^-3, 2^-1), 16 pieces a binade, in x - x0", err)

tail = lambda s: mp.erfinv(1 - mp.exp(-s * s))
rows, err = fit_rows(tail, binades(-1, 4), N_INV)
assert err < -68, err
emit("kErfinvTail", rows, N_INV, "erfinv(1 - exp(-s^2)) on s in [2^-1, 2^3), 16 pieces a binade, in s - s0", err)

# ---- constants and thresholds -------------------------------------------------------------------
def pair(v):
    h = rx(v)
    return h, rx(v - h)


out.append("// 2/sqrt(pi) and sqrt(pi)/2 as the extended value nearest and the extended value nearest the")
out.append("// rest (the tiny-argument products).")
for name, c in (("kTwoOverSqrtPi", two_rt_pi), ("kSqrtPiOver2", mp.sqrt(mp.pi) / 2)):
    h, l = pair(c)
    out.append("const long double %s[2] = {%s, %s};" % (name, hx(h), hx(l)))
    hdr.append("extern const long double %s[2];" % name)

# erf saturates from the key 0x4001d0e0 on: erfc there is below 2^-65, half an ulp of 1.
sat = mpf(0xd0e0) / 0x8000 * 4
assert mp.erfc(sat) < mpf(2) ** -65
# erfc is below half the least subnormal (2^-16446) from zero_from on: the smallest extended
# value there, found by bisection on its 64-bit significand in the binade [64, 128).
half_min = mpf(2) ** -16446
lo, hi = 0x8000000000000000, 0xffffffffffffffff
while hi - lo > 1:
    m = (lo + hi) // 2
    if mp.erfc(mpf(m) * mpf(2) ** -57) <= half_min:
        hi = m
    else:
        lo = m
zero_from = mpf(hi) * mpf(2) ** -57
assert mp.erfc(zero_from) <= half_min < mp.erfc(mpf(lo) * mpf(2) ** -57)
out.append("// erfc(x) is at or below 2^-16446 (zero in round-to-nearest) from this value on.")
out.append("const long double kErfcZeroFrom = %s;" % hx(zero_from))
hdr.append("extern const long double kErfcZeroFrom;")
hdr.append("constexpr unsigned long long kErfcZeroFromBits = 0x%016xull;  // its significand (exponent 6)" % hi)

out.append("")
out.append("}  // namespace tsr::xerf")
hdr += ["", "}  // namespace tsr::xerf"]
g.write_outputs({"special/erfl_data.cpp": "\n".join(out) + "\n", "special/erfl_data.h": "\n".join(hdr) + "\n"})
