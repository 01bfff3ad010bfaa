#!/usr/bin/env python3
"""The polynomial approximations of elementary/ and their measured error.

Every polynomial that approximates a function in the elementary sources is listed here with
the function it stands for, the interval its argument runs over and its coefficients, power
by power.  The script measures the error of the polynomial as written (its coefficients as
the doubles or floats the code holds, evaluated exactly) against the function with mpmath,
and keeps the comment above the coefficients that states it:

    // approximation of e^r on [-0x1.63p-7, 0x1.63p-7], degree 6, max relative error
    // 2^-63.54 (measured by tools/gen/approximations.py)

The bound is the measured maximum rounded up to the next 0.01 in its base-2 logarithm.  What
it covers is the approximation alone; the rounding errors of the evaluation come on top and
are the business of each body's own comments.

    approximations.py --check   recompute; exit 1 if a comment or a coefficient differs
    approximations.py --write   rewrite the comments in the sources
    approximations.py           print the table of bounds

A coefficient listed here must stand as a literal in the lines the entry names (bit pattern,
hex-float or decimal, either sign), so that a changed coefficient fails the check until its
entry is updated and its error measured again.
"""
import math
import os
import re
import struct
import sys
import textwrap
from fractions import Fraction

from mpmath import mp, mpf

import tsrgen as g

SCRIPT = "approximations.py"
MARK = "(measured by tools/gen/%s)" % SCRIPT
WIDTH = 100

mp.prec = 128


# ---- coefficients -----------------------------------------------------------------------
class Lit:
    """A coefficient the code writes as a literal: its value (a double or a float)."""

    def __init__(self, value, name=None):
        self.value, self.name = Fraction(value), name


def d(h):
    """A double coefficient given by its bit pattern (hex digits)."""
    return Lit(g.exact(g.from_bits(int(h, 16), g.BINARY64)))


def f(h):
    """A float coefficient given by its bit pattern."""
    return Lit(g.exact(g.from_bits(int(h, 16), g.BINARY32)))


def dec(x):
    """A coefficient the code writes as a short decimal literal (0.5, 0.25, ...)."""
    return Lit(Fraction(float(x)))


def named(name, lit):
    """A coefficient the code reads from a named constant: the name and the literal must
    stand in the file."""
    return Lit(lit.value, name)


def value(c):
    """The exact value of a coefficient: an int/Fraction the code applies implicitly (the 1
    of r + ...), a literal, or a tuple whose terms the code adds (a coefficient in two
    words, or 1 + a small correction)."""
    if isinstance(c, tuple):
        return sum((value(t) for t in c), Fraction(0))
    if isinstance(c, Lit):
        return c.value
    return Fraction(c)


def literals(c):
    if isinstance(c, tuple):
        return [x for t in c for x in literals(t)]
    return [c] if isinstance(c, Lit) else []


# ---- the reduced arguments' ranges ------------------------------------------------------
def rcp_range(frac_bits, c=1, err=Fraction(3, 2 ** 13)):
    """r = m R - c with R the processor's reciprocal estimate of m (times c), relative error
    below 1.5 2^-12, rounded to frac_bits fraction bits: |r| <= c ((1 + err)(1 + half an
    ulp) - 1)."""
    delta = (1 + err) * (1 + Fraction(1, 2 ** (frac_bits + 1))) - 1
    return -c * delta, c * delta


def rows_range(rows):
    """r = R m - 1 over rows (R, lowest m, highest m): the extremes."""
    lo = min(R * a - 1 for R, a, b in rows)
    hi = max(R * b - 1 for R, a, b in rows)
    return lo, hi


def rcp256_range():
    # r_i = 1/(1 + (i + 1/2)/256) on the grid 2^-9, m in [1 + i/256, 1 + (i + 1)/256)
    rows = []
    for i in range(256):
        R = g.exact(g.round_grid(1 / (1 + (mpf(i) + mpf(1) / 2) / 256), -9))
        rows.append((R, 1 + Fraction(i, 256), 1 + Fraction(i + 1, 256)))
    return rows_range(rows)


