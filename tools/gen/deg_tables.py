#!/usr/bin/env python3
"""Generates elementary/deg_data.h: the conversion factors of the degree functions.

pi/180 and 180/pi as (hi, lo) pairs, each part rounded to nearest from 256 bits, so that
hi + lo holds the factor to about 2^-108 of its value; and the polynomials of the float forms,
sin r° and cos r° on the remainder's interval [-45, 45] with pi/180 folded into their
coefficients, least-squares fits whose relative error is measured and written beside them.
Run: python3 tools/gen/deg_tables.py [--out DIR]
"""
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
    # The float forms' polynomials in r (degrees): sin r° = r·S(r^2), cos r° = C(r^2).
    fits = (("kSinf", g.least_squares(lambda r: mp.sin(r * d2r), -45, 45, 9, parity="odd"), 1,
             "sin r°, odd: coefficients of r, r^3, ..., r^9"),
            ("kCosf", g.least_squares(lambda r: mp.cos(r * d2r), -45, 45, 10, parity="even", fixed={0: 1}), 2,
             "cos r°, even: coefficients of r^2, r^4, ..., r^10 (that of 1 is 1)"))
    for name, a, first, what in fits:
        cs = [a.coeffs[k] for k in range(first, a.degree + 1, 2)]
        lines += ["", "// %s;" % what, "// " + a.comment(SCRIPT, "sin r°" if first == 1 else "cos r°") + "."]
        lines += ["constexpr double %s[%d] = {%s};" % (name, len(cs), ", ".join(d(c) for c in cs))]
    lines += ["", "}  // namespace tsr::deg"]
    g.write_outputs({"elementary/deg_data.h": "\n".join(lines) + "\n"})


if __name__ == "__main__":
    main()
