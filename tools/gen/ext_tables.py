#!/usr/bin/env python3
"""Generates extended/ext_data.cpp: the tables and coefficients of the extended-precision
(x87) family.

Run: python3 tools/gen/ext_tables.py [--out DIR]

Tables (each from its defining rule at 400 bits):
  kExpTab[256]    2^(j/256), j = -128..127, as a head of 30 bits and a double tail;
  kRecip[256]     single-precision reciprocals R_j of the centres 1 + (j + 1/2)/256;
  kLogR[256]      -ln R_j as a double head and a double tail;
  kCbrtTab[3][256] cbrt(2^i / R_j) as a double head and a double tail.
Constants split as heads with few bits (so that their products with small integers or
32-bit halves are exact) and extended tails; polynomials fitted by Remez exchange with
extended coefficients, each stated with its interval and measured error."""
from fractions import Fraction

from mpmath import mp, mpf, log, exp, cbrt

import tsrgen as g

mp.prec = 400
SCRIPT = "ext_tables.py"


def rd(x):
    return g.to_format(x, g.BINARY64)


def hx(v, fmt=g.BINARY64):
    return g.hexfloat(v, fmt)


out = [g.header(SCRIPT), "#include \"extended/ext_data.h\"", "", "namespace tsr::x80 {", ""]
hdr = [g.header(SCRIPT), "#pragma once", "#include <cstdint>", "", "namespace tsr::x80 {", ""]


def pair_rows(vals, head_bits=None):
    rows = []
    for v in vals:
        h = g.round_bits(v, head_bits) if head_bits else rd(v)
        assert rd(h) == h
        rows.append((h, rd(v - h)))
    return rows


def emit_pairs(decl, rows, comment, per_row=2):
    out.extend(g.c_array(decl, ["{%s, %s}" % (hx(h), hx(l)) for h, l in rows], per_row, comment))
    out.append("")


# ---- 2^(j/256) ---------------------------------------------------------------------------
exp_rows = pair_rows([mpf(2) ** (mpf(j) / 256) for j in range(-128, 128)], 30)
assert g.to_bits(exp_rows[0][0], g.BINARY64) == 0x3fe6a09e66800000
emit_pairs("alignas(16) const double kExpTab[256][2]", exp_rows,
           "2^(j/256) for j = -128..127 (row j + 128): a head of 30 bits and the double nearest\n"
           "the rest, 83 bits in all.")
hdr.append("extern const double kExpTab[256][2];")
exp53_rows = pair_rows([mpf(2) ** (mpf(j) / 256) for j in range(-128, 128)])
emit_pairs("alignas(16) const double kExp2j[256][2]", exp53_rows,
           "2^(j/256) for j = -128..127 (row j + 128): the double nearest and the double nearest\n"
           "the rest (106 bits), for the functions that round the head's sum once.")
hdr.append("extern const double kExp2j[256][2];")

# ---- reciprocals and their logarithms ---------------------------------------------------
recip = [g.to_format(1 / (1 + (mpf(j) + mpf(1) / 2) / 256), g.BINARY32) for j in range(256)]
out.extend(g.c_array("alignas(16) const float kRecip[256]", [hx(r, g.BINARY32) for r in recip], 4,
                     "R_j: 1/(1 + (j + 1/2)/256) rounded to single precision; m R_j - 1 for m in\n"
                     "[1 + j/256, 1 + (j + 1)/256) is exact when m has 32 bits."))
out.append("")
hdr.append("extern const float kRecip[256];")
umin = min((1 + mpf(j) / 256) * recip[j] - 1 for j in range(256))
umax = max((1 + mpf(j + 1) / 256) * recip[j] - 1 for j in range(256))
emit_pairs("alignas(16) const double kLogR[256][2]", pair_rows([-log(r) for r in recip]),
           "-ln R_j as the double nearest and the double nearest the rest (106 bits).")
hdr.append("extern const double kLogR[256][2];")

