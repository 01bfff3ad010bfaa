#!/usr/bin/env python3
"""Generates elementary/roots_data.cpp: the tables of the cube roots and of the logarithm
cores of the inverse hyperbolic functions.

Run: python3 tools/gen/roots_tables.py [--out DIR]

Every row is computed from its rule with mpmath at 300 bits and rounded once; the rows
named below are compared with the values the algorithms were designed around, and the run
stops on any difference."""
from mpmath import mp, mpf, cbrt, log

import tsrgen as g

mp.prec = 300
D, F = g.BINARY64, g.BINARY32


def rn(x):
    return g.to_format(x, D)


def rnf(x):
    return g.to_format(x, F)


def dbits(b):
    return g.from_bits(b, D)


def hexd(v):
    return "tsr_d(%s)" % g.hexint(g.to_bits(v, D), 16, "ull")


def expect(name, got, want):
    assert got == want, "%s: 0x%x, expected 0x%x" % (name, got, want)


def near(name, value, want, fmt, bound):
    """A row whose design value was cut differently from its rule: the rule's value is kept,
    and the design value must lie within `bound` of the exact one (relative)."""
    w = g.from_bits(want, fmt)
    assert abs(w - value) <= bound * abs(value), "%s: 0x%x is not within %s" % (name, want, bound)


out = []


def emit(decl, items, per_row, comment):
    out.extend(g.c_array(decl, items, per_row, comment))
    out.append("")


# ---- cube roots, tiers ex and e7: c_i = 1 + (i + 1/2)/32, 1.m = c_i (1 + r) ----------------
def c(i):
    return 1 + (mpf(i) + mpf(1) / 2) / 32


rcp32 = [rn(-1 / c(i)) for i in range(32)]
expect("cbrt_rcp32[0]", g.to_bits(rcp32[0], D), 0xbfef81f81f81f820)
emit("alignas(64) const double cbrt_rcp32[32]", [hexd(v) for v in rcp32], 4,
     "-1/c_i, c_i = 1 + (i + 1/2)/32.")

head96, tail96 = [], []
for rem in range(3):
    for i in range(32):
        v = cbrt(2 ** rem * c(i))
        head96.append(rn(v))
        tail96.append(rn(v - rn(v)))
expect("cbrt_head96[0]", g.to_bits(head96[0], D), 0x3ff01539221d4c97)
# The tail of row 0 the algorithm was designed with is 2^-66 away (relative) from the one
# the rule gives; the rule's tail is kept (docs/accuracy/roots.md).
near("cbrt_tail96[0]", cbrt(c(0)) - head96[0], 0x3c76ee36f173d5fa, D, mpf(2) ** -10)
emit("alignas(64) const double cbrt_head96[96]", [hexd(v) for v in head96], 4,
     "cbrt(2^rem c_i) at row 32 rem + i: the double nearest ...")
emit("alignas(64) const double cbrt_tail96[96]", [hexd(v) for v in tail96], 4,
     "... and what it leaves out.")

# The single-precision cube root runs the double scheme on its widened argument: the float
# forms of these tables are checked against their design rows but not emitted.
rcp32f = [rnf(-1 / c(i)) for i in range(32)]
expect("cbrtf_rcp32[0]", g.to_bits(rcp32f[0], F), 0xbf7c0fc1)

head96f, tail96f = [], []
for rem in range(3):
    for i in range(32):
        v = cbrt(2 ** rem * c(i))
        head96f.append(rnf(v))
        tail96f.append(rnf(v - rnf(v)))
expect("cbrtf_head96[0]", g.to_bits(head96f[0], F), 0x3f80a9c9)
expect("cbrtf_tail96[0]", g.to_bits(tail96f[0], F), 0x32075326)



