#!/usr/bin/env python3
"""Generates elementary/trig_data.cpp: the tables behind sine, cosine and tangent.

Every value is computed at 400 bits with mpmath and then rounded or cut by the rule of its
table; the rows the design fixes by their digits are checked against the computed ones.
Expansions of tan around a row's centre come from exact power-series arithmetic (no
numerical differentiation); the fitted float rows come from tsrgen's Remez exchange.
Run: python3 tools/gen/trig_tables.py [--out DIR]
"""
from fractions import Fraction

from mpmath import mp, mpf, pi, sin, cos, tan, cot, log, chebyfit, polyval

import tsrgen as g

mp.prec = 400
SCRIPT = "trig_tables.py"


def d(x):
    return g.hexfloat(x, g.BINARY64)


def dv(x):
    """x rounded to double, as an mpf."""
    return g.to_mpf(g.exact(g.to_format(x, g.BINARY64)))


def bits(x):
    return g.to_bits(x, g.BINARY64)


def check(name, got, want):
    if got != want:
        raise SystemExit("%s: computed %#018x, expected %#018x" % (name, got, want))


def cut_bits(x, k):
    """x rounded to k significant bits (nearest), as an mpf."""
    return g.to_mpf(g.exact(g.round_bits(g.exact(x), k)))


# ---- bits of 2/pi --------------------------------------------------------------------------
def twoopi_words():
    """Two zero words, then 44 words of the binary expansion of 2/pi after the point."""
    with mp.workprec(44 * 32 + 64):
        v = int(mp.floor((2 / mp.pi) * mpf(2) ** (44 * 32)))
    words = [0, 0] + [(v >> (32 * (43 - i))) & 0xffffffff for i in range(44)]
    for i, w in enumerate((0xa2f9836e, 0x4e441529, 0xfc2757d1, 0xf534ddc0, 0xdb629599,
                           0x3c439041, 0xfe5163ab, 0xdebbc561)):
        check("twoopi_words[%d]" % (i + 2), words[i + 2], w)
    return words


# ---- power series (lists of mpf, index = power) -----------------------------------------------
N = 24


def s_mul(a, b):
    c = [mpf(0)] * N
    for i, x in enumerate(a):
        if x:
            for j in range(N - i):
                c[i + j] += x * b[j]
    return c


def s_inv(a):
    """1/a for a[0] != 0."""
    c = [mpf(0)] * N
    c[0] = 1 / a[0]
    for n in range(1, N):
        c[n] = -sum(a[k] * c[n - k] for k in range(1, n + 1)) / a[0]
    return c