# ---- the short logarithm's rows ------------------------------------------------------------
# Row i (0..256) for m in [1 + (i - 1/2)/256, 1 + (i + 1/2)/256) (m in [1, 2)): R_i the single
# nearest 1/(1 + i/256) (row 0: 1; row 256: 1/2, its ln 2 counted in the exponent instead),
# stored pre-scaled by 2^-31 and by 2^-63 for the two 32-bit halves of the significand taken
# as integers; -ln R_i as a head on the grid of 2^-49 (so that e ln2h + head is exact for every
# exponent e) and the double nearest the rest.
LN2_GRID = -49
log_rows = []
for i in range(257):
    r = mpf(1) / 2 if i == 256 else g.to_format(1 / (1 + mpf(i) / 256), g.BINARY32)
    t = mpf(0) if i == 256 else -log(r)
    th = g.round_grid(t, LN2_GRID)
    log_rows.append((r * mpf(2) ** -31, r * mpf(2) ** -63, th, rd(t - th)))
lumax = max(max(abs((1 + (mpf(i) - mpf(1) / 2) / 256) * (row[0] * 2 ** 31) - 1),
                abs((1 + (mpf(i) + mpf(1) / 2) / 256) * (row[0] * 2 ** 31) - 1)) for i, row in enumerate(log_rows))
out.extend(g.c_array("alignas(32) const double kLogRows[257][4]",
                     ["{%s}" % ", ".join(hx(v) for v in row) for row in log_rows], 1,
                     "Rows of the short logarithm: R 2^-31, R 2^-63, -ln R on the grid of 2^-49, the rest\n"
                     "(R = 1/(1 + i/256) to single precision; row 256 R = 1/2 with its ln 2 in the\n"
                     "exponent); |m R - 1| <= %s over the rows." % g.hexfloat(rd(lumax))))
out.append("")
hdr.append("extern const double kLogRows[257][4];")
ln2_49 = g.round_grid(log(2), LN2_GRID)
out.append("// ln 2 on the grid of 2^-49 (its product with an exponent is exact) and the double nearest the rest.")
out.append("const double kLn2_49[2] = {%s, %s};" % (hx(ln2_49), hx(rd(log(2) - ln2_49))))
hdr.append("extern const double kLn2_49[2];")
out.append("")

# ---- cube roots ------------------------------------------------------------------------------
cb = []
for i in range(3):
    cb.append(pair_rows([cbrt(mpf(2) ** i / r) for r in recip]))
out.append("// cbrt(2^i / R_j) for i = 0, 1, 2 as the double nearest and the double nearest the rest.")
out.append("alignas(16) const double kCbrtTab[3][256][2] = {")
for i in range(3):
    out.append("    {")
    out.extend(g.c_rows(["{%s, %s}" % (hx(h), hx(l)) for h, l in cb[i]], 2, "        "))
    out.append("    },")
out.append("};")
out.append("")
hdr.append("extern const double kCbrtTab[3][256][2];")

# ---- constants -------------------------------------------------------------------------------
consts = []


def const_pair(name, v, head_bits, what):
    h = g.round_bits(v, head_bits)
    l = g.to_format(v - h, g.X87)
    consts.append((name, h, l, head_bits, what))


ln2 = log(2)
# ln 2 head of 29 bits: e * head is exact for every exponent e of the format.
ln2h = g.from_bits(0x3fe62e42ff000000, g.BINARY64)
ln2l = g.to_format(ln2 - ln2h, g.X87)
ln2ll = g.to_format(ln2 - ln2h - ln2l, g.X87)
const_pair("kLn2_32", ln2, 32, "ln 2")
const_pair("kLn10_32", log(10), 32, "ln 10")
const_pair("kLog2e_32", 1 / ln2, 32, "1/ln 2")
const_pair("kLog10e_32", 1 / log(10), 32, "1/ln 10")
const_pair("kLog10_2_29", log(2) / log(10), 29, "log10 2 (the head times any exponent is exact)")
const_pair("kLog2_10", log(10) / ln2, 32, "log2 10")
const_pair("kC4pi_32", 4 / mp.pi, 32, "4/pi")
const_pair("kC4ln2pi_32", 4 * log(2) / mp.pi, 32, "4 ln2/pi")
const_pair("kC4ln10pi_32", 4 * log(10) / mp.pi, 32, "4 ln10/pi")

