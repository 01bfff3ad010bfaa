#!/usr/bin/env python3
"""Generates elementary/deg_data.h: the conversion factors and the rows of the degree functions.

pi/180 and 180/pi as (hi, lo) pairs, each part rounded to nearest from 256 bits, so that
hi + lo holds the factor to about 2^-108 of its value; and the rows of the sine of whole
degrees from 0 to 90, of the tangent from -1/2 to 45 degrees (at i/2), of the arctangent in
degrees on [0, 1] (at i/128) and of the arcsine in degrees on [0, 1/2] (at i/256): the value
as hi + lo and the Taylor expansion in d to degree 7, its first coefficient cut to 26 bits (so
that its product with a 26-bit head of d is exact) with the rest as a second word; the
relative error of each row's expansion over half a step either side is measured and the
largest written beside the table, with that of the rows cut after d^4, which the float forms
evaluate; and the float sine and cosine of an angle in [-45, 45] degrees as two minimax
polynomials in r^2 (the sine's times r).
Run: python3 tools/gen/deg_tables.py [--out DIR]
"""
import math

from mpmath import mp, mpf

import tsrgen as g

mp.prec = 256
SCRIPT = "deg_tables.py"


def hilo(v):
    hi = g.to_mpf(g.exact(g.to_format(v, g.BINARY64)))
    return hi, g.to_mpf(g.exact(g.to_format(v - hi, g.BINARY64)))


def d(x):
    return g.hexfloat(x, g.BINARY64)


# The factors as the design knows them: pi/180 and 180/pi rounded to nearest.
KNOWN = {"pi/180": 0x3f91df46a2529d39, "180/pi": 0x404ca5dc1a63c1f8}


EXPANSION_DEGREE = 7


def expansion_rows(name, f, f_text, step, count, cut=None, first=0):
    """Rows at c = i/step, i = first .. count: f(c) as hi + lo, the Taylor expansion of f(c + d) in
    d to EXPANSION_DEGREE with the coefficient of d cut to 26 bits and its rest as a second word;
    the relative error of each expansion over |d| <= 1/(2 step) is measured and the largest stated; with cut, also that of the expansion cut after d^cut
    with the value's head alone."""
    rows, worst, worst_cut = [], mpf(0), mpf(0)
    h = mpf(1) / (2 * step)
    for i in range(first, count + 1):
        c = mpf(i) / step
        t = mp.taylor(f, c, EXPANSION_DEGREE)
        a_hi, a_lo = hilo(t[0])
        if abs(a_lo) < mpf(2) ** -200:  # an exact value (sin 0°, 30°, 90°): no low word
            a_lo = mpf(0)
        p1_hi = g.to_mpf(g.exact(g.round_bits(t[1], 26)))
        p1_lo = g.to_mpf(g.exact(g.to_format(t[1] - p1_hi, g.BINARY64)))
        rest = [g.to_mpf(g.exact(g.to_format(v, g.BINARY64))) for v in t[2:]]
        coeffs = [a_hi + a_lo, p1_hi + p1_lo] + rest
        lo, hi = -h, h  # both sides on every row, the first and last too (odd or even there)
        for k in range(65):
            dd = lo + (hi - lo) * k / 64
            if c + dd == 0:
                continue
            v = f(c + dd)
            p = mpf(0)
            for x in reversed(coeffs):
                p = p * dd + x
            worst = max(worst, abs((p - v) / v))
            if cut:
                short = [a_hi, p1_hi + p1_lo] + rest[:cut - 1]
                p = mpf(0)
                for x in reversed(short):
                    p = p * dd + x
                worst_cut = max(worst_cut, abs((p - v) / v))
        rows.append([a_hi, a_lo, p1_hi, p1_lo] + rest)
    err = float(mp.log(worst, 2))
    head = ("%s for c = i/%d, i = %d .. %d, |d| <= 1/%d:\n"
            "{value hi, lo; coefficient of d: hi (26 bits), lo; coefficients of d^2 .. d^%d}, the\n"
            "Taylor expansion at c; max relative error of a row's expansion 2^%.2f (measured by\n"
            "tools/gen/%s)." % (f_text, step, first, count, 2 * step, EXPANSION_DEGREE, math.ceil(err * 100) / 100, SCRIPT))
    if cut:
        head += ("\nCut after d^%d (the value's head, the coefficient of d by its two words):\n"
                 "max relative error 2^%.2f." % (cut, math.ceil(float(mp.log(worst_cut, 2)) * 100) / 100))
    items = ["{%s}" % ", ".join(d(v) for v in r) for r in rows]
    return g.c_array("constexpr double %s[%d][%d]" % (name, len(rows), 3 + EXPANSION_DEGREE), items,
                     per_row=1, comment=head)


