#!/usr/bin/env python3
"""Generates elementary/log_data.cpp: every table of the logarithm family.

Run from the repository root:  python3 tools/gen/log_tables.py > elementary/log_data.cpp

Each table is computed from its defining rule with mpmath at 300 bits; head/tail pairs
are cut so that the head plus the exponent's multiple of the matching constant's head is
exact in the tier that adds them."""
import struct
import sys
from mpmath import mp, mpf, log, floor

mp.prec = 300


def d2b(x):
    return struct.unpack("<Q", struct.pack("<d", float(x)))[0]


def rn(x):
    """Nearest double (mpmath rounds to nearest when converting)."""
    return float(mp.mpf(x))


def b2d(b):
    return struct.unpack("<d", struct.pack("<Q", b))[0]


def f2b(x):
    return struct.unpack("<I", struct.pack("<f", x))[0]


def cut(x, grain):
    """x rounded to the nearest multiple of 2^grain."""
    s = mpf(2) ** grain
    return floor(x / s + mpf(1) / 2) * s


def pair(v, grain):
    h = cut(v, grain)
    hd = rn(h)
    assert mpf(hd) == h
    return hd, rn(v - mpf(hd))


LN2 = log(2)
LOG10_2 = log(2) / log(10)


def ln2_fma_hi():
    return mpf(b2d(0x3fe62e42fefa4000))


out = []


def emit_pairs(name, rows, comment):
    out.append("// %s" % comment)
    out.append("alignas(16) const double %s[%d][2] = {" % (name, len(rows)))
    for h, l in rows:
        out.append("    {%s, %s}," % (hexd(h), hexd(l)))
    out.append("};")
    out.append("")


def emit_split(name, rows, comment):
    """The rows as a Rows129: all heads, then all tails."""
    out.append("// %s" % comment)
    out.append("alignas(64) const Rows129 %s = {" % name)
    for part in (0, 1):
        out.append("    {")
        vals = [r[part] for r in rows]
        for i in range(0, len(vals), 4):
            out.append("        " + " ".join(hexd(v) + "," for v in vals[i:i + 4]))
        out.append("    },")
    out.append("};")
    out.append("")


def emit_doubles(name, vals, comment):
    out.append("// %s" % comment)
    out.append("alignas(16) const double %s[%d] = {" % (name, len(vals)))
    for i in range(0, len(vals), 4):
        out.append("    " + " ".join(hexd(v) + "," for v in vals[i:i + 4]))
    out.append("};")
    out.append("")


def hexd(v):
    return "tsr_d(0x%016xull)" % d2b(v)


def R128(i):
    return (1 + mpf(i) / 128) / 2 if i < 128 else mpf(1)


# ---- -ln R_i, R_i = (1 + i/128)/2: heads on an absolute grain so that hi + n*ln2_hi is exact.
neg129_ex = [pair(-log(R128(i)), -42) for i in range(129)]
emit_pairs("log_neg129_ex", neg129_ex,
           "-ln R_i, R_i = (1 + i/128)/2 (R_128 = 1): heads multiples of 2^-42 (no-FMA tiers).")
# FMA form: heads on a 2^-39 grain, signed tails.  The tail of row 0 is ln 2 less its head,
# the same number the code uses as the low part of ln 2.
neg129_fma = [pair(-log(R128(i)), -39) for i in range(129)]
emit_pairs("log_neg129_fma", neg129_fma,
           "-ln R_i as above, heads multiples of 2^-39, signed tails (FMA tiers).")


# ---- log2 rows for the reduction toward c: row k <-> the rounded reciprocal R' whose
# 8 bits above bit 15 are k + off, R' in the binade below and at 1.
def rprime(k, off, scale_lo, scale_hi):
    j = k + off
    return (1 + mpf(j) / 128) * scale_lo if j < 128 else (1 + mpf(j - 128) / 128) * scale_hi


c2 = mpf(1.4453125)
log2_ex = [pair(log(c2 / rprime(k, 57, mpf(1) / 2, 1), 2), -42) for k in range(129)]
emit_pairs("log2_rows_ex", log2_ex, "log2(1.4453125 / R'), R' the reciprocal of row k (no-FMA tiers).")
c2l = mpf(1.4375)


def rl9(k):
    # rows 0..71: mantissa 56..127 below 1; rows 72..128: mantissa 0..56 at 1
    return (1 + mpf(k + 56) / 128) / 2 if k < 72 else 1 + mpf(k - 72) / 128


log2_l9 = [pair(log(c2l / rl9(k), 2), -42) for k in range(129)]
emit_split("log2_rows_l9", log2_l9, "log2(1.4375 / R'), R' the rounded reciprocal of row k (FMA tier).")

c10 = mpf(0.43359375)
log10_ex = [pair(log(c10 / rprime(k, 94, mpf(1) / 8, mpf(1) / 4), 10), -43) for k in range(129)]
emit_pairs("log10_rows_ex", log10_ex, "log10(0.43359375 / R'), R' the reciprocal of row k (no-FMA tiers).")

