#!/usr/bin/env python3
"""Generates elementary/pi_data.cpp: the tables and polynomials of the pi-scaled
trigonometric functions and of atanpi's vector core.

Every value is computed at 200 bits with mpmath and rounded to double once (a low part is the
rest of the value after its rounded head, rounded again).  The rows the design prints are
checked here; the short series of the pi-scaled sine and cosine are fitted here; atanpi's
twelve series coefficients are carried as fixed words and measured against the function they
stand for.  Run: python3 tools/gen/pi_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 200
SCRIPT = "pi_tables.py"


def d(x):
    return g.hexfloat(x, g.BINARY64)


def split(v):
    hi = g.to_format(v, g.BINARY64)
    return hi, g.to_format(v - hi, g.BINARY64)


def word(b):
    return g.from_bits(b, g.BINARY64)


def bits(x):
    return g.to_bits(x, g.BINARY64)


# The reach of the remainder r = x - j/64: half a step, and the margin of a rounding of 64x.
R_MAX = mpf(1) / 128 * (1 + mpf(2) ** -30)


def sin_a(w):  # sin(pi r) = pi r (1 + w A(w)), w = r^2
    if w == 0:
        return -mp.pi ** 2 / 6
    r = mp.sqrt(w)
    return (mp.sin(mp.pi * r) / (mp.pi * r) - 1) / w


def cos_b(w):  # cos(pi r) = 1 + w B(w)
    if w == 0:
        return -mp.pi ** 2 / 2
    return (mp.cos(mp.pi * mp.sqrt(w)) - 1) / w


def atan_p(v):  # atan(z)/z - 1 = v P(v), v = z^2
    if v == 0:
        return mpf(-1) / 3
    z = mp.sqrt(v)
    return (mp.atan(z) / z - 1) / v


def atan_q(v):  # atan(z)/z - 1 + v/3 = v^2 Q(v)
    if v == 0:
        return mpf(1) / 5
    z = mp.sqrt(v)
    return (mp.atan(z) / z - 1 + v / 3) / v ** 2


def asin_r(v):  # asin(s)/pi = s/pi + s v/(6 pi) + s v^2 R(v), v = s^2
    if v == 0:
        return mpf(3) / (40 * mp.pi)
    s = mp.sqrt(v)
    return (mp.asin(s) / (s * mp.pi) - 1 / mp.pi - v / (6 * mp.pi)) / v ** 2


def asin_f(v):  # asin(s)/pi = s F(v), v = s^2
    if v == 0:
        return 1 / mp.pi
    s = mp.sqrt(v)
    return mp.asin(s) / (s * mp.pi)


def atan_f(v):  # atan(z)/pi = z G(v), v = z^2
    if v == 0:
        return 1 / mp.pi
    z = mp.sqrt(v)
    return mp.atan(z) / (z * mp.pi)


def atan_h(v):  # atan(z)/pi = z/pi + z v H(v), v = z^2
    if v == 0:
        return -1 / (3 * mp.pi)
    z = mp.sqrt(v)
    return (mp.atan(z) / (z * mp.pi) - 1 / mp.pi) / v


# The float sine and cosine on the grid 1/32: sin(pi r)/r and cos(pi r) in w = r^2, three
# coefficients each, as the design gives them; measured here on |r| <= 1/64 with the margin
# of a directed rounding of the reduction (one step of 2^-10).
SINPIF_POLY = [0x400921FB54442AB3, 0xC014ABBCE4CC961A, 0x400466495999BF96]
COSPIF_POLY = [0x3FEFFFFFFFFFEAA3, 0xC013BD3CC6BD377B, 0x40103B9EDA65280A]


def sinpi_over_r(w):
    if w == 0:
        return mp.pi
    r = mp.sqrt(w)
    return mp.sin(mp.pi * r) / r


def cospi_w(w):
    return mp.cos(mp.pi * mp.sqrt(w))


# tanpi: tan(pi r) = pi r + r w U(w), w = r^2, |r| <= 1/256 (and the margin of the
# reduction's rounding); the design's three words for U, measured here.
TANPI_POLY = [0x4024ABBCE625BF99, 0x404466BC65DE2DB1, 0x406460A2990A046E]


def tanpi_u(w):
    if w == 0:
        return mp.pi ** 3 / 3
    r = mp.sqrt(w)
    return (mp.tan(mp.pi * r) - mp.pi * r) / (r * w)


# atanpi's rows by the count of thresholds its high word exceeds: grid point c, whether
# the row keeps a (mask all ones) or takes -1/a, and T = atan(c)/pi; the design's T words.
ATANPI_ROWS = [(mpf(0), True, None), (mpf(1) / 2, True, (0x3FC2E4051D9DF308, 0x3C6995A23DB6B8D4)),
               (mpf(1), True, None), (mpf(3) / 2, True, (0x3FD40574872217AF, 0xBC703AC36994C04E)),
               (mpf(1), False, None)]
ATANPI_SERIES = [0x3F8BE4FBE6733718, 0xBFA04CD71F92185E, 0x3FA6AD5558FE19C9, 0xBFAA9E755CA13D23,
                 0x3FAE12F1EDF7C393, 0xBFB1108D326C68ED, 0x3FB3B132B731E73A, 0xBFB745D119677A4F,
                 0x3FBC71C719F99F96, 0xBFC2492492441A21, 0x3FC9999999998F43, 0xBFD5555555555552]


def main():
    out = [g.header(SCRIPT), '#include "elementary/pi_data.h"', "", "namespace tsr::pi {", ""]
    # pi and 1/pi in two parts; 1/pi's 25-bit head, whose products with 27-bit heads are exact.
    pi_h, pi_l = split(mp.pi)
    ip_h, ip_l = split(1 / mp.pi)
    ip25 = g.to_format(g.round_bits(1 / mp.pi, 25), g.BINARY64)
    ip25_l = g.to_format(1 / mp.pi - ip25, g.BINARY64)
    assert (bits(ip25), bits(ip25_l), bits(ip_h)) == (0x3FD45F3070000000, 0xBE21B1BBEAD603D9,
                                                      0x3FD45F306DC9C883), "1/pi pieces"
    out += ["const double pi_hilo[2] = {%s, %s};      // pi, head and rest" % (d(pi_h), d(pi_l)),
            "const double inv_pi_hilo[2] = {%s, %s};  // 1/pi, head and rest" % (d(ip_h), d(ip_l)),
            "const double inv_pi_short[2] = {%s, %s};  // 1/pi: 25-bit head, rest" % (d(ip25), d(ip25_l)),
            ""]
    # The rows of pi j/64, j = 0 .. 63: sin, cos, pi sin, pi cos, each in two parts.
    rows = []
    for j in range(64):
        a = mp.pi * j / 64
        s, c = (mpf(0), mpf(1)) if j == 0 else ((mpf(1), mpf(0)) if j == 32 else (mp.sin(a), mp.cos(a)))
        parts = split(s) + split(c) + split(mp.pi * s) + split(mp.pi * c)
        rows.append("{%s}" % ", ".join(d(v) for v in parts))
    out += g.c_array("const PiRow pi_rows64[64]", rows, 1,
                     "Row j: sin(pi j/64), cos(pi j/64), pi sin, pi cos, each as hi, lo (rows 0 and 32\n"
                     "exact: 0 and 1)") + [""]
    # The series of sin(pi r), cos(pi r) on |r| <= 1/128.
    A = g.remez(sin_a, 0, R_MAX ** 2, 3)
    B = g.remez(cos_b, 0, R_MAX ** 2, 3)
    out += ["// sin(pi r) = pi r (1 + w A(w)), w = r^2: A " + A.comment(SCRIPT, "(sin(pi r)/(pi r) - 1)/w in w"),
            "const double sinpi_poly[4] = {%s};" % ", ".join(d(v) for v in A.coeffs),
            "// cos(pi r) = 1 + w B(w): B " + B.comment(SCRIPT, "(cos(pi r) - 1)/w in w"),
            "const double cospi_poly[4] = {%s};" % ", ".join(d(v) for v in B.coeffs), ""]
    assert A.err < mpf(2) ** -52 and B.err < mpf(2) ** -52
    # atanpi's rows: the design's words checked against atan(c)/pi.
    arows = []
    for c, keep, want in ATANPI_ROWS:
        t = mp.atan(c) / mp.pi if keep else mpf(1) / 2
        th, tl = split(t)
        if want:
            assert (bits(th), bits(tl)) == want, "atanpi row %s" % c
        arows.append("{%s, %s, %s, %s}" % (d(c), "~0ull" if keep else "0", d(th), d(tl)))
    out += g.c_array("const AtanpiRow atanpi_rows[5]", arows, 1,
                     "atanpi: c, mask, atan(c)/pi (hi, lo) by the count of thresholds 0.4375, 0.6875,\n"
                     "1.1875, 2.4375 the argument exceeds; the last row takes -1/a with 1/2") + [""]
    # atanpi's series.  The design writes atan(z)/z - 1 = v P(v) with twelve coefficients; at z
    # near 0.4375 the cubic term is 6% of the result, and the roundings of P (the design's words
    # measure 2^-50.7 of P, a fit's are limited to 2^-53.8 by their own rounding) and of its
    # products cost 0.1 ulp there.  So the cubic term is taken apart, exact: -z^3/(3 pi) with
    # the constant in two parts, and the rest atan(z)/z - 1 + v/3 = v^2 Q(v) is fitted here, the
    # design's words kept as the measured reference.
    vmax = (mpf(7) / 16 * (1 + mpf(2) ** -19)) ** 2
    design = g.evaluate(list(reversed(ATANPI_SERIES)), atan_p, 0, vmax)
    Q = g.remez(atan_q, 0, vmax, 11)
    k_h, k_l = split(-1 / (3 * mp.pi))
    kh26 = g.to_format(g.round_bits(k_h, 26), g.BINARY64)
    out += ["// atanpi: atan(z)/z = 1 - v/3 + v^2 Q(v), v = z^2: Q " + Q.comment(SCRIPT, "(atan(z)/z - 1 + v/3)/v^2 in v"),
            "// (the design's twelve coefficients for (atan(z)/z - 1)/v give 2^%.2f of theirs)" % design.err_log2(),
            "const double atanpi_series[12] = {%s};" % ", ".join(d(v) for v in Q.coeffs),
            "const double atanpi_third[2] = {%s, %s};  // -1/(3 pi), head and rest" % (d(k_h), d(k_l)),
            "// The head's Veltkamp halves (26 bits and the rest), for Dekker's product without a split"
            "\n// of the constant at run time (a split raises inexact even against a zero).",
            "const double atanpi_third_halves[2] = {%s, %s};" % (d(kh26), d(k_h - kh26)), ""]
    # asinpi, acospi: s in [0, 1/2] (|x| itself, or sqrt((1 - |x|)/2) for the upper half), v =
    # s^2 in [0, 1/4] with the margin of a rounded square.  The double forms keep s/pi and the
    # cubic term s v/(6 pi) in two parts and fit the rest; the float forms one polynomial.
    vmax = mpf(1) / 4 * (1 + mpf(2) ** -40)
    R = g.remez(asin_r, 0, vmax, 13)
    F = g.remez(asin_f, 0, vmax, 8)
    c6_h, c6_l = split(1 / (6 * mp.pi))
    assert R.err < mpf(2) ** -53.5 and F.err < mpf(2) ** -39.5
    out += ["// asinpi: asin(s)/pi = s/pi + s v/(6 pi) + s v^2 R(v), v = s^2: R " +
            R.comment(SCRIPT, "(asin(s)/(s pi) - 1/pi - v/(6 pi))/v^2 in v"),
            "const double asinpi_series[14] = {%s};" % ", ".join(d(v) for v in R.coeffs),
            "const double asinpi_sixth[2] = {%s, %s};  // 1/(6 pi), head and rest" % (d(c6_h), d(c6_l)),
            "// asinpif, acospif: asin(s)/pi = s F(v): F " + F.comment(SCRIPT, "asin(s)/(s pi) in v"),
            "const double asinpif_series[9] = {%s};" % ", ".join(d(v) for v in F.coeffs), ""]
    # atanpif, atan2pif: z = (y - c x)/(x + c y) with c = 0, 1 or the complement -x/y, so that
    # |z| <= tan(pi/8) = sqrt(2) - 1 (the margin of the rounded quotient and threshold).
    tmax = (mp.sqrt(2) - 1) ** 2 * (1 + mpf(2) ** -20)
    G = g.remez(atan_f, 0, tmax, 7)
    assert G.err < mpf(2) ** -40
    out += ["// atanpif, atan2pif: atan(z)/pi = z G(v), v = z^2: G " + G.comment(SCRIPT, "atan(z)/(z pi) in v"),
            "const double atanpif_series[8] = {%s};" % ", ".join(d(v) for v in G.coeffs), ""]
    # atan2pi: the grid points c of 5 mantissa bits and a midpoint, 2^-6 <= c < 2^6 (row i: the
    # bits of 2^-6 plus i << 47, with bit 46 set); atan(c)/pi for x > 0, atan(c)/pi - 1 for x < 0.
    first, second = [], []
    for i in range(384):
        c = word(0x3F90000000000000 + (i << 47) + (1 << 46))
        t = mp.atan(c) / mp.pi
        first.append("{%s, %s}" % tuple(d(v) for v in split(t)))
        second.append("{%s, %s}" % tuple(d(v) for v in split(t - 1)))
    out += g.c_array("const double atan2pi_rows[768][2]", first + second, 2,
                     "atan2pi: atan(c)/pi (hi, lo) at the grid points c of 5 mantissa bits and the midpoint,\n"
                     "2^-6 to 2^6, row (bits of c >> 47) - (bits of 2^-6 >> 47); then atan(c)/pi - 1") + [""]
    # The rest z = (q - c)/(1 + q c): |z| <= 2^-7 (a sixty-fourth of c over 1 + c^2), and the
    # quotient below the grid, |q| < 2^-6; both with the margin of a 12-bit quotient estimate.
    hmax = mpf(2) ** -12 * (1 + mpf(2) ** -6)
    H = g.remez(atan_h, 0, hmax, 4)
    assert H.err < mpf(2) ** -45
    out += ["// atan2pi: atan(z)/pi = z/pi + z v H(v), v = z^2: H " + H.comment(SCRIPT, "(atan(z)/(z pi) - 1/pi)/v in v"),
            "const double atan2pi_series[5] = {%s};" % ", ".join(d(v) for v in H.coeffs), ""]
    wmax = (mpf(1) / 64 + mpf(2) ** -10) ** 2
    sf = g.evaluate(SINPIF_POLY, sinpi_over_r, 0, wmax)
    cf = g.evaluate(COSPIF_POLY, cospi_w, 0, wmax)
    assert sf.err < mpf(2) ** -34 and cf.err < mpf(2) ** -34
    out += ["// sinpif, cospif on the grid 1/32: sin(pi r) = r S(w), cos(pi r) = C(w), w = r^2,",
            "// |r| <= 1/64 + 2^-10: max relative error of S 2^%.2f, of C 2^%.2f (measured by tools/gen/%s)"
            % (sf.err_log2(), cf.err_log2(), SCRIPT),
            "const double sinpif_poly[3] = {%s};" % ", ".join(d(word(b)) for b in SINPIF_POLY),
            "const double cospif_poly[3] = {%s};" % ", ".join(d(word(b)) for b in COSPIF_POLY), ""]
    # tanpi's rows: tan(pi j/128), j = 0 .. 63, in two parts; the design's row 1 checked.
    trows = []
    for j in range(64):
        th, tl = split(mp.tan(mp.pi * j / 128)) if j else (mpf(0), mpf(0))
        if j == 1:
            assert (bits(th), bits(tl)) == (0x3F992346247A91F0, 0xBBF13B5915A8E316), "tanpi row 1"
        trows.append("{%s, %s}" % (d(th), d(tl)))
    out += g.c_array("const double tanpi_rows[64][2]", trows, 2,
                     "tanpi: tan(pi j/128), j = 0 .. 63, hi and lo (row 32 exact: 1)") + [""]
    umax = (mpf(1) / 256 * (1 + mpf(2) ** -20)) ** 2
    U = g.evaluate(TANPI_POLY, tanpi_u, 0, umax)
    assert U.err < mpf(2) ** -20
    out += ["// tanpi: tan(pi r) = pi r + r w U(w), w = r^2, |r| <= 1/256: U " + U.comment(SCRIPT, "(tan(pi r) - pi r)/(r w) in w"),
            "// (r w U is below 2^-14 of pi r: U's error reaches 2^-58 of tan(pi r))",
            "const double tanpi_poly[3] = {%s};" % ", ".join(d(word(b)) for b in TANPI_POLY), ""]
    out += ["}  // namespace tsr::pi"]
    g.write_outputs({"elementary/pi_data.cpp": "\n".join(out) + "\n"})


if __name__ == "__main__":
    main()
