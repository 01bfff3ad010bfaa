#!/usr/bin/env python3
"""Generates special/gamma_data.h and special/gamma_data.cpp: the tables of the gamma family.

  lgamma pieces   ln|Gamma| on 27 pieces of width 1/8 centred at 3/4 + k/8 (k = 0..26, so
                  [11/16, 65/16)), each a polynomial in t = x - centre with extended
                  coefficients, the first PAIRS of them as head-and-tail pairs (the core
                  evaluates the last steps as pairs, so that the piece reaches about 2^-75
                  relative: what keeps the extended results within an ulp where ln|Gamma|
                  is small beside its terms); the pieces centred at 1 and 2 (the zeros) have
                  no constant term, so that t P(t) keeps its relative accuracy next to the
                  zero.  Least-squares fits at 140 bits, then cut; the relative error of the
                  cut polynomial is measured on a dense grid of each piece.
  Stirling        the tail of ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2) as the
                  asymptotic series sum B_2k / (2k (2k - 1) x^(2k - 1)), k = 1..8, exact
                  Bernoulli numbers rounded once; its truncation error for x >= 16 is stated.
  ln sin          ln(sin(pi d) / (pi d)) = e Q(e), e = d^2, |d| <= 1/2 (the reflection).
  double pieces   the same 27 pieces fitted again with double coefficients and a lower
                  degree, for the float forms' double-precision core (relative error target
                  2^-42: the float results need about 2^-31).
  double Stirling the first STIRLING_TERMS_D terms of the series in double, truncation
                  error stated for x >= 16; ln(2 pi)/2 and ln pi in double.
  short Stirling  the whole tail x S(x), S = ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2),
                  as one polynomial P(u) in u = 1/x^2 for x >= SHORT_FROM (a least-squares
                  fit of the exact tail, so S = P(u)/x without the series' truncation), and
                  ln(2 pi)/2 -+ 1/2 as pairs: the double forms' Stirling.
  extended short  the same tail fitted again to degree SHORT_X_DEGREE with its constant term
  Stirling        (about 1/12) as a pair of doubles, for the extended forms' double-double
                  path on [SHORT_FROM, 2^52) (absolute error below 2^-65).
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
DEGREE = 16  # every piece; the measured error of each is stated beside its row
PAIRS = 4  # the coefficients of t^0..t^3 held as pairs (head + tail) of extended values
TARGET = mpf(2) ** -75
# The fit runs at this precision; the coefficients are then cut to pairs or single values.
FIT = g.Format("fit", 140, -16382, 160, "")
STIRLING_TERMS = 8
STIRLING_FROM = 16
LNSIN_DEGREE = 19  # of Q, in e = d^2
LNSIN_PAIRS = 4  # Q's coefficients of e^0..e^3 as pairs
DEGREE_D = 11  # the double pieces
TARGET_D = mpf(2) ** -42
STIRLING_TERMS_D = 8
DEGREE_DD = 13  # the double-double pieces of the double forms' core
PAIRS_DD = 3  # their coefficients of t^0..t^2 as pairs of doubles
TARGET_DD = mpf(2) ** -62
SHORT_FROM = 8  # the short Stirling's first argument
SHORT_DEGREE = 6  # of P in u = 1/x^2
SHORT_TARGET = mpf(2) ** -57  # absolute error of x S(x); S's is this over x
SHORT_X_DEGREE = 7  # the extended forms' tail, in u = 1/x^2
SHORT_X_TARGET = mpf(2) ** -65


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


def lgamma_piece_pairs(k, degree=DEGREE, pairs=PAIRS, fmt=g.X87, points=140):
    """Piece k with coefficients in fmt, the first `pairs` as head-and-tail pairs:
    (centre, heads, tails, measured error of the polynomial with the pairs' sums)."""
    c = FIRST_CENTRE + k * WIDTH
    zero = c in (1, 2)
    f = lambda t: mp.loggamma(c + t)
    a, b = -WIDTH / 2, WIDTH / 2
    with mp.workprec(256):
        fit = g.least_squares(f, a, b, degree, relative=True, fixed={0: 0} if zero else None,
                              fmt=FIT, prec=256, points=points)
        heads = [g.to_format(v, fmt) for v in fit.coeffs]
        tails = [g.to_format(v - h, fmt) for v, h in zip(fit.coeffs[:pairs], heads)]
        used = [h + (tails[i] if i < pairs else 0) for i, h in enumerate(heads)]
        err, _ = g.measure(used, f, a, b)
    return c, heads, tails, err


def stirling():
    coeffs = []
    for k in range(1, STIRLING_TERMS + 1):
        coeffs.append(mp.bernoulli(2 * k) / (2 * k * (2 * k - 1)))
    nxt = abs(mp.bernoulli(2 * STIRLING_TERMS + 2)) / ((2 * STIRLING_TERMS + 2) * (2 * STIRLING_TERMS + 1))
    bound = nxt / mpf(STIRLING_FROM) ** (2 * STIRLING_TERMS + 1)
    return coeffs, bound


def stirling_tail(u):
    """x S(x) at u = 1/x^2, S = ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2)."""
    if u == 0:
        return mpf(1) / 12
    x = 1 / mp.sqrt(u)
    return x * (mp.loggamma(x) - ((x - mpf(1) / 2) * mp.log(x) - x + mp.log(2 * mp.pi) / 2))


def stirling_short():
    """x S(x) = P(1/x^2) for x >= SHORT_FROM: double coefficients and the measured absolute
    error of the rounded polynomial in u."""
    with mp.workprec(256):
        fit = g.least_squares(stirling_tail, 0, 1 / mpf(SHORT_FROM) ** 2, SHORT_DEGREE, relative=False, points=200)
    return fit


def stirling_short_x():
    """x S(x) = P(1/x^2) for x >= SHORT_FROM, to SHORT_X_DEGREE: double heads, the constant
    term's tail, and the measured absolute error with the pair's sum."""
    b = 1 / mpf(SHORT_FROM) ** 2
    with mp.workprec(256):
        fit = g.least_squares(stirling_tail, 0, b, SHORT_X_DEGREE, relative=False, fmt=FIT, prec=256, points=200)
        heads = [g.to_format(v, g.BINARY64) for v in fit.coeffs]
        tail = g.to_format(fit.coeffs[0] - heads[0], g.BINARY64)
        err, _ = g.measure([heads[0] + tail] + heads[1:], stirling_tail, 0, b, False)
    return heads, tail, err


def lnsin():
    def f(e):
        if e == 0:
            return mpf(0)
        d = mp.sqrt(e)
        return mp.log(mp.sin(mp.pi * d) / (mp.pi * d))
    with mp.workprec(256):
        fit = g.least_squares(f, 0, mpf(1) / 4, LNSIN_DEGREE + 1, relative=True, fixed={0: 0},
                              fmt=FIT, prec=256, points=140)
        q = fit.coeffs[1:]
        heads = [g.to_format(v, g.X87) for v in q]
        tails = [g.to_format(v - h, g.X87) for v, h in zip(q[:LNSIN_PAIRS], heads)]
        used = [mpf(0)] + [h + (tails[i] if i < LNSIN_PAIRS else 0) for i, h in enumerate(heads)]
        err, _ = g.measure(used, f, 0, mpf(1) / 4)
    return heads, tails, err


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
         "constexpr int kPiecePairs = %d;    // t^0.. t^%d as pairs" % (PAIRS, PAIRS - 1),
         "constexpr int kStirlingTerms = %d;" % STIRLING_TERMS,
         "constexpr int kLnSinDegree = %d;   // of Q in ln(sin(pi d)/(pi d)) = e Q(e)" % LNSIN_DEGREE,
         "constexpr int kLnSinPairs = %d;    // Q's e^0.. e^%d as pairs" % (LNSIN_PAIRS, LNSIN_PAIRS - 1),
         "extern const long double kLgPiece[kPieces][kPieceDegree + 1];",
         "extern const long double kLgPieceTail[kPieces][kPiecePairs];",
         "extern const long double kStirling[kStirlingTerms];",
         "extern const long double kLnSin[kLnSinDegree + 1];",
         "extern const long double kLnSinTail[kLnSinPairs];",
         "extern const long double kHalfLn2Pi[2];",
         "extern const long double kFactorial[26];",
         "constexpr int kPieceDegreeD = %d;  // the double pieces" % DEGREE_D,
         "constexpr int kStirlingTermsD = %d;" % STIRLING_TERMS_D,
         "extern const double kLgPieceD[kPieces][kPieceDegreeD + 1];",
         "extern const double kStirlingD[kStirlingTermsD];",
         "extern const double kHalfLn2PiD, kLnPiD;",
         "constexpr int kPieceDegreeDD = %d;  // the double-double pieces" % DEGREE_DD,
         "constexpr int kPiecePairsDD = %d;   // t^0.. t^%d as pairs" % (PAIRS_DD, PAIRS_DD - 1),
         "extern const double kLgPieceDD[kPieces][kPieceDegreeDD + 1];",
         "extern const double kLgPieceDDTail[kPieces][kPiecePairsDD];",
         "extern const double kHalfLn2PiDD[2], kLnPiDD[2], kPiDD[2];",
         "constexpr double kShortStirlingFrom = %d;" % SHORT_FROM,
         "constexpr int kShortStirlingDegree = %d;  // of P in 1/x^2" % SHORT_DEGREE,
         "extern const double kShortStirling[kShortStirlingDegree + 1];",
         "extern const double kHalfLn2PiLessHalf[2], kHalfLn2PiPlusHalf[2];",
         "constexpr int kShortStirlingXDegree = %d;  // the extended forms' tail, in 1/x^2" % SHORT_X_DEGREE,
         "extern const double kShortStirlingX[kShortStirlingXDegree + 1];",
         "extern const double kShortStirlingXTail;", ""]

    th = thresholds()
    for name, (v, fmt) in th.items():
        lit = g.hexfloat(v, fmt)
        h.append("// The least %s argument whose result overflows (%s)." % (fmt.name, mp.nstr(v, 17)))
        ty = {g.BINARY64: "double", g.BINARY32: "float", g.X87: "long double"}[fmt]
        h.append("constexpr %s k_%s = %s;" % (ty, name, lit))
    h += ["", "}  // namespace tsr::gamma", ""]

    c = [g.header(SCRIPT), '#include "special/gamma_data.h"', "", "namespace tsr::gamma {", ""]
    c += ["// ln|Gamma(x)| on [centre - 1/16, centre + 1/16), centre = 3/4 + k/8: coefficients of t^0..t^%d," % DEGREE,
          "// t = x - centre (pieces 2 and 10, the zeros at 1 and 2, without a constant term); the",
          "// coefficients of t^0..t^%d are the heads of pairs whose tails are kLgPieceTail.  The error" % (PAIRS - 1),
          "// stated is that of the polynomial with the pairs' exact sums.",
          "const long double kLgPiece[kPieces][kPieceDegree + 1] = {"]
    worst = mpf(0)
    tails_rows = []
    for k in range(PIECES):
        centre, heads, tails, err = lgamma_piece_pairs(k)
        worst = max(worst, err)
        if err > TARGET:
            raise SystemExit("piece %d: error %s above the target" % (k, mp.nstr(err, 5)))
        c.append("    // centre %s: %s" % (mp.nstr(centre, 6), g.approx_comment(centre - WIDTH / 2, centre + WIDTH / 2,
                                                                          DEGREE, float(mp.log(err, 2)), SCRIPT)))
        c.append("    {" + ", ".join(x87(v) for v in heads) + "},")
        tails_rows.append("    {" + ", ".join(x87(v) for v in tails) + "},")
    c += ["};", "", "// The tails of the pieces' first %d coefficients." % PAIRS,
          "const long double kLgPieceTail[kPieces][kPiecePairs] = {"] + tails_rows + ["};", ""]

    sc, bound = stirling()
    c += ["// B_2k / (2k (2k - 1)), k = 1..%d: ln Gamma(x) = (x - 1/2) ln x - x + ln(2 pi)/2 + sum c_k x^(1-2k)," % STIRLING_TERMS,
          "// truncation error below 2^%.2f for x >= %d." % (float(mp.log(bound, 2)), STIRLING_FROM)]
    c += g.c_array("const long double kStirling[kStirlingTerms]", [x87(v) for v in sc], 2)
    c.append("")

    ls, ls_tails, ls_err = lnsin()
    c += ["// ln(sin(pi d)/(pi d)) = e Q(e), e = d^2: coefficients of Q, e^0..e^%d, those of e^0..e^%d"
          % (LNSIN_DEGREE, LNSIN_PAIRS - 1),
          "// the heads of pairs whose tails follow (the error stated is that with the pairs' sums);",
          "// " + g.approx_comment(0, mpf(1) / 4, LNSIN_DEGREE + 1, float(mp.log(ls_err, 2)), SCRIPT,
                                   "ln(sin(pi d)/(pi d)) in d^2")]
    c += g.c_array("const long double kLnSin[kLnSinDegree + 1]", [x87(v) for v in ls], 2)
    c += g.c_array("const long double kLnSinTail[kLnSinPairs]", [x87(v) for v in ls_tails], 2)
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
    for name, v, what in (("kHalfLn2PiDD", hl, "ln(2 pi)/2"), ("kLnPiDD", mp.log(mp.pi), "ln pi"), ("kPiDD", mp.pi, "pi")):
        head = g.to_format(v, g.BINARY64)
        c.append("const double %s[2] = {%s, %s};  // %s as a pair" % (name, g.hexfloat(head), g.hexfloat(v - head), what))
    c.append("")
    sf = stirling_short()
    if sf.err > SHORT_TARGET:
        raise SystemExit("short Stirling: error %s above the target" % mp.nstr(sf.err, 5))
    c += ["// x S(x) = P(u), u = 1/x^2, S(x) = ln Gamma(x) - ((x - 1/2) ln x - x + ln(2 pi)/2): coefficients",
          "// of u^0..u^%d; %s" % (SHORT_DEGREE, g.approx_comment(0, 1 / mpf(SHORT_FROM) ** 2, SHORT_DEGREE,
                                                             sf.err_log2(), SCRIPT, "x S(x) in u", relative=False)),
          "// (S's absolute error is this over x: below 2^%.2f for x >= %d)." % (sf.err_log2() - math.log2(SHORT_FROM), SHORT_FROM)]
    c += g.c_array("const double kShortStirling[kShortStirlingDegree + 1]", [g.hexfloat(v) for v in sf.coeffs], 2)
    for name, v, what in (("kHalfLn2PiLessHalf", hl - mpf(1) / 2, "ln(2 pi)/2 - 1/2"),
                          ("kHalfLn2PiPlusHalf", hl + mpf(1) / 2, "ln(2 pi)/2 + 1/2")):
        head = g.to_format(v, g.BINARY64)
        c.append("const double %s[2] = {%s, %s};  // %s as a pair" % (name, g.hexfloat(head), g.hexfloat(v - head), what))
    c.append("")
    xh, xt, xerr = stirling_short_x()
    if xerr > SHORT_X_TARGET:
        raise SystemExit("extended short Stirling: error %s above the target" % mp.nstr(xerr, 5))
    c += ["// The same x S(x) = P(u) to degree %d for the extended forms, the constant term the pair" % SHORT_X_DEGREE,
          "// kShortStirlingX[0] + kShortStirlingXTail; %s" % g.approx_comment(
              0, 1 / mpf(SHORT_FROM) ** 2, SHORT_X_DEGREE, float(mp.log(xerr, 2)), SCRIPT, "x S(x) in u", relative=False),
          "// (S's absolute error below 2^%.2f for x >= %d)." % (float(mp.log(xerr, 2)) - math.log2(SHORT_FROM), SHORT_FROM)]
    c += g.c_array("const double kShortStirlingX[kShortStirlingXDegree + 1]", [g.hexfloat(v) for v in xh], 2)
    c.append("const double kShortStirlingXTail = %s;  // the constant term's tail" % g.hexfloat(xt))
    c.append("")
    c += ["// The pieces for the double forms: double coefficients of t^0..t^%d, those of t^0..t^%d the"
          % (DEGREE_DD, PAIRS_DD - 1),
          "// heads of pairs whose tails are kLgPieceDDTail (the error stated is with the pairs' sums).",
          "const double kLgPieceDD[kPieces][kPieceDegreeDD + 1] = {"]
    worst_dd = mpf(0)
    dd_tails = []
    for k in range(PIECES):
        _, heads, tails, err = lgamma_piece_pairs(k, DEGREE_DD, PAIRS_DD, g.BINARY64, 100)
        worst_dd = max(worst_dd, err)
        if err > TARGET_DD:
            raise SystemExit("double-double piece %d: error %s above the target" % (k, mp.nstr(err, 5)))
        centre = FIRST_CENTRE + k * WIDTH
        c.append("    // centre %s: %s" % (mp.nstr(centre, 6), g.approx_comment(centre - WIDTH / 2, centre + WIDTH / 2,
                                                                          DEGREE_DD, float(mp.log(err, 2)), SCRIPT)))
        c.append("    {" + ", ".join(g.hexfloat(v) for v in heads) + "},")
        dd_tails.append("    {" + ", ".join(g.hexfloat(v) for v in tails) + "},")
    c += ["};", "const double kLgPieceDDTail[kPieces][kPiecePairsDD] = {"] + dd_tails + ["};"]
    c += ["", "}  // namespace tsr::gamma", ""]
    print("worst piece error 2^%.2f, double pieces 2^%.2f, double-double 2^%.2f" % (
        float(mp.log(worst, 2)), float(mp.log(worst_d, 2)), float(mp.log(worst_dd, 2))))
    g.write_outputs({"special/gamma_data.h": "\n".join(h), "special/gamma_data.cpp": "\n".join(c)})


if __name__ == "__main__":
    main()
