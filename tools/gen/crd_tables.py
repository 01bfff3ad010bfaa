#!/usr/bin/env python3
"""The tables and series of the correctly rounded double exp and log (correct/crd_data.cpp).

First phase (pairs of doubles):
  cr_exp2_512[j]   (hi, lo), hi = 2^(j/512) to nearest, lo = the rest relative to hi:
                   2^(j/512) = hi (1 + lo)
  cr_log_recip[i]  (hi, lo) = -ln c with c = (1 + i/128)/2, i = 0..128; hi to a multiple of
                   2^-39 (the grid of the short head of ln 2, so that e ln2_hi + hi is exact),
                   lo the rest to nearest
Second phase (128-bit fixed point, unsigned __int128 in the code):
  cr_exp2_fixed[j] 2^(j/512) 2^120 to nearest (1.0 is 2^120: a high word of 2^56)
  kExpSeries       c2..c8 of e^r - 1 = r + r^2 (c2 + c3 r + ... + c8 r^6) on [0, ln2/512),
                   unsigned fractions under 2^128, a minimax fit of the absolute error
  cr_log_series_near / _far
                   rows 1..16 (44): ln(1 + u) = u + 2u^2 (row1 + u/2 (row2 + row3 u + ...)),
                   signed fractions under 2^128; minimax fits of G(u) = (ln(1+u) - u)/(2u^2)
                   for |u| <= 2^-6 (near) and u in [-0.2917, 0.4167] (far, every reduced
                   argument), weighted by |u| (the final error is 2u^2 times G's, against a
                   result near u)

Every fitted series is rounded to its fixed point and its error measured after rounding;
the bounds go into the comments of the generated file and into docs/accuracy/crd.md.
Rows the design prints are checked: the first rows of the three tables exactly, the fitted
rows to within the fit's own error.
"""
import os
import sys
from fractions import Fraction

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import tsrgen
from tsrgen import BINARY64, hexfloat, hexint
from mpmath import mp, mpf

SCRIPT = "crd_tables.py"
mp.prec = 400
M128 = (1 << 128) - 1


def fix128(v, signed):
    """v * 2^128 to the nearest integer, as a two's complement 128-bit word."""
    n = int(mp.nint(v * mpf(2) ** 128))
    if signed:
        assert -(1 << 127) <= n < (1 << 127), v
    else:
        assert 0 <= n <= M128, v
    return n & M128


def words(n):
    return "{%s, %s}" % (hexint(n >> 64, 16, "u"), hexint(n & ((1 << 64) - 1), 16, "u"))


def signed_val(n):
    return mpf(n - (1 << 128) if n >> 127 else n) / mpf(2) ** 128


def dd_pair(v, hi_grid=None):
    hi = tsrgen.round_grid(v, hi_grid) if hi_grid else tsrgen.to_format(v, BINARY64)
    lo = tsrgen.to_format(v - hi, BINARY64)
    return hi, lo


def bits(v):
    return tsrgen.to_bits(tsrgen.exact(v), BINARY64)


def poly(c, x):
    s = mpf(0)
    for v in reversed(c):
        s = s * x + v
    return s


def max_err(f, coeffs, a, b, weight, n=4000):
    """max |f - p| * weight over a dense Chebyshev grid of [a, b] (the fits are smooth and
    their error equioscillates; the grid's density bounds the miss far below the margins)."""
    worst, at = mpf(0), a
    for i in range(n):
        x = (a + b) / 2 - (b - a) / 2 * mp.cos(mp.pi * (i + mpf(1) / 2) / n)
        e = abs(f(x) - poly(coeffs, x)) * weight(x)
        if e > worst:
            worst, at = e, x
    return worst, at


def fit(f, a, b, degree, weight):
    """Minimax fit (Remez, 256-bit arithmetic) of f on [a, b], absolute error times weight."""
    fmt = tsrgen.Format("wide", 200, -16382, 256, "")
    ap = tsrgen.remez(f, a, b, degree, relative=False, weight=weight, fmt=fmt, prec=320,
                      iterations=40)
    return ap.coeffs


# ---- exp ------------------------------------------------------------------------------
def exp2_row(j):
    """2^(j/512) as hi to nearest and lo = (2^(j/512) - hi)/hi to nearest: the tail relative
    to the head, since the first phase multiplies its polynomial plus lo by hi."""
    v = mp.power(2, mpf(j) / 512)
    hi = tsrgen.to_format(v, BINARY64)
    return hi, tsrgen.to_format((v - hi) / hi, BINARY64)


exp2_512 = [exp2_row(j) for j in range(512)]
assert (bits(exp2_512[1][0]), bits(exp2_512[1][1])) == (0x3ff0058c86da1c0a, 0xbc75d87ade1f60d5)
exp2_fixed = [fix128(mp.power(2, mpf(j) / 512) / 256, False) for j in range(512)]
assert exp2_fixed[0] == 1 << 120
assert exp2_fixed[1] == (0x010058c86da1c09e << 64 | 0xa1ff19d294cf2f68)

