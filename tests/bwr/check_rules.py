#!/usr/bin/env python3
"""The reproducible family's rules, checked on the built library: every exported __bwr_ name,
and every body its code reaches by a direct call or jump (followed to the end), must not
  - touch a dispatch slot or table, or the dispatch level word (its bits would then depend on
    the processor's level),
  - hold a fused multiply-add (its single rounding differs from the separate operations),
  - hold a reciprocal or reciprocal-square-root estimate (their last bits differ between
    processor makers),
  - hold an x87 transcendental instruction (its results differ between makers too),
apart from the breaches the family admits (EXCUSED).  The names come from the build's
exported list, so a family whose __bwr_ names land later is checked without change.
Run by ctest with the build directory as argument."""
import os
import re
import subprocess
import sys
import unittest

BUILD = sys.argv.pop(1) if len(sys.argv) > 1 else "build"
SO = os.path.join(BUILD, "libtessera.so")
GEN = os.path.join(BUILD, "gen")

FMA = re.compile(r"^vf(n?m(add|sub)|maddsub|msubadd)")
ESTIMATE = re.compile(r"^v?(rcp|rsqrt)")
X87_TRANSCENDENTAL = re.compile(r"^f(sin|cos|sincos|ptan|patan|yl2x|yl2xp1|2xm1)$")
DISPATCH = re.compile(r"_dispatch_(slot|table)\b|^__libm_feature_flag$")

# Breaches the family admits: the rare path of sincosf goes through the sse2_sincos slot;
# exp2m1f and log2p1f go through the slots of their correctly rounded forms (correctly
# rounded in every tier, so their bits do not depend on the slot); atan2pi, atan2pif and
# log2p1 keep the ex body's one reciprocal estimate.
EXCUSED = {
    "__bwr_sincosf": {"dispatch": {"__libm_sse2_sincos_dispatch_slot"}},
    "__bwr_exp2m1f": {"dispatch": {"__libm_cr_exp2m1f_dispatch_slot"}},
    "__bwr_log2p1f": {"dispatch": {"__libm_cr_log2p1f_dispatch_slot"}},
    "__bwr_atan2pi": {"estimate": True},
    "__bwr_atan2pif": {"estimate": True},
    "__bwr_log2p1": {"estimate": True},
}


def run(*cmd):
    return subprocess.run(cmd, check=True, capture_output=True, text=True).stdout


class Disassembly:
    """The library's code as functions: start address -> (name, [(address, mnemonic, text)])."""

    def __init__(self, path):
        self.funcs = {}
        cur = None
        for line in run("objdump", "-d", "-w", "--no-show-raw-insn", path).splitlines():
            m = re.match(r"^([0-9a-f]+) <([^>]+)>:$", line)
            if m:
                cur = (m.group(2), [])
                self.funcs[int(m.group(1), 16)] = cur
                continue
            m = re.match(r"^\s+([0-9a-f]+):\s+(\S+)\s*(.*)$", line)
            if m and cur is not None:
                cur[1].append((int(m.group(1), 16), m.group(2), m.group(3)))
        self.starts = sorted(self.funcs)
        self.symbols = {}
        for line in run("nm", "--defined-only", path).splitlines():
            parts = line.split()
            if len(parts) == 3 and parts[1] in "tTwWiI":
                self.symbols[parts[2].split("@")[0]] = int(parts[0], 16)

    def block_of(self, addr):
        """The start of the function block holding addr."""
        lo, hi = 0, len(self.starts)
        while hi - lo > 1:
            mid = (lo + hi) // 2
            if self.starts[mid] <= addr:
                lo = mid
            else:
                hi = mid
        return self.starts[lo]

    def closure(self, name):
        """Every block reached from name's by direct calls and jumps: {start: path}, the path
        being the chain of names that leads there."""
        start = self.block_of(self.symbols[name])
        seen = {start: [name]}
        todo = [start]
        while todo:
            s = todo.pop()
            fname, insns = self.funcs[s]
            end = insns[-1][0] if insns else s
            for _, mnem, text in insns:
                if not (mnem.startswith("j") or mnem.startswith("call")):
                    continue
                m = re.match(r"^([0-9a-f]+) <([^>]+)>", text)
                if not m or "@plt" in m.group(2):
                    continue  # indirect, or into the C library
                t = int(m.group(1), 16)
                if s <= t <= end:
                    continue
                b = self.block_of(t)
                if b not in seen:
                    seen[b] = seen[s] + [self.funcs[b][0]]
                    todo.append(b)
        return seen


def breaches(dis, name):
    """What name's closure does against the rules, less what EXCUSED admits for it."""
    ok = EXCUSED.get(name, {})
    found = []
    for start, path in dis.closure(name).items():
        fname, insns = dis.funcs[start]
        where = " -> ".join(path)
        for addr, mnem, text in insns:
            for sym in re.findall(r"<([^>+]+)(?:\+0x[0-9a-f]+)?>", text):
                if DISPATCH.search(sym) and sym not in ok.get("dispatch", ()):
                    found.append("%s: reaches %s (%s %s at %#x)" % (where, sym, mnem, text, addr))
            if FMA.match(mnem):
                found.append("%s: fused multiply-add %s at %#x" % (where, mnem, addr))
            if ESTIMATE.match(mnem) and not ok.get("estimate"):
                found.append("%s: estimate %s at %#x" % (where, mnem, addr))
            if X87_TRANSCENDENTAL.match(mnem):
                found.append("%s: x87 %s at %#x" % (where, mnem, addr))
    return found


class Rules(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dis = Disassembly(SO)
        with open(os.path.join(GEN, "exported.txt")) as f:
            cls.names = [l.strip() for l in f if l.startswith("__bwr_")]

    def test_every_member_keeps_the_rules(self):
        self.assertTrue(self.names, "no __bwr_ name is built")
        bad = {}
        for n in self.names:
            f = breaches(self.dis, n)
            if f:
                bad[n] = f
        self.assertEqual(bad, {}, "\n".join("%s\n    %s" % (n, "\n    ".join(f[:5])) for n, f in bad.items()))
        print("%d __bwr_ names checked" % len(self.names))

    def test_the_check_sees_what_it_looks_for(self):
        # The dispatched entries of exp and log reach their slots, and their l9 tiers hold
        # fused multiply-adds: the same scan over them must find both.
        for entry, tier in (("exp", "__libm_exp_l9"), ("log", "__libm_log_l9")):
            self.assertTrue(any("reaches" in f for f in breaches(self.dis, entry)), entry)
            self.assertTrue(any("fused" in f for f in breaches(self.dis, tier)), tier)
        self.assertTrue(any("estimate" in f for f in breaches(self.dis, "__libm_log_ex")))


if __name__ == "__main__":
    unittest.main(verbosity=2)
