#!/usr/bin/env python3
"""Writes exact/rounding_data.{h,cpp}: the rounding family's two-entry tables (indexed by
the sign bit, entry 0 for a positive argument) and its shifter constants.

Usage: tools/gen/rounding_data.py [--out DIR]
"""
import tsrgen as g

# name, what it serves, entry 0, entry 1.  The same pairs exist in float, double and
# extended precision.
TABLES = [
    ("Ceil", "ceil of a non-zero |x| below 1; nearbyint rounding up below 1", 1.0, -0.0),
    ("Floor", "floor of a non-zero |x| below 1; nearbyint rounding down below 1", 0.0, -1.0),
    ("Zero", "trunc below 1, and every zero result of nearbyint/round", 0.0, -0.0),
    ("One", "nearbyint/round results of magnitude 1", 1.0, -1.0),
]

# Shifters: adding one to a value below half of it puts the binary point of the sum at the
# unit, so (x + C) - C is x rounded to an integer in the current mode.
MAGIC = [
    ("kMagic52", g.BINARY64, 1.5 * 2.0**52, "1.5 * 2^52 (double)"),
    ("kMagic23", g.BINARY32, 1.5 * 2.0**23, "1.5 * 2^23 (float)"),
    ("kMagic63", g.BINARY32, 1.5 * 2.0**63, "1.5 * 2^63 (float, widened for the extended forms)"),
    ("kTwo63", g.BINARY32, 2.0**63, "2^63 (float, widened for rintl)"),
]

# C++ type, name suffix, format
TYPES = [("double", "", g.BINARY64), ("float", "F", g.BINARY32), ("long double", "L", g.X87)]


def main():
    head = g.header("rounding_data.py")
    h = [head, "// Two-entry tables by sign bit (index 0 for a positive argument) and the",
         "// shifter constants of the rounding family.", "#pragma once", "#include <cstdint>",
         '#include "tsr/types.h"', "", "namespace tsr {"]
    c = [head, '#include "exact/rounding_data.h"', "", "namespace tsr {"]
    for name, why, e0, e1 in TABLES:
        h.append("// " + why)
        for ctype, sfx, fmt in TYPES:
            h.append(f"extern const {ctype} k{name}Small{sfx}[2] TSR_HIDDEN;")
            c.append(f"const {ctype} k{name}Small{sfx}[2] = {{{g.hexfloat(e0, fmt)}, {g.hexfloat(e1, fmt)}}};")
    h.append("")
    for name, fmt, val, why in MAGIC:
        ctype = "uint64_t" if fmt is g.BINARY64 else "uint32_t"
        h.append(f"constexpr {ctype} {name} = {g.hexint(g.to_bits(val, fmt), fmt.width // 4)};  // {why}")
    h.append("}  // namespace tsr")
    c.append("}  // namespace tsr")
    g.write_outputs({"exact/rounding_data.h": "\n".join(h) + "\n", "exact/rounding_data.cpp": "\n".join(c) + "\n"})


if __name__ == "__main__":
    main()
