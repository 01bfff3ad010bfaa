#!/usr/bin/env python3
"""Generates elementary/pow_data.cpp: the tables of pow and powf in every tier.

    python3 tools/gen/pow_tables.py [--out DIR]

All values are computed with mpmath at 200 bits and rounded once to double (or to the
shorter grids stated per table).  The rules, by table:

pow_log513    (e7)  hi + lo = log2(1.4453125 / R_i), R_i = (1 + (i+228)/512)/2 for i < 284 and
                    1 + (i-284)/512 from there, so R_512 = 1.4453125.  hi sits on the absolute
                    grid 2^-24 (nearest), so that hi plus the reduced argument plus the exponent
                    stays exact; row 0 is (1, 0) by the rule itself.
pow_exp256    (e7)  (T, t): T nearest 2^(j/256), t = 2^(j/256) - T to a double; row 0 carries
                    t = 2^-72 so that every result of the tier is inexact.
pow_exp128    (ex)  as pow_exp256 for 2^(j/128); row 0 is (1, 0).
pow_stage1    (ex)  c1_k = 1/(1 + k/128) rounded up to 17 significant bits (k = 0..128); the
                    log pair log2(1/c1) with hi on the absolute grid 2^-42 and lo to 53 bits, both truncated.
pow_stage2    (ex)  129 rows for p1 = m*c1 in (1 - 2^-8, 1 + 2^-8 + 2^-17): rows 0..32 for
                    p1 ~ 1 + k*2^-13, rows 64..128 for p1 ~ 1 - (128-k)*2^-14 (the index
                    bits of a value just below 1 wrap to the top of the table); c2 is 1/p1
                    rounded up on the grid 2^-15 (so that p2 = p1*c2 lands in
                    [1 - 2^-14, 1 + 1.5*2^-14]).  Rows 33..63 are never addressed: (1, 0, 0).
pow_stage3    (ex)  257 rows, C0 = 0x3ff7154740000000 (log2 e cut to 23 bits): rows 0..96 for
                    p2 ~ 1 + k*2^-20, rows 128..256 for p2 ~ 1 - (256-k)*2^-21; c3 = C0/p2
                    rounded to nearest on the grid 2^-22; the pair log2(C0/c3).  Rows 97..127
                    are never addressed: (C0, 0, 0).
pow_log128    (l9)  (R, 0, hi, lo): R = 1/(1 + k/128) rounded to the grid 2^-8 (row 0: 1),
                    so that R m - 1 is exact in one fma for |R m - 1| < 2^-7, hi + lo = log2(1/R), hi on the absolute grid 2^-40 (nearest).
pow_exp128f   (l9)  (M, t): M = fraction bits of the double nearest 2^(j/128), t the tail
                    relative to that double.
powf_log65    (powf ex/e7) (c, L): c = 0x3ff71547652b82fe/(1 + i/64) rounded to double;
                    L = log2(1 + i/64), less 1 from i = 32 on, rounded to 42 fraction bits.
                    (2^(j/32) is the exponentials' d32.)
powf_l9_log   (powf l9) 256 doubles: row i = -126 - log2(1 + i/128) for i < 128,
                    row 128 = -127; rows above are never addressed (0).
"""
from mpmath import mp, mpf, log

import tsrgen as g

mp.prec = 200
MODE = {"n": "nearest", "up": "up", "trunc": "zero"}


def _round(v, p, mode="n"):
    """v rounded to p significant bits (nearest, up = toward +inf, trunc = toward 0)."""
    return g.round_bits(v, p, MODE[mode])


def _grid(v, e, mode="n"):
    """v rounded to a multiple of 2^e."""
    return g.round_grid(v, e, MODE[mode])


def hexd(v):
    return g.hexint(g.to_bits(v, g.BINARY64, check_exact=True), 16)


def log2(v):
    return log(mpf(v), 2)


def split_log(v, grid, mode):
    hi = _grid(v, grid, mode)
    lo = _round(v - hi, 53, mode)
    return hi, lo


