#!/usr/bin/env python3
"""Hard-to-round arguments of exp and log in double (tests/crd/crd_hard.txt).

An argument is hard when its exact result lies close to a rounding boundary: a double (the
boundary of the directed modes) or a point halfway between two (that of nearest).  Its
hardness is the number of bits after the 54th that the exact value shares with the nearest
boundary: -log2 of the distance in units of half an ulp.  The search ranks candidates:

  * arguments whose results are near doubles by construction (mathematical facts):
    e^x for x = +-j 2^-k (the series 1 + x + x^2/2 puts the value next to a double or a
    midpoint), ln(1 + j 2^-52) and ln(1 - j 2^-53) for small j (ln(1 + d) = d - d^2/2 + ...),
    ln 2^n = n ln 2;
  * a random search over every binade of the arguments, SEED fixed, keeping the hardest.

Each function keeps its KEEP hardest arguments (hardness >= MIN_BITS), written with their
hardness.  The tests check them bit for bit in every mode and tier, with and without the
first phase, and check that the first phase hands each of them on to the second (its margin
is 2^-61 to 2^-60 of the result, about 7 bits after the 54th).
"""
import os
import random
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import tsrgen
from mpmath import mp, mpf

mp.prec = 300
SEED = 2024
RANDOM_PER_BINADE = 300
KEEP = 400
MIN_BITS = 10


def d2b(v):
    return struct.unpack("<Q", struct.pack("<d", v))[0]


def hardness(y):
    """Bits after the 54th that y shares with the nearest boundary of rounding."""
    y = abs(y)
    e = int(mp.floor(mp.log(y, 2)))
    if y >= mpf(2) ** (e + 1):
        e += 1
    if y < mpf(2) ** e:
        e -= 1
    e = max(e, -1022)
    t = y / mpf(2) ** (e - 53)  # in units of half an ulp
    d = abs(t - mp.nint(t))
    return 300 if d == 0 else float(-mp.log(d, 2))


def candidates_exp(rng):
    for k in range(28, 56):
        for j in range(1, 40):
            for s in (1, -1):
                yield s * j * 2.0 ** -k
    for e in range(-30, 9):
        for _ in range(RANDOM_PER_BINADE):
            x = rng.uniform(2.0 ** e, 2.0 ** (e + 1))
            yield x if rng.random() < 0.5 else -x
    for _ in range(4 * RANDOM_PER_BINADE):  # the second phase's own ranges
        yield rng.uniform(-745.13, -708.39)
        yield rng.uniform(708.39, 709.78)


def candidates_log(rng):
    for j in range(1, 200):
        yield 1 + j * 2.0 ** -52
        yield 1 - j * 2.0 ** -53
    for k in range(1, 53):
        yield 1 + 2.0 ** -k
        yield 1 - 2.0 ** -k
    for n in range(-1074, 1024):
        yield 2.0 ** n
    for e in range(-1074, 1024, 3):
        for _ in range(RANDOM_PER_BINADE // 10):
            yield rng.uniform(1, 2) * 2.0 ** e
    for _ in range(20 * RANDOM_PER_BINADE):  # near 1, where the result is small
        yield rng.uniform(0.7, 1.42)


def search(cands, f):
    seen, found = set(), []
    for x in cands:
        if x in seen or x == 0 or x == 1 or not -745.13 < x < 709.78 and f is mp.exp:
            continue
        seen.add(x)
        h = hardness(f(mpf(x)))
        if h >= MIN_BITS:
            found.append((h, x))
    found.sort(key=lambda t: -t[0])
    return found[:KEEP]


def main():
    rng = random.Random(SEED)
    out = ["#" + tsrgen.header("crd_hard.py")[2:],
           "# Arguments of exp and log whose exact results lie close to a boundary of rounding, the",
           "# hardest first: function, bits of x, bits after the 54th shared with the boundary, x."]
    for name, cands, f in (("exp", candidates_exp(rng), mp.exp), ("log", candidates_log(rng), mp.log)):
        rows = search(cands, f)
        print("%s: %d arguments, hardest %.1f bits" % (name, len(rows), rows[0][0]))
        out += ["%s %016x %.1f %s" % (name, d2b(x), h, float.hex(x)) for h, x in rows]
    tsrgen.write_outputs({"tests/crd/crd_hard.txt": "\n".join(out) + "\n"})


if __name__ == "__main__":
    main()