for name, h, l, bits, what in consts:
    out.append("// %s: a head of %d bits and the extended nearest the rest." % (what, bits))
    out.append("const long double %s[2] = {%s, %s};" % (name, hx(h, g.X87), hx(l, g.X87)))
    hdr.append("extern const long double %s[2];" % name)
out.append("// ln 2 in three parts: the head of 29 bits, then two extended tails (e ln 2 to 2^-140).")
out.append("const long double kLn2_3[3] = {%s, %s, %s};" % (hx(ln2h, g.X87), hx(ln2l, g.X87), hx(ln2ll, g.X87)))
hdr.append("extern const long double kLn2_3[3];")
l256 = ln2 / 256
l256h = g.round_bits(l256, 42)
out.append("// ln2/256 as two doubles: a head of 42 bits (its product with any n below 2^22 is exact)")
out.append("// and the double nearest the rest; n times the pair misses n ln2/256 by below 2^-81.")
out.append("const double kLn2_256[2] = {%s, %s};" % (hx(l256h), hx(rd(l256 - l256h))))
hdr.append("extern const double kLn2_256[2];")
out.append("// ln 2 and 256/ln 2 rounded to extended and to double.")
out.append("const long double kLn2x = %s;" % hx(g.to_format(ln2, g.X87), g.X87))
out.append("const double kInvLn2_256 = %s;" % hx(rd(256 / ln2)))
hdr.append("extern const long double kLn2x;")
hdr.append("extern const double kInvLn2_256;")
out.append("const double kLog2_10_256 = %s;  // 256 log2 10 rounded to double" % hx(rd(256 * log(10) / ln2)))
hdr.append("extern const double kLog2_10_256;")
out.append("")

