#!/usr/bin/env python3
"""The rounding family's dynamic symbols are exactly its catalogue names: plain names in
three precisions, __libm_ names where the catalogue gives them (no __libm_ceill and the
like: the extended forms other than nearbyintl are single plain functions), and the tier
names of each variant.  Usage: rounding_exports.py BUILD_DIR"""
import os
import re
import subprocess
import sys

build = sys.argv[1]
lib = os.path.join(build, "libtessera.so")

TIERS = {  # double and float tier names; truncf has one body, bound to ex
    "ceil": "ex e7 y8", "floor": "ex e7 y8", "trunc": "ex e7 y8", "nearbyint": "ex e7 y8",
    "round": "ex y8", "rint": "ex y8",
    "ceilf": "ex e7 y8", "floorf": "ex e7 y8", "nearbyintf": "ex e7 y8",
    "roundf": "ex y8", "rintf": "ex y8", "truncf": "ex",
}
want = set()
for fn, tiers in TIERS.items():
    want |= {fn, "__libm_" + fn} | {f"__libm_{fn}_{t}" for t in tiers.split()}
want |= {"ceill", "floorl", "truncl", "roundl", "rintl", "nearbyintl",
         "__libm_nearbyintl", "__libm_nearbyintl_ex"}

family = re.compile(r"^(__libm_)?(ceil|floor|trunc|round|rint|nearbyint)[fl]?(_[a-z0-9]+)?$")
out = subprocess.run(["nm", "-D", "--defined-only", lib], capture_output=True, text=True,
                     check=True).stdout
have = set()
for line in out.splitlines():
    parts = line.split()
    if len(parts) >= 3:
        name = parts[2].split("@")[0]
        if family.match(name):
            have.add(name)

with open(os.path.join(build, "gen", "exported.txt")) as f:
    listed = {n.strip() for n in f if family.match(n.strip())}

ok = True
for label, got in (("libtessera.so", have), ("exported.txt", listed)):
    if got != want:
        ok = False
        print(f"{label}: missing {sorted(want - got)}, unexpected {sorted(got - want)}")
print(f"{len(want)} rounding names checked")
sys.exit(0 if ok else 1)
