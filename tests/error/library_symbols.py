#!/usr/bin/env python3
"""Checks of the built shared library for error reporting:
- matherr, matherrf and matherrl are one address;
- the library reads _LIB_VERSIONQVT through its exported symbol (a GOT relocation), so a
  program that holds the word in its own data by copy relocation is seen;
- the catalogue functions, write and errno come from the C library;
- a C program built against tessera.h and the shared library installs handlers, sees the
  mode word's initial value through its own copy, and gets 1 from matherr."""
import glob
import os
import subprocess
import sys
import tempfile

build = sys.argv[1]
so = sorted(glob.glob(os.path.join(build, "libtessera.so*")), key=len)[-1]
fail = []

syms = {}
for line in subprocess.run(["nm", "-D", "--defined-only", so], capture_output=True, text=True,
                           check=True).stdout.splitlines():
    w = line.split()
    if len(w) == 3:
        syms[w[2].split("@")[0]] = (w[0], w[1])
for n in ("matherr", "matherrf", "matherrl", "_LIB_VERSIONQVT", "__libm_setusermatherr",
          "__libm_setusermatherrf", "__libm_setusermatherrl"):
    if n not in syms:
        fail.append("%s is not exported" % n)
if all(n in syms for n in ("matherr", "matherrf", "matherrl")):
    if len({syms[n][0] for n in ("matherr", "matherrf", "matherrl")}) != 1:
        fail.append("matherr, matherrf and matherrl are not one address")
if syms.get("_LIB_VERSIONQVT", ("", ""))[1] not in ("D", "B"):
    fail.append("_LIB_VERSIONQVT is not a data word")

relocs = subprocess.run(["readelf", "-rW", so], capture_output=True, text=True, check=True).stdout
if not any("GLOB_DAT" in l and "_LIB_VERSIONQVT" in l for l in relocs.splitlines()):
    fail.append("_LIB_VERSIONQVT is not read through the GOT")

undef = subprocess.run(["nm", "-D", "--undefined-only", so], capture_output=True, text=True,
                       check=True).stdout
for n in ("catopen", "catgets", "write", "__errno_location"):
    if n not in undef:
        fail.append("%s does not come from the C library" % n)

PROGRAM = r"""
#include <math.h>
#include <stdio.h>
#include "tessera.h"
static int mine(struct tessera_exception *e) { return e->type; }
static int minef(struct tessera_exceptionf *e) { return e->type; }
static int minel(struct tessera_exceptionl *e) { return e->type; }
int main(void) {
    struct tessera_exception e = {0};
    if (_LIB_VERSIONQVT != 3) return 2;
    __libm_setusermatherr(mine);
    __libm_setusermatherrf(minef);
    __libm_setusermatherrl(minel);
    __libm_setusermatherr(0);
    if (matherr(&e) != 1) return 3;
    if ((void *)matherr != (void *)matherrf || (void *)matherr != (void *)matherrl) return 4;
    _LIB_VERSIONQVT = 0;
    puts("ok");
    return 0;
}
"""
with tempfile.TemporaryDirectory() as d:
    src, exe = os.path.join(d, "p.c"), os.path.join(d, "p")
    open(src, "w").write(PROGRAM)
    c = subprocess.run(["cc", "-std=c11", "-Wall", "-Werror", "-I", os.path.join(build, "gen"), src,
                        so, "-Wl,-rpath," + os.path.dirname(os.path.abspath(so)), "-o", exe],
                       capture_output=True, text=True)
    if c.returncode != 0:
        fail.append("a C program against tessera.h does not build:\n" + c.stderr)
    else:
        r = subprocess.run([exe], capture_output=True, text=True)
        if r.returncode != 0 or r.stdout.strip() != "ok":
            fail.append("the C program failed with status %d" % r.returncode)

for f in fail:
    print("FAIL:", f)
sys.exit(1 if fail else 0)
