#!/usr/bin/env python3
"""Generates elementary/hyp_data.cpp: the tables of the hyperbolic functions.

Powers of two 2^(+-j/N) as (hi, lo) pairs or single doubles, the centres of the sixteen
pieces of tanh and the fitted polynomial of each piece, and the 26 degree-7 pieces of tanhf.
Every value is computed at 256 bits with mpmath and rounded once.  The fits are least-squares
fits whose error is then measured on a dense grid; each piece's measured bound is written
beside its row.  Run: python3 tools/gen/hyp_tables.py [--out DIR]
"""
from mpmath import mp, mpf

import tsrgen as g

mp.prec = 256
SCRIPT = "hyp_tables.py"


def d(x):
    return g.hexfloat(x, g.BINARY64)


def bits64(x):
    return g.to_bits(x, g.BINARY64)


def two(j, n):
    return mpf(2) ** (mpf(j) / n)


def hilo(v):
    hi = g.to_mpf(g.exact(g.to_format(v, g.BINARY64)))
    return hi, g.to_mpf(g.exact(g.to_format(v - hi, g.BINARY64)))


def pairs(n, sign):
    return [hilo(two(sign * j, n)) for j in range(n)]


# The rows the tables are known by: row 1 of each.
KNOWN_ROW1 = {
    "up128": (0x3ff0163da9fb3335, 0x3c9b61299ab8cdb7),
    "down128": (0x3fefd3c22b8f71f1, 0x3c52eb74966579e7),
    "pair32": (0x3ff059b0d3158574, 0x3fef50765b6e4540),
    "half32": (0x3fe059b0d3158574, 0x3fdf50765b6e4540),
    "down256": (0x3fefe9d96b2a23d9, 0x3c64a6037442fde3),
    "down32": (0x3fef50765b6e4540,),
}


def check_row1(name, row):
    got = tuple(bits64(v) for v in row)
    if got != KNOWN_ROW1[name]:
        raise SystemExit("%s row 1 is %s, expected %s" % (name, [hex(b) for b in got],
                                                            [hex(b) for b in KNOWN_ROW1[name]]))


# ---- tanh: sixteen pieces of half a binade from 1/8 -------------------------------------
CENTRES = [mpf(c) for c in ("0", "0.21875", "0.3125", "0.4375", "0.625", "0.875", "1.25", "1.75",
                            "2.5", "3.5", "5", "7", "10", "14", "20", "0")]


