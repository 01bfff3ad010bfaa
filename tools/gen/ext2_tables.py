#!/usr/bin/env python3
"""Generates extended/ext2_data.cpp: the tables and coefficients of the extended-precision
(x87) trigonometric, inverse trigonometric and degree functions.

Run: python3 tools/gen/ext2_tables.py [--out DIR]

  kSinPoly, kCosPoly  sin r = r - r^3/6 + r^5 S(r^2) and cos r = 1 - r^2/2 + r^4/24 + r^6 C(r^2) on
                      |r| <= 0.7855 (pi/4 and the margin of a reduction in a directed mode);
  kAtanPoly           atan t = t + t^3 A(t^2) on |t| <= 1/64 plus a margin;
  kAsinPoly           asin x = x + x^3/6 + x^5 Q(x^2) on |x| <= 1/2;
  kAtanTab[33]        atan(k/32), k = 0..32, the breakpoints of the angle kernel, as extended pairs;
  kAtanSmallPoly      atan z = z + z^3 P(z^2) on |z| <= 1/8 plus a margin (atanl, atan2l below
                      the table);
  kSinhSmallPoly,     sinh, asinh, tanh, atanh x = x + x^3 P(x^2) on |x| <= 1/8 plus a margin
  kAsinhSmallPoly,    (the hyperbolic functions below 1/8; the same shape as kAtanSmallPoly);
  kTanhSmallPoly,
  kAtanhSmallPoly
  kAtanStepPoly       atan t = t + t^3 A(t^2) on |t| <= 1/256 plus a margin (the step beyond a
                      breakpoint of kAtan256);
  kTanStepPoly        tan t = t + t^3 P(t^2) on |t| <= 1/64 plus a margin (the step beyond a
                      breakpoint of kTanTab);
  kTanTab[26]         tan(k/32), k = 0..25, the breakpoints of tanl and cotl, as a head of 32 bits
                      (exact products with a split operand) and the extended nearest the rest;
  kAtan256[249]       atan(k/256), k = 8..256, the breakpoints of atanl and atan2l, as double
                      pairs (head nearest, tail nearest the rest: 106 bits);
  kPi2D, kPiD         pi/2 and pi with a double head (so that head - atan(k/256)'s head is exact in
                      extended) and the extended nearest the rest;
  constants           pi/2, pi, 1/6, 1/24, 180/pi as extended pairs (head nearest, tail nearest the
                      rest), and pi/180 with a head of 32 bits (its product with a 32-bit half
                      is exact).
Fits are Remez exchanges with extended coefficients; each states its interval and its error
measured with the coefficients as rounded (the fixed low terms exact)."""
from fractions import Fraction

from mpmath import mp, mpf, sin, cos, tan, atan, asin, sinh, asinh, tanh, atanh

import tsrgen as g

mp.prec = 400
SCRIPT = "ext2_tables.py"


def hx(v):
    return g.hexfloat(v, g.X87)


out = [g.header(SCRIPT), "#include \"extended/ext2_data.h\"", "", "namespace tsr::x80 {", ""]
hdr = [g.header(SCRIPT), "#pragma once", "", "namespace tsr::x80 {", ""]


def xpair(v):
    h = g.to_format(v, g.X87)
    return h, g.to_format(v - h, g.X87)


# ---- constants -------------------------------------------------------------------------------
for name, v, what in (("kPi2", mp.pi / 2, "pi/2"), ("kPi", mp.pi, "pi"), ("kSixth", mpf(1) / 6, "1/6"), ("kC24", mpf(1) / 24, "1/24"),
                      ("kRad2Deg", 180 / mp.pi, "180/pi")):
    h, l = xpair(v)
    out.append("// %s: the extended nearest and the extended nearest the rest (128 bits)." % what)
    out.append("const long double %s[2] = {%s, %s};" % (name, hx(h), hx(l)))
    hdr.append("extern const long double %s[2];  // %s" % (name, what))
d2r = mp.pi / 180
h = g.round_bits(d2r, 32)
out.append("// pi/180: a head of 32 bits and the extended nearest the rest.")
out.append("const long double kDeg2Rad_32[2] = {%s, %s};" % (hx(h), hx(g.to_format(d2r - h, g.X87))))
hdr.append("extern const long double kDeg2Rad_32[2];  // pi/180")
out.append("")

# ---- atan breakpoints --------------------------------------------------------------------------
rows = [xpair(atan(mpf(k) / 32)) for k in range(33)]
out.extend(g.c_array("alignas(16) const long double kAtanTab[33][2]", ["{%s, %s}" % (hx(a), hx(b)) for a, b in rows], 1,
                     "atan(k/32), k = 0..32: the extended nearest and the extended nearest the rest."))
out.append("")
hdr.append("extern const long double kAtanTab[33][2];")
rows = []
for k in range(8, 257):
    v = atan(mpf(k) / 256)
    h = g.to_format(v, g.BINARY64)
    rows.append("{%s, %s}" % (g.hexfloat(h), g.hexfloat(g.to_format(v - h, g.BINARY64))))
