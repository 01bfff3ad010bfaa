#!/usr/bin/env python3
"""Generates elementary/invtrig_data.cpp: the tables and polynomials of the inverse
trigonometric functions.

Every value is computed at 200 bits with mpmath and rounded to double once (a low part is the
rest of the value after its rounded head, rounded again).  The polynomials carried over as
fixed words are measured here against the function they stand for; the per-row polynomials of
the arcsine are fitted here.  Run: python3 tools/gen/invtrig_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 200
SCRIPT = "invtrig_tables.py"


def d(x):
    return g.hexfloat(x, g.BINARY64)


def f(x):
    return g.hexfloat(x, g.BINARY32)


def split(v):
    hi = g.to_format(v, g.BINARY64)
    return hi, g.to_format(v - hi, g.BINARY64)


def word(b):
    return g.from_bits(b, g.BINARY64)


# ---- atan grids -------------------------------------------------------------------------
def atan16_c(i):
    """Row i of the 4-bit grid: top 16 bits 0x3f9f + i, then the midpoint bit 47."""
    return word(((0x3F9F + i) << 48) | (1 << 47))


def atan32_c(i):
    """Row i of the 5-bit grid: the top 17 bits (0x7f20 + i) << 47, then the midpoint bit 46."""
    return word(((0x7F20 + i) << 47) | (1 << 46))


def pair_rows(values):
    rows = []
    for v in values:
        hi, lo = split(v)
        rows.append("{%s, %s}" % (d(hi), d(lo)))
    return rows


# ---- the arcsine grid of tier ex ---------------------------------------------------------------
ARC_ROWS = 239  # 0.0625 <= c < 0.8671875: |x| of the table regime, and the roots sqrt(1 - x^2) of the next


def arc_c(i):
    """Row i: c has the exponent 0x3fb + i/64, 6 mantissa bits i%64 and the midpoint bit 45."""
    return word(((0x3FB + i // 64) << 52) | ((i % 64) << 46) | (1 << 45))


def arc_pair(v):
    """v as a head of 45 significant bits, cut toward zero, and the rest rounded to double."""
    hb = g.to_bits(g.to_format(v, g.BINARY64, "zero"), g.BINARY64)
    hi = g.from_bits(hb & ~0xFF, g.BINARY64)
    return hi, g.to_format(v - hi, g.BINARY64)


# ---- the arcsine grid of the float tier e7 ---------------------------------------------------
ARCF_ROWS = 127  # binades 2^-6 .. 2^-1 with 1 .. 6 mantissa bits (2 + 4 + ... + 64), then c = 1


def arcf_c(i):
    """Row i: in binade k = 0..5 (from 2^-6) the grid has k + 1 mantissa bits and starts at row
    2^(k+1) - 2; the last row is c = 1, where rounding up out of the top binade lands."""
    k = 0
    while i >= 2 ** (k + 2) - 2 and k < 6:
        k += 1
    if k == 6:
        return mpf(1)
    j = i - (2 ** (k + 1) - 2)
    return mpf(2) ** (k - 6) * (1 + mpf(j) / 2 ** (k + 1))


# ---- the arcsine rows on j/64 ---------------------------------------------------------------
ARC_HALF = mpf(1) / 128 * mpf("1.08")  # |t| reach: half a step and the row estimate's margin


def arc_g(j):
    if j == 0:
        return mpf(1)
    s0 = mpf(j) / 64
    return mp.asin(s0) / s0


def arc_fit(j):
    """G(t), degree 7, with s (g + t G(t)) = asin(s), s = j/64 + t: interpolation at the
    Chebyshev nodes of [-h, h] (near minimax), then the measured error of G times h s/asin s,
    what the rounded coefficients leave in asin(s) relative."""
    s0, gv = mpf(j) / 64, arc_g(j)

    def G(t):
        s = s0 + t
        if j == 0:
            return (mp.asin(t) - t) / (t * t)
        return (mp.asin(s) - s * gv) / (s * t)

    n = 8
    nodes = [ARC_HALF * mp.cos(mp.pi * (2 * k + 1) / (2 * n)) for k in range(n)]
    A = mp.matrix([[x ** k for k in range(n)] for x in nodes])
    c = mp.lu_solve(A, mp.matrix([G(x) for x in nodes]))
    # Row 0 is odd in t: its even coefficients are zero but for the solver's noise.
    c = [mpf(0) if j == 0 and k % 2 == 0 else g.to_format(c[k], g.BINARY64) for k in range(n)]
    worst = mpf(0)
    lo = -ARC_HALF if j else mpf(2) ** -30
    for i in range(241):
        t = lo + (ARC_HALF - lo) * i / 240
        if t == 0:
            continue
        s = s0 + t
        p = mp.polyval(c[::-1], t)
        worst = max(worst, abs((G(t) - p) * s * t / mp.asin(s)))
    return c, worst


# ---- fixed polynomials, measured ------------------------------------------------------------
def measure(words, fn, a, b, relative=True):
    return g.evaluate(words, fn, a, b, relative=relative)


def atan_rest(z):
    """(atan z - z)/z^3, the odd rest after the linear term, in v = z^2 through z."""
    return (mp.atan(z) - z) / z ** 3 if z else mpf(-1) / 3


def main():
    out = [
        g.header(SCRIPT),
        "// Tables of the inverse trigonometric functions: atan and asin of grid points in two",
        "// parts, and the polynomials of the arcsine rows.",
        '#include "elementary/invtrig_data.h"',
        "",
        "namespace tsr::invtrig {",
        "",
    ]
    # Printed rows this generator must reproduce.
    r0 = split(mp.atan(atan32_c(0)))
    assert g.to_bits(r0[0], g.BINARY64) == 0x3F903FA69E0A67D7
    h1 = split(arc_g(1))
    assert g.to_bits(h1[0], g.BINARY64) == 0x3FF0002AABDDE94C
    # The tail printed beside that head, 0x3c7130cd2840f0d5, agrees with asin(1/64)*64 to
    # 2^-83 only; the row here is the correctly rounded tail.
    assert abs(h1[0] + word(0x3C7130CD2840F0D5) - arc_g(1)) < mpf(2) ** -82

    out += g.c_array("const HiLo atan16[161]", pair_rows(mp.atan(atan16_c(i)) for i in range(161)), 2,
                     "atan(c), c = top 16 bits (sign, exponent, 4 mantissa bits) 0x3f9f + i with bit 47 set:\n"
                     "the grid of 2^-5 <= |x| < 32 in rows 1..160.")
    out += [""]
    out += g.c_array("const HiLo atan32[385]", pair_rows(mp.atan(atan32_c(i)) for i in range(385)), 2,
                     "atan(c), c = top 17 bits (0x7f20 + i) << 47 with bit 46 set: the grid of\n"
                     "2^-6 <= |x| < 2^6 with 5 mantissa bits and the midpoint.")
    out += [""]
    out += g.c_array("const HiLo atan32_pi[385]",
                     pair_rows(mp.atan(atan32_c(i)) - mp.pi for i in range(385)), 2,
                     "atan(c) - pi on the same grid: x < 0 in atan2, where the signs turn it into pi - atan(c).")
    out += [""]
    c0 = arc_c(0)
    assert g.to_format(mp.sqrt(1 - c0 * c0), g.BINARY64) == g.to_format(mpf("0.99801426664410509"), g.BINARY64)
    assert g.to_bits(arc_pair(mp.asin(c0))[1], g.BINARY64) == 0x3CE4FACCE3DDA158
    out += g.c_array("const double arc_cc[%d]" % ARC_ROWS,
                     [d(g.to_format(mp.sqrt(1 - arc_c(i) ** 2), g.BINARY64)) for i in range(ARC_ROWS)], 3,
                     "sqrt(1 - c^2), c = 2^(i/64 - 4) (1 + (i % 64)/64 + 1/128): the grid of 6 mantissa bits and the\n"
                     "midpoint from 0.0625, row ((top 20 bits & 0xfffc) - 0xfb00)/4.")
    out += [""]
    out += g.c_array("const HiLo arc_asin[%d]" % ARC_ROWS,
                     ["{%s, %s}" % tuple(d(v) for v in arc_pair(mp.asin(arc_c(i)))) for i in range(ARC_ROWS)], 2,
                     "asin(c) in two parts on the same grid, the head cut to 45 bits (toward zero): a multiple of\n"
                     "2^-48, so that pi/2 or pi plus or minus it is exact.")
    out += [""]
    arcf = []
    for i in range(ARCF_ROWS):
        c = arcf_c(i)
        assert g.to_format(c, g.BINARY32) == c  # a float
        arcf.append("{%s, %s}" % (d(g.to_format(mp.asin(c), g.BINARY64)), d(g.to_format(mp.sqrt(1 - c * c), g.BINARY64))))
    out += g.c_array("const ArcRow arcf_rows[%d]" % ARCF_ROWS, arcf, 2,
                     "asin(c) and sqrt(1 - c^2), each rounded to double, c on the float grid of 2^-6 <= |x| < 1 that\n"
                     "keeps k + 1 mantissa bits in the binade 2^(k-6) (k = 0..5), rows 2^(k+1) - 2 on; row 126 is c = 1.")
    out += [""]
    heads, polys, errs = [], [], []
    for j in range(46):
        hi, lo = split(arc_g(j))
        heads.append("{%s, %s}" % (d(hi), d(lo)))
        c, e = arc_fit(j)
        errs.append(e)
        polys.append("{" + ", ".join(d(v) for v in c) + "}")
    worst = max(errs)
    out += g.c_array("const HiLo arc_head46[46]", heads, 2,
                     "g = asin(j/64)/(j/64) in two parts (g = 1 in row 0).")
    out += [""]
    out += g.c_array("const double arc_poly46[46][8]", polys, 1,
                     "G0..G7 of row j: s (g + t G(t)) = asin(s) at s = j/64 + t, |t| <= 1.08/128;\n"
                     "interval [-0x1.14p-7, 0x1.14p-7], degree 7, max error of the term s t G(t)\n"
                     "relative to asin(s) 2^%.2f (worst row), measured by tools/gen/%s."
                     % (float(mp.log(worst, 2)), SCRIPT))
    out += [""]

    # atan, tiers ex/e7: z v (a v + b)((c + v) v + e), |z| <= 2^-5.9 after the 4-bit grid.
    fa = lambda z: mp.atan(z)
    a16, b16, c16, e16w = 0x3FBC638F779524C9, 0xBFC4BEB38C93153F, 0x3FC62D29E534FA10, 0x4000742DA8A97A2D
    A, B, C, E = (word(w) for w in (a16, b16, c16, e16w))
    # expanded: z^3 (A v + B)(v^2 + C v + E) = z^3 (B E + (A E + B C) v + (A C + B) v^2 + A v^3)
    ex_words = [0, 1, 0, B * E, 0, A * E + B * C, 0, A * C + B, 0, A]
    ex_err = g.measure([mpf(x) for x in ex_words], fa, mpf(2) ** -40, mpf(2) ** -5)
    out += ["// atan, 4-bit grid (tiers ex, e7): atan(z) = z + z v (A v + B)((C + v) v + E), v = z^2;",
            "// interval [2^-40, 2^-5], degree 9, max relative error 2^%.2f (tools/gen/%s)."
            % (float(mp.log(ex_err[0], 2)), SCRIPT),
            "const double atan16_poly[4] = {%s, %s, %s, %s};" % tuple(d(v) for v in (A, B, C, E)), ""]
    # atan, tiers l9, z0, d1: z + z v ((P2 v + P1) v + P0), |z| <= 2^-7 on the 5-bit grid.
    P = [word(w) for w in (0xBFD55555555538E7, 0x3FC9999987D442D7, 0xBFC2475D97497F9D)]
    l9_err = g.measure([0, 1, 0, P[0], 0, P[1], 0, P[2]], fa, mpf(2) ** -40, mpf(2) ** -6.9)
    tiny = word(0xBC4C6E2483BF3F66)
    small_err = g.measure([0, 1 + tiny, 0, P[0], 0, P[1], 0, P[2]], fa, mpf(2) ** -28, mpf(2) ** -6)
    out += ["// atan, 5-bit grid (tiers l9, z0, d1): atan(z) = z + z v ((P2 v + P1) v + P0), v = z^2;",
            "// interval [2^-40, 2^-6.9], degree 7, max relative error 2^%.2f; with x (1 + D) for the"
            % float(mp.log(l9_err[0], 2)),
            "// linear term on [2^-28, 2^-6] (no grid), max relative error 2^%.2f (tools/gen/%s)."
            % (float(mp.log(small_err[0], 2)), SCRIPT),
            "const double atan32_poly[3] = {%s, %s, %s};" % tuple(d(v) for v in P),
            "const double atan32_tiny = %s;  // D" % d(tiny), ""]
    # acos, asin below 2^-9: asin x = x + x^3 (c1 + c2 x^2).
    sm = [word(w) for w in (0x3FC55555555450F9, 0x3FB3333CD7C9F23A)]
    sm_err = g.measure([0, 1, 0, sm[0], 0, sm[1]], lambda t: mp.asin(t), mpf(2) ** -28, mpf(2) ** -9)
    out += ["// acos, asin below the rows: asin x = x + x^3 (c1 + c2 x^2); interval [2^-28, 2^-9], degree 5,",
            "// max relative error 2^%.2f (tools/gen/%s)." % (float(mp.log(sm_err[0], 2)), SCRIPT),
            "const double asin_small[2] = {%s, %s};" % (d(sm[0]), d(sm[1])), ""]
    # asinf/acosf: S(t) = t (v A(v) + w B(v)), w = t^2, v = w^2, |t| <= 1/2.
    Aw = [word(w) for w in (0x3FB333334FA3BC7B, 0x3F9F20D05290AC8C, 0x3F93D64DB5DC5888, 0x3F9E3BE5A6220783)]
    Bw = [word(w) for w in (0x3FC55555554DFEA4, 0x3FA6DB5B9E7BE0CC, 0x3F96A6F2ECC3FECB, 0x3F758206A9336E0B)]
    coeffs = [0, 1]
    for k in range(4):
        coeffs += [0, Bw[k], 0, Aw[k]]
    s_err = g.measure(coeffs, lambda t: mp.asin(t), mpf(2) ** -30, mpf(1) / 2)
    out += ["// asinf, acosf: asin(t) = t + t (v A(v) + w B(v)), w = t^2, v = w^2, A and B of degree 3",
            "// (A0..A3, B0..B3); interval [2^-30, 0.5], degree 17, max relative error 2^%.2f"
            % float(mp.log(s_err[0], 2)),
            "// (tools/gen/%s)." % SCRIPT,
            "const double asinf_poly_a[4] = {%s, %s, %s, %s};" % tuple(d(v) for v in Aw),
            "const double asinf_poly_b[4] = {%s, %s, %s, %s};" % tuple(d(v) for v in Bw), ""]
    # asinf, acosf tier l9: asin(t) = t Q(t^2), Q of degree 7 with fixed words for the whole of
    # |t| <= 1/2, the lanes c1 + c3 v + c5 v^2 + c7 v^3 and c9 + c11 v + c13 v^2 + c15 v^3.
    Qw = [word(w) for w in (0x3FEFFFFFFFFDECD3, 0x3FC55555658C07BF, 0x3FB33328D4D97D2E, 0x3FA6DDF13D1035C5,
                            0x3F9ED07DE3445470, 0x3F994DFC1C552BDA, 0x3F7D96B51B611AC5, 0x3FA1E52C7FF0C2B4)]
    qc = [0]
    for k in Qw:
        qc += [k, 0]
    q_err = g.measure(qc, lambda t: mp.asin(t), mpf(2) ** -30, mpf(1) / 2)
    out += ["// asinf, acosf tier l9: asin(t) = t Q(t^2), Q(v) = (c1 + c3 v + c5 v^2 + c7 v^3) +",
            "// v^4 (c9 + c11 v + c13 v^2 + c15 v^3); interval [2^-30, 0.5], degree 15, max relative error",
            "// 2^%.2f (tools/gen/%s)." % (float(mp.log(q_err[0], 2)), SCRIPT),
            "const double asinf_q[8] = {%s};" % ", ".join(d(v) for v in Qw), ""]
    # atanf, atan2f in double: atan(z) = z + z^3 (Q0 + Q1 z^2), |z| <= 2^-5 (the grid and below it).
    q = g.remez(lambda z: mp.atan(z), mpf(2) ** -30, mpf(2) ** -5, 5, relative=True,
                fixed={1: 1}, parity="odd")
    out += ["// atanf, atan2f (double arithmetic on the grids above): atan(z) = z + z^3 (Q0 + Q1 z^2);",
            "// " + q.comment(SCRIPT, "atan"),
            "const double atanf_poly[2] = {%s, %s};" % (d(q.coeffs[3]), d(q.coeffs[5])), ""]
    # atan2f tier ex, by octants: atan(r) = r + r (E(v) + F(v) w), w = r^2, v = w^2, |r| <= 1/2
    # (the operands a binade apart or more), and pi/4 + atan(q), |q| <= 1/3 (within a binade).
    Ew = [word(w) for w in (0x3F9A8EB6A1FBC9D9, 0x3FB32474713E98D0, 0x3FBC70D3A367EFD7, 0x3FC999998EAC5238)]
    Fw = [word(w) for w in (0xBFAC6C7395B6793B, 0xBFB73640306EBB4B, 0xBFC24920E2EB2ECE, 0xBFD555555552ABFF)]
    oc = [0, 1, 0, Fw[3], 0, Ew[3], 0, Fw[2], 0, Ew[2], 0, Fw[1], 0, Ew[1], 0, Fw[0], 0, Ew[0]]
    o_err = g.measure(oc, fa, mpf(2) ** -30, mpf(1) / 2)
    Gw = [word(w) for w in (0xBFB1C1C0D9D9AA33, 0xBFC2448504BA093E, 0xBFD55555312DD43C, 0x3FBBCBEB947E6EDC,
                            0x3FC9997B700FA0B3, 0x3FEFFFFFFFF8F7DB)]
    qc2 = [0, Gw[5], 0, Gw[2], 0, Gw[4], 0, Gw[1], 0, Gw[3], 0, Gw[0]]
    q2_err = g.measure(qc2, fa, mpf(2) ** -30, mpf(1) / 3, relative=False)
    out += ["// atan2f tier ex: atan(r) = r + r (E(v) + F(v) w), w = r^2, v = w^2, E(v) = (((E0 v + E1) v + E2) v",
            "// + E3) v, F(v) = ((F0 v + F1) v + F2) v + F3; interval [2^-30, 1/2], degree 17, max relative",
            "// error 2^%.2f (tools/gen/%s)." % (float(mp.log(o_err[0], 2)), SCRIPT),
            "const double atan2f_e[4] = {%s};" % ", ".join(d(v) for v in Ew),
            "const double atan2f_f[4] = {%s};" % ", ".join(d(v) for v in Fw),
            "// Within a binade: atan(q) = ((G0 v + G1) v + G2) q^3 + ((G3 v + G4) v + G5) q, v = q^4;",
            "// interval [2^-30, 1/3], degree 11, max absolute error 2^%.2f (tools/gen/%s)."
            % (float(mp.log(q2_err[0], 2)), SCRIPT),
            "const double atan2f_g[6] = {%s};" % ", ".join(d(v) for v in Gw), ""]
    # The atan2 kernel in double-double: atan(z) = z + z^3 (K0 + K1 v + ... + K6 v^6), |z| <= 2^-6.9.
    K = [mpf(-1) / 3] + [word(w) for w in (0x3FC99999999991BB, 0xBFC2492492382A27, 0x3FBC71C6F9B157D3,
                                            0xBFB745BE69CCA475, 0x3FB3AB7C1048AFD1, 0xBFB029BD34239994)]
    kc = [0, 1]
    for k in K:
        kc += [0, k]
    k_err = g.measure(kc, fa, mpf(2) ** -40, mpf(2) ** -5)
    out += ["// The atan2 kernel's series: atan(z) = z + z^3 (K0 + K1 v + ... + K6 v^6), v = z^2, K0 = -1/3",
            "// taken in two parts; interval [2^-40, 2^-5], degree 15, max relative error 2^%.2f"
            % float(mp.log(k_err[0], 2)),
            "// (tools/gen/%s)." % SCRIPT,
            "const double k64_third[2] = {%s, %s};  // -1/3 in two parts" % (d(split(K[0])[0]), d(split(K[0])[1])),
            "const double k64_poly[6] = {%s};" % ", ".join(d(v) for v in K[1:]), ""]
    out += ["}  // namespace tsr::invtrig"]
    g.write_outputs({"elementary/invtrig_data.cpp": "\n".join(out) + "\n"})


if __name__ == "__main__":
    main()