LN2_512 = mp.ln2 / 512
ln2_512_140 = int(mp.floor(LN2_512 * mpf(2) ** 140))  # truncated: the code's k (ln2/512)
assert ln2_512_140 >> 12 == (0x0058b90bfbe8e7bc << 64 | 0xd5e4f1d9cc01f97b)
assert ln2_512_140 & 0xfff == 0x57a

# e^r - 1 = r + r^2 t(r): t = (e^r - 1 - r)/r^2, its error weighted by r^2 (E's absolute
# error); the weight kept off zero where r^2 t is exact to any precision.
exp_t = lambda r: mp.expm1(r) / r ** 2 - 1 / r if r else mpf(1) / 2
exp_w = lambda r: r * r + mpf(2) ** -60
ec = fit(exp_t, mpf(0), LN2_512, 6, exp_w)
exp_series = [fix128(c, False) for c in ec]
exp_fit_err, _ = max_err(exp_t, [mpf(n) / mpf(2) ** 128 for n in exp_series], mpf(0), LN2_512,
                         lambda r: r * r)
PRINTED_EXP = [(0x8000000000000000, 0x000000071ccce9b2), (0x2aaaaaaaaaaaaaaa, 0xaaa8fbb484a4f964),
               (0x0aaaaaaaaaaaaaaa, 0xd186668b96d7d744), (0x0222222222222069, 0xaadfd65c7b89c5dc),
               (0x005b05b05b10478b, 0xb38f6b51e7a169c1), (0x000d00cfe8e4296d, 0x43a7e25f911b25fc),
               (0x0001a05a1ed83b3c, 0xd7a2c1d577199bf2)]
# The printed series and this fit are both minimax-quality: the same to well within the
# fit's error divided by the size of r^k at the interval's end.
printed_exp_err, _ = max_err(exp_t, [mpf(h << 64 | l) / mpf(2) ** 128 for h, l in PRINTED_EXP],
                             mpf(0), LN2_512, lambda r: r * r)
print("exp series: printed 2^%.2f, fitted 2^%.2f" % (float(mp.log(printed_exp_err, 2)), float(mp.log(exp_fit_err, 2))))

# ---- log ------------------------------------------------------------------------------
LN2_HI_GRID = -39  # ln2's short head 0x3fe62e42fefa4000 is a multiple of 2^-39
log_recip = [dd_pair(-mp.log((1 + mpf(i) / 128) / 2), LN2_HI_GRID) for i in range(129)]
assert (bits(log_recip[0][0]), bits(log_recip[0][1])) == (0x3fe62e42fefa4000, 0xbd48432a1b0e2634)
assert log_recip[128] == (0, 0)

# The first phase's multiplier c = (1 + i/128)/2 for a significand m in [1, 2), chosen by
# the top LOG_INDEX_BITS bits of m's fraction: the i whose c keeps |m c - 1| smallest over
# the whole slice of m (r = m c - 1 is exact: c has 8 significant bits).
LOG_INDEX_BITS = 9
N_IDX = 1 << LOG_INDEX_BITS


def log_index_row(j):
    lo, hi = 1 + Fraction(j, N_IDX), 1 + Fraction(j + 1, N_IDX)
    return min(range(129), key=lambda i: max(abs(lo * Fraction(128 + i, 256) - 1),
                                             abs(hi * Fraction(128 + i, 256) - 1)))


log_index = [log_index_row(j) for j in range(N_IDX)]
# A + r is summed as a fast two-sum, the larger first: -ln c >= |r| wherever c < 1 (e = 0;
# for e = -1 and i >= 1, |A| = ln(1 + i/128) is larger still).
for j, i in enumerate(log_index):
    if i < 128:
        r_max = max(abs((1 + Fraction(j + d, N_IDX)) * Fraction(128 + i, 256) - 1) for d in (0, 1))
        assert mpf(r_max.numerator) / r_max.denominator <= -mp.log(mpf(128 + i) / 256), j
# ln(1 + r) = r - r^2/2 + r^3 (c3 + c4 r + ... + c7 r^4), the first phase's polynomial (the
# design's coefficients); its error is measured below over every slice's range of r.
LOG_POLY = ["0x1.5555555555472p-2", "-0x1.ffffffff78a26p-3", "0x1.99999a0883151p-3",
            "-0x1.5556d57aed8c2p-3", "0x1.2435dd79a68dep-3"]
log_poly = [mpf(float.fromhex(h)) for h in LOG_POLY]


def log_poly_err(r):
    return abs(r - r * r / 2 + r ** 3 * poly(log_poly, r) - mp.log1p(r))


