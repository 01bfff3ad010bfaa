#!/usr/bin/env python3
"""The quick phase of the correctly rounded single-precision family (correct/crf_quick.h).

Tiers l9, z0 and d1 of the exponentials, logarithms, sine and cosine first evaluate the
function in double by a short kernel of their own (fused multiply-adds, one table lookup, a
small polynomial), good to about 2^-50 relative, and narrow it when the rounding test (with
a margin scaled to that bound) settles it; otherwise they run the careful route of tier ex.
This script writes that kernel's tables and polynomials, each polynomial with the interval
it covers and its measured error (the polynomial as stored, against mpmath at 256 bits):

  - 2^(j/128), j = 0..127, e^r on |r| <= ln2/256 (expm1f, sinhf, coshf) and 2^(r/128) on
    |r| <= 1 (expf, exp2f, exp10f);
  - 256 pairs (1/c, ln c) over the significand in [0x1.66p-1, 0x1.66p+0) cut at every 2^15
    float steps, 1/c with 28 bits so that z/c - 1 is exact, and log(1 + r) over the r they
    leave (log1pf, log2p1f: degree 6; logf, log2f, log10f: degree 4);
  - (sin, cos)(i pi/256), i = 0..511, pi/256 in three pieces, and sin r, cos r on
    |r| <= pi/512 (sinf, cosf, sincosf, tanf);
  - atan(i/64) and pi/2 - atan(i/64), i = 0..64, and atan v on |v| <= 1/128 + 2^-10 (atanf);
  - asin x on [0, 1/2] (asinf, acosf);
  - 2^(j/3) cbrt(c) over 32 rows of [1, 2), cbrt(1 + r) and the odd cubes below 2^24
    (cbrtf).
"""
import os
import sys
from fractions import Fraction

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import tsrgen
from mpmath import mp, mpf

SCRIPT = "crf_quick.py"
D = tsrgen.BINARY64


def dbl(v):
    return tsrgen.to_mpf(tsrgen.exact(tsrgen.to_format(v, D)))


def hx(v):
    return tsrgen.hexfloat(v, D)


def bits_rounded(v, k):
    return tsrgen.to_mpf(tsrgen.exact(tsrgen.round_bits(v, k)))


def coeff_lines(name, a, powers):
    """`constexpr double name[] = {c_k for k in powers};` with the approximation's comment."""
    cs = [hx(a.coeffs[k]) for k in powers]
    return ["// " + a.comment(SCRIPT), "inline constexpr double %s[] = {%s};" % (name, ", ".join(cs))]


