#!/usr/bin/env python3
"""Generates special/erfinv_data.h and special/erfinv_data.cpp: the polynomials of the
inverse error functions (special/erfinv.cpp).

Three regions of y = erfinv argument (erfcinv and cdfnorminv reach them through
y = 1 - x and y = 1 - 2p), each a polynomial whose first two coefficients are head and
tail pairs (the code sums their terms in double-double) and whose others are doubles:

  central, |y| < 1/8:  erfinv(y) = y P(q), q = y^2 in [0, 1/64];
  middle, 1/8 <= |y| < 7/8: w = y^2 - 49/64 in (-3/4, 0], row k = trunc(-w/STEP)
    (STEP = 3/128, 32 rows), w' = w + (k + 1/2) STEP in [-STEP/2, STEP/2]: erfinv(y) = y P_k(w');
  tail, z = 1 - |y| <= 1/8 (erfcinv(z) for z down to the least subnormal):
    s = sqrt(-ln z), u = 1/s in [0.0366, 0.694], k = trunc(32 u) (1 .. 22, row k - 1),
    u' = u - (k + 1/2)/32 in [-1/64, 1/64]: erfcinv(z) = s P_k(u').

Each fit is least squares on Chebyshev points at 160 bits, redone with each head pair fixed
at its exact rounded value, so that the rounding of the head is absorbed by the rest; the
relative error of the rounded polynomial (the pairs summed exactly, the rest as doubles) is
measured on a dense grid and written beside each row.
Run: python3 tools/gen/erfinv_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

SCRIPT = "erfinv_tables.py"
PREC = 160
STEP = mpf(3) / 128          # the middle rows' width in w
W0 = mpf(49) / 64            # w = y^2 - W0
CENTRAL_DEGREE = 10
MIDDLE_ROWS, MIDDLE_DEGREE = 32, 12
TAIL_ROWS, TAIL_DEGREE = 22, 15
U_MIN = mpf("0.0366")        # u at the least subnormal z is 1/sqrt(744.44) = 0.03665
PAD = mpf(2) ** -30          # each row is fitted a little beyond its ends
_memo = {}


def d(x):
    return g.hexfloat(x, g.BINARY64)


def rnd(v):
    return g.to_mpf(g.exact(g.to_format(v, g.BINARY64)))


def hilo(v):
    hi = rnd(v)
    return hi, rnd(v - hi)


def erfcinv_s(s):
    """y with erfc(y) = exp(-s^2), s >= 1: Newton on ln erfc(y) + s^2 from the asymptotic
    guess, at 64 bits until the step is below 2^-56 of y, then two steps at the working
    precision (each doubles the bits)."""
    key = "s" + mp.nstr(s, 60)
    if key in _memo:
        return _memo[key]
    prec = mp.prec

    def step(y):
        e = mp.erfc(y)
        return (mp.log(e) + s * s) / (2 / mp.sqrt(mp.pi) * mp.exp(-y * y) / e)
    with mp.workprec(64):
        y = s - mp.log(s * mp.sqrt(mp.pi)) / (2 * s)
        for _ in range(80):
            d = step(y)
            y += d
            if abs(d) < mpf(2) ** -56 * y:
                break
    with mp.workprec(prec):
        y = +y
        for _ in range(2):
            y += step(y)
    _memo[key] = y
    return y


def central_f(q):
    if q <= 0:
        return mp.sqrt(mp.pi) / 2
    key = mp.nstr(q, 60)
    if key not in _memo:
        w = mp.sqrt(q)
        _memo[key] = mp.erfinv(w) / w
    return _memo[key]


def fit(f, a, b, degree, h, heads=2, points=None):
    """The fit described above in the variable t = v/h (h a power of two, so that the
    coefficients scale back exactly): returns (coefficients in v as mpf, heads as (hi, lo),
    the measured relative error)."""
    points = points or 3 * degree + 10
    ft = lambda t: f(t * h)
    a, b = a / h, b / h
    fixed = {}
    for k in range(degree):
        with mp.workprec(PREC):
            p = g._Problem(ft, a, b, degree, True, fixed, None, None)
            c = p.coeffs(p.lsq(points))
        hi, lo = hilo(c[k]) if k < heads else (rnd(c[k]), 0)
        fixed[k] = g.exact(hi) + g.exact(lo)
    with mp.workprec(PREC):
        p = g._Problem(ft, a, b, degree, True, fixed, None, None)
        c = p.coeffs([rnd(v) for v in p.lsq(points)])
        err, _ = g.measure(c, ft, a, b, True, None, grid=400, iterations=40)
    c = [v / h ** k for k, v in enumerate(c)]
    pairs = [hilo(c[k]) for k in range(heads)]
    assert all(hi + lo == c[k] for k, (hi, lo) in enumerate(pairs))
    return c, pairs, err


def row_text(c, pairs):
    words = []
    for hi, lo in pairs:
        words += [d(hi), d(lo)]
    words += [d(v) for v in c[len(pairs):]]
    return words


def log2(v):
    return float(mp.log(v, 2)) if v else float("-inf")


def main(check_only=False):
    mp.prec = PREC
    out_h = [g.header(SCRIPT),
             "// The polynomials of the inverse error functions (special/erfinv_data.cpp).",
             "#pragma once", '#include "tsr/types.h"', "", "namespace tsr::erfinv {", ""]
    out_c = [g.header(SCRIPT), '#include "special/erfinv_data.h"', "", "namespace tsr::erfinv {", ""]
    worst = []
    # central
    c, pairs, err = fit(central_f, mpf(0), mpf(1) / 64 + PAD, CENTRAL_DEGREE, mpf(1) / 64)
    worst.append(err)
    n = 2 * 2 + CENTRAL_DEGREE - 1
    out_h += ["// erfinv(y)/y = P(y^2) for |y| < 1/8: (c0 hi, c0 lo, c1 hi, c1 lo, c2 .. c%d)." % CENTRAL_DEGREE,
              "extern const double central[%d] TSR_HIDDEN;" % n]
    out_c += g.c_array("const double central[%d]" % n, row_text(c, pairs), 4,
                       g.approx_comment(0, mpf(1) / 64, CENTRAL_DEGREE, log2(err), SCRIPT, "erfinv(y)/y in q = y^2"))
    # middle
    n = 2 * 2 + MIDDLE_DEGREE - 1
    out_c += ["// erfinv(y)/y for w = y^2 - 49/64 in (-(k + 1) 3/128, -k 3/128], row k, as a polynomial in",
              "// w' = w + (k + 1/2) 3/128 in [-3/256, 3/256]: (c0 hi, c0 lo, c1 hi, c1 lo, c2 .. c%d); degree %d," % (
                  MIDDLE_DEGREE, MIDDLE_DEGREE),
              "// least squares, the relative error of each row beside it (tools/gen/%s)." % SCRIPT,
              "const double middle[%d][%d] = {" % (MIDDLE_ROWS, n)]
    for k in range(MIDDLE_ROWS):
        def f(v, k=k):
            return central_f(v - (k + mpf(1) / 2) * STEP + W0)
        c, pairs, err = fit(f, -STEP / 2 - PAD, STEP / 2 + PAD, MIDDLE_DEGREE, mpf(1) / 64)
        worst.append(err)
        print("middle", k, log2(err), flush=True)
        out_c += ["    // row %d: w' in [-3/256, 3/256], 2^%.2f" % (k, log2(err)),
                  "    {" + ", ".join(row_text(c, pairs)) + "},"]
    out_c += ["};", ""]
    out_h += ["// erfinv(y)/y in the rows of w = y^2 - 49/64 (1/8 <= |y| < 7/8), each a polynomial in",
              "// w' = w + (k + 1/2) 3/128: (c0 hi, c0 lo, c1 hi, c1 lo, c2 .. c%d)." % MIDDLE_DEGREE,
              "extern const double middle[%d][%d] TSR_HIDDEN;" % (MIDDLE_ROWS, n)]
    # tail
    n = 2 * 2 + TAIL_DEGREE - 1
    out_c += ["// erfcinv(z)/s for z = exp(-s^2) <= 1/8, u = 1/s in [k/32, (k + 1)/32), row k - 1, as a",
              "// polynomial in u' = u - (k + 1/2)/32: (c0 hi, c0 lo, c1 hi, c1 lo, c2 .. c%d); degree %d," % (
                  TAIL_DEGREE, TAIL_DEGREE),
              "// least squares, the relative error of each row beside it (k = 1 from u = 0.0366, the",
              "// least subnormal z; k = 22 to u = 0.6935, z = 1/8) (tools/gen/%s)." % SCRIPT,
              "const double tail[%d][%d] = {" % (TAIL_ROWS, n)]
    for j in range(TAIL_ROWS):
        k = j + 1
        cen = (k + mpf(1) / 2) / 32
        lo = max(mpf(k) / 32, U_MIN) - PAD
        hi = min(mpf(k + 1) / 32, 1 / mp.sqrt(mp.log(8))) + PAD

        def f(v, cen=cen):
            u = v + cen
            return erfcinv_s(1 / u) * u
        c, pairs, err = fit(f, lo - cen, hi - cen, TAIL_DEGREE, mpf(1) / 32)
        worst.append(err)
        print("tail", k, log2(err), flush=True)
        out_c += ["    // k = %d: u' in [%s, %s], 2^%.2f" % (k, mp.nstr(lo - cen, 5), mp.nstr(hi - cen, 5), log2(err)),
                  "    {" + ", ".join(row_text(c, pairs)) + "},"]
    out_c += ["};", ""]
    out_h += ["// erfcinv(z)/sqrt(-ln z) in the rows k - 1 of u = 1/sqrt(-ln z) in [k/32, (k + 1)/32), z <= 1/8,",
              "// each a polynomial in u' = u - (k + 1/2)/32: (c0 hi, c0 lo, c1 hi, c1 lo, c2 .. c%d)." % TAIL_DEGREE,
              "extern const double tail[%d][%d] TSR_HIDDEN;" % (TAIL_ROWS, n), "", "}  // namespace tsr::erfinv"]
    out_c += ["}  // namespace tsr::erfinv"]
    print("worst", log2(max(worst)))
    g.write_outputs({"special/erfinv_data.h": "\n".join(out_h) + "\n",
                     "special/erfinv_data.cpp": "\n".join(out_c) + "\n"})


if __name__ == "__main__":
    main()