# The float sine and cosine take r in [-45, 45] degrees (a little more: the quotient by 90
# comes from a rounded product, so r may pass 45 by about 2^-27).
FLOAT_ANGLE = mpf(45.25)


def float_sincos_poly():
    """sin(r°) = r·(s0 + s1 z + ... + s4 z^4) and cos(r°) = 1 + c1 z + ... + c4 z^4, z = r^2, on
    |r| <= FLOAT_ANGLE, minimax in relative error: one table row each, the sine's first."""
    d2r = mp.pi / 180
    s = g.remez(lambda r: mp.sin(r * d2r), -FLOAT_ANGLE, FLOAT_ANGLE, 9, parity="odd")
    c = g.remez(lambda r: mp.cos(r * d2r), -FLOAT_ANGLE, FLOAT_ANGLE, 8, parity="even", fixed={0: 1})
    assert s.err < mpf(2) ** -37 and c.err < mpf(2) ** -33
    rows = ["{%s}" % ", ".join(d(v) for v in a.coeffs[first::2]) for a, first in ((s, 1), (c, 0))]
    head = ("The float sine and cosine of r degrees as polynomials in z = r^2: {sine / r; cosine};\n"
            "sine %s;\ncosine %s." % (s.comment(SCRIPT, "sin(r°)"), c.comment(SCRIPT, "cos(r°)")))
    return g.c_array("constexpr double kSindfPoly[2][5]", rows, per_row=1, comment=head)


def main():
    d2r = mp.pi / 180
    r2d = 180 / mp.pi
    for name, v in (("pi/180", d2r), ("180/pi", r2d)):
        if g.to_bits(v, g.BINARY64) != KNOWN[name]:
            raise SystemExit("%s does not round to the known pattern" % name)
    lines = [g.header(SCRIPT), "#pragma once", "", "namespace tsr::deg {", ""]
    for name, v, what in (("kD2r", d2r, "pi/180, degrees to radians"),
                          ("kR2d", r2d, "180/pi, radians to degrees")):
        hi, lo = hilo(v)
        err = abs((hi + lo - v) / v)
        lines += ["// %s: hi + lo to 2^%.1f of the value." % (what, float(mp.log(err, 2))),
                  "constexpr double %sHi = %s;" % (name, d(hi)),
                  "constexpr double %sLo = %s;" % (name, d(lo))]
    lines += [""] + expansion_rows("kAtandRows", lambda v: r2d * mp.atan(v),
                                   "The arctangent in degrees, (180/pi)·atan(c + d),", 128, 128, cut=4)
    lines += [""] + expansion_rows("kSindRows", lambda v: mp.sin(v * d2r),
                                   "The sine of degrees, sin(c + d)°,", 1, 90, cut=4)
    lines += [""] + expansion_rows("kTandRows", lambda v: mp.tan(v * d2r),
                                   "The tangent of degrees, tan(c + d)°,", 2, 90, cut=4, first=-1)
    lines += [""] + expansion_rows("kAsindRows", lambda v: r2d * mp.asin(v),
                                   "The arcsine in degrees, (180/pi)·asin(c + d),", 256, 128, cut=4)
    lines += [""] + float_sincos_poly()
    lines += ["", "}  // namespace tsr::deg"]
    g.write_outputs({"elementary/deg_data.h": "\n".join(lines) + "\n"})


if __name__ == "__main__":
    main()