# ---- reduction by pi/4 ---------------------------------------------------------------------
# The factors 4/pi, 4 ln2/pi and 4 ln10/pi as integers floor(C 2^16640) in 64-bit words, least
# significant first, with two zero words above: the reduction of a large argument reads a
# 256-bit window of them at the argument's exponent.
mp.prec = 17000
P = 16640
for name, c in (("kFourOverPi", 4 / mp.pi), ("kFourLn2OverPi", 4 * log(2) / mp.pi),
                ("kFourLn10OverPi", 4 * log(10) / mp.pi)):
    ci = int(mp.floor(c * mpf(2) ** P))
    words = [(ci >> (64 * i)) & (2 ** 64 - 1) for i in range(P // 64 + 3)]
    out.extend(g.c_array("alignas(64) const uint64_t %s[%d]" % (name, len(words)),
                         [g.hexint(w, 16, "ull") for w in words], 4,
                         "floor(%s 2^%d), 64-bit words, least significant first." % (
                             {"kFourOverPi": "4/pi", "kFourLn2OverPi": "4 ln2/pi",
                              "kFourLn10OverPi": "4 ln10/pi"}[name], P)))
    out.append("")
    hdr.append("extern const uint64_t %s[%d];" % (name, len(words)))
mp.prec = 400
# pi/4 in parts for the Cody-Waite subtraction of m pi/4 (m below 2^31): three parts whose
# head of 45 bits times m < 2^18 is exact, five whose head of 33 bits times m < 2^31 is.
pi4 = mp.pi / 4


def parts(bits):
    ps, rest = [], pi4
    for b in bits:
        p = g.round_bits(rest, b) if b < 53 else rd(rest)
        ps.append(p)
        rest -= p
    return ps


p3 = parts([45, 45, 53])
p5 = parts([33, 33, 33, 33, 53])
assert g.to_bits(p3[0], g.BINARY64) == 0x3fe921fb54442d00
assert g.to_bits(p5[0], g.BINARY64) == 0x3fe921fb54400000
out.append("// pi/4 in three parts (a head of 45 bits, a second of 45, a double) and in five.")
out.append("const double kPi4x3[3] = {%s};" % ", ".join(hx(v) for v in p3))
out.append("const double kPi4x5[5] = {%s};" % ", ".join(hx(v) for v in p5))
hdr.append("extern const double kPi4x3[3];")
hdr.append("extern const double kPi4x5[5];")
h4 = g.round_bits(pi4, 32)
out.append("// pi/4: a head of 32 bits and the extended nearest the rest.")
out.append("const long double kPi4_32[2] = {%s, %s};" % (hx(h4, g.X87), hx(g.to_format(pi4 - h4, g.X87), g.X87)))
hdr.append("extern const long double kPi4_32[2];")
out.append("")

# ---- polynomials -----------------------------------------------------------------------------
polys = []


def fit(name, f, a, b, degree, low, f_text, bound, fmt=g.X87):
    """Fits f = sum_{k<len(low)} low[k] x^k + x^len(low) Q(x), Q of degree `degree`, by
    fitting Q itself (relative error); reports the error of the whole sum relative to f."""
    n = len(low)

    def q(x):
        if x == 0:
            x = mpf(2) ** -200
        return (f(x) - sum(g.to_mpf(Fraction(low[k])) * x ** k for k in range(n))) / x ** n

    ap = g.remez(q, a, b, degree, relative=True, fmt=fmt, prec=300)
    full = [low[k] for k in range(n)] + list(ap.coeffs)
    words = [Fraction(c) if k < n else g.to_bits(c, fmt) for k, c in enumerate(full)]
    whole = g.evaluate(words, f, a, b, fmt=fmt)
    assert whole.err_log2() < bound, (name, whole.err_log2())
    c = [hx(v, fmt) for v in ap.coeffs]
    ctype = "long double" if fmt is g.X87 else "double"
    out.append("// " + whole.comment(SCRIPT, f_text))
    out.append("// Coefficients of x^%d .. x^%d (the lower ones are exact: %s)." % (
        n, n + degree, ", ".join(str(Fraction(v)) for v in low)))
    out.extend(g.c_array("const %s %s[%d]" % (ctype, name, len(c)), c, 1))
    out.append("")
    hdr.append("extern const %s %s[%d];  // x^%d .. x^%d" % (ctype, name, len(c), n, n + degree))
    return whole


def log1p(x):
    return log(1 + x)


def expm1(x):
    return exp(x) - 1


# e^r - 1 on the reduced interval; the shifter may round n either way in the directed
# modes, so the interval is |r| <= ln2/256 (with a margin), not ln2/512.
rr = ln2 / 256 * mpf("1.01")
fit("kExpPoly", expm1, -rr, rr, 4, [0, 1, Fraction(1, 2)], "e^r - 1", -72)
# The same with double coefficients, degree 6: the terms from r^3 on are below 2^-25 of the
# result, where a double's rounding of a coefficient is far below 2^-64; the error, relative
# to e^r - 1 (below 2^-8.5), is below 2^-74.8 of e^r itself.
fit("kExpPolyD", expm1, -rr, rr, 3, [0, 1, Fraction(1, 2)], "e^r - 1", -66, fmt=g.BINARY64)
fit("kLogPoly", log1p, umin * mpf("1.001"), umax * mpf("1.001"), 5, [0, 1, Fraction(-1, 2)],
    "ln(1 + u)", -72)
fit("kLogPolyD", log1p, -lumax * mpf("1.001"), lumax * mpf("1.001"), 5, [0, 1, Fraction(-1, 2)],
    "ln(1 + u)", -72, fmt=g.BINARY64)
w = mpf(2) ** -7
fit("kLogNear1", log1p, -w, w, 9, [0, 1, Fraction(-1, 2)], "ln(1 + v)", -74)


def cbrtm1(x):
    return cbrt(1 + x) - 1


fit("kCbrtPoly", cbrtm1, umin * mpf("1.001"), umax * mpf("1.001"), 6, [0], "cbrt(1 + u) - 1", -64)

out.append("}  // namespace tsr::x80")
hdr.append("")
hdr.append("}  // namespace tsr::x80")
g.write_outputs({"extended/ext_data.cpp": "\n".join(out) + "\n", "extended/ext_data.h": "\n".join(hdr) + "\n"})
