#!/usr/bin/env python3
"""Checks of the built library as a whole: what it needs, what it exports, how its entry
points and tiers are compiled.  Run by ctest with the build directory as argument."""
import glob
import os
import re
import subprocess
import sys
import tempfile
import unittest

BUILD = sys.argv.pop(1) if len(sys.argv) > 1 else "build"
HERE = os.path.dirname(os.path.abspath(__file__))
SO = os.path.join(BUILD, "libtessera.so")
GEN = os.path.join(BUILD, "gen")


def run(*cmd, **kw):
    return subprocess.run(cmd, check=True, capture_output=True, text=True, **kw).stdout


def dynsyms(defined):
    flag = "--defined-only" if defined else "--undefined-only"
    out = run("nm", "-D", flag, SO)
    return {line.split()[-1].split("@")[0] for line in out.splitlines() if line.strip()}


def tier_objects():
    objs = glob.glob(os.path.join(BUILD, "CMakeFiles", "tsr_objs.dir", "gen", "tiers", "*.o"))
    for o in objs:
        m = re.search(r"_(ex|e7|y8|e9|l9|z0|d1)\.cpp\.o$", o)
        if m:
            yield m.group(1), o


# Mnemonics newer than a tier's set (beyond VEX/EVEX, which the byte test catches).
SSE3 = {"addsubpd", "addsubps", "haddpd", "haddps", "hsubpd", "hsubps", "movddup", "movshdup",
        "movsldup", "lddqu", "fisttp", "fisttpl", "fisttpll", "fisttps", "monitor", "mwait"}
SSSE3 = {"pshufb", "palignr", "phaddw", "phaddd", "phaddsw", "phsubw", "phsubd", "phsubsw",
         "pmaddubsw", "pmulhrsw", "psignb", "psignw", "psignd", "pabsb", "pabsw", "pabsd"}
SSE41 = {"roundsd", "roundss", "roundpd", "roundps", "blendpd", "blendps", "blendvpd",
         "blendvps", "pblendvb", "pblendw", "dppd", "dpps", "extractps", "insertps", "pextrb",
         "pextrd", "pextrq", "pinsrb", "pinsrd", "pinsrq", "pmaxsb", "pmaxsd", "pmaxud",
         "pmaxuw", "pminsb", "pminsd", "pminud", "pminuw", "pmovsxbw", "pmovzxbw", "pmuldq",
         "pmulld", "ptest", "pcmpeqq", "packusdw", "movntdqa", "mpsadbw", "phminposuw"}
SSE42 = {"pcmpgtq", "pcmpestri", "pcmpestrm", "pcmpistri", "pcmpistrm", "crc32", "popcnt"}
BMI = {"andn", "bextr", "blsi", "blsmsk", "blsr", "bzhi", "mulx", "pdep", "pext", "rorx", "sarx",
       "shlx", "shrx", "lzcnt", "tzcnt"}
NEWER = {"ex": SSE3 | SSSE3 | SSE41 | SSE42 | BMI, "e9": SSE3 | SSSE3 | SSE41 | SSE42 | BMI,
         "e7": SSSE3 | SSE41 | SSE42 | BMI, "y8": SSE42 | BMI}
PREFIXES = {"26", "2e", "36", "3e", "64", "65", "67"}