def s_sin_cos():
    s = [mpf(0)] * N
    c = [mpf(0)] * N
    f = mpf(1)
    for n in range(N):
        if n:
            f *= n
        if n % 2:
            s[n] = (-1) ** (n // 2) / f
        else:
            c[n] = (-1) ** (n // 2) / f
    return s, c


def s_tan_at(a):
    """Series in r of tan(a + r)."""
    s, c = s_sin_cos()
    sa, ca = sin(a), cos(a)
    num = [sa * cc + ca * ss for ss, cc in zip(s, c)]   # sin(a + r)
    den = [ca * cc - sa * ss for ss, cc in zip(s, c)]   # cos(a + r)
    return s_mul(num, s_inv(den))


def s_recip_lin(d0):
    """Series in r of 1/(d0 + r)."""
    return [(-1) ** k / d0 ** (k + 1) for k in range(N)]


def s_lin(a0):
    v = [mpf(0)] * N
    v[0], v[1] = a0, mpf(1)
    return v


# ---- sine and cosine tables ------------------------------------------------------------------
def chi64(j):
    """The short cosine head of row j of sincos_rows64: zero or a power of two, so that
    Chi·r is exact; it carries the cosine's sign."""
    m = j % 32
    mag = {True: 1.0}
    k = m if m <= 16 else 32 - m
    if k <= 7:
        v = 1.0
    elif k <= 12:
        v = 0.5
    elif k <= 14:
        v = 0.25
    elif k == 15:
        v = 0.125
    else:
        v = 0.0
    return mpf(v) if cos(j * pi / 32) >= 0 else -mpf(v)


def sincos_rows64():
    rows, vals = [], []
    for j in range(64):
        a = j * pi / 32
        s, c = sin(a), cos(a)
        if j in (0, 32):
            s = mpf(0)
        if j in (16, 48):
            c = mpf(0)
        chi = chi64(j)
        shi = dv(s)
        slo = cut_bits(s - shi, 24) if s != shi else mpf(0)
        c0 = dv(c - chi)
        vals.append((c0, shi, slo, chi))
        rows.append("{%s, %s, %s, %s}" % (d(c0), d(shi), d(slo), d(chi)))
    check("sincos_rows64[1].C0", bits(vals[1][0]), 0xbf73b92e176d6d31)
    check("sincos_rows64[1].Shi", bits(vals[1][1]), 0x3fb917a6bc29b42c)
    check("sincos_rows64[1].Slo", bits(vals[1][2]), 0xbc3e2718e0000000)
    check("sincos_rows64[16].Shi", bits(vals[16][1]), 0x3ff0000000000000)
    return rows, vals


def sincos_pairs(vals):
    """Each column of sincos_rows64 as a pair (row j, row j + 16)."""
    rows = []
    for j in range(64):
        a, b = vals[j], vals[(j + 16) % 64]
        rows.append("{{%s, %s}, {%s, %s}, {%s, %s}, {%s, %s}}" % tuple(
            d(v) for k in range(4) for v in (a[k], b[k])))
    return rows


def sincos_rows128():
    rows, vals = [], []
    for j in range(128):
        a = j * pi / 64
        s, c = sin(a), cos(a)
        if j in (0, 64):
            s = mpf(0)
        if j in (32, 96):
            c = mpf(0)
        C, S = dv(c), dv(s)
        slo, clo = dv(s - S), dv(c - C)
        vals.append((C, S, slo, clo))
        rows.append("{%s, %s, %s, %s}" % (d(C), d(S), d(slo), d(clo)))
    check("sincos_rows128[1].Slo", bits(vals[1][2]), 0xbc2912bd0d569a90)
    check("sincos_rows128[1].Clo", bits(vals[1][3]), 0xbc6c57bc2e24aa15)
    if float(vals[1][0]) != 0.99879545620517241 or float(vals[1][1]) != 0.049067674327418015:
        raise SystemExit("sincos_rows128[1]: C, S differ from their printed values")
    return rows


# ---- tangent, no fused multiply-add: 32 rows of degree-15 expansions --------------------------------
POLE64 = range(9, 24)


def tan_rows32():
    """Row j: the expansion of tan around a = j·pi/32 (of tan(x) + 1/t, t = x - pi/2, in the
    pole rows 9..23).  The constant term is T = Thi + Tlo, the linear one A + B (A = 1, B =
    its excess, in ordinary rows; A = 0 in pole rows); the powers 2..7 stand in the high
    lane, 8..15 in the low lane (the lanes' places 0 and 1 of the high lane are zero)."""
    out, raw = [], []
    for j in range(32):
        a = j * pi / 32
        ser = s_tan_at(a) if j != 16 else None
        pole = j in POLE64
        if j == 16:
            # tan(pi/2 + r) + 1/r = -cot(r) + 1/r = r/3 + r^3/45 + ...
            s, c = s_sin_cos()
            # cot(r) - 1/r = (r·cos r - sin r)/(r·sin r): divide the shifted series
            num = [mpf(0)] * N
            for k in range(N):
                num[k] = (c[k - 1] if k >= 1 else 0) - s[k]
            den = [s[k + 1] if k + 1 < N else mpf(0) for k in range(N)]  # sin(r)/r
            numr = [num[k + 2] if k + 2 < N else mpf(0) for k in range(N)]  # / r^2
            q = s_mul(numr, s_inv(den))
            ser = [-v for v in q]
        elif pole:
            rec = s_recip_lin(a - pi / 2)
            ser = [u + v for u, v in zip(ser, rec)]
        T = ser[0]
        thi = dv(T)
        tlo = dv(T - thi)
        if pole:
            A, B = mpf(0), dv(ser[1])
        else:
            A, B = mpf(1), dv(ser[1] - 1)
        high = [mpf(0), mpf(0)] + [dv(ser[k]) for k in range(2, 8)]
        low = [dv(ser[k]) for k in range(8, 16)]
        lanes = []
        for k in range(8):
            lanes += [low[k], high[k]]
        mult = mpf(1) if pole else mpf(0)
        mask = 0xfffffff800000000 if pole else 0
        raw.append((lanes, thi, tlo, A, B))
        out.append("{{%s}, %s, %s, %s, %s, %s, %s}" % (
            ", ".join(d(v) for v in lanes), d(thi), d(tlo), d(A), d(B), d(mult),
            g.hexint(mask, 16, "ull")))
    r0 = raw[0][0]
    check("tan_rows32[0] c3 high", bits(r0[7]), 0x3fd5555555555555)
    check("tan_rows32[0] c5 high", bits(r0[11]), 0x3fc1111111111111)
    check("tan_rows32[0] c7 high", bits(r0[15]), 0x3faba1ba1ba1ba1c)
    check("tan_rows32[0] c1 low", bits(r0[2]), 0x3f9664f4882c10fa)
    check("tan_rows32[0] c3 low", bits(r0[6]), 0x3f8226e355e6c23d)
    check("tan_rows32[0] c5 low", bits(r0[10]), 0x3f6d6d3d0e157de0)
    check("tan_rows32[0] c7 low", bits(r0[14]), 0x3f57da36452b75e3)
    check("tan_rows32[16] B", bits(raw[16][4]), 0x3fd5555555555555)
    check("tan_rows32[16] A", bits(raw[16][3]), 0)
    return out


# ---- tangent, fused: 128 rows ---------------------------------------------------------------------
def centre128(j):
    """The signed distance of j·pi/128 from the nearest multiple of pi/2 (ties upward)."""
    return (j - 64 * ((j + 32) // 64)) * pi / 128


# |r| <= pi/256 after the reduction, and a little more for its rounding.
TAN_H = pi / 256 * mpf(1.001)


def cheb7(series, shift):
    """Degree-7 Chebyshev interpolant on [-TAN_H, TAN_H] of the series (plus shift), lowest
    power first."""
    p = chebyfit(lambda r: polyval(series[::-1], r) + shift, [-TAN_H, TAN_H], 8)
    # The rows at a multiple of pi/2 are odd or even in r: the other powers are zero, not the
    # interpolant's rounding noise.
    big = max(abs(v) for v in p)
    return [v if abs(v) > big * mpf(2) ** -200 else mpf(0) for v in p[::-1]]


def tan_rows128():
    polys, scales, worst = [], [], [mpf(0)]
    for j in range(128):
        a = centre128(j)
        cot_row = 32 <= j < 96
        if a == 0:
            s, c = s_sin_cos()
            sr = [s[k + 1] if k + 1 < N else mpf(0) for k in range(N)]  # sin(r)/r
            cr = c
            if cot_row:
                f = [-v for v in s_mul(sr, s_inv(cr))]  # -r/tan r ... inverted below
                f = [-v for v in s_mul(cr, s_inv(sr))]  # -r·cos r/sin r
            else:
                f = s_mul(sr, s_inv(cr))  # tan(r)/r
        else:
            ts = s_tan_at(a)
            if cot_row:
                f = [-v for v in s_mul(s_lin(a), s_inv(ts))]  # -t/tan t
            else:
                f = s_mul(ts, s_inv(s_lin(a)))  # tan t / t
        c = f[0]
        chi = dv(c)
        clo = dv(c - chi)
        # The series converges slowly next to pi/4 (the pole at pi/2 is only 0.8 away), so
        # the degree-7 G is the Chebyshev interpolant of the whole series on the row's
        # interval rather than its Taylor head: 2^-62 of the result instead of 2^-55.
        if cot_row:
            G = cheb7(f, c - chi - f[0])  # -t/tan t - c hi: c lo folded into the constant term
        else:
            G = cheb7(f[1:], 0)           # (tan t / t - c)/r
        err = max(abs(polyval(G[::-1], r) - polyval((f if cot_row else f[1:])[::-1], r) -
                      ((c - chi - f[0]) if cot_row else 0)) * (1 if cot_row else TAN_H)
                  for r in [TAN_H * (2 * mpf(i) / 64 - 1) for i in range(65)]) / abs(c)
        worst[0] = max(worst[0], err)
        A = [dv(G[7 - i]) for i in range(8)]  # A0 multiplies r^7, A7 is the constant
        ahi = dv(a)
        alo = dv(a - ahi)
        polys.append("{%s}" % ", ".join(d(v) for v in A))
        scales.append("{%s, %s, %s, %s}" % (d(chi), d(clo), d(ahi), d(alo)))
        if j == 1 and abs(float(c) - 1.0002008) > 1e-7:
            raise SystemExit("tan_scale128[1]: c is not tan(a)/a")
        if j == 96 and float(c) != float(4 / pi):
            raise SystemExit("tan_scale128[96]: c is not 4/pi")
    return polys, scales, worst[0]


# ---- float tables --------------------------------------------------------------------------------
T128 = pi / 128


def sinf_rows65():
    rows = []
    for m in range(65):
        rows.append("{%s, %s}" % (d(cos(m * T128) * T128 ** 3 / 6), d(sin(m * T128) * T128 ** 2 / 2)))
    return rows


def cosf_rows65():
    rows = []
    for m in range(65):
        rows.append("{%s, %s}" % (d(-sin(m * T128) * T128 ** 3 / 6), d(cos(m * T128) * T128 ** 2 / 2)))
    return rows


def sincosf_rows65():
    rows = ["{%s, %s}" % (d(cos(m * T128)), d(sin(m * T128))) for m in range(65)]
    check("sincosf_rows65 -t^2/6", bits(-T128 ** 2 / 6), 0xbf1a51a6625307d3)
    check("sincosf_rows65 -t^2/2", bits(-T128 ** 2 / 2), 0xbf33bd3cc9be45de)
    return rows


def trigf_rows64():
    return ["{%s, %s}" % (d(sin(j * pi / 64)), d(cos(j * pi / 64) if j != 32 else 0)) for j in range(64)]


def tanf_rows32():
    """d0..d7, the degree-7 expansion of tan around j·pi/32 (of tan(x) + 1/t in the pole
    rows), and the pole flag."""
    rows = []
    for j in range(32):
        a = j * pi / 32
        pole = j in POLE64
        if j == 16:
            # tan(pi/2 + r) + 1/r: the pole row's series, as in tan_rows32
            s, c = s_sin_cos()
            num = [(c[k - 1] if k >= 1 else 0) - s[k] for k in range(N)]
            den = [s[k + 1] if k + 1 < N else mpf(0) for k in range(N)]
            numr = [num[k + 2] if k + 2 < N else mpf(0) for k in range(N)]
            ser = [-v for v in s_mul(numr, s_inv(den))]
        else:
            ser = s_tan_at(a)
            if pole:
                ser = [u + v for u, v in zip(ser, s_recip_lin(a - pi / 2))]
        rows.append("{%s, %s}" % (", ".join(d(ser[k]) for k in range(8)), d(1 if pole else 0)))
    return rows


def tanf_rows32f():
    """b6..b0 fitted to tan(t)/t (tangent rows) or -t/tan(t) (cotangent rows 8..23) with
    t = a + r, over |r| <= pi/64 and a little more; then the signed centre a."""
    rows, worst = [], mpf(0)
    h = pi / 64 * mpf(1.002)
    for j in range(32):
        a = (j - 16 * ((j + 8) // 16)) * pi / 32
        cot_row = 8 <= j < 24
        if cot_row:
            f = (lambda a: lambda r: -(a + r) / tan(a + r) if a + r != 0 else mpf(-1))(a)
        else:
            f = (lambda a: lambda r: tan(a + r) / (a + r) if a + r != 0 else mpf(1))(a)
        fit = g.remez(f, -h, h, 6, relative=True, parity="even" if a == 0 else None)
        worst = max(worst, fit.err)
        b = fit.coeffs
        rows.append("{%s, %s}" % (", ".join(d(b[6 - i]) for i in range(7)), d(a)))
    return rows, worst


def sinf_period_rows():
    """Row g (float exponents 0x8e + 8g .. +7): v = (128/pi)·2^(8(g-1)) mod 256, scaled back by
    2^(-8(g-1)) (row 0: 128/pi), so that u·v = u·128/pi modulo 256 for every float u of the
    group (its last bit is worth 2^(8(g-1)) at least).  v = a + a2 + a3: a cut to 29 bits (a·u
    exact), a2 the rest cut to 13 bits (a2·u exact) and packed into a's 24 zero low bits as its
    top 24 bits (sign, exponent, 12 bits), a3 the rest rounded."""
    rows = []
    with mp.workprec(2000):
        K = 128 / mp.pi
        for gi in range(15):
            v = K if gi == 0 else (K * mpf(2) ** (8 * (gi - 1)) % 256) * mpf(2) ** (-8 * (gi - 1))
            q = g.exact(v)
            a = g.exact(g.round_bits(q, 29, "zero"))
            a2 = g.exact(g.round_bits(q - a, 13, "zero"))
            a3 = g.exact(g.round_bits(q - a - a2, 53))
            assert bits(a) & 0xffffff == 0 and bits(a2) & ((1 << 40) - 1) == 0
            rows.append((bits(a) | (bits(a2) >> 40), bits(a3)))
    for i, w in ((0, (0x40445f306d3e7939, 0x3d7054a7f09d5f48)), (1, (0x40445f306d3e7939, 0x3d7054a7f09d5f48)),
                 (2, (0x3fe7cc1b723e0c88, 0x3d1529fc2757d1f5))):
        check("sinf_period_rows[%d][0]" % i, rows[i][0], w[0])
        check("sinf_period_rows[%d][1]" % i, rows[i][1], w[1])
    return ["{%s, %s}" % (g.hexint(h, 16, "ull"), g.hexint(l, 16, "ull")) for h, l in rows]


# ---- chunks of 4c/pi for the reductions of huge arguments ------------------------------------
CHUNK_ROWS = 50  # rows 0..48 and a pad


def chunks(Kf):
    """Row i: the 25 bits of K at the places 2^(-25(i-1)) .. 2^(-25(i-1)-24), with their place
    value, times 2^200 (row 0 holds the bits above the units place, zero for K < 2)."""
    rows = []
    with mp.workprec(25 * CHUNK_ROWS + 200):
        K = Kf()
        for i in range(CHUNK_ROWS):
            sh = 25 * (i - 1) + 24
            v = int(mp.floor(K * mpf(2) ** sh)) % (1 << 25)
            rows.append(Fraction(v) * Fraction(2) ** (200 - sh) if sh <= 200
                        else Fraction(v, 2 ** (sh - 200)))
    return rows


def split_parts(K, widths):
    """K as a signed-digit sum: the first part K cut (toward zero) to widths[0] bits, each next
    one the rest rounded to its width, the last the rest rounded to a double."""
    parts, rest = [], g.exact(K)
    for i, w in enumerate(widths):
        p = g.exact(g.round_bits(rest, w, "zero" if i == 0 else "nearest"))
        parts.append(p)
        rest = rest - p
    return parts


def reduction_constants():
    """Multiplier, Cody-Waite parts (below 2^23 and below 2^30) and final factor of each period:
    an octant Q = (pi/4)/c in x's units, in pieces short enough that their products with every
    count of the range are exact."""
    # (name, c, widths below, widths above, width of the final factor's head)
    sets = (("pio2", mpf(1), (27, 28, 27, 53), (20, 21, 20, 20, 53), 23),
            ("ln2", log(2), (27, 26, 27, 53), (21, 20, 20, 20, 53), 21),
            ("ln10", log(10), (27, 26, 27, 53), (21, 20, 20, 20, 53), 21))
    out = {}
    for name, c, wb, wa, wf in sets:
        K = 4 * c / pi
        Q = pi / 4 / c
        out[name] = (K, split_parts(Q, wb), split_parts(Q, wa), split_parts(Q, (wf, 53)), wb, wa, wf)
    # The constants the design fixes by their digits (the first parts there negated).
    given = {"pio2": (0x3ff45f306dc9c883,
                      (0xbfe921fb54000000, 0x3e010b4612000000, 0xbc2676733c000000, 0x3a61701b839a2520),
                      (0xbfe921fa00000000, 0x3ea5444300000000, 0xbd373dca00000000, 0xbbf3b39a00000000,
                       0x3a845c06e0e68948),
                      (0x3fe921fb40000000, 0x3e64442d18469899)),
             "ln2": (0x3fec3dc98f7e969c,
                     (0xbff2212304000000, 0x3e16d77ae8000000, 0xbc4d63398c000000, 0x3a4603725c06da5d),
                     # Printed as 0xbff2212300000000, 0x3e516d8000000000, 0x3bf398ce00000000,
                     # 0x3aa0580dc9701b69, whose sum misses Q by 1.2e-13: the second piece is
                     # Q's rest cut to 16 bits and nothing carries what it leaves.  Only the
                     # head is kept; the rest comes from the widths.
                     (0xbff2212300000000,),
                     (0x3ff2212300000000, 0x3e516d77ae714e63))}
    # Where the design fixes the digits they are taken as they stand; the widths above are
    # checked against them (the first two pieces of each set) and each set's sum against Q.
    for name, (k, b, a, f) in given.items():
        K, below, above, fin, wb, wa, wf = out[name]
        check(name + " multiplier", bits(K), k)
        sets = []
        for tag, got, want in (("below", below, b), ("above", above, a), ("final", fin, f)):
            neg = tag != "final"
            if len(want) == 1:
                check("%s %s[0]" % (name, tag), bits(-got[0]), want[0])
                sets.append(got)
                continue
            for i in range(2):
                check("%s %s[%d]" % (name, tag, i), bits(-got[i] if i == 0 and neg else got[i]), want[i])
            parts = [g.exact(g.from_bits(w, g.BINARY64)) for w in want]
            if neg:
                parts[0] = -parts[0]
            err = abs(sum(parts) - g.exact(pi / 4 / {"pio2": mpf(1), "ln2": log(2)}[name]))
            if err > g.exact(mpf(2) ** (-75 if tag == "final" else -100)):
                raise SystemExit("%s %s: the pieces miss Q by %s" % (name, tag, float(err)))
            sets.append(parts)
        out[name] = (K, sets[0], sets[1], sets[2], wb, wa, wf)
    return out


# ---- main ----------------------------------------------------------------------------------------
def main():
    L = [g.header(SCRIPT),
         "// The tables behind sine, cosine and tangent, each computed by the rule of its rows.",
         '#include "elementary/trig_data.h"', "", "namespace tsr::trig {", ""]
    w = twoopi_words()
    L += g.c_array("const uint32_t twoopi_words[46]", [g.hexint(x, 8, "u") for x in w], 6,
                   "Two zero words, then 1408 bits of 2/pi after the binary point, 32 a word.")
    r64, v64 = sincos_rows64()
    L += g.c_array("const SC64 sincos_rows64[64]", r64, 1,
                   "Row j, angle j·pi/32: C0, Shi, Slo, Chi.  Shi = sin rounded, Slo the rest rounded\n"
                   "to 24 bits; Chi 0 or a power of two with the cosine's sign, C0 = cos - Chi rounded.")
    L += g.c_array("const SCPair sincos_pairs64[64]", sincos_pairs(v64), 1,
                   "sincos_rows64 with each column as the pair (row j, row j + 16 mod 64).")
    L += g.c_array("const SC128 sincos_rows128[128]", sincos_rows128(), 1,
                   "Row j, angle j·pi/64: C, S (rounded), Slo, Clo (the rests, rounded).")
    L += g.c_array("const TanRow tan_rows32[32]", tan_rows32(), 1,
                   "Row j: tan around j·pi/32 (rows 9..23: tan(x) + 1/t, t = x - pi/2) as\n"
                   "{low lane r^8..r^15 and high lane r^0..r^7 interleaved}, T hi, T lo, A, B,\n"
                   "pole multiplier, mask of the short reciprocal.  Taylor series, |r| <= pi/64:\n"
                   "the first neglected term is below 2^-75 of the result.")
    polys, scales, worst = tan_rows128()
    L += g.c_array("const double tan_poly128[128][8]", polys, 1,
                   "Row j, centre a = j·pi/128 less the nearest multiple of pi/2: A0..A7 of\n"
                   "G(r) = A7 + A6·r + ... + A0·r^7, the Chebyshev interpolant of (tan(t)/t - c)/r\n"
                   "(rows 0..31, 96..127) or -t/tan(t) - c hi (rows 32..95), t = a + r, |r| <= pi/256\n"
                   "(and 0.1 %% more): its error, r·G's in the tangent rows, is below 2^%.1f of c\n"
                   "(coefficients exact, before their rounding to double)." % float(log(worst, 2)))
    L += g.c_array("const double tan_scale128[128][4]", scales, 1,
                   "Row j: c hi, c lo (c = tan(a)/a or -a/tan(a)), a hi, a lo.")
    L += g.c_array("const double sinf_rows65[65][2]", sinf_rows65(), 1,
                   "Row m, t = pi/128: cos(m·t)·t^3/6, sin(m·t)·t^2/2.")
    L += g.c_array("const double cosf_rows65[65][2]", cosf_rows65(), 1,
                   "Row m, t = pi/128: -sin(m·t)·t^3/6, cos(m·t)·t^2/2.")
    L += g.c_array("const double sincosf_rows65[65][2]", sincosf_rows65(), 1,
                   "Row m, t = pi/128: cos(m·t), sin(m·t).")
    L += g.c_array("const double trigf_rows64[64][2]", trigf_rows64(), 1,
                   "Row j, half a period: sin(j·pi/64), cos(j·pi/64).")
    L += g.c_array("const double tanf_rows32[32][9]", tanf_rows32(), 1,
                   "Row j: d0..d7 of the Taylor polynomial of tan around j·pi/32 (rows 9..23:\n"
                   "tan(x) + 1/t, t = x - pi/2), |r| <= pi/64, and the pole flag.")
    rf, worst = tanf_rows32f()
    L += g.c_array("const double tanf_rows32f[32][8]", rf, 1,
                   "Row j: b6..b0, the signed centre a.  R(r) = b0 + b1·r + ... + b6·r^6 fits tan(t)/t\n"
                   "(rows 0..7, 24..31) or -t/tan(t) (rows 8..23), t = a + r: %s" % g.approx_comment(
                       -pi / 64 * mpf(1.002), pi / 64 * mpf(1.002), 6, float(log(worst, 2)), SCRIPT))
    L += g.c_array("const double fouropi_chunks[50]", [d(x) for x in chunks(lambda: 4 / mp.pi)], 2,
                   "Row i: the 25 bits of 4/pi at the places 2^(-25(i-1)) .. 2^(-25(i-1)-24) times\n"
                   "2^200 (row 0: the bits above the units place), rows 0..48 and a pad.")
    for nm, c in (("ln2", 2), ("ln10", 10)):
        L += g.c_array("const double fo%s_chunks[50]" % nm,
                       [d(x) for x in chunks(lambda: 4 * mp.log(c) / mp.pi)], 2,
                       "The same rows of 4·%s/pi." % ("ln 2" if nm == "ln2" else "ln 10"))
    L += g.c_array("const uint64_t sinf_period_rows[15][2]", sinf_period_rows(), 1,
                   "Row g, float exponents 0x8e + 8g .. 0x95 + 8g: 128/pi·2^(8(g-1)) modulo 256, scaled\n"
                   "back, as a head of 29 bits whose 24 low bits hold the top of a 13-bit second part,\n"
                   "and a third part (bit patterns: the head's low bits matter).")
    rc = reduction_constants()
    for nm in ("pio2", "ln2", "ln10"):
        K, below, above, fin, wb, wa, wf = rc[nm]
        L += ["// %s: 4c/pi (c = %s); an octant Q = (pi/4)/c as signed pieces of %s bits (below"
              % (nm, {"pio2": "1", "ln2": "ln 2", "ln10": "ln 10"}[nm], ", ".join(map(str, wb))),
              "// 2^23), of %s bits (below 2^30), and of %d and 53 bits (the final factor)."
              % (", ".join(map(str, wa)), wf),
              "const ReduceConsts reduce_%s = {" % nm,
              "    %s," % d(K),
              "    {%s}," % ", ".join(d(x) for x in below),
              "    {%s}," % ", ".join(d(x) for x in list(above) + [0] * (5 - len(above))),
              "    {%s}," % ", ".join(d(x) for x in fin),
              "};", ""]
    L += ["", "}  // namespace tsr::trig"]
    g.write_outputs({"elementary/trig_data.cpp": "\n".join(L) + "\n"})


if __name__ == "__main__":
    main()