# ---- cube roots, FMA tiers: R_i = (1 + i/32)/2 from the approximate reciprocal ----------
def rows97(fmt):
    rows = []
    for k in range(97):
        rem, i = 2 - k // 32, k % 32
        if k == 96 or (k % 32 == 0 and k):
            # the blocks meet: R = 1 with rem k is R = 1/2 with rem k - 1
            rem, i = 2 - (k // 32 - 1), 32
        v = cbrt(mpf(2) ** rem / ((1 + mpf(i) / 32) / 2))
        H = g.to_format(v, fmt)
        rows.append((H, g.to_format(v / H - 1, fmt)))
    return rows


r97 = rows97(D)
assert r97[0] == (2, 0) and r97[96] == (1, 0)
expect("cbrt_rows97[1].H", g.to_bits(r97[1][0], D), 0x3fffac66ff1c35cb)
expect("cbrt_rows97[1].t", g.to_bits(r97[1][1], D), 0x3c8285ab1cb4dec2)
emit("alignas(64) const double cbrt_rows97[97][2]", ["{%s, %s}" % (hexd(h), hexd(t)) for h, t in r97], 2,
     "(H, t), H (1 + t) = cbrt(2^rem / R_i) at row 32 (2 - rem) + i, R_i = (1 + i/32)/2.")
r97f = rows97(F)
expect("cbrtf_rows97[1].H", g.to_bits(r97f[1][0], F), 0x3ffd6338)
expect("cbrtf_rows97[1].t", g.to_bits(r97f[1][1], F), 0xb0e6236d)


# ---- logarithm cores of the inverse hyperbolic functions ---------------------------------
# r_i of the logarithm's 256-row table: 1/(1 + (i + 1/2)/256) on a 2^-9 grain.
rcp = [g.round_grid(1 / (1 + (mpf(i) + mpf(1) / 2) / 256), -9) for i in range(256)]
rows = []
for r in rcp:
    v = -log(r)
    hi = rn(g.round_bits(v, 21))          # low 32 bits zero
    rows.append((rn(v - hi), hi))
expect("log_rcp256d[0].lo", g.to_bits(rows[0][0], D), 0x3e0575622779c19c)
expect("log_rcp256d[0].hi", g.to_bits(rows[0][1], D), 0x3f60040100000000)
emit("alignas(64) const double log_rcp256d[256][2]", ["{%s, %s}" % (hexd(l), hexd(h)) for l, h in rows], 2,
     "(lo, hi), hi + lo = -ln r_i, hi with 21 significant bits (its low 32 bits zero), so that\n"
     "n ln2_hi + hi is exact.")


def mant(i):
    v = -log(1 + mpf(i) / 128)
    if v == 0:
        return mpf(0), mpf(0)
    e = int(mp.floor(mp.log(abs(v), 2)))
    hi = g.round_grid(v, e - 40)           # low 12 bits of the double zero
    return hi, rn(v - hi)


m129 = [mant(i) for i in range(129)]
expect("log_mant129[1].hi", g.to_bits(m129[1][0], D), 0xbf7fe02a6b106000)
expect("log_mant129[1].lo", g.to_bits(m129[1][1], D), 0xbcde23f0dda40e47)
expect("log_mant129[128].hi", g.to_bits(m129[128][0], D), 0xbfe62e42fefa4000)
expect("log_mant129[128].lo", g.to_bits(m129[128][1], D), 0x3d48432a1b0e2634)
out.append("// -ln(1 + i/128): heads with their low 12 bits zero, then tails.")
out.append("alignas(64) const Rows129 log_mant129 = {")
for part in (0, 1):
    out.append("    {")
    out.extend(g.c_rows([hexd(r[part]) for r in m129], 4, "        "))
    out.append("    },")
out.append("};")
out.append("")

# The same rows less 1022 ln 2, in the split of ln 2 that the two-lane atanh core multiplies
# by its exponent: the offsets cancel exactly in the lanes' difference.
LH, LL = dbits(0x3fe62e42fefa0000), dbits(0x3d7cf79abc9e0000)
m129b = []
for i, (h, l) in enumerate(m129):
    if i == 128:
        # R = 1: -ln 2 in the core's own split, so that a lane with R = 1 and exponent e cancels
        # a lane with R = 1/2 and exponent e - 1 exactly (both parts are exact multiples).
        m129b.append((-1023 * LH, -1023 * LL))
        continue
    hb = rn(-1022 * LH + h)
    m129b.append((hb, rn((-1022 * LH + h - hb) + -1022 * LL + l)))
assert all(rn(v) == v for v in m129b[128])
expect("log_mant129b[0].hi", g.to_bits(m129b[0][0], D), 0xc086232bdd7a8300)
expect("log_mant129b[0].lo", g.to_bits(m129b[0][1], D), 0xbe1ce91eef3fb100)
out.append("// -ln(1 + i/128) - 1022 ln 2, ln 2 as its 36-bit head and the tail beside it;\n"
           "// each row rounded to a head and a tail; row 128 is -1023 ln 2 in that split exactly.")
out.append("alignas(64) const Rows129 log_mant129b = {")
for part in (0, 1):
    out.append("    {")
    out.extend(g.c_rows([hexd(r[part]) for r in m129b], 4, "        "))
    out.append("    },")
out.append("};")
out.append("")

g.write_outputs({"elementary/roots_data.cpp": "\n".join(
    [g.header("roots_tables.py"), '#include "elementary/roots_data.h"', "", "namespace tsr::roots {"] + out +
    ["}  // namespace tsr::roots", ""])})
