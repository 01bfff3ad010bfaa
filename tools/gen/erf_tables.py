#!/usr/bin/env python3
"""Generates special/erf_data.cpp: the tables of the error-function family.

erf_rows: one row for each multiple x0 = k/128 from 0 to 5.9921875 (768 rows): erf(x0) as a
head and tail, and the derivative (2/sqrt(pi)) exp(-x0^2) as a head of 26 bits and a tail.
erfc_rows: the same for erfc from 0 to 27.2421875 (3,488 rows), every word scaled by 2^192
so that no value or product of the kernel meets the subnormal range before the last step.
Every value is computed at 256 bits with mpmath and rounded once.

Taylor chains: around a row, with d = x - x0, u = x0 d and e = d^2,
    erf(x0 + d) = erf(x0) + D d g(u, e),   erfc(x0 + d) = erfc(x0) - D d g(u, e),
    g(u, e) = int_0^1 exp(-2 u s - e s^2) ds = sum_{m,n} (-2u)^m (-e)^n / (m! n! (m + 2n + 1)),
an exact series: its coefficients are rationals rounded once, and the terms the kernels
leave out are bounded below (the bound is written beside each chain).
Run: python3 tools/gen/erf_tables.py [--out DIR]
"""
from fractions import Fraction
from math import factorial

from mpmath import mp, mpf

import tsrgen as g

mp.prec = 256
SCRIPT = "erf_tables.py"
SCALE = 192          # erfc rows carry erfc(x0) 2^192 and D 2^192
ERF_ROWS, ERFC_ROWS = 768, 3488


def d(x):
    return g.hexfloat(x, g.BINARY64)


def hilo(v):
    hi = g.to_mpf(g.exact(g.to_format(v, g.BINARY64)))
    return hi, g.to_mpf(g.exact(g.to_format(v - hi, g.BINARY64)))


def head26(v):
    """v as a head of 26 significant bits and the rest rounded to a double: the kernels'
    product of the head with d needs only d split (an argument of zero then raises nothing)."""
    hi = g.to_mpf(g.exact(g.round_bits(v, 26)))
    return hi, g.to_mpf(g.exact(g.to_format(v - hi, g.BINARY64)))


def deriv(x0):
    return 2 / mp.sqrt(mp.pi) * mp.exp(-x0 * x0)


def coeff(m, n):
    return Fraction((-2) ** m * (-1) ** n, factorial(m) * factorial(n) * (m + 2 * n + 1))


# Chain n holds the coefficients of u^m e^n for m = 0..MAX_M[n] (chain 0 without its
# constant 1, which the kernels add exactly).
MAX_M = [13, 9, 5, 2]


def tail_bound(umax, emax, kept):
    """The sum of |terms| the kernel leaves out, relative to g (>= 1/2 here), for |u| <= umax
    and e <= emax, when it keeps kept[n] + 1 terms of chain n (the rest of the double series
    to m + n <= 40)."""
    s = mpf(0)
    for n in range(0, 12):
        for m in range(0, 40):
            if n < len(kept) and m <= kept[n]:
                continue
            s += abs(mpf(coeff(m, n).numerator) / coeff(m, n).denominator) * mpf(umax) ** m * mpf(emax) ** n
    return s / mpf(0.5)


def log2(v):
    return float(mp.log(v, 2)) if v else float("-inf")


def main():
    lines = [
        g.header(SCRIPT),
        "// The tables of the error-function family: the erf and erfc rows on the 1/128 grid and",
        "// the Taylor chains that carry a row to its neighbourhood.",
        '#include "special/erf_data.h"',
        "",
        "namespace tsr::erf {",
        "",
    ]
    rows = []
    for k in range(ERF_ROWS):
        x0 = mpf(k) / 128
        h, l = hilo(mp.erf(x0))
        dh, dl = head26(deriv(x0))
        rows.append("{%s, %s, %s, %s}" % (d(h), d(l), d(dh), d(dl)))
    lines += g.c_array("const Row erf_rows[%d]" % ERF_ROWS, rows, 1,
                       "Row k, x0 = k/128: erf(x0) = h + l, each rounded to nearest, and\n"
                       "(2/sqrt(pi)) exp(-x0^2) = dh + dl, dh rounded to 26 bits and dl to nearest.")
    rows = []
    sc = mpf(2) ** SCALE
    for k in range(ERFC_ROWS):
        x0 = mpf(k) / 128
        h, l = hilo(mp.erfc(x0) * sc)
        dh, dl = head26(deriv(x0) * sc)
        rows.append("{%s, %s, %s, %s}" % (d(h), d(l), d(dh), d(dl)))
    lines += g.c_array("const Row erfc_rows[%d]" % ERFC_ROWS, rows, 1,
                       "Row k, x0 = k/128: erfc(x0) 2^192 = h + l, each rounded to nearest, and\n"
                       "(2/sqrt(pi)) exp(-x0^2) 2^192 = dh + dl, dh rounded to 26 bits and dl to nearest.")
    names = ["chain_u", "chain_ue", "chain_ue2", "chain_ue3"]
    for n, top in enumerate(MAX_M):
        cs = [coeff(m, n) for m in range(1 if n == 0 else 0, top + 1)]
        first = 1 if n == 0 else 0
        lines += g.c_array("const double %s[%d]" % (names[n], len(cs)),
                           [d(mpf(c.numerator) / c.denominator) for c in cs], 4,
                           "The coefficients of u^m e^%d in g, m = %d..%d: (-2)^m (-1)^%d / (m! %d! (m + %d)),\n"
                           "each rounded to nearest." % (n, first, top, n, n, 2 * n + 1))
    # The truncation bounds of the kernels (special/erf_common.h) over their ranges of u and e.
    # erf: x0 <= 6, |d| <= 1/256; erfc: x0 <= 27.25; the float forms: the short chains.
    e_max = mpf(2) ** -16
    lines += ["// Truncation of g by the kernels, relative to g:",
              "//   erf  (chain_u to u^10, chain_ue to u^7, chain_ue2 to u^3, chain_ue3 to u^0,",
              "//         |u| <= 6/256, e <= 2^-16): 2^%.1f" % log2(tail_bound(mpf(6) / 256, e_max, [10, 7, 3, 0])),
              "//   erfc (every chain in full, |u| <= 27.25/256, e <= 2^-16): 2^%.1f" % log2(
                  tail_bound(mpf(27.25) / 256, e_max, MAX_M)),
              "//   the float forms (chain_u to u^7, chain_ue to u^3, chain_ue2 to u^0, |u| <= 10.1/256): 2^%.1f" % log2(
                  tail_bound(mpf(10.1) / 256, e_max, [7, 3, 0])),
              ]
    lines += ["", "}  // namespace tsr::erf"]
    g.write_outputs({"special/erf_data.cpp": "\n".join(lines) + "\n"})


if __name__ == "__main__":
    main()
