#!/usr/bin/env python3
"""Generates elementary/log_data.cpp: every table of the logarithm family.

Run: python3 tools/gen/log_tables.py [--out DIR]

Each table is computed from its defining rule with mpmath at 300 bits; head/tail pairs
are cut so that the head plus the exponent's multiple of the matching constant's head is
exact in the tier that adds them."""
from mpmath import mp, mpf, log

import tsrgen as g

mp.prec = 300


def rn(x):
    """The double nearest x."""
    return g.to_format(x, g.BINARY64)


def hexd(v):
    return "tsr_d(%s)" % g.hexint(g.to_bits(v, g.BINARY64), 16, "ull")


def dbits(b):
    return g.from_bits(b, g.BINARY64)


def pair(v, grain):
    """(head, tail): head v rounded to a multiple of 2^grain (a double), tail the rest."""
    h = g.round_grid(v, grain)
    assert rn(h) == h
    return h, rn(v - h)


out = []


def emit_pairs(name, rows, comment):
    out.extend(g.c_array("alignas(16) const double %s[%d][2]" % (name, len(rows)),
                         ["{%s, %s}" % (hexd(h), hexd(l)) for h, l in rows], 1, comment))
    out.append("")


def emit_split(name, rows, comment):
    """The rows as a Rows129: all heads, then all tails."""
    out.append("// %s" % comment)
    out.append("alignas(64) const Rows129 %s = {" % name)
    for part in (0, 1):
        out.append("    {")
        out.extend(g.c_rows([hexd(r[part]) for r in rows], 4, "        "))
        out.append("    },")
    out.append("};")
    out.append("")


def emit_doubles(name, vals, comment):
    out.extend(g.c_array("alignas(16) const double %s[%d]" % (name, len(vals)), [hexd(v) for v in vals], 4,
                         comment))
    out.append("")


def R128(i):
    return (1 + mpf(i) / 128) / 2 if i < 128 else mpf(1)


# ---- -ln R_i, R_i = (1 + i/128)/2: heads on an absolute grain so that hi + n*ln2_hi is exact.
emit_pairs("log_neg129_ex", [pair(-log(R128(i)), -42) for i in range(129)],
           "-ln R_i, R_i = (1 + i/128)/2 (R_128 = 1): heads multiples of 2^-42 (no-FMA tiers).")
# FMA form: heads on a 2^-39 grain, signed tails.  The tail of row 0 is ln 2 less its head,
# the same number the code uses as the low part of ln 2.  Heads and tails apart: the row
# is on the critical path of log, and the index scaled by 8 needs no shift before the loads.
emit_split("log_neg129_fma", [pair(-log(R128(i)), -39) for i in range(129)],
           "-ln R_i as above, heads multiples of 2^-39, signed tails (FMA tiers).")


# ---- log2 rows for the reduction toward c: row k <-> the rounded reciprocal R' whose
# 8 bits above bit 15 are k + off, R' in the binade below and at 1.
def rprime(k, off, scale_lo, scale_hi):
    j = k + off
    return (1 + mpf(j) / 128) * scale_lo if j < 128 else (1 + mpf(j - 128) / 128) * scale_hi


c2 = mpf(1.4453125)
emit_pairs("log2_rows_ex", [pair(log(c2 / rprime(k, 57, mpf(1) / 2, 1), 2), -42) for k in range(129)],
           "log2(1.4453125 / R'), R' the reciprocal of row k (no-FMA tiers).")
c2l = mpf(1.4375)


def rl9(k):
    # rows 0..71: mantissa 56..127 below 1; rows 72..128: mantissa 0..56 at 1
    return (1 + mpf(k + 56) / 128) / 2 if k < 72 else 1 + mpf(k - 72) / 128


emit_split("log2_rows_l9", [pair(log(c2l / rl9(k), 2), -42) for k in range(129)],
           "log2(1.4375 / R'), R' the rounded reciprocal of row k (FMA tier).")

c10 = mpf(0.43359375)
emit_pairs("log10_rows_ex", [pair(log(c10 / rprime(k, 94, mpf(1) / 8, mpf(1) / 4), 10), -43) for k in range(129)],
           "log10(0.43359375 / R'), R' the reciprocal of row k (no-FMA tiers).")

