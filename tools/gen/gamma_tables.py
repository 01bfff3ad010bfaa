#!/usr/bin/env python3
"""Generates special/gamma_data.h and special/gamma_data.cpp: the tables of the gamma family.

  lgamma pieces   ln|Gamma| on 27 pieces of width 1/8 centred at 3/4 + k/8 (k = 0..26, so
                  [11/16, 65/16)), each a polynomial in t = x - centre with extended
                  coefficients; the pieces centred at 1 and 2 (the zeros) have no constant
                  term, so that t P(t) keeps its relative accuracy next to the zero.
                  Least-squares fits, relative error measured on a dense grid of each piece.
  Stirling        the tail of ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2) as the
                  asymptotic series sum B_2k / (2k (2k - 1) x^(2k - 1)), k = 1..8, exact
                  Bernoulli numbers rounded once; its truncation error for x >= 16 is stated.
  ln sin          ln(sin(pi d) / (pi d)) = e Q(e), e = d^2, |d| <= 1/2 (the reflection).
  double pieces   the same 27 pieces fitted again with double coefficients and a lower
                  degree, for the float forms' double-precision core (relative error target
                  2^-42: the float results need about 2^-31).
  double Stirling the first STIRLING_TERMS_D terms of the series in double, truncation
                  error stated for x >= 16; ln(2 pi)/2 and ln pi in double.
  factorials      0! .. 25!, exact in extended (and 0! .. 22! in double, 0! .. 13! in float).
  thresholds      the first argument of each precision whose result overflows, from the
                  exact value of ln Gamma (mpmath at 256 bits).

Run: python3 tools/gen/gamma_tables.py [--out DIR]
"""
import math

from mpmath import mp, mpf

import tsrgen as g

mp.prec = 192
SCRIPT = "gamma_tables.py"

PIECES = 27
WIDTH = mpf(1) / 8
FIRST_CENTRE = mpf(3) / 4
DEGREE = 14  # every piece; the measured error of each is stated beside its row
TARGET = mpf(2) ** -63.5
STIRLING_TERMS = 8
STIRLING_FROM = 16
LNSIN_DEGREE = 17  # of Q, in e = d^2
DEGREE_D = 11  # the double pieces
TARGET_D = mpf(2) ** -42
STIRLING_TERMS_D = 4


def x87(v):
    return g.hexfloat(v, g.X87)


def lgamma_piece(k, degree=DEGREE, fmt=g.X87):
    c = FIRST_CENTRE + k * WIDTH
    zero = c in (1, 2)
    f = lambda t: mp.loggamma(c + t)
    a, b = -WIDTH / 2, WIDTH / 2
    fit = g.least_squares(f, a, b, degree, relative=True, fixed={0: 0} if zero else None,
                          fmt=fmt, prec=192, points=120)
    return c, fit


def stirling():
    coeffs = []
    for k in range(1, STIRLING_TERMS + 1):
        coeffs.append(mp.bernoulli(2 * k) / (2 * k * (2 * k - 1)))
    nxt = abs(mp.bernoulli(2 * STIRLING_TERMS + 2)) / ((2 * STIRLING_TERMS + 2) * (2 * STIRLING_TERMS + 1))
    bound = nxt / mpf(STIRLING_FROM) ** (2 * STIRLING_TERMS + 1)
    return coeffs, bound


def lnsin():
    def f(e):
        if e == 0:
            return mpf(0)
        d = mp.sqrt(e)
        return mp.log(mp.sin(mp.pi * d) / (mp.pi * d))
    return g.least_squares(f, 0, mpf(1) / 4, LNSIN_DEGREE + 1, relative=True, fixed={0: 0},
                           fmt=g.X87, prec=192, points=120)


def first_over(fmt, f, lo, hi):
    """The least value of fmt in [lo, hi] whose f, rounded to nearest in fmt, is infinite
    (f increasing there), found by bisection on the ordinals of the positive normal values
    (for x87, the pattern less its explicit leading bit)."""
    big = (2 - mpf(2) ** (1 - fmt.prec)) * mpf(2) ** fmt.emax
    limit = big + mpf(2) ** (fmt.emax - fmt.prec)  # the value from which nearest gives infinity
    lead = fmt.prec - 1

    def ordinal(v):
        b = g.to_bits(v, fmt)
        return ((b >> (lead + 1)) << lead) | (b & ((1 << lead) - 1)) if fmt.explicit else b

    def value(i):
        if fmt.explicit:
            i = ((i >> lead) << (lead + 1)) | (1 << lead) | (i & ((1 << lead) - 1))
        return g.from_bits(i, fmt)

    a, b = ordinal(lo), ordinal(hi)
    while b - a > 1:
        m = (a + b) // 2
        if f(value(m)) >= limit:
            b = m
        else:
            a = m
    return value(b)