# FMA tiers: the rows carry -1023*log10(2) by its head and tail, so that the biased exponent
# E multiplies both parts of log10(2) without a subtraction of the bias.
L10HI = mpf(b2d(0x3fd34413509f0000))
L10LO = mpf(b2d(0x3d7e7fbcc47c0000))
log10_l9 = []
for i in range(129):
    # Row 0 (R = 1/2) takes log10(2) as the code's own head + tail too: just below 1 the
    # exponent's -log10(2) and this row then cancel exactly and the result is the polynomial.
    t = -log(R128(i), 10) if i else L10HI + L10LO
    h = -1023 * L10HI + cut(t, -38)
    assert mpf(rn(h)) == h
    log10_l9.append((rn(h), rn(-1023 * L10LO + (t - cut(t, -38)))))
emit_pairs("log10_rows_l9", log10_l9,
           "-1023*log10(2) - log10 R_i with log10(2) as the code's head + tail: head -1023*head(log10 2)\n"
           "// plus -log10 R_i on a 2^-38 grain, so that row 128 cancels 1023 times log10(2) exactly (FMA tiers).")


# ---- float tables
def R256(i):
    return (1 + mpf(i) / 256) / 2 if i < 256 else mpf(1)


emit_doubles("log_f257", [rn(-log(R256(i))) for i in range(257)], "-ln R_i, R_i = (1 + i/256)/2, last row 0.")
emit_doubles("log2_f257", [rn(-log(R256(i), 2)) for i in range(257)], "-log2 R_i.")
emit_doubles("log10_f257", [rn(-log(R256(i), 10)) for i in range(257)], "-log10 R_i.")
emit_doubles("log_l2f512", [rn(log(1 + mpf(i) / 512, 2) - 127) for i in range(512)],
             "log2(1 + i/512) - 127.")

rcp = [cut(1 / (1 + (mpf(i) + mpf(1) / 2) / 256), -9) for i in range(256)]
out.append("// r_i = 1/(1 + (i + 1/2)/256) rounded to a multiple of 2^-9.")
out.append("alignas(16) const float log_rcp256_r[256] = {")
for i in range(0, 256, 8):
    out.append("    " + " ".join("%.9gf," % float(r) for r in rcp[i:i + 8]))
out.append("};")
out.append("")
emit_doubles("log_rcp256_l", [rn(-log(r)) for r in rcp], "-ln r_i.")
# What -ln r_i leaves beyond its double: log1p (ex) subtracts n*ln2 from -ln r_i for
# 1 + x below 1, where the double alone would cost several ulp.
emit_doubles("log_rcp256_t", [rn(-log(r) - mpf(rn(-log(r)))) for r in rcp], "-ln r_i less its double.")

# ---- kernel rows: R = 1/(1 + i/64) rounded to a multiple of 2^-9, -ln R in a head with 21
# low zero bits and a tail.
out.append("// (R, -ln R head, tail), R = 1/(1 + i/64) rounded to a multiple of 2^-9.")
out.append("alignas(16) const double log_k64_rows[65][3] = {")
for i in range(65):
    R = cut(1 / (1 + mpf(i) / 64), -9)
    v = -log(R)
    if v == 0:
        h = mpf(0)
    else:
        e = int(floor(log(abs(v), 2)))
        h = cut(v, e - 52 + 21)
    if i == 64:
        # R = 1/2: -ln R is ln 2 in the kernel's own two parts, so that for arguments just
        # below 1 the exponent's -ln 2 and this row cancel exactly.
        h, t = mpf(b2d(0x3fe62e42fefa3800)), b2d(0x3d2ef35793c76730)
    else:
        t = rn(v - h)
    out.append("    {%s, %s, %s}," % (hexd(rn(R)), hexd(rn(h)), hexd(t)))
out.append("};")
out.append("")

# ---- log2p1: 1023 + log2(1.4375/(1 + i/256)), heads on a 2^-39 grain.
emit_pairs("log2p1_rows", [pair(1023 + log(mpf(1.4375) / (1 + mpf(i) / 256), 2), -39) for i in range(256)],
           "1023 + log2(1.4375 / (1 + i/256)), heads multiples of 2^-39.")

# ---- exact powers of ten for log10f, row (n * 0x5556) >> 16 for the exponent n of 10^k.
rows = [(0xffffffff, 0.0)] * 12
for k in range(1, 11):
    v = 10 ** k
    n = v.bit_length() - 1
    r = (n * 0x5556) >> 16
    assert rows[r][0] == 0xffffffff
    rows[r] = (f2b(float(v)), float(k))
out.append("// (bits of 10^k, k) at row (n * 0x5556) >> 16, n the exponent of 10^k; free rows hold a")
out.append("// pattern no positive float has.")
out.append("alignas(16) const uint32_t log10f_pow10[12][2] = {")
for b, k in rows:
    out.append("    {0x%08xu, 0x%08xu}," % (b, f2b(k)))
out.append("};")

head = """// Generated by tools/gen/log_tables.py; do not edit.
#include "elementary/log_data.h"

namespace tsr::logtab {
"""
sys.stdout.write(head + "\n".join(out) + "\n}  // namespace tsr::logtab\n")