def k64_range():
    # R_i = 1/(1 + i/64) on the grid 2^-9, i = round(64 (hi - 1)), hi in [1, 2)
    rows = []
    for i in range(65):
        R = g.exact(g.round_grid(1 / (1 + mpf(i) / 64), -9))
        rows.append((R, max(1 + Fraction(2 * i - 1, 128), Fraction(1)), min(1 + Fraction(2 * i + 1, 128), Fraction(2))))
    return rows_range(rows)


def log128_range():
    # R_k = 1/(1 + k/128) on the grid 2^-8 (R_0 = 1), m within 1/256 of 1 + k/128
    rows = []
    for k in range(128):
        R = g.exact(g.round_grid(1 / (1 + mpf(k) / 128), -8)) if k else Fraction(1)
        rows.append((R, 1 + Fraction(2 * k - 1, 256), 1 + Fraction(2 * k + 1, 256)))
    return rows_range(rows)


def sym(h):
    h = Fraction(h) if not isinstance(h, mpf) else g.exact(h)
    return -h, h


LN2 = mp.log(2)
LN10 = mp.log(10)
LOG10_2 = mp.log10(2)
LOG2E = 1 / LN2


def exp_(r):
    return mp.exp(r)


def pow2(scale=1):
    return lambda r: mp.power(2, r / scale)


def pow10(r):
    return mp.power(10, r)


def log1p_over(c=1, base=None):
    """log_base(1 + r/c) (natural when base is None)."""
    def fn(r):
        v = mp.log1p(r / c)
        return v / mp.log(base) if base else v
    return fn


# ---- the approximations -----------------------------------------------------------------
class Entry:
    """An approximation: where it stands (file; anchor, the texts that lead in order to the
    line the comment goes above), what it approximates (fn of mpf, its text), on which
    interval, with which coefficients (index = power), and whether the error that matters
    is relative; `window` (before, after) bounds the lines that hold its literals."""

    def __init__(self, file, anchor, text, fn, interval, coeffs, relative=True, window=(0, 12)):
        self.file, self.anchor, self.text, self.fn = file, anchor, text, fn
        self.a, self.b = (mpf(g.to_mpf(Fraction(v))) if isinstance(v, Fraction) else mpf(v) for v in interval)
        self.coeffs, self.relative, self.window = coeffs, relative, window
        self.degree = max(k for k, c in enumerate(coeffs) if value(c) != 0)

    def measure(self):
        c = [g.to_mpf(value(x)) for x in self.coeffs]
        err, at = g.measure(c, self.fn, self.a, self.b, self.relative, grid=800)
        self.err_log2 = math.ceil(float(mp.log(err, 2)) * 100) / 100
        return self.err_log2

    def comment(self, indent):
        text = g.approx_comment(self.a, self.b, self.degree, self.err_log2, SCRIPT, self.text, self.relative)
        keep = MARK.replace(" ", "\0")  # the mark stays on one line: it finds the comment again
        lines = textwrap.wrap(text.replace(MARK, keep), WIDTH - len(indent) - 3, initial_indent=indent + "// ",
                              subsequent_indent=indent + "// ", break_on_hyphens=False)
        return [x.replace("\0", " ") for x in lines]


E, TWO, TEN = "elementary/exp.cpp", "elementary/exp2.cpp", "elementary/exp10.cpp"
EXPC, EXPK = "elementary/exp_common.h", "elementary/exp_kernels.cpp"
LOGC, LOG, LOG2, LOG10 = "elementary/log_common.h", "elementary/log.cpp", "elementary/log2.cpp", "elementary/log10.cpp"
LOGKH = "elementary/log_kernels.h"  # the kernels' bodies shared inline with other families
LOGK, LOGF, LOG1P, LOG2P1 = "elementary/log_kernels.cpp", "elementary/logf.cpp", "elementary/log1p.cpp", "elementary/log2p1.cpp"
POW = POWF = "elementary/pow.cpp"

ONE = 1
LN2_128 = LN2 / 128
EXP2_F256 = [ONE, d("3fe62e42fefa72c5"), d("3fcebfbdff82c58e")]   # 2^r, |r| <= 2^-9
EXP_F256 = [ONE, d("3f662e42fefa72c5"), d("3ecebfbdff82c58e")]    # 2^(r/256), |r| <= 1/2
LOG_T6 = [0, ONE, d("bfdffffffffe7cd8"), d("3fd555555607defb"), d("bfd0000131103c07"),
          d("3fc999822c96ef82"), d("bfc4ea033ecbaf05")]            # log(1 + t)
