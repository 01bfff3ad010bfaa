#!/usr/bin/env python3
"""Generates tests/ext2/hard_reduction.inc: the extended values closest to a multiple of
pi/2, the hardest arguments of a reduction, for the trigonometric functions' tests.

Run: python3 tools/gen/ext2_hard_cases.py [--out DIR]

For each binade 2^e (e = 0 .. 16383) x = M 2^(e-63) with M a 64-bit integer; x is near a
multiple of pi/2 when M a is near an integer, a = 2^(e-63) 2/pi modulo 1.  The best such M
below 2^64 come from the convergents of a's continued fraction (denominator q, distance
||q a||); a multiple t q with t the least that brings it to 2^63 keeps the distance t ||q a||.
The 40 arguments whose remainder |r| is smallest are kept, with log2 |r| beside each."""
from fractions import Fraction

from mpmath import mp, mpf

import tsrgen as g

SCRIPT = "ext2_hard_cases.py"
P = 17000

mp.prec = P + 200
C = int(mp.floor(2 / mp.pi * mpf(2) ** P))  # floor(2/pi 2^P)


def best(e):
    """(log2 of |r|/x, M) for the best M of the binade 2^e."""
    s = e - 63  # x = M 2^s
    # a = frac(2^s 2/pi) to 400 bits
    if s >= 0:
        num = (C << s) % (1 << P)
    else:
        num = (C >> -s) % (1 << P)
    a = Fraction(num >> (P - 400), 1 << 400)
    # continued fraction convergents q of a, q < 2^64
    q2, q1 = 1, 0  # q_(k-2), q_(k-1)
    x = a
    found = []
    for _ in range(200):
        ai = int(x)  # floor: x >= 0
        q2, q1 = q1, ai * q1 + q2
        if q1 >= 1 << 64:
            break
        found.append(q1)
        x -= ai
        if x == 0:
            break
        x = 1 / x
    out = None
    for q in found:
        t = -(-(1 << 63) // q)
        M = t * q
        if M >= 1 << 64:
            continue
        d = M * a
        dist = abs(d - round(d))
        if dist == 0:
            continue
        lr = g.math.log2(float(dist)) + g.math.log2(float(mp.pi / 2))  # log2 |r|
        if out is None or lr < out[0]:
            out = (lr, M)
    return out


rows = []
for e in range(0, 16384):
    b = best(e)
    if b:
        rows.append((b[0], b[1], e))
rows.sort()
keep = rows[:40]
text = [g.header(SCRIPT), "// The extended values nearest a multiple of pi/2, log2 of the remainder beside each."]
for lr, M, e in keep:
    v = Fraction(M) * Fraction(2) ** (e - 63) if e >= 63 else Fraction(M, 1 << (63 - e))
    text.append("%s,  // %.1f" % (g.hexfloat(v, g.X87), lr))
g.write_outputs({"tests/ext2/hard_reduction.inc": "\n".join(text) + "\n"})