out.extend(g.c_array("alignas(16) const double kAtan256[249][2]", rows, 1,
                     "atan(k/256), k = 8..256 (row k - 8): the double nearest and the double nearest the rest."))
out.append("")
hdr.append("extern const double kAtan256[249][2];  // atan(k/256), k = 8..256")
# tan(k/32), k = 0..25 (25/32 + 1/64 > pi/4): a head of 32 bits (its products with a split
# operand are exact) and the extended nearest the rest, 96 bits in all.
rows = []
for k in range(26):
    v = tan(mpf(k) / 32)
    h = g.round_bits(v, 32)
    rows.append("{%s, %s}" % (hx(h), hx(g.to_format(v - h, g.X87))))
out.extend(g.c_array("alignas(16) const long double kTanTab[26][2]", rows, 1,
                     "tan(k/32), k = 0..25: a 32-bit head and the extended nearest the rest."))
out.append("")
hdr.append("extern const long double kTanTab[26][2];  // tan(k/32), k = 0..25, 32-bit heads")
for name, v, what in (("kPi2D", mp.pi / 2, "pi/2"), ("kPiD", mp.pi, "pi")):
    h = g.to_format(v, g.BINARY64)
    out.append("// %s: the double nearest and the extended nearest the rest." % what)
    out.append("const long double %s[2] = {%s, %s};" % (name, hx(h), hx(g.to_format(v - h, g.X87))))
    hdr.append("extern const long double %s[2];  // %s, a double head" % (name, what))
out.append("")


# ---- polynomials ------------------------------------------------------------------------------
def fit(name, f, a, b, degree, fixed, parity, f_text, bound):
    """Fits the free powers to f less its fixed low terms (which need not be dyadic), then
    measures the whole polynomial against f, relative to f."""
    low = lambda x: sum(mpf(v.numerator) / v.denominator * x ** k for k, v in fixed.items())
    rest = lambda x: f(x) - low(x)
    zero = {k: 0 for k in fixed}
    ap = g.remez(rest, a, b, degree, relative=True, fixed=zero, parity=parity, fmt=g.X87, prec=700)
    free = [k for k in range(degree + 1) if k not in fixed and k % 2 == (parity == "odd")]
    with mp.workprec(300):
        coeffs = [mpf(0)] * (degree + 1)
        for k, v in fixed.items():
            coeffs[k] = mpf(v.numerator) / v.denominator
        for k in free:
            coeffs[k] = ap.coeffs[k]
        err, at = g.measure(coeffs, f, mpf(a), mpf(b))
    e2 = float(mp.log(err, 2))
    assert e2 < bound, (name, e2)
    c = [hx(ap.coeffs[k]) for k in free]
    out.append("// " + g.approx_comment(a, b, degree, e2, SCRIPT, f_text))
    out.append("// Coefficients of x^%d, x^%d .. x^%d (the lower ones are exact: %s)." % (
        free[0], free[1], free[-1], ", ".join("x^%d: %s" % (k, v) for k, v in sorted(fixed.items()))))
    out.extend(g.c_array("const long double %s[%d]" % (name, len(c)), c, 1))
    out.append("")
    hdr.append("extern const long double %s[%d];  // x^%d .. x^%d, every second power" % (name, len(c), free[0], free[-1]))
    print(name, e2)


R = mpf("0.7855")
fit("kSinPoly", sin, -R, R, 21, {1: Fraction(1), 3: Fraction(-1, 6)}, "odd", "sin r", -72)
fit("kCosPoly", cos, -R, R, 20, {0: Fraction(1), 2: Fraction(-1, 2), 4: Fraction(1, 24)}, "even", "cos r", -75)
T = mpf(1) / 64 * mpf("1.01")
fit("kAtanPoly", atan, -T, T, 13, {1: Fraction(1)}, "odd", "atan t", -78)
fit("kAtanSmallPoly", atan, -mpf(1) / 8 * mpf("1.01"), mpf(1) / 8 * mpf("1.01"), 19, {1: Fraction(1)}, "odd", "atan z", -70)
for name, f in (("kSinhSmallPoly", sinh), ("kAsinhSmallPoly", asinh), ("kTanhSmallPoly", tanh), ("kAtanhSmallPoly", atanh)):
    fit(name, f, -mpf(1) / 8 * mpf("1.01"), mpf(1) / 8 * mpf("1.01"), 19, {1: Fraction(1)}, "odd", name[1:-9].lower() + " x", -72)
fit("kTanStepPoly", tan, -T, T, 13, {1: Fraction(1)}, "odd", "tan t", -76)
fit("kAtanStepPoly", atan, -mpf(1) / 256 * mpf("1.01"), mpf(1) / 256 * mpf("1.01"), 9, {1: Fraction(1)}, "odd", "atan t", -76)
fit("kAsinPoly", asin, -mpf(1) / 2, mpf(1) / 2, 35, {1: Fraction(1), 3: Fraction(1, 6)}, "odd", "asin x", -71)

out.append("}  // namespace tsr::x80")
hdr.append("")
hdr.append("}  // namespace tsr::x80")
g.write_outputs({"extended/ext2_data.cpp": "\n".join(out) + "\n", "extended/ext2_data.h": "\n".join(hdr) + "\n"})