LOG_R3 = [0, ONE, d("bfe00001e7362feb"), d("3fd5555a6890dd10")]   # log(1 + u), u from log_rcp256
LOGF_E7 = [0, ONE, d("bfe0000141ffcb10"), d("3fd5555555555555")]
LOG_FMA = [0, ONE, d("bfe0000000000001"), d("3fd555555555555a"), d("bfcfffffffebf6c8"),
           d("3fc9999999788658"), d("bfc55576d47e8a7a"), d("3fc2494ada7861ff")]
EXP_TAIL = [ONE, named("kLn2", d("3fe62e42fefa39ef")), d("3fcebfbdff82c58f"), d("3fac6b08d704a0c0"),
            d("3f83b2ab6fba4e77"), d("3f55d87fe78a6731")]       # pow ex and e7: 2^z (one polynomial)

ENTRIES = [
    # ---- exponentials
    Entry(E, ["inline double exp_body", "const double c2 ="], "e^r", exp_, sym(LN2_128),
          [ONE, ONE, d("3fdffffffffffffe"), d("3fc5555555548ba1"), d("3fa55555555b9e25"),
           d("3f811115c090cf0f"), d("3f56c15ce3289860")], window=(0, 2)),
    Entry(E, ["inline float expf_body", "const double K ="], "2^(r/256)", pow2(256), sym(Fraction(1, 2)),
          EXP_F256, window=(0, 0)),
    Entry(E, ["inline double exp_fma_core", "double A ="], "e^r", exp_, sym(LN2_128),
          [ONE, ONE, d("3fdfffffffffe5bc"), d("3fc55555555541d3"), d("3fa555570aa70f87"), d("3f8111126eeb729a")],
          window=(0, 2)),
    Entry(E, ["inline double expf_fma_poly", "double a ="], "e^r", exp_, sym(LN2 / 64),
          [ONE, d("3feffffffff81eec"), d("3fe0000a3fec6dc4"), d("3fc55561a20a7574")], window=(0, 2)),
    Entry(TWO, ["inline double exp2_ex", "double s2 = r * r;"], "2^r", pow2(), sym(Fraction(1, 256)),
          [ONE, (d("3fe62e4200000000"), d("3e9fdf473de6af28")), d("3fcebfbdff82c58f"), d("3fac6b08d704a0c3"),
           d("3f83b2ab6fba31d1"), d("3f55d87fe87ed439"), d("3f24308cac59a345"), d("3ef0097a00cb0678")],
          window=(-8, 5)),
    Entry(TWO, ["inline float exp2f_ex_core", "double s2 = r * r;"], "2^r", pow2(), sym(Fraction(1, 128)),
          [ONE, d("3fe62e42fef9277b"), d("3fcebfbe081585e7"), d("3fac6af0d93cf576"), d("3f83ce0f3e46f43a")],
          window=(0, 3)),
    Entry(TWO, ["inline double exp2_e7", "const double c1 ="], "2^(r/128)", pow2(128), sym(Fraction(1, 2)),
          [ONE, d("3f762e42fefa39ef"), d("3eeebfbdff82c58e"), d("3e5c6b08d704a0bf"), d("3dc3b2ab6fba4e77"),
           d("3d25d87fe78a6731")], window=(0, 3)),
    Entry(TWO, ["inline float exp2f_e7", "const double S2 ="], "2^r", pow2(), sym(Fraction(1, 512)),
          EXP2_F256, window=(0, 1)),
    Entry(TWO, ["inline double exp2_fma_poly", "double P ="], "2^r", pow2(), sym(Fraction(1, 128)),
          [ONE, d("3fe62e42fefa39ef"), d("3fcebfbdff829821"), d("3fac6b08d7047ac4"), d("3f83b2ad5447fdff"),
           d("3f55d881e7541815")], window=(0, 4)),
    Entry(TWO, ["inline float exp2f_fma_poly", "// The polynomial tail"], "2^r", pow2(), sym(Fraction(1, 64)),
          [ONE, f("3f317218"), f("3e75fe8e"), f("3d6358ca")], window=(0, 8)),
    Entry(TEN, ["inline float exp10f_ex", "double s2 = r * r;"], "10^r", pow10, sym(LOG10_2 / 128),
          [ONE, d("40026bb1bbb47127"), d("40053524cd26a2f3"), d("400046f7d3f4b8ec"), d("3ff2d784e2724acf")],
          window=(0, 3)),
    Entry(TEN, ["inline double exp10_e7", "double r2 = r * r;"], "10^r", pow10, sym(LOG10_2 / 128),
          [ONE, d("40026bb1bbb55516"), d("40053524c73cd328"), d("4000470591daeb1e"), d("3ff2bd77b1487d50"),
           d("3fe142b5d38ee238")], window=(0, 3)),
    Entry(TEN, ["inline double exp10f_core", "const double K ="], "2^(r/256)", pow2(256), sym(Fraction(1, 2)),
          EXP_F256, window=(0, 1)),
    Entry(EXPC, ["inline void exp10_split128", "double s2 = r * r;"], "10^r", pow10, sym(LOG10_2 / 256),
          [ONE, (d("40026bb100000000"), d("3eb776aaa2b05ba9")), d("40053524c73cea69"), d("4000470591de2ca4"),
           d("3ff2bd7609fd8b95"), d("3fe1429ffd1d41fe"), d("3fca7ed8d9d41e9c"), d("3fb16e4f25f8c2cc")],
          window=(-6, 5)),
    # the split scheme's coefficients, named for its two evaluation orders (e_split128 and
    # e_split128_short below them)
    Entry(EXPC, ["constexpr double ESPLIT_C3 ="], "e^r", exp_, sym(LN2 / 256),
          [ONE, ONE, dec(0.5), d("3fc5555555555405"), d("3fa555555555541d"), d("3f8111116887cd7c"),
           d("3f56c16c87372663")], window=(0, 14)),
    Entry(EXPK, ["if constexpr (F == k2)", "double s2 = r * r;"], "2^r", pow2(), sym(Fraction(1, 256)),
          [ONE, (d("3fe62e4200000000"), d("3e9fdf473de6af28")), d("3fcebfbdff82c58f"), d("3fac6b08d704a0c3"),
           d("3f83b2ab6fba31d1"), d("3f55d87fe87ed439"), d("3f24308cac59a345"), d("3ef0097a00cb0678")],
          window=(-4, 5)),
    # ---- logarithms
    Entry(LOGC, ["inline double frame", "if constexpr (B == Base::e)", "a0 ="], "log(1 + r)", log1p_over(),
          rcp_range(7), [0, ONE, d("bfe0000000000000"), d("3fd5555555555555"), d("bfd0000000000000"),
                         d("3fc999999999999a"), d("bfc5555e3d6fb175"), d("3fc2492492492492")], window=(0, 3)),
    Entry(LOGC, ["inline double frame", "} else if constexpr (B == Base::two)", "a0 ="], "log2(1 + r/1.4453125)",
          log1p_over(mpf(1.4453125), 2), rcp_range(7, Fraction(185, 128)),
          [0, (ONE, d("bf5dabe1161bb241")), d("bfd619b6b3841d2a"), d("3fc4635e486ececc"), d("bfb528db9f95985a"),
           d("3fa76c9bac8349bb"), d("bf9b030cd737db11"), d("3f9004f2518775e3")], window=(-2, 3)),
    Entry(LOGC, ["inline double frame", "} else {", "a0 ="], "log10(1 + r/0.43359375)",
          log1p_over(mpf(0.43359375), 10), rcp_range(7, Fraction(111, 256)),
          [0, (ONE, d("3f5a7a6cbf2e4108")), d("bff27af2dc77b115"), d("3ffc6a02dc963467"), d("c008930964d4ef0d"),
           d("4016ab9f7f9d3aa1"), d("c025c917385593b1"), d("40358874c1a5f12e")], window=(-2, 3)),
    Entry(LOGC, ["inline double log_fma_poly", "double A ="], "log(1 + r)", log1p_over(), rcp_range(7), LOG_FMA,
          window=(0, 3)),
    Entry(LOG2, ["inline double log2_fma", "double lo ="], "log2(1 + r/1.4375)", log1p_over(mpf(1.4375), 2),
          rcp_range(7, Fraction(23, 16)),
          [0, (ONE, d("3f6d9afc100429de")), d("bfd65760af590e08"), d("3fc4b8ee15a7ef57"), d("bfb59f9443110077"),
           d("3fa811571bde72ee"), d("bf9be7c10af26d12"), d("3f90a3a5927b4ddf")], window=(0, 5)),
    Entry(LOG10, ["double S = __builtin_fma(L, r, H);"], "log10(1 + r)", log1p_over(1, 10), rcp_range(7),
          [0, (named("L", d("3fdbcb7b1526e50e")), d("3c69509ed32130bc")), d("bfcbcb7b1526e53f"),
           d("3fc287a7636f43bb"), d("bfbbcb7b14641063"), d("3fb63c6276640f43"), d("bfb28808b8a217c3"),
           d("3fafc4bd1a7123b3")], window=(-1, 8)),
    Entry(LOGKH, ["constexpr double kLogK64P[7] = {"], "log(1 + r)", log1p_over(), k64_range(),
          [0, ONE, dec(-0.5), d("3fd5555555555613"), d("bfd0000000000262"), d("3fc9999997b36c81"),
           d("bfc555555228b38f"), d("3fc249c02481059d"), d("bfc000b405a2836d")], window=(0, 2)),
    Entry(LOGK, ["__libm_log_k32", "double t = x - 1.0"], "log(1 + t)", log1p_over(), sym(Fraction(1, 128)),
          LOG_T6, window=(0, 4)),
    Entry(LOGKH, ["log_k32_table", "double u = double("], "log(1 + u)", log1p_over(), rcp256_range(), LOG_R3,
          window=(0, 2)),
    Entry(LOGF, ["inline float logf_ex", "if constexpr (B == Base::e)"], "log(1 + t)", log1p_over(),
          (Fraction(-1, 64), Fraction(1, 32)), LOG_T6, window=(0, 3)),
    Entry(LOGF, ["inline float logf_ex", "else if constexpr (B == Base::two)"], "log2(1 + t)", log1p_over(1, 2),
          sym(Fraction(1, 128)),
          [0, named("kLog2e", d("3ff71547652b82fe")), d("bfe71547652a6bb8"), d("3fdec709dd3b974d"),
           d("bfd715491d488fd8"), d("3fd2775b6b01e410"), d("bfce2c352133b234")], window=(0, 2)),
    Entry(LOGF, ["inline float logf_ex", "else if constexpr (B == Base::two)", "else"], "log10(1 + t)",
          log1p_over(1, 10), sym(Fraction(1, 128)),
          [0, named("kLog10e", d("3fdbcb7b1526e50e")), d("bfcbcb7b152594c6"), d("3fc287a7640a56cb"),
           d("bfbbcb7d2719f314"), d("3fb63c4e1e626def"), d("bfb22a6fb2e1aee3")], window=(0, 2)),
    Entry(LOGF, ["inline float logf_ex", "double L = logtab", "if constexpr (B == Base::e)"], "log(1 + u)",
          log1p_over(), rcp256_range(), LOG_R3, window=(0, 2)),
    Entry(LOGF, ["inline float logf_ex", "double L = logtab", "else if constexpr (B == Base::two)"],
          "log2(1 + u)", log1p_over(1, 2), rcp256_range(),
          [0, named("kLog2e", d("3ff71547652b82fe")), d("bfe7154a24115d08"), d("3fdec7112e9f7aab")],
          window=(0, 2)),
    Entry(LOGF, ["inline float logf_ex", "double L = logtab", "} else {"], "log10(1 + u)", log1p_over(1, 10),
          rcp256_range(),
          [0, named("kLog10e", d("3fdbcb7b1526e50e")), d("bfcbcb7e6386795f"), d("3fc287abcbef04d1")],
          window=(0, 2)),
    Entry(LOGF, ["inline float logf_e7", "double q ="], "log(1 + u)", log1p_over(), rcp_range(8), LOGF_E7,
          window=(0, 1)),
    Entry(LOGF, ["inline float logf_l9_main", "if constexpr (B == Base::two)"], "log2(1 + u)", log1p_over(1, 2),
          rcp_range(9), [0, named("kLog2e", d("3ff71547652b82fe")), d("bfe715498f2a8070"), d("3fdec70e30381c88")],
          window=(0, 3)),
    Entry(LOGF, ["inline float logf_l9_main", "} else {"], "log(1 + u)", log1p_over(), rcp_range(9),
          [0, ONE, d("bfe00001800034a7"), d("3fd555585555d331")], window=(0, 2)),
    Entry(LOG1P, ["TSR_BODY(double, log1p", "if (H >= 0x3c600000u)"], "log(1 + x)", log1p_over(),
          sym(Fraction(1, 2 ** 13)),
          [0, ONE, dec(-0.5), d("3fd5555555555555"), d("bfd0000003555556"), d("3fc99999a199b4b4")],
          window=(0, 4)),
    Entry(LOG1P, ["TSR_BODY(double, log1p", "double u = hi + lo"], "log(1 + u)", log1p_over(), rcp256_range(),
          [0, ONE, dec(-0.5), d("3fd555555554d0df"), d("bfcffffffffe169d"), d("3fc999a24cdb6abc"),
           d("bfc5555f7bd1fcd4")], window=(0, 7)),
    Entry(LOGC, ["inline bool log1pf_front", "else *r = float(u - u * u * 0.5)"], "log(1 + x)", log1p_over(),
          sym(Fraction(1, 2 ** 28)), [0, ONE, dec(-0.5)], window=(0, 0)),
    Entry(LOG1P, ["#if TSR_TIER_E7", "double x2 = x * x"], "log(1 + x)", log1p_over(), sym(Fraction(1, 128)),
          [0, ONE, dec(-0.5), d("3fd5555555555555"), dec(-0.25), dec(0.2), d("bfc5555555555555"),
           d("3fc2492492492492"), dec(-0.125)], window=(0, 3)),
    Entry(LOG1P, ["#if TSR_TIER_E7", "double r2 = rr * rr;"], "log(1 + r)", log1p_over(), rcp_range(7),
          [0, ONE, dec(-0.5), d("3fd5555555555555"), dec(-0.25), d("3fc999999999999a"), d("bfc5555e3d6fb175"),
           d("3fc2492492492492")], window=(0, 4)),
    Entry(LOG1P, ["inline double log1p_fma", "double c ="], "log(1 + x)", log1p_over(), sym(Fraction(1, 2 ** 20)),
          [0, ONE, d("bfe0000000000001"), d("3fd555555555555a")], window=(0, 1)),
    Entry(LOG2P1, ["// 1/ln 2 as a 9-bit head"], "log2(1 + x)", log1p_over(1, 2), sym(Fraction(1, 2 ** 20)),
          [0, (d("3ff7100000000000"), d("3f551d94ae0bf85d")), d("bfe71547652b8ba6"), d("3fdec709dc3a154d")],
          window=(0, 6)),
    Entry(LOG2P1, ["double r2 = r * r;"], "log2(1 + r/1.4375)", log1p_over(mpf(1.4375), 2),
          rcp_range(8, Fraction(23, 16)),
          [0, (ONE, d("3f6d9afc100429df")), d("bfd65760af590e07"), d("3fc4b8ee15a78078"), d("bfb59f94431dc333"),
           d("3fa8115eb396d9f4"), d("bf9be79fca97b5b0")], window=(0, 5)),
    # ---- powers
    Entry(POW, ["#if TSR_TIER_E7", "// log2(1 + r/kC) - r ="], "log2(1 + r/1.4453125)",
          log1p_over(mpf(1.4453125), 2), rcp_range(9, Fraction(185, 128)),
          [0, (ONE, d("bf5dabe1161bb241")), d("bfd619b6b3841d2a"), d("3fc4635e486ececc"), d("bfb528db9f95985a"),
           d("3fa76c9bac8349bb"), d("bf9b0301ee241472"), d("3f9004f2518775e3"), d("bf8365786dc96112")],
          window=(0, 4)),
    Entry(POW, ["#if TSR_TIER_E7", "// The two coefficients whose rounding matters"], "log2(1 + r/1.4453125)",
          log1p_over(mpf(1.4453125), 2), rcp_range(9, Fraction(185, 128)),
          [0, (ONE, d("bf5dabe100000000"), d("bdd61bb2412055cc")), (d("bfd61a0000000000"), d("3ef2531ef8b5787d")),
           d("3fc4635e486ececb"), d("bfb528db9f95985a"), d("3fa76c9bac8349bb"), d("bf9b0301ee241472"),
           d("3f9004f2518775e3"), d("bf8365786dc96112")], window=(-5, 3)),
    Entry(POW, ["// 2^z = 1 + z ln2"], "2^z", pow2(), sym(Fraction(1, 256)), EXP_TAIL, window=(0, 2)),
    Entry(POW, ["#if TSR_TIER_EX", "constexpr double kC0"], "log2(1 + r/C0)",
          log1p_over(g.from_bits(0x3ff7154740000000, g.BINARY64), 2),
          sym(g.exact(g.from_bits(0x3ff7154740000000, g.BINARY64) * mp.power(2, mpf(-20.4)))),
          [0, (ONE, d("3e79c3a6966457ee")), d("bfd62e4346694107"), d("3fc47fd462b3b816"), d("bfb550472a8bb463")],
          window=(0, 2)),
    Entry(POW, ["#if TSR_TIER_L9", "double A = __builtin_fma("], "log2(1 + r)", log1p_over(1, 2), log128_range(),
          [0, (named("kL2e", d("3ff71547652b82fe")), named("kL2eLo", d("3c7777d1083f2b10"))), d("bfe71547652b82fe"),
           d("3fdec709dc3a03fd"), d("bfd71547652b8413"), d("3fd2776c50ef9e4a"), d("bfcec709da475e58"),
           d("3fca617627a8eb10"), d("bfc715ed9b489989"), d("3fc48569ebc938ec")], window=(0, 8)),
    Entry(POW, ["#if TSR_TIER_L9", "constexpr double c2 ="], "log2(1 + r)", log1p_over(1, 2), log128_range(),
          [0, (named("kL2e", d("3ff71547652b82fe")), named("kL2eLo", d("3c7777d1083f2b10"))),
           (d("bfe71547652b82fe"), d("bc674e42f9c11c7e")), d("3fdec709dc3a03fd"), d("bfd71547652b8413"),
           d("3fd2776c50ef9e4a"), d("bfcec709da475e58"), d("3fca617627a8eb10"), d("bfc715ed9b489989"),
           d("3fc48569ebc938ec")], window=(-25, 10)),
    Entry(POW, ["#if TSR_TIER_L9", "double Ae ="], "2^z", pow2(), sym(Fraction(1, 256)),
          [ONE, d("3fe62e42fefa39ef"), d("3fcebfbdff82c2b8"), d("3fac6b08d7049e60"), d("3f83b2abe8ddb6ba"),
           d("3f55d880677c3b3d")], window=(0, 3)),
    Entry(POWF, ["// log2(1 + r ln2) - r"], "log2(1 + r ln 2)", lambda r: mp.log1p(r * LN2) / LN2,
          sym(LOG2E / 128), [0, ONE, d("bfd62e42fefa39ef"), d("3fc47fd3ffac83b4"), d("bfb55046a1437890"),
                             d("3fa7a3341fac5e29")], window=(0, 2)),
    Entry(POWF, ["// 2^z = 1 + z (V + z^2 W)"], "2^z", pow2(), sym(Fraction(1, 32)),
          [ONE, named("kLn2", d("3fe62e42fefa39ef")), d("3fcebfbdff82c58e"), d("3fac6b08d704a0bf"),
           d("3f83b2ab6fba4e77")], window=(-9, 2)),
    Entry(POWF, ["double L = __builtin_fma("], "log2(1 + u)", log1p_over(1, 2), rcp_range(7),
          [0, d("3ff71547652aaf92"), d("bfe715476526017e"), d("3fdec71ff3a912b3"), d("bfd71563027e14e2")],
          window=(0, 3)),
    Entry(POWF, ["double q = __builtin_fma(__builtin_fma("], "2^z", pow2(), sym(Fraction(1, 32)),
          [ONE, d("3fe62e42fef4c3ce"), d("3fcebfd1b232e085"), d("3fac6b1939683018")], window=(0, 1)),
]