def log_first_phase_bound(samples=48):
    """Max over the slices of the polynomial's error relative to the result ln(2^e m): for
    e = 0 and e = -1 (where the result can be small) point by point, for every other e
    against |result| >= ln 2.  Also the largest |r| met."""
    worst, at, rmax = mpf(0), None, mpf(0)
    for j in range(N_IDX):
        c = mpf(128 + log_index[j]) / 256
        m0, m1 = 1 + mpf(j) / N_IDX, 1 + mpf(j + 1) / N_IDX
        for s in range(samples + 1):
            m = m0 + (m1 - m0) * s / samples
            r = m * c - 1
            rmax = max(rmax, abs(r))
            e_abs = log_poly_err(r)
            for res in (mp.log(m), mp.log(m / 2), mp.ln2):
                if res:
                    rel = e_abs / abs(res)
                    if rel > worst:
                        worst, at = rel, m
    return worst, at, rmax


log_poly_rel, log_poly_at, log_r_max = log_first_phase_bound()
ln2_128 = int(mp.nint(mp.ln2 * mpf(2) ** 128))
assert ln2_128 == (0xb17217f7d1cf79ab << 64 | 0xc9e3b39803f2f6af)

log_G = lambda u: (mp.log1p(u) - u) / (2 * u * u) if u else mpf(-1) / 4
# Far range: every u of the reduction, (1 + f)/2^s - 1 with a significand of 1.41666...
# (0x16aaaaaaaaaaab) the first to be halved.
FAR_LO = mpf(0x16aaaaaaaaaaab) / mpf(2) ** 53 - 1
FAR_HI = mpf(0x16aaaaaaaaaaaa) / mpf(2) ** 52 - 1
NEAR = mpf(2) ** -6


def log_series(lo, hi, degree):
    c = fit(log_G, lo, hi, degree, lambda u: abs(u) + mpf(2) ** -30)
    rows = [0, fix128(c[0], True)] + [fix128(2 * v, True) for v in c[1:]]
    g = [signed_val(rows[1])] + [signed_val(n) / 2 for n in rows[2:]]
    # error of the final ln(1 + u) relative to it: 2u^2 |G - p| / |ln(1 + u)|
    err, at = max_err(log_G, g, lo, hi, lambda u: 2 * u * u / abs(mp.log1p(u)) if u else 0)
    return rows, err, at


near, near_err, near_at = log_series(-NEAR, NEAR, 15)
far, far_err, far_at = log_series(FAR_LO, FAR_HI, 43)
assert (near[1] >> 64, near[1] & ((1 << 64) - 1)) == (0xc000000000000000, near[1] & ((1 << 64) - 1))
PRINTED_FAR = {2: (0x5555555555555555, 0x555555555599323b), 3: (0xbfffffffffffffff, 0xffffffffff51677d),
               4: (0x3333333333333333, 0x33333331c47c91f8), 44: (0x016a244d01ffd21d, 0x88725f025cefcf6b)}
PRINTED_NEAR = {2: (0x5555555555555555, 0x55555555555140c1), 16: (0x0f12d6bc745c21af, 0x46bcaac1cbb36772)}
checks = []
for name, rows, printed, reach in (("near", near, PRINTED_NEAR, NEAR), ("far", far, PRINTED_FAR, FAR_HI)):
    for k, (h, l) in printed.items():
        d = abs(signed_val(rows[k]) - signed_val(h << 64 | l))
        # a row's share of the result, u^(k+1) of a result near u: what a different fit may
        # move it by without changing the series by more than its own error
        checks.append("%s row %d: differs from the printed row by 2^%.1f of the result" %
                      (name, k, float(mp.log(d * reach ** k + mpf(2) ** -300, 2))))


# ---- output -----------------------------------------------------------------------------
def l2(v):
    return float(mp.log(v, 2))