# FMA tiers: the rows carry -1023*log10(2) by its head and tail, so that the biased exponent
# E multiplies both parts of log10(2) without a subtraction of the bias.
L10HI = dbits(0x3fd34413509f0000)
L10LO = dbits(0x3d7e7fbcc47c0000)
log10_l9 = []
for i in range(129):
    # Row 0 (R = 1/2) takes log10(2) as the code's own head + tail too: just below 1 the
    # exponent's -log10(2) and this row then cancel exactly and the result is the polynomial.
    t = -log(R128(i), 10) if i else L10HI + L10LO
    h = -1023 * L10HI + g.round_grid(t, -38)
    assert rn(h) == h
    log10_l9.append((h, rn(-1023 * L10LO + (t - g.round_grid(t, -38)))))
emit_pairs("log10_rows_l9", log10_l9,
           "-1023*log10(2) - log10 R_i with log10(2) as the code's head + tail: head -1023*head(log10 2)\n"
           "plus -log10 R_i on a 2^-38 grain, so that row 128 cancels 1023 times log10(2) exactly (FMA tiers).")


# ---- float tables
def R256(i):
    return (1 + mpf(i) / 256) / 2 if i < 256 else mpf(1)


emit_doubles("log_f257", [-log(R256(i)) for i in range(257)], "-ln R_i, R_i = (1 + i/256)/2, last row 0.")
emit_doubles("log2_f257", [-log(R256(i), 2) for i in range(257)], "-log2 R_i.")
emit_doubles("log10_f257", [-log(R256(i), 10) for i in range(257)], "-log10 R_i.")
emit_doubles("log_l2f512", [log(1 + mpf(i) / 512, 2) - 127 for i in range(512)], "log2(1 + i/512) - 127.")

rcp = [g.round_grid(1 / (1 + (mpf(i) + mpf(1) / 2) / 256), -9) for i in range(256)]
out.extend(g.c_array("alignas(16) const float log_rcp256_r[256]", ["%.9gf" % float(r) for r in rcp], 8,
                     "r_i = 1/(1 + (i + 1/2)/256) rounded to a multiple of 2^-9."))
out.append("")
emit_doubles("log_rcp256_l", [-log(r) for r in rcp], "-ln r_i.")
# What -ln r_i leaves beyond its double: log1p (ex) subtracts n*ln2 from -ln r_i for
# 1 + x below 1, where the double alone would cost several ulp.
emit_doubles("log_rcp256_t", [-log(r) - rn(-log(r)) for r in rcp], "-ln r_i less its double.")

# ---- kernel rows: R = 1/(1 + i/64) rounded to a multiple of 2^-9, -ln R in a head with 21
# low zero bits and a tail.
rows = []
for i in range(65):
    R = g.round_grid(1 / (1 + mpf(i) / 64), -9)
    v = -log(R)
    h = g.round_bits(v, 32)
    if i == 64:
        # R = 1/2: -ln R is ln 2 in the kernel's own two parts, so that for arguments just
        # below 1 the exponent's -ln 2 and this row cancel exactly.
        h, t = dbits(0x3fe62e42fefa3800), dbits(0x3d2ef35793c76730)
    else:
        t = rn(v - h)
    rows.append("{%s, %s, %s}" % (hexd(R), hexd(h), hexd(t)))
out.extend(g.c_array("alignas(16) const double log_k64_rows[65][3]", rows, 1,
                     "(R, -ln R head, tail), R = 1/(1 + i/64) rounded to a multiple of 2^-9."))
out.append("")

# ---- log2p1: 1023 + log2(1.4375/(1 + i/256)), heads on a 2^-39 grain.
emit_pairs("log2p1_rows", [pair(1023 + log(mpf(1.4375) / (1 + mpf(i) / 256), 2), -39) for i in range(256)],
           "1023 + log2(1.4375 / (1 + i/256)), heads multiples of 2^-39.")

# ---- exact powers of ten for log10f, row (n * 0x5556) >> 16 for the exponent n of 10^k.
pow10 = [(0xffffffff, 0)] * 12
for k in range(1, 11):
    n = (10 ** k).bit_length() - 1
    r = (n * 0x5556) >> 16
    assert pow10[r][0] == 0xffffffff
    pow10[r] = (g.to_bits(10 ** k, g.BINARY32), k)
out.extend(g.c_array("alignas(16) const uint32_t log10f_pow10[12][2]",
                     ["{%s, %s}" % (g.hexint(b, 8, "u"), g.hexint(g.to_bits(k, g.BINARY32), 8, "u"))
                      for b, k in pow10], 1,
                     "(bits of 10^k, k) at row (n * 0x5556) >> 16, n the exponent of 10^k; free rows hold a\n"
                     "pattern no positive float has."))

g.write_outputs({"elementary/log_data.cpp": "\n".join(
    [g.header("log_tables.py"), '#include "elementary/log_data.h"', "", "namespace tsr::logtab {"] + out +
    ["}  // namespace tsr::logtab", ""])})