def main():
    mp.prec = 256
    out = [tsrgen.header(SCRIPT), "#pragma once", '#include "tsr/common.h"', "",
           "namespace tsr::crf::quick {",
           "// Internal linkage: every tier's object keeps its own copy of the rows (none shared",
           "// out of line between objects built for different instruction sets).",
           "namespace {", ""]

    # ---- exponentials --------------------------------------------------------------------
    out += tsrgen.c_array("inline constexpr double kExp2J[128]",
                          [hx(mp.power(2, mpf(j) / 128)) for j in range(128)], 4,
                          comment="2^(j/128), j = 0..127, rounded to nearest (error below 2^-53 relative).")
    out += [""] + tsrgen.c_array("inline constexpr uint64_t kExp2JBits[128]",
                                 ["0x%016x" % (tsrgen.to_bits(mp.power(2, mpf(j) / 128), D) - (j << 45))
                                  for j in range(128)], 4,
                                 comment="The bits of 2^(j/128) (as kExp2J) less j 2^45: adding the bits of the shifter's sum\n"
                                         "shifted up by 45, k 2^45 = (k >> 7) 2^52 + j 2^45, gives the bits of 2^(k/128).")
    ln2 = mp.log(2)
    # The reduced argument: |r| <= ln2/256 plus the reduction's rounding (well below 2^-60).
    rmax = ln2 / 256 * (1 + mpf(2) ** -20)
    a = tsrgen.remez(lambda r: mp.exp(r), -rmax, rmax, 4, fixed={0: 1, 1: 1})
    assert a.err < mpf(2) ** -51
    out += ["", "// e^r = 1 + r + c2 r^2 + c3 r^3 + c4 r^4"] + coeff_lines("kExpPoly", a, range(2, 5))
    # expf, exp2f and exp10f: 2^(r/128) - 1 on |r| <= 1 (r = z - k, z = x 128/ln2 or x 128 or
    # x 128 log2(10), k an integer next to z: the nearest in round-to-nearest, the one the
    # caller's mode gives otherwise), absolute error: the value is T (1 + p).
    a = tsrgen.remez(lambda r: mp.power(2, r / 128) - 1, mpf(-1), mpf(1), 3, relative=False, fixed={0: 0})
    assert a.err < mpf(2) ** -37.2
    out += ["", "// 2^(r/128) - 1 = c1 r + c2 r^2 + c3 r^3 (absolute error)"] + coeff_lines("kExp2Poly", a, range(1, 4))
    # x 128/ln2, and ln2/128 in two pieces: the first with 38 bits, so that k times it is
    # exact for |k| < 2^15 (|x| < 105 leaves |k| <= 19340).
    l1 = bits_rounded(ln2 / 128, 38)
    l2 = dbl(ln2 / 128 - l1)
    l10 = mp.log10(2)
    m1 = bits_rounded(l10 / 128, 38)
    m2 = dbl(l10 / 128 - m1)
    out += ["",
            "inline constexpr double kInvLn2x128 = %s;  // 128/ln2" % hx(128 / ln2),
            "inline constexpr double kLn2d128Hi = %s;  // ln2/128, high 38 bits" % hx(l1),
            "inline constexpr double kLn2d128Lo = %s;  // ln2/128 - kLn2d128Hi" % hx(l2),
            "inline constexpr double kLog2_10x128 = %s;  // 128 log2(10)" % hx(128 / l10),
            "inline constexpr double kLg2d128Hi = %s;  // log10(2)/128, high 38 bits" % hx(m1),
            "inline constexpr double kLg2d128Lo = %s;  // log10(2)/128 - kLg2d128Hi" % hx(m2),
            "inline constexpr double kLn2 = %s;  // ln 2" % hx(ln2),
            "inline constexpr double kLn10 = %s;  // ln 10" % hx(mp.log(10)),
            ""]

    # ---- logarithms ----------------------------------------------------------------------
    # z in [OFF, 2 OFF) as float bits OFF + t, t < 2^23; row i covers t in [i 2^15, (i+1) 2^15).
    off = 0x3f330000
    f32 = lambda b: tsrgen.to_mpf(tsrgen.exact(tsrgen.from_bits(b, tsrgen.BINARY32)))
    inv, lnc = [], []
    rlo, rhi = mpf(0), mpf(0)
    for i in range(256):
        lo, hi = f32(off + (i << 15)), f32(off + ((i + 1) << 15) - 1)
        if lo <= 1 <= f32(off + ((i + 1) << 15)) or hi == f32(0x3f7fffff):
            ic = mpf(1)  # the rows next to 1: r = z - 1 exactly, log z = log1p(r), no cancellation
        else:
            ic = bits_rounded(2 / (lo + hi), 28)
        inv.append(ic)
        lnc.append(-mp.log(ic))
        rlo, rhi = min(rlo, lo * ic - 1), max(rhi, hi * ic - 1)
    out += tsrgen.c_array("inline constexpr double kLogInvC[256]", [hx(v) for v in inv], 4,
                          comment="1/c of each row: 28 bits, so that z (1/c) - 1 is exact; 1 on the two rows\n"
                                  "beside 1 (z in [1 - 2^-9, 1 + 2^-8)).")
    out += tsrgen.c_array("inline constexpr double kLogC[256]", [hx(v) for v in lnc], 4,
                          comment="ln c = -ln(1/c) of each row, rounded to nearest.")
    a = tsrgen.remez(lambda r: mp.log1p(r), rlo, rhi, 6, fixed={0: 0, 1: 1})
    assert a.err < mpf(2) ** -53
    out += ["", "// ln(1 + r) = r + c2 r^2 + ... + c6 r^6 over the r the rows leave"] + coeff_lines("kLogPoly", a, range(2, 7))
    # logf, log2f, log10f: a shorter polynomial for the kernel that runs in the caller's mode
    # (its rounding test keeps a wider margin).
    a = tsrgen.remez(lambda r: mp.log1p(r), rlo, rhi, 4, fixed={0: 0, 1: 1})
    assert a.err < mpf(2) ** -38.8
    out += ["// ln(1 + r) = r + c2 r^2 + c3 r^3 + c4 r^4 over the same r"] + coeff_lines("kLogPoly4", a, range(2, 5))
    lh = bits_rounded(ln2, 45)
    out += ["",
            "inline constexpr double kLn2Hi = %s;  // ln 2, high 45 bits: e times it is exact" % hx(lh),
            "inline constexpr double kLn2Lo = %s;  // ln 2 - kLn2Hi" % hx(dbl(ln2 - lh)),
            "inline constexpr double kInvLn2 = %s;  // 1/ln 2" % hx(1 / ln2),
            "inline constexpr double kInvLn10 = %s;  // 1/ln 10" % hx(1 / mp.log(10)),
            "inline constexpr double kLog10_2 = %s;  // log10(2)" % hx(mp.log10(2)),
            ""]

    # ---- sine and cosine -----------------------------------------------------------------
    rows = []
    for i in range(512):
        rows += [hx(mp.sinpi(mpf(i) / 256)), hx(mp.cospi(mpf(i) / 256))]  # exact 0 where the value is
    out += tsrgen.c_array("inline constexpr double kSinCos[1024]", rows, 4,
                          comment="sin(i pi/256), cos(i pi/256), i = 0..511 (a whole turn), rounded to nearest.")
    p = mp.pi / 256
    p1 = bits_rounded(p, 30)
    p2 = bits_rounded(p - p1, 30)
    p3 = dbl(p - p1 - p2)
    out += ["",
            "inline constexpr double k256dPi = %s;  // 256/pi" % hx(256 / mp.pi),
            "inline constexpr double kPid256_1 = %s;  // pi/256, high 30 bits: k times it exact for k < 2^23" % hx(p1),
            "inline constexpr double kPid256_2 = %s;  // the next 30 bits" % hx(p2),
            "inline constexpr double kPid256_3 = %s;  // the rest, rounded (pieces within 2^-120 of pi/256)" % hx(p3),
            "inline constexpr double kPid256A = %s;  // pi/256 rounded" % hx(dbl(p)),
            "inline constexpr double kPid256B = %s;  // pi/256 - kPid256A rounded (the two within 2^-116 of pi/256)" % hx(dbl(p - dbl(p))),
            ""]
    rmax = mp.pi / 512 * (1 + mpf(2) ** -20)
    a = tsrgen.remez(lambda r: mp.sin(r), -rmax, rmax, 5, fixed={1: 1}, parity="odd")
    assert a.err < mpf(2) ** -54
    out += ["// sin r = r + s3 r^3 + s5 r^5"] + coeff_lines("kSinPoly", a, (3, 5))
    a = tsrgen.remez(lambda r: mp.cos(r), -rmax, rmax, 4, fixed={0: 1}, parity="even", relative=False)
    assert a.err < mpf(2) ** -54
    out += ["// cos r = 1 + c2 r^2 + c4 r^4 (absolute error)"] + coeff_lines("kCosPoly", a, (2, 4))

    # ---- inverse tangent -----------------------------------------------------------------
    out += [""] + tsrgen.c_array("inline constexpr double kAtanC[130]",
                                 [hx(mp.atan(mpf(i) / 64)) for i in range(65)] +
                                 [hx(mp.pi / 2 - mp.atan(mpf(i) / 64)) for i in range(65)], 4,
                                 comment="atan(i/64), then pi/2 - atan(i/64), i = 0..64, rounded to nearest.")
    # |v| <= |u - c| with c the nearest 64th to an estimate of u within 2^-11.4 relative.
    vmax = mpf(1) / 128 + mpf(2) ** -10
    a = tsrgen.remez(lambda v: mp.atan(v), -vmax, vmax, 5, fixed={1: 1}, parity="odd")
    assert a.err < mpf(2) ** -48
    out += ["// atan v = v + a3 v^3 + a5 v^5"] + coeff_lines("kAtanPoly", a, (3, 5))
    # asinf, acosf: asin on [0, 1/2] (above, from asin((1 - |x|)/2)^(1/2)).
    a = tsrgen.remez(lambda v: mp.asin(v), mpf(0), mpf(0.5), 19, fixed={1: 1}, parity="odd")
    assert a.err < mpf(2) ** -43.9
    out += ["// asin x = x + x z (c3 + c5 z + ... + c19 z^8), z = x^2"] + coeff_lines("kAsinPoly", a, range(3, 20, 2))
    out += ["inline constexpr double kPiHi = %s;  // pi" % hx(mp.pi),
            "inline constexpr double kPiLo = %s;  // pi - kPiHi" % hx(mp.pi - dbl(mp.pi)),
            "inline constexpr double kPiHalfHi = %s;  // pi/2" % hx(mp.pi / 2),
            "inline constexpr double kPiHalfLo = %s;  // pi/2 - kPiHalfHi" % hx(mp.pi / 2 - dbl(mp.pi / 2))]

    # ---- cube root --------------------------------------------------------------------
    # The significand m in [1, 2) cut into 32 rows; 1/c with 20 bits (m/c - 1 exact), and
    # 2^(j/3) cbrt(c) for the exponent's remainder j = 0, 1, 2.
    inv, rlo, rhi = [], mpf(0), mpf(0)
    for i in range(32):
        ic = bits_rounded(1 / (1 + (mpf(i) + mpf(0.5)) / 32), 20)
        inv.append(ic)
        rlo, rhi = min(rlo, (1 + mpf(i) / 32) * ic - 1), max(rhi, (1 + mpf(i + 1) / 32) * ic - 1)
    out += [""] + tsrgen.c_array("inline constexpr double kCbrtInvC[32]", [hx(v) for v in inv], 4,
                                 comment="1/c of each 32nd of [1, 2), 20 bits: m (1/c) - 1 is exact.")
    out += tsrgen.c_array("inline constexpr double kCbrtT[96]",
                          [hx(mp.cbrt(mpf(2) ** j / ic)) for j in range(3) for ic in inv], 4,
                          comment="2^(j/3) cbrt(c), j = 0, 1, 2 (32 rows each), rounded to nearest.")
    a = tsrgen.remez(lambda r: mp.cbrt(1 + r), rlo, rhi, 4, fixed={0: 1})
    assert a.err < mpf(2) ** -39
    out += ["// cbrt(1 + r) = 1 + c1 r + c2 r^2 + c3 r^3 + c4 r^4"] + coeff_lines("kCbrtPoly", a, range(1, 5))
    # Tier l9 runs the kernel in plain arithmetic, which raises inexact on the perfect cubes
    # too: they are told apart first by their significand's odd part, the cube of an odd n
    # below 2^8 (a cube root with more significant bits has a cube beyond 24 bits).  Cubing
    # permutes the odd residues modulo 2^8, so the residue of the odd part names the only n
    # that can fit: the row holds n^3.
    cubes = [0] * 128
    for n in range(1, 256, 2):
        cubes[(n ** 3 % 256) >> 1] = n ** 3
    assert all(cubes)
    out += [""] + tsrgen.c_array("inline constexpr uint32_t kOddCube[128]", ["0x%06x" % c for c in cubes], 8,
                                 comment="n^3 for the odd n < 2^8 whose cube is congruent to 2 i + 1 modulo 2^8 (row i).")
    out += ["", "}  // namespace", "}  // namespace tsr::crf::quick", ""]
    text = "\n".join(out)
    tsrgen.write_outputs({"correct/crf_quick.h": text})


if __name__ == "__main__":
    main()