H = tsrgen.header(SCRIPT)
header = [H, "#pragma once", '#include "tsr/common.h"', "", "namespace tsr::crd {", "",
          "struct Pair { double hi, lo; };", "using u128 = unsigned __int128;", "",
          "extern const Pair cr_exp2_512[512] TSR_HIDDEN;",
          "extern const uint64_t cr_exp2_fixed[512][2] TSR_HIDDEN;",
          "extern const Pair cr_log_recip[129] TSR_HIDDEN;",
          "extern const uint8_t cr_log_index[%d] TSR_HIDDEN;" % N_IDX,
          "extern const uint64_t kExpSeries[7][2] TSR_HIDDEN;",
          "extern const uint64_t cr_log_series_near[17][2] TSR_HIDDEN;",
          "extern const uint64_t cr_log_series_far[45][2] TSR_HIDDEN;", "",
          "// Error bounds of the second phase's series after rounding to 128 bits, log2:",
          "// e^r - 1 (absolute), ln(1 + u) near and far (relative to the result).",
          "constexpr double kExpSeriesErrLog2 = %.2f;" % l2(exp_fit_err),
          "constexpr double kLogNearErrLog2 = %.2f;" % l2(near_err),
          "constexpr double kLogFarErrLog2 = %.2f;" % l2(far_err), "",
          "// The log first phase: c = (1 + i/128)/2 with i = cr_log_index[top %d bits of m's fraction]," % LOG_INDEX_BITS,
          "// r = m c - 1 within 2^%.3f; ln(1 + r) = r - r^2/2 + r^3 (kL3 + kL4 r + ... + kL7 r^4), its" % l2(log_r_max),
          "// error below 2^%.2f of the result ln(2^e m) over every slice (at m = %s, sampled densely)." % (l2(log_poly_rel), mp.nstr(log_poly_at, 8)),
          "constexpr int kLogIndexBits = %d;" % LOG_INDEX_BITS,
          "constexpr double kL3 = %s, kL4 = %s, kL5 = %s;" % tuple(LOG_POLY[:3]),
          "constexpr double kL6 = %s, kL7 = %s;" % tuple(LOG_POLY[3:]),
          "constexpr double kLogPolyErrLog2 = %.2f;" % l2(log_poly_rel), "",
          "}  // namespace tsr::crd", ""]
src = [H, '#include "correct/crd_data.h"', "", "namespace tsr::crd {", ""]
src += tsrgen.c_array("const Pair cr_exp2_512[512]",
                      ["{%s, %s}" % (hexfloat(tsrgen.exact(h)), hexfloat(tsrgen.exact(l))) for h, l in exp2_512],
                      2, comment="2^(j/512) = hi (1 + lo), each to nearest (relative error of the pair below 2^-106).")
src.append("")
src += tsrgen.c_array("const uint64_t cr_exp2_fixed[512][2]", [words(n) for n in exp2_fixed], 2,
                      comment="2^(j/512) under 2^120, to nearest (error below 2^-121): high word, low word.")
src.append("")
src += tsrgen.c_array("const Pair cr_log_recip[129]",
                      ["{%s, %s}" % (hexfloat(tsrgen.exact(h)), hexfloat(tsrgen.exact(l))) for h, l in log_recip],
                      2, comment="-ln((1 + i/128)/2) = hi + lo: hi a multiple of 2^-39 (e ln2_hi + hi exact),\n"
                                 "lo the rest to nearest (error of the pair below 2^-93).")
src.append("")
src += tsrgen.c_array("const uint8_t cr_log_index[%d]" % N_IDX, [str(i) for i in log_index], 16,
                      comment="i of the first phase's c = (1 + i/128)/2 for a significand whose top %d fraction bits\n"
                              "are the index: the c keeping |m c - 1| smallest over the slice (at most 2^%.3f)."
                              % (LOG_INDEX_BITS, l2(log_r_max)))
src.append("")
src += tsrgen.c_array("const uint64_t kExpSeries[7][2]", [words(n) for n in exp_series], 1,
                      comment="c2..c8: e^r - 1 = r + r^2 (c2 + c3 r + ... + c8 r^6), unsigned fractions under 2^128;\n"
                              "interval [0, ln2/512], degree 8, max absolute error 2^%.2f after rounding." % l2(exp_fit_err))
src.append("")
src += tsrgen.c_array("const uint64_t cr_log_series_near[17][2]", [words(n) for n in near], 1,
                      comment="ln(1 + u) = u + 2u^2 (row1 + u/2 (row2 + row3 u + ... + row16 u^14)), signed under 2^128;\n"
                              "interval [-2^-6, 2^-6], degree 17 in u, max relative error 2^%.2f after rounding." % l2(near_err))
src.append("")
src += tsrgen.c_array("const uint64_t cr_log_series_far[45][2]", [words(n) for n in far], 1,
                      comment="The same series for u in [-0.2917, 0.4167] (every reduced argument), degree 45 in u,\n"
                              "max relative error 2^%.2f after rounding (at u = %.4f)." % (l2(far_err), float(far_at)))
src += ["", "}  // namespace tsr::crd", ""]

if __name__ == "__main__":
    print("exp series: abs err 2^%.2f" % l2(exp_fit_err))
    print("log near: rel err 2^%.2f at %s" % (l2(near_err), mp.nstr(near_at, 6)))
    print("log far: rel err 2^%.2f at %s" % (l2(far_err), mp.nstr(far_at, 6)))
    print("log first phase: |r| <= 2^%.3f, polynomial 2^%.2f of the result at m = %s"
          % (l2(log_r_max), l2(log_poly_rel), mp.nstr(log_poly_at, 10)))
    for c in checks:
        print(c)
    tsrgen.write_outputs({"correct/crd_data.h": "\n".join(header), "correct/crd_data.cpp": "\n".join(src)})