class Library(unittest.TestCase):
    def test_needs_only_the_c_library(self):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-d", SO))
        self.assertEqual(needed, ["libc.so.6"])

    def test_undefined_symbols_are_the_c_runtime_binding(self):
        allowed = {l.strip() for l in open(os.path.join(HERE, "allowed_undefined.txt"))
                   if l.strip() and not l.startswith("#")}
        extra = dynsyms(False) - allowed
        self.assertEqual(extra, set(), "the library needs symbols outside its binding")

    def test_exports_exactly_the_catalogue(self):
        want = {l.strip() for l in open(os.path.join(GEN, "exported.txt")) if l.strip()}
        got = dynsyms(True) - {"TESSERA_1"}
        self.assertEqual(sorted(got - want), [], "exported but not in the catalogue")
        self.assertEqual(sorted(want - got), [], "in the catalogue but not exported")

    def test_names_of_one_function_share_an_address(self):
        addr = {}
        for line in run("nm", "-D", "--defined-only", SO).splitlines():
            a, _, name = line.split()
            addr[name.split("@")[0]] = a
        for line in open(os.path.join(GEN, "same_address.txt")):
            names = line.split()
            self.assertEqual(len({addr[n] for n in names}), 1, names)

    def test_no_ifunc_no_constructors(self):
        self.assertNotIn("IFUNC", run("readelf", "--dyn-syms", "-W", SO))
        for o in glob.glob(os.path.join(BUILD, "CMakeFiles", "tsr_objs.dir", "**", "*.o"), recursive=True):
            sections = run("readelf", "-S", "-W", o)
            self.assertNotIn(".init_array", sections, o)
            self.assertNotIn(".ctors", sections, o)

    def test_settled_path_is_one_indirect_jump(self):
        entries = [l.split()[0] for l in open(os.path.join(GEN, "same_address.txt"))]
        dispatched = re.findall(r"^(\S+)_local:\n\tjmp \*", open(os.path.join(GEN, "dispatch_gen.S")).read(), re.M)
        self.assertTrue(dispatched)
        addr = {}
        for line in run("nm", "-D", "--defined-only", SO).splitlines():
            a, _, name = line.split()
            addr[name.split("@")[0]] = int(a, 16)
        for name in dispatched:
            if name not in addr:
                continue  # a dispatched function that is not exported
            a = addr[name]
            out = run("objdump", "-d", "--no-show-raw-insn", "--start-address=%#x" % a,
                      "--stop-address=%#x" % (a + 6), SO)
            insns = re.findall(r"^\s+[0-9a-f]+:\s+(.*)$", out, re.M)
            self.assertEqual(len(insns), 1, out)
            self.assertRegex(insns[0], r"^jmp\s+\*0x[0-9a-f]+\(%rip\)", name)

    def test_tiers_use_nothing_newer_than_their_set(self):
        seen = set()
        for tier, obj in tier_objects():
            seen.add(tier)
            out = run("objdump", "-d", "-w", obj)
            for line in out.splitlines():
                m = re.match(r"^\s+[0-9a-f]+:\t((?:[0-9a-f]{2} )+)\s*\t?(\S*)", line)
                if not m:
                    continue
                bs = m.group(1).split()
                while bs and bs[0] in PREFIXES:
                    bs = bs[1:]
                mnem = m.group(2)
                if tier in ("ex", "e7", "y8", "e9"):
                    self.assertNotIn(bs[0], ("c4", "c5", "62"), "%s: VEX/EVEX in tier %s: %s" % (obj, tier, line))
                    self.assertNotIn(mnem, NEWER[tier], "%s: %s in tier %s" % (obj, mnem, tier))
                if tier == "l9":
                    self.assertNotEqual(bs[0], "62", "%s: EVEX in tier l9: %s" % (obj, line))
        self.assertIn("ex", seen)

    def test_tier_objects_share_no_out_of_line_copies(self):
        # A weak (COMDAT) definition in a tier object is one copy the linker picks from any
        # tier: an l9 copy could end up serving ex code on a processor without AVX.
        for tier, obj in tier_objects():
            weak = [l for l in run("nm", obj).splitlines() if l.split()[-2:-1] and l.split()[-2] in ("W", "V", "u")]
            self.assertEqual(weak, [], "%s (tier %s) defines shared copies" % (obj, tier))

    def test_linked_before_libm_it_takes_the_place_of_the_system_functions(self):
        with tempfile.TemporaryDirectory() as d:
            src = os.path.join(d, "t.c")
            open(src, "w").write(
                '#define _GNU_SOURCE\n#include <dlfcn.h>\n#include <math.h>\n#include <stdio.h>\n'
                'int main(void){ Dl_info i; volatile double x = 1.5; double (*f)(double) = ceil;'
                ' if (!dladdr((void*)f, &i)) return 2; printf("%s %g\\n", i.dli_fname, ceil(x)); return 0; }\n')
            exe = os.path.join(d, "t")
            run("cc", "-fno-builtin", src, "-o", exe, "-L" + BUILD, "-ltessera", "-lm", "-ldl",
                "-Wl,-rpath," + os.path.abspath(BUILD))
            out = run(exe)
            self.assertIn("libtessera.so", out)
            self.assertTrue(out.strip().endswith(" 2"), out)

    def test_installs_with_pkg_config_and_cmake_package(self):
        with tempfile.TemporaryDirectory() as d:
            prefix = os.path.join(d, "prefix")
            run("cmake", "--install", BUILD, "--prefix", prefix)
            self.assertTrue(os.path.exists(os.path.join(prefix, "include", "tessera.h")))
            pc = glob.glob(os.path.join(prefix, "lib*", "**", "tessera.pc"), recursive=True)
            self.assertTrue(pc)
            env = dict(os.environ, PKG_CONFIG_PATH=os.path.dirname(pc[0]))
            flags = run("pkg-config", "--cflags", "--libs", "tessera", env=env).split()
            src = os.path.join(d, "u.c")
            open(src, "w").write('#include <tessera.h>\nint main(void){ volatile double x = 2.5; return ceil(x) == 3.0 ? 0 : 1; }\n')
            exe = os.path.join(d, "u")
            # pkg-config's flags alone give a program that finds the installed library.
            run("cc", src, "-o", exe, *flags)
            subprocess.run([exe], check=True, env={"PATH": os.environ["PATH"]})
            # The installed catalogue is found from the library's own place, with no NLSPATH:
            # in mode 0, with a handler that leaves the error unhandled, a pole error prints its
            # message, not the catalogue-failure line.
            msg = os.path.join(d, "m.c")
            open(msg, "w").write('#include <tessera.h>\nstatic int unhandled(struct tessera_exception *e) '
                                 '{ (void)e; return 0; }\nint main(void){ _LIB_VERSIONQVT = 0; '
                                 '__libm_setusermatherr(unhandled); volatile double z = 0; '
                                 'return log(z) < 0 ? 0 : 1; }\n')
            run("cc", msg, "-o", exe + "m", *flags)
            if os.path.exists(os.path.join(BUILD, "gen", "tesseraUI.cat")):
                p = subprocess.run([exe + "m"], capture_output=True, text=True, env={"PATH": os.environ["PATH"]})
                self.assertNotIn("Cannot open message catalog", p.stderr)
                self.assertIn("log", p.stderr)
            # The tool is installed and runs.
            tool = os.path.join(prefix, "bin", "tessera")
            self.assertRegex(run(tool, "--version"), r"^tessera \d+\.\d+\.\d+")
            # The file name agrees with the SONAME.
            libs = glob.glob(os.path.join(prefix, "lib*", "**", "libtessera.so.1.*"), recursive=True)
            self.assertTrue(libs)
            self.assertIn("libtessera.so.1", run("readelf", "-d", libs[0]))
            proj = os.path.join(d, "proj")
            os.makedirs(proj)
            open(os.path.join(proj, "CMakeLists.txt"), "w").write(
                "cmake_minimum_required(VERSION 3.25)\nproject(u C)\nfind_package(tessera REQUIRED)\n"
                "add_executable(u ../u.c)\ntarget_link_libraries(u tessera::tessera)\n")
            run("cmake", "-S", proj, "-B", os.path.join(proj, "b"), "-DCMAKE_PREFIX_PATH=" + prefix)
            run("cmake", "--build", os.path.join(proj, "b"))


if __name__ == "__main__":
    unittest.main(verbosity=1)
