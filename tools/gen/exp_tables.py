#!/usr/bin/env python3
"""Generates elementary/exp_data.cpp: the tables of 2^(j/N) behind the exponentials.

Every value is computed at 200 bits with mpmath and then cut or rounded by the rule of its
table.  Run: python3 tools/gen/exp_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 200


def d(x):
    return g.hexfloat(x, g.BINARY64)


def two(j, n):
    return mpf(2) ** (mpf(j) / n)


def frac(n, rounded, relative):
    """(M, t): M the 52 mantissa bits of 2^(j/n) (cut or rounded), t its tail."""
    rows = []
    for j in range(n):
        v = two(j, n)
        tv = g.round_grid(v, -52, "nearest" if rounded else "down")
        t = (v - tv) / tv if relative else v - tv
        rows.append("{%s, %s}" % (g.hexint(int((tv - 1) * 2**52), 16, "ull"), d(t)))
    return rows


def split128():
    rows = []
    for i in range(129):
        v = two(i - 64, 128)
        head = g.round_grid(v, -32 if v < 1 else -31, "down")
        rows.append("{%s, %s}" % (d(v - head), d(head)))
    return rows


def exp2_32():
    """2^(j/32) rounded to double: one table for every reader (expf l9, powf)."""
    return [d(two(j, 32)) for j in range(32)]


def main():
    lines = [
        g.header("exp_tables.py"),
        "// The tables of 2^(j/N) behind the exponentials, cut or rounded by the rule of each.",
        '#include "elementary/exp_data.h"',
        "",
        "namespace tsr::expd {",
        "",
    ]
    lines += g.c_array("const MT frac64[64]", frac(64, False, True), 2,
                       "M = 2^(j/64) cut to 52 bits, t = (2^(j/64) - 1.M) / 1.M.")
    lines += g.c_array("const MT frac64r[64]", frac(64, True, True), 2,
                       "M = 2^(j/64) rounded to 52 bits, t = (2^(j/64) - 1.M) / 1.M.")
    lines += g.c_array("const MT frac128[128]", frac(128, True, False), 2,
                       "M = 2^(j/128) rounded to 52 bits, t = 2^(j/128) - 1.M.")
    lines += g.c_array("const TH split128[129]", split128(), 2,
                       "Row i, j = i - 64: head = 2^(j/128) cut to 31 fraction bits, tail = the rest.")
    lines += g.c_array("const double d256[256]", [d(two(j, 256)) for j in range(256)], 4,
                       "The double nearest 2^(j/256).")
    lines += g.c_array("const double d32[32]", exp2_32(), 4, "The double nearest 2^(j/32).")
    lines += g.c_array("const double centred64[64]", [d(two(i - 32, 64)) for i in range(64)], 4,
                       "Row i, j = i - 32: the double nearest 2^(j/64).")
    heads, tails = [], []
    for j in range(32):
        v = two(j, 32)
        T = g.to_format(v, g.BINARY32)
        heads.append(g.hexint(g.to_bits(T, g.BINARY32) & 0x7fffff, 6, "u"))
        tails.append(g.hexfloat(g.to_format((v - T) / T, g.BINARY32), g.BINARY32))
    lines += g.c_array("const uint32_t f32_head[32]", heads, 8,
                       "The low 23 bits of the float nearest 2^(j/32).")
    lines += g.c_array("const float f32_tail[32]", tails, 4,
                       "(2^(j/32) - T) / T as a float, T the float nearest 2^(j/32).")
    lines += g.c_array("const double pow10[23]", [d(mpf(10) ** k) for k in range(23)], 4,
                       "10^k, k = 0..22: all exact.")
    lines += g.c_array("const float pow10f[11]", [g.hexfloat(mpf(10) ** k, g.BINARY32) for k in range(11)], 4,
                       "10^k, k = 0..10: all exact.")
    lines += ["", "}  // namespace tsr::expd"]
    g.write_outputs({"elementary/exp_data.cpp": "\n".join(lines) + "\n"})


if __name__ == "__main__":
    main()
