#!/usr/bin/env python3
"""Writes exact/nan_data.{h,cpp}: the digit table of __libm_conv_strtoull, the reader of
NaN tags.  Row p, column d holds d * 10^p modulo 2^64, so that a decimal string's value
(modulo 2^64, as the unsigned conversion wraps) is the sum of one entry per digit, its
last 64 digits counted from the right; the reader multiplies nothing.

Usage: tools/gen/nan_tables.py [--out DIR]
"""
import tsrgen as g

ROWS, DIGITS = 64, 10
MOD = 1 << 64


def main():
    # Row 19 is the first whose entries wrap: 2 * 10^19 passes 2^64.
    assert 2 * 10**19 % MOD == 0x158E460913D00000
    head = g.header("nan_tables.py")
    h = [head, "// The decimal digit table of the NaN tag reader.", "#pragma once",
         "#include <cstdint>", '#include "tsr/types.h"', "", "namespace tsr {",
         f"// kDecimalDigit[p][d] = d * 10^p mod 2^64, p = 0..{ROWS - 1}",
         f"extern const uint64_t kDecimalDigit[{ROWS}][{DIGITS}] TSR_HIDDEN;",
         "}  // namespace tsr"]
    c = [head, '#include "exact/nan_data.h"', "", "namespace tsr {",
         f"const uint64_t kDecimalDigit[{ROWS}][{DIGITS}] = {{"]
    for p in range(ROWS):
        row = [g.hexint(d * 10**p % MOD, 16, "ull") for d in range(DIGITS)]
        c.append(f"    {{  // 10^{p}")
        c += g.c_rows(row, 2, "        ")
        c.append("    },")
    c += ["};", "}  // namespace tsr"]
    g.write_outputs({"exact/nan_data.h": "\n".join(h) + "\n", "exact/nan_data.cpp": "\n".join(c) + "\n"})


if __name__ == "__main__":
    main()
