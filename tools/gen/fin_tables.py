#!/usr/bin/env python3
"""Generates special/fin_data.cpp: the tables and polynomials of the double annuity and
compound cores.

Run: python3 tools/gen/fin_tables.py [--out DIR]

Every value is computed from its rule with mpmath at 300 bits and rounded once; the rows the
cores were designed around are compared, and the run stops on any difference.  The error of
each polynomial is measured here and written beside its coefficients."""
from mpmath import mp, mpf, log, ln2

import tsrgen as g

mp.prec = 300
D = g.BINARY64


def rn(x):
    return g.to_format(x, D)


def hexd(v):
    return g.hexfloat(v, D)


def expect(name, v, want):
    got = g.to_bits(v, D)
    assert got == want, "%s: 0x%x, expected 0x%x" % (name, got, want)


def pair(x):
    h = rn(x)
    return h, rn(x - h)


out = []

def pair_table(name, rows, k, want, comment):
    """A table of (head, tail) rows; row k is checked against the bits of `want`."""
    expect(name + " row %d hi" % k, rows[k][0], want[0])
    expect(name + " row %d lo" % k, rows[k][1], want[1])
    out.append("// " + comment)
    out.append("alignas(64) const double %s[%d][2] = {" % (name, len(rows)))
    out.extend(g.c_rows(["{%s, %s}" % (hexd(h), hexd(l)) for h, l in rows], 2))
    out.append("};")
    out.append("")


# ---- log2 rows: -log2(1 + (2i + 1)/256), the centre of the i-th 1/128 of [1, 2) ------------
pair_table("fin_log2_rows", [pair(-log(1 + mpf(2 * i + 1) / 256, 2)) for i in range(128)], 0,
           (0xbf7709c46d7aac77, 0xbc12b66f4924be11), "-log2(1 + (2i + 1)/256) as a head and a tail, i = 0..127.")
# ---- exp2 rows: 2^(j/64) ----------------------------------------------------------------
pair_table("fin_exp2_rows", [pair(mpf(2) ** (mpf(j) / 64)) for j in range(64)], 1,
           (0x3ff02c9a3e778061, 0xbc719083535b085d), "2^(j/64) as a head and a tail, j = 0..63.")

# ---- log2(1 + r/4) = c1 r + c2 r^2 + P(r), P(r) = r (a0 + a1 r + ... + a7 r^7) ---------------
# c1 and c2 are short heads (their products with short operands are exact); a0 and a1 are
# the rest of the first two coefficients, a2..a7 the series from the cubic term on.
R_MAX = mpf(1) / 64   # |r| = |p c - 4| stays below 4 * 2^-8 in the table form and 4 * 2^-8 in the series
coef = [(-1) ** (n + 1) / (n * mpf(4) ** n * ln2) for n in range(1, 10)]
c1 = g.from_bits(0x3fd7154760000000, D)
c2 = g.from_bits(0xbfa7154000000000, D)
assert abs(c1 - coef[0]) < mpf(2) ** -26 and abs(c2 - coef[1]) < mpf(2) ** -21
a = [rn(coef[0] - c1), rn(coef[1] - c2)] + [rn(coef[n]) for n in range(2, 8)]
for name, v, want in zip(["a0", "a1", "a2", "a3", "a4", "a5", "a6", "a7"], a,
                         [0x3e34ae0bf85ddf44, 0xbe8d94ae0bf85ddf, 0x3f7ec709dc3a03fd, 0xbf571547652b82fe,
                          0x3f32776c50ef9bfe, 0xbf0ec709dc3a03fd, 0x3eea61762a7aded9, 0xbec71547652b82fe]):
    expect(name, v, want)


def max_rel_err(p, f, lim):
    """The largest |p - f|/|f| on 800 points of [-lim, lim] (0 left out)."""
    worst = mpf(0)
    for k in range(1, 401):
        for sg in (1, -1):
            t = sg * lim * k / 400
            worst = max(worst, abs((p(t) - f(t)) / f(t)))
    return worst


err = max_rel_err(lambda r: c1 * r + c2 * r * r + r * sum(a[n] * r ** n for n in range(8)),
                  lambda r: log(1 + r / 4, 2), R_MAX)
out.append("// log2(1 + r/4) = c1 r + c2 r^2 + r (a0 + a1 r + ... + a7 r^7): c1 = 1/(4 ln 2) and")
out.append("// c2 = -1/(32 ln 2) as short heads, a0 and a1 their remainders, a2..a7 the series;")
out.append("// " + g.approx_comment(-R_MAX, R_MAX, 9, float(log(err, 2)), "fin_tables.py",
                                    "log2(1 + r/4)"))
out.append("const double fin_log_c1 = %s, fin_log_c2 = %s;" % (hexd(c1), hexd(c2)))
out.append("const double fin_log_a[8] = {")
out.extend(g.c_rows([hexd(v) for v in a], 4))
out.append("};")
out.append("")

# ---- 2^t - 1 = t (h + l + b2 t + ... + b7 t^6) on |t| <= 1/64 -----------------------------
T_MAX = mpf(1) / 64
b = [rn(ln2 ** n / mp.factorial(n)) for n in range(2, 8)]
h, l = pair(ln2)
for name, v, want in zip(["b2", "b3", "b4", "b5", "b6", "b7", "h", "l"], b + [h, l],
                         [0x3fcebfbdff82c58f, 0x3fac6b08d704a0c0, 0x3f83b2ab6fba4e77, 0x3f55d87fe78a6731,
                          0x3f2430912f86c787, 0x3eeffcbfc588b0c7, 0x3fe62e42fefa39ef, 0x3c7abc9e3b39803f]):
    expect(name, v, want)


err = max_rel_err(lambda t: t * (h + l + sum(b[n] * t ** (n + 1) for n in range(6))),
                  lambda t: mpf(2) ** t - 1, T_MAX)
out.append("// 2^t - 1 = t (h + l + b2 t + b3 t^2 + ... + b7 t^6), ln 2 = h + l;")
out.append("// " + g.approx_comment(-T_MAX, T_MAX, 7, float(log(err, 2)), "fin_tables.py", "2^t - 1"))
out.append("const double fin_ln2_h = %s, fin_ln2_l = %s;" % (hexd(h), hexd(l)))
out.append("const double fin_exp_b[6] = {")
out.extend(g.c_rows([hexd(v) for v in b], 3))
out.append("};")
out.append("")

g.write_outputs({"special/fin_data.cpp": "\n".join(
    [g.header("fin_tables.py"), '#include "special/fin_data.h"', "", "namespace tsr::fin {"] + out +
    ["}  // namespace tsr::fin", ""])})