def piece_bounds(i):
    """Piece i holds |x| with high word in [0x3fc00000 + i*0x80000, + 0x80000); piece 0
    also everything below 0.1875."""
    lo = mpf(0) if i == 0 else mpf(1) / 8 * (1 + mpf(i % 2) / 2) * 2 ** (i // 2)
    hi = mpf(1) / 8 * (1 + mpf((i + 1) % 2) / 2) * 2 ** ((i + 1) // 2)
    return lo, hi


def tanh_piece(i):
    """The 20 words of piece i and its measured error.  With c the centre and d = |x| - c,
    tanh|x| = T + d*(w18 + P(d)), T = w19 + w17 the double-double of tanh c, w18 the double
    nearest 1 - tanh^2 c, P of degree 15; the error that counts is d*(f - P), absolute."""
    c = CENTRES[i]
    if i == 15:
        # From 24 up tanh|x| lies within 2^-69 of 1: w19 = 1 and a tail of -2^-55, below
        # 1 by less than half an ulp of the numbers under 1, so that every rounding mode
        # takes the right neighbour of the true value (1 to nearest and upward, 1 - 2^-53
        # downward and toward zero).
        return [mpf(0)] * 17 + [-mpf(2) ** -55, mpf(0), mpf(1)], None
    t = mp.tanh(c)
    w19, w17 = hilo(t)
    w18 = g.to_mpf(g.exact(g.to_format(1 - t * t, g.BINARY64)))
    T = w19 + w17
    if i == 0:
        w18 = mpf(1)
    f = lambda dd: (mp.tanh(c + dd) - T) / dd - w18 if dd else (1 - t * t) - w18
    lo, hi = piece_bounds(i)
    a, b = lo - c, hi - c
    # The fit runs on the open piece: d = 0 is a removable point of f, and no node falls on it.
    fit = g.least_squares(f, a, b, 15, relative=False, weight=lambda dd: max(abs(dd), mpf(2) ** -100), points=240)
    err = fit.err / (mp.tanh(lo) if i else mpf(1))  # relative to the smallest value (piece 0: already relative)
    if i == 0:
        err, _ = g.measure(fit.coeffs, lambda dd: mp.tanh(dd) / dd - 1, mpf(2) ** -60, b, relative=False)
    w = [mpf(0)] * 20
    for gg in range(4):
        for h in range(4):
            w[(3 - gg) + 4 * (3 - h)] = fit.coeffs[4 * gg + h]
    w[17], w[18], w[19] = w17, w18, w19
    return w, err


# ---- tanhf: 26 pieces of a quarter binade from 0.109375, degree 7 in |x| ------------------
TANHF_ROW0 = [0, 0xbfd5553f887fbe28, 0x3fc16bb52a9295c3, 0x3ff000000006991c,
              0xbf9456c1b1cd0b87, 0xbe6dca51aed62962, 0xbf275b33d859456e, 0]
# Slot of the coefficient of a^k, k = 0..7.
TANHF_SLOT = [7, 3, 5, 1, 6, 2, 4, 0]


def tanhf_piece(i):
    # bits 0x3de00000 + i*0x200000: a quarter of a binade each
    b0 = 0x3de00000 + i * 0x200000
    lo = g.from_bits(b0, g.BINARY32)
    hi = g.from_bits(b0 + 0x200000, g.BINARY32)
    if i == 0:
        words = [g.from_bits(w, g.BINARY64) for w in TANHF_ROW0]
        coeffs = [words[TANHF_SLOT[k]] for k in range(8)]
        err, _ = g.measure(coeffs, mp.tanh, mpf(2) ** -40, hi, relative=True)
        return words, err
    fit = g.least_squares(mp.tanh, lo, hi, 7, relative=True, points=80)
    words = [mpf(0)] * 8
    for k in range(8):
        words[TANHF_SLOT[k]] = fit.coeffs[k]
    return words, fit.err


def err_text(err):
    return "max error 2^%.1f" % float(mp.log(err, 2))


def main():
    up, down = pairs(128, 1), pairs(128, -1)
    pair32 = [(g.to_format(two(j, 32), g.BINARY64), g.to_format(two(-j, 32), g.BINARY64)) for j in range(32)]
    half32 = [(p / 2, q / 2) for p, q in pair32]
    down256 = pairs(256, -1)
    down32 = [g.to_format(two(-j, 32), g.BINARY64) for j in range(32)]
    for name, rows in (("up128", up), ("down128", down), ("pair32", pair32), ("half32", half32),
                       ("down256", down256)):
        check_row1(name, rows[1])
    check_row1("down32", (down32[1],))

    lines = [
        g.header(SCRIPT),
        "// The tables of the hyperbolic functions: powers of two 2^(+-j/N), and the pieces of",
        "// tanh and tanhf.",
        '#include "elementary/hyp_data.h"',
        "",
        "namespace tsr::hyp {",
        "",
    ]
    pr = lambda rows: ["{%s, %s}" % (d(a), d(b)) for a, b in rows]
    lines += g.c_array("const Pair up128[128]", pr(up), 2, "hi + lo = 2^(j/128), each rounded to nearest.")
    lines += g.c_array("const Pair down128[128]", pr(down), 2, "hi + lo = 2^(-j/128), each rounded to nearest.")
    lines += g.c_array("const Pair pair32[32]", pr(pair32), 2,
                       "(p, q) = the doubles nearest 2^(j/32) and 2^(-j/32).")
    lines += g.c_array("const Pair half32[32]", pr(half32), 2, "Half of pair32: 2^(j/32 - 1), 2^(-j/32 - 1).")
    lines += g.c_array("const Pair down256[256]", pr(down256), 2, "hi + lo = 2^(-j/256), each rounded to nearest.")
    lines += g.c_array("const double down32[32]", [d(v) for v in down32], 4, "The double nearest 2^(-j/32).")
    lines += g.c_array("const double tanh_centres[16]", [d(c) for c in CENTRES], 4,
                       "The centre of each piece of tanh (piece 15, |x| >= 24, is constant).")

    rows, comments = [], []
    for i in range(16):
        w, err = tanh_piece(i)
        lo, hi = piece_bounds(i)
        rows.append("{" + ", ".join(d(v) for v in w) + "}")
        if i == 15:
            comments.append("piece 15, |x| >= 24: the constant 1 - 2^-55")
        else:
            comments.append("piece %d, |x| in [%s, %s), centre %s: %s relative to tanh" % (
                i, mp.nstr(lo, 6), mp.nstr(hi, 6), mp.nstr(CENTRES[i], 6), err_text(err)))
    lines += ["// Per piece: w0..w15 the polynomial P of degree 15 in d = |x| - centre, the coefficient",
              "// of d^(4g + h) in w[(3 - g) + 4(3 - h)]; w16 = 0; w17 + w19 = tanh(centre) as a pair;",
              "// w18 = 1 - tanh^2(centre).  tanh|x| = w19 + w17 + d*(w18 + P(d)), least-squares fits of",
              "// degree 15 whose error, measured on a dense grid of each piece, is given per row.",
              "const double tanh_pieces[16][20] = {"]
    for r, c in zip(rows, comments):
        lines += ["    // " + c, "    " + r + ","]
    lines += ["};"]

    lines += ["// Per piece, |x| in [0x3de00000 + i*0x200000, + 0x200000) as float bits (piece 0: below",
              "// 0.125): tanh|x| as a polynomial of degree 7 in |x|, the coefficient of |x|^k in slot",
              "// (7, 3, 5, 1, 6, 2, 4, 0)[k].  Least-squares fits, relative error per row.",
              "const double tanhf_pieces[26][8] = {"]
    for i in range(26):
        w, err = tanhf_piece(i)
        lines += ["    // piece %d: %s relative" % (i, err_text(err)),
                  "    {" + ", ".join(d(v) for v in w) + "},"]
    lines += ["};", "", "}  // namespace tsr::hyp"]
    g.write_outputs({"elementary/hyp_data.cpp": "\n".join(lines) + "\n"})


if __name__ == "__main__":
    main()
