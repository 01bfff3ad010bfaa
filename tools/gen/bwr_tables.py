#!/usr/bin/env python3
"""Generates reproducible/bwr_data.cpp: the tables and coefficients of the reproducible
family's own bodies.

  bwr_log_rows   257 rows (r, Lhi, Llo) for the logarithm reduced by mantissa bits: r is
                 1/(2 + i/128) rounded to 25 significant bits (so that r times a 27-bit
                 number is exact), Lhi the value ln(2r) rounded to 47 significant bits and
                 Llo the rest rounded to a double.  Row 256 (r = 1/4) holds the split of
                 -ln 2 that the reduction's n*ln2 uses, so that a mantissa rounded up into
                 the next binade cancels exactly.
  bwr_exp_poly   e^r - 1 - r on the reduction interval of exp's 64-row table, degree 5 (one
                 term fewer than the ex body's degree 6), minimax in relative error.
  log2(e), log10(e) as three words (26-bit head, 27-bit middle, low double), for the
                 double-word products of log2 and log10.

Values at 256 bits with mpmath, each rounded once.  The rows the design prints (0, 1 and
256) are checked.  Run: python3 tools/gen/bwr_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 256
SCRIPT = "bwr_tables.py"
F64 = g.BINARY64

# ln 2 split: the high part has 11 low zero bits, so n*LN2_HI is exact for every exponent n.
LN2_HI = 0x3fe62e42fefa3800
LN2_LO = 0x3d2ef35793c76800

# The design's coefficients c3 .. c6 of ln(1 + t) for the log reduction.
LOG_POLY = [0x3fd55555555516ce, 0xbfd000000000f9c9, 0x3fc9999ff0a72be9, 0xbfc5554c3eb4ea59]

# The rows the design prints: row -> (r, Lhi, Llo) as bit patterns.
KNOWN = {
    0: (0x3fe0000000000000, 0x0000000000000000, 0x0000000000000000),
    1: (0x3fdfe01fe0000000, 0xbf6ff00ac2b10bc0, 0xbc06821ad5a97dfe),
    256: (0x3fd0000000000000, 0xbfe62e42fefa3800, 0xbd2ef35793c76800),
}


def val(b):
    return g.to_mpf(g.exact(g.from_bits(b, F64)))


def log_row(i):
    r = g.to_mpf(g.exact(g.round_bits(mpf(1) / (2 + mpf(i) / 128), 25)))
    if i == 256:
        return r, -val(LN2_HI), -val(LN2_LO)
    L = mp.log(2 * r)
    hi = g.to_mpf(g.exact(g.round_bits(L, 47))) if L else mpf(0)
    lo = g.to_mpf(g.exact(g.to_format(L - hi, F64)))
    return r, hi, lo


def split3(c):
    """c as head (26 bits) + middle (the rest of c's double, 27 bits) + low (a double)."""
    d = g.to_mpf(g.exact(g.to_format(c, F64)))
    head = g.to_mpf(g.exact(g.round_bits(d, 26, "zero")))
    return head, d - head, g.to_mpf(g.exact(g.to_format(c - d, F64)))


def main():
    rows = [log_row(i) for i in range(257)]
    for i, want in KNOWN.items():
        got = tuple(g.to_bits(v, F64) for v in rows[i])
        assert got == want, "bwr_log_rows row %d: %s, the design prints %s" % (
            i, [hex(b) for b in got], [hex(b) for b in want])
    d = lambda v: g.hexfloat(v, F64)

    # e^r = 1 + r + c2 r^2 + ... + c5 r^5 on |r| <= ln2/128 and a little more (the shifter's
    # k is rounded to nearest, and r carries the rounding of x - k*ln2/64).
    h = mp.log(2) / 128 * (1 + mpf(2) ** -20)
    exp_fit = g.remez(mp.exp, -h, h, 5, relative=True, fixed={0: 1, 1: 1})

    lines = [g.header(SCRIPT), "#include \"reproducible/bwr_data.h\"", "",
             "namespace tsr::bwr {", ""]
    lines += g.c_array("const LogRow bwr_log_rows[257]",
                       ["{%s, %s, %s}" % (d(r), d(hi), d(lo)) for r, hi, lo in rows], 1,
                       "Row i, for mantissas near 1 + i/256: r = 1/(2 + i/128) to 25 bits, Lhi + Llo = ln(2r)\n"
                       "(Lhi to 47 bits); row 256 is the split of -ln 2.")
    lines += ["", "// " + exp_fit.comment(SCRIPT, "e^r"),
              "// c2 .. c5 (c0 = c1 = 1)."]
    lines += g.c_array("const double bwr_exp_poly[4]", [d(c) for c in exp_fit.coeffs[2:]], 4)
    # The design's polynomial of ln(1 + t) for the log reduction, measured: |t| <= 2^-9
    # (the mantissa is within 1/512 of the row's point) and a little more (r's rounding).
    tmax = mpf(2) ** -9 * (1 + mpf(2) ** -20)
    log_fit = g.evaluate([0, g.Fraction(1), g.Fraction(-1, 2)] + LOG_POLY, mp.log1p, -tmax, tmax)
    lines += ["", "// " + log_fit.comment(SCRIPT, "ln(1 + t)"), "// c3 .. c6 (c1 = 1, c2 = -1/2)."]
    lines += g.c_array("const double bwr_log_poly[4]", [d(val(w)) for w in LOG_POLY], 4)
    for name, c in (("log2e", 1 / mp.log(2)), ("log10e", 1 / mp.log(10))):
        lines += [""]
        lines += g.c_array("const double bwr_%s[3]" % name, [d(v) for v in split3(c)], 3,
                           "%s = head (26 bits) + middle (27 bits) + low, the head and middle the double\n"
                           "nearest it." % ("log2(e)" if name == "log2e" else "log10(e)"))
    lines += ["", "}  // namespace tsr::bwr"]
    g.write_outputs({"reproducible/bwr_data.cpp": "\n".join(lines) + "\n"})


if __name__ == "__main__":
    main()