def thresholds():
    lg = lambda x: mp.loggamma(x)
    tg = lambda x: mp.gamma(x)
    out = {}
    with mp.workprec(256):
        out["lgamma_over"] = (first_over(g.BINARY64, lg, mpf(2) ** 1000, mpf(2) ** 1020), g.BINARY64)
        out["lgammaf_over"] = (first_over(g.BINARY32, lg, mpf(2) ** 100, mpf(2) ** 127), g.BINARY32)
        out["lgammal_over"] = (first_over(g.X87, lg, mpf(2) ** 16300, mpf(2) ** 16383), g.X87)
        out["tgamma_over"] = (first_over(g.BINARY64, tg, mpf(150), mpf(180)), g.BINARY64)
        out["tgammaf_over"] = (first_over(g.BINARY32, tg, mpf(30), mpf(40)), g.BINARY32)
        out["tgammal_over"] = (first_over(g.X87, tg, mpf(1700), mpf(1800)), g.X87)
    # The rows the family is known by.
    known = {"lgamma_over": 0x7f5754d9278b51a8, "lgammaf_over": 0x7c44af8e, "tgamma_over": 0x406573fae561f648}
    for k, b in known.items():
        v, fmt = out[k]
        if g.to_bits(v, fmt) != b:
            raise SystemExit("%s is %#x, expected %#x" % (k, g.to_bits(v, fmt), b))
    return out