# ---- the sources ------------------------------------------------------------------------
NUM = re.compile(r"(?:\b(?:D|f64|tsr_d)\(0x([0-9a-fA-F]+)(?:ull)?\))|(?:\b(?:F|f32)\(0x([0-9a-fA-F]+)u?\))|"
                 r"(0x[0-9a-fA-F]*\.?[0-9a-fA-F]*p[+-]?\d+)[fFlL]?|(?<![\w.])(\d+\.\d*(?:e[+-]?\d+)?)f?")


def literal_values(text):
    """The absolute values of the numeric literals of some source text."""
    out = set()
    for m in NUM.finditer(text):
        if m.group(1):
            v = struct.unpack("<d", int(m.group(1), 16).to_bytes(8, "little"))[0]
        elif m.group(2):
            v = struct.unpack("<f", int(m.group(2), 16).to_bytes(4, "little"))[0]
        elif m.group(3):
            v = float.fromhex(m.group(3))
        else:
            v = float(m.group(4))
        if math.isfinite(v):
            out.add(abs(Fraction(v)))
    return out


def locate(lines, anchor):
    """The index of the line the anchor texts lead to, each found after the one before."""
    i = -1
    for text in anchor:
        i += 1
        while i < len(lines) and text not in lines[i]:
            i += 1
        if i == len(lines):
            return None
    return i