def gen():
    out = [g.header("pow_tables.py") + "  The tables of pow and powf.", "#include <cstdint>",
           "#include \"elementary/pow_data.h\"", "", "namespace tsr::pow_tab {", ""]

    def emit(name, values, per_row):
        out.extend(g.c_array("alignas(64) const uint64_t %s[%d]" % (name, len(values)), values, per_row))
        out.append("")

    # pow_log513
    vals = []
    for i in range(513):
        R = (1 + mpf(i + 228) / 512) / 2 if i < 284 else 1 + mpf(i - 284) / 512
        hi, lo = split_log(log2(mpf("1.4453125") / R), -24, "n")
        vals += [hexd(hi), hexd(lo)]
    emit("log513", vals, 2)

    def exp_table(n, row0_tail):
        vals = []
        for j in range(n):
            v = mpf(2) ** (mpf(j) / n)
            T = _round(v, 53)
            vals += [hexd(T), hexd(row0_tail if j == 0 else _round(v - T, 53))]
        return vals

    emit("exp256", exp_table(256, mpf(2) ** -72), 2)
    emit("exp128", exp_table(128, mpf(0)), 2)

    # stage 1
    c1s, l1 = [], []
    for k in range(129):
        c = _round(1 / (1 + mpf(k) / 128), 17, "up")
        c1s.append(hexd(c))
        l1 += map(hexd, split_log(-log2(c), -42, "trunc"))
    emit("stage1_c", c1s, 4)
    emit("stage1_log", l1, 2)

    # stage 2
    c2s, l2 = [], []
    for k in range(129):
        if k <= 32:
            c = _grid(1 / (1 + mpf(k) * mpf(2) ** -13), -15, "up")
        elif k >= 64:
            c = _grid(1 / (1 - mpf(128 - k) * mpf(2) ** -14), -15, "up")
        else:
            c = mpf(1)
        c2s.append(hexd(c))
        l2 += map(hexd, split_log(-log2(c), -42, "trunc"))
    emit("stage2_c", c2s, 4)
    emit("stage2_log", l2, 2)

    # stage 3
    C0 = g.from_bits(0x3ff7154740000000, g.BINARY64)
    c3s, l3 = [], []
    for k in range(257):
        if k <= 96:
            c = _grid(C0 / (1 + mpf(k) * mpf(2) ** -20), -22)
        elif k >= 128:
            c = _grid(C0 / (1 - mpf(256 - k) * mpf(2) ** -21), -22)
        else:
            c = C0
        c3s.append(hexd(c))
        l3 += map(hexd, split_log(log2(C0 / c), -42, "trunc"))
    emit("stage3_c", c3s, 4)
    emit("stage3_log", l3, 2)

    # pow_log128 (l9)
    vals = []
    for k in range(128):
        R = _grid(1 / (1 + mpf(k) / 128), -8) if k else mpf(1)
        hi, lo = split_log(-log2(R), -40, "n")
        vals += [hexd(R), hexd(0), hexd(hi), "0x8000000000000000" if k == 0 else hexd(lo)]
    emit("log128", vals, 4)

    # pow_exp128f (l9)
    vals = []
    for j in range(128):
        v = mpf(2) ** (mpf(j) / 128)
        T = _round(v, 53)
        vals += [g.hexint(int((T - 1) * mpf(2) ** 52), 16), hexd(_round((v - T) / T, 53))]
    emit("exp128f", vals, 2)

    # powf_log65
    L2E = g.from_bits(0x3ff71547652b82fe, g.BINARY64)
    vals = []
    for i in range(65):
        c = _round(L2E / (1 + mpf(i) / 64), 53)
        L = log2(1 + mpf(i) / 64) - (1 if i >= 32 else 0)
        Lr = _round(L, 53)
        if Lr != 0:
            Lr = _grid(L, int(mp.floor(log(abs(Lr), 2))) - 42)
        vals += [hexd(c), hexd(Lr)]
    emit("powf_log65", vals, 2)

    # powf l9 table
    vals = [hexd(_round(-126 - log2(1 + mpf(i) / 128), 53)) for i in range(128)] + [hexd(-127)]
    emit("powf_l9_log", vals + [hexd(0)] * 127, 4)

    out.append("}  // namespace tsr::pow_tab")
    return "\n".join(out) + "\n"


if __name__ == "__main__":
    g.write_outputs({"elementary/pow_data.cpp": gen()})