def main():
    h = [g.header(SCRIPT), "#pragma once", "", "namespace tsr::gamma {", "",
         "constexpr int kPieces = %d;        // lgamma pieces of width 1/8 from centre 3/4" % PIECES,
         "constexpr int kPieceDegree = %d;   // the degree of every piece" % DEGREE,
         "constexpr int kStirlingTerms = %d;" % STIRLING_TERMS,
         "constexpr int kLnSinDegree = %d;   // of Q in ln(sin(pi d)/(pi d)) = e Q(e)" % LNSIN_DEGREE,
         "extern const long double kLgPiece[kPieces][kPieceDegree + 1];",
         "extern const long double kStirling[kStirlingTerms];",
         "extern const long double kLnSin[kLnSinDegree + 1];",
         "extern const long double kHalfLn2Pi[2];",
         "extern const long double kFactorial[26];",
         "constexpr int kPieceDegreeD = %d;  // the double pieces" % DEGREE_D,
         "constexpr int kStirlingTermsD = %d;" % STIRLING_TERMS_D,
         "extern const double kLgPieceD[kPieces][kPieceDegreeD + 1];",
         "extern const double kStirlingD[kStirlingTermsD];",
         "extern const double kHalfLn2PiD, kLnPiD;", ""]

    th = thresholds()
    for name, (v, fmt) in th.items():
        lit = g.hexfloat(v, fmt)
        h.append("// The least %s argument whose result overflows (%s)." % (fmt.name, mp.nstr(v, 17)))
        ty = {g.BINARY64: "double", g.BINARY32: "float", g.X87: "long double"}[fmt]
        h.append("constexpr %s k_%s = %s;" % (ty, name, lit))
    h += ["", "}  // namespace tsr::gamma", ""]

    c = [g.header(SCRIPT), '#include "special/gamma_data.h"', "", "namespace tsr::gamma {", ""]
    c += ["// ln|Gamma(x)| on [centre - 1/16, centre + 1/16), centre = 3/4 + k/8: coefficients of t^0..t^%d," % DEGREE,
          "// t = x - centre (pieces 2 and 10, the zeros at 1 and 2, without a constant term).",
          "const long double kLgPiece[kPieces][kPieceDegree + 1] = {"]
    worst = mpf(0)
    for k in range(PIECES):
        centre, fit = lgamma_piece(k)
        worst = max(worst, fit.err)
        if fit.err > TARGET:
            raise SystemExit("piece %d: error %s above the target" % (k, mp.nstr(fit.err, 5)))
        c.append("    // centre %s: %s" % (mp.nstr(centre, 6), g.approx_comment(centre - WIDTH / 2, centre + WIDTH / 2,
                                                                          DEGREE, fit.err_log2(), SCRIPT)))
        c.append("    {" + ", ".join(x87(v) for v in fit.coeffs) + "},")
    c += ["};", ""]

    sc, bound = stirling()
    c += ["// B_2k / (2k (2k - 1)), k = 1..%d: ln Gamma(x) = (x - 1/2) ln x - x + ln(2 pi)/2 + sum c_k x^(1-2k)," % STIRLING_TERMS,
          "// truncation error below 2^%.2f for x >= %d." % (float(mp.log(bound, 2)), STIRLING_FROM)]
    c += g.c_array("const long double kStirling[kStirlingTerms]", [x87(v) for v in sc], 2)
    c.append("")

    ls = lnsin()
    c += ["// ln(sin(pi d)/(pi d)) = e Q(e), e = d^2: coefficients of Q, e^0..e^%d;" % LNSIN_DEGREE,
          "// " + g.approx_comment(0, mpf(1) / 4, LNSIN_DEGREE + 1, ls.err_log2(), SCRIPT, "ln(sin(pi d)/(pi d)) in d^2")]
    c += g.c_array("const long double kLnSin[kLnSinDegree + 1]", [x87(v) for v in ls.coeffs[1:]], 2)
    c.append("")

    hl = mp.log(2 * mp.pi) / 2
    hi = g.to_format(hl, g.X87)
    lo = g.to_format(hl - hi, g.X87)
    c += g.c_array("const long double kHalfLn2Pi[2]", [x87(hi), x87(lo)], 2, "ln(2 pi)/2 as a pair.")
    c.append("")
    facts = [math.factorial(n) for n in range(26)]
    for n, f in enumerate(facts):
        assert g.exact(g.to_format(f, g.X87)) == f, "%d! is not exact" % n
    c += g.c_array("const long double kFactorial[26]", [x87(f) for f in facts], 2, "n!, exact.")
    c.append("")

    c += ["// The same pieces with double coefficients of t^0..t^%d (the float forms' core)." % DEGREE_D,
          "const double kLgPieceD[kPieces][kPieceDegreeD + 1] = {"]
    worst_d = mpf(0)
    for k in range(PIECES):
        centre, fit = lgamma_piece(k, DEGREE_D, g.BINARY64)
        worst_d = max(worst_d, fit.err)
        if fit.err > TARGET_D:
            raise SystemExit("double piece %d: error %s above the target" % (k, mp.nstr(fit.err, 5)))
        c.append("    // centre %s: %s" % (mp.nstr(centre, 6), g.approx_comment(centre - WIDTH / 2, centre + WIDTH / 2,
                                                                          DEGREE_D, fit.err_log2(), SCRIPT)))
        c.append("    {" + ", ".join(g.hexfloat(v) for v in fit.coeffs) + "},")
    c += ["};", ""]
    nxt = abs(mp.bernoulli(2 * STIRLING_TERMS_D + 2)) / ((2 * STIRLING_TERMS_D + 2) * (2 * STIRLING_TERMS_D + 1))
    bound_d = nxt / mpf(STIRLING_FROM) ** (2 * STIRLING_TERMS_D + 1)
    c += ["// B_2k / (2k (2k - 1)), k = 1..%d, in double; truncation error below 2^%.2f for x >= %d."
          % (STIRLING_TERMS_D, float(mp.log(bound_d, 2)), STIRLING_FROM)]
    c += g.c_array("const double kStirlingD[kStirlingTermsD]", [g.hexfloat(v) for v in sc[:STIRLING_TERMS_D]], 2)
    c.append("const double kHalfLn2PiD = %s;  // ln(2 pi)/2" % g.hexfloat(hl))
    c.append("const double kLnPiD = %s;  // ln pi" % g.hexfloat(mp.log(mp.pi)))
    c += ["", "}  // namespace tsr::gamma", ""]
    print("worst piece error 2^%.2f, double pieces 2^%.2f" % (float(mp.log(worst, 2)), float(mp.log(worst_d, 2))))
    g.write_outputs({"special/gamma_data.h": "\n".join(h), "special/gamma_data.cpp": "\n".join(c)})


if __name__ == "__main__":
    main()