def managed_above(lines, i):
    """The range [j, i) of the comment this script wrote above line i (empty if none)."""
    if i == 0 or MARK not in lines[i - 1]:
        return i, i
    j = i - 1
    while j > 0 and not lines[j].lstrip().startswith("// approximation of "):
        j -= 1
    return j, i


def process(write):
    """Measures every entry and compares (or rewrites) the comments; returns the problems."""
    problems = []
    by_file = {}
    for e in ENTRIES:
        by_file.setdefault(e.file, []).append(e)
    for rel, entries in by_file.items():
        path = os.path.join(g.ROOT, rel)
        lines = open(path).read().split("\n")
        text = "\n".join(lines)
        file_values = literal_values(text)
        edits = []
        for e in entries:
            i = locate(lines, e.anchor)
            if i is None:
                problems.append("%s: anchor %r not found" % (rel, e.anchor))
                continue
            j, _ = managed_above(lines, i)  # the lines before the entry: those above its comment
            lo, hi = max(j + e.window[0], 0), min(i + e.window[1] + 1, len(lines))
            window_text = "\n".join(lines[lo:hi])
            window_values = literal_values(window_text)
            for c in e.coeffs:
                for lit in literals(c):
                    where = file_values if lit.name else window_values
                    if abs(lit.value) not in where:
                        problems.append("%s:%d: coefficient %s of %s is not in the source" % (
                            rel, i + 1, float.hex(float(lit.value)), e.text))
                    if lit.name and not re.search(r"\b%s\b" % re.escape(lit.name), text):
                        problems.append("%s:%d: %s not in the file for %s" % (rel, i + 1, lit.name, e.text))
            e.measure()
            indent = re.match(r"\s*", lines[i]).group(0)
            want = e.comment(indent)
            if lines[j:i] != want:
                if not write:
                    problems.append("%s:%d: comment differs; measured: %s" % (rel, i + 1, " ".join(
                        x.strip()[3:] for x in want)))
                edits.append((j, i, want))
        if write and edits:
            for j, i, want in sorted(edits, reverse=True):
                lines[j:i] = want
            with open(path, "w") as out:
                out.write("\n".join(lines))
            print("wrote", rel)
    return problems


def main():
    args = sys.argv[1:]
    if "--check" in args or "--write" in args:
        problems = process("--write" in args)
        for p in problems:
            print(p)
        if problems and "--check" in args:
            sys.exit(1)
        if not problems:
            print("ok: %d approximations" % len(ENTRIES))
        return
    for e in ENTRIES:
        e.measure()
        print("%-22s %-26s %-28s deg %d  %s 2^%.2f" % (
            os.path.basename(e.file), e.text, "[%s, %s]" % (g.hexfloat(e.a), g.hexfloat(e.b)), e.degree,
            "rel" if e.relative else "abs", e.err_log2))


if __name__ == "__main__":
    main()
