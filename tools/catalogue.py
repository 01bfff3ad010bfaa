#!/usr/bin/env python3
"""Generate everything that repeats by name from dispatch/catalogue.txt.

Outputs (into --out):
  dispatch_gen.S     entry points, first-call stubs, 13-row tables and slots
  tessera.map        the linker version script: exactly the exported names
  tessera.h          the public header
  tsr_decls.h        hidden declarations (NAME_local) of every built body and entry
  tsr_tiers.inc      per-function tier lists that tests and the tool iterate over
  tsr_dispatch.inc   the dispatched functions with their tables and slots (for `tessera info`)
  tsr_functions.inc  every built function untyped: name, shape, precision, entry, tiers
                     (what `tessera eval` and `tessera bench` drive)
  exported.txt       the exported names, one per line (the symbol-set test reads it)
  all_names.txt      the whole interface, built or not

A function comes to life when a file in dispatch/built/ names it (its plain name, e.g.
`ceil`, `ceilf`, `ceill`, `__ceilq`, `ceilf16`; `__bwr_ceil` for its reproducible form;
or the name itself for names outside the root table).
"""
import argparse
import glob
import os
import re
import sys
from collections import OrderedDict

PREC = "dflhq"
REAL = {"d": "double", "f": "float", "l": "long double", "h": "_Float16", "q": "__float128"}
CPLX = {"d": "double _Complex", "f": "float _Complex", "l": "long double _Complex",
        "q": "tessera_complex128"}
# E: the exception record a matherr handler receives, one type per precision.
EXCREC = {"d": "struct tessera_exception", "f": "struct tessera_exceptionf",
          "l": "struct tessera_exceptionl"}
WIDE2 = {"d": "long double", "f": "long double", "l": "long double", "h": "long double",
         "q": "__float128"}
TIER_ORDER = ["ex", "e7", "y8", "e9", "l9", "z0", "d1"]

# The names that <math.h> defines as macros (or C++ overload sets) for double operands.
MACRO_NAMES = {"fpclassify", "isfinite", "isinf", "isnan", "isnormal", "signbit", "isgreater",
               "isgreaterequal", "isless", "islessequal", "islessgreater", "isunordered"}


def fail(msg):
    sys.stderr.write("catalogue: " + msg + "\n")
    sys.exit(1)


def pname(root, p):
    """Plain name of a root at precision p."""
    if root.endswith("_r"):
        base = root[:-2]
        suffix = {"d": "", "f": "f", "l": "l", "h": "f16"}[p] if p != "q" else None
        if p == "q":
            return "__" + base + "q_r"
        return base + suffix + "_r"
    return {"d": root, "f": root + "f", "l": root + "l", "h": root + "f16",
            "q": "__" + root + "q"}[p]


class Unit:
    """One function at one precision: its names, bodies and how its entry is formed."""

    def __init__(self, uid, prec, shape):
        self.uid = uid
        self.prec = prec
        self.shape = shape
        self.exported = []      # exported names, in order
        self.entry_names = []   # names standing at the entry point (asm-generated)
        self.kind = "plain"     # plain | dispatch | bound
        self.base = None        # dispatch base name (table/slot/variant naming)
        self.pattern = None
        self.bound_form = None
        self.tiers = []         # all tier bodies, exported or only in tables
        self.exported_tiers = []
        self.hidden = False     # dispatched but not exported

    def variant(self, tier):
        return "__libm_%s_%s" % (self.base or self.uid, tier)


def parse(path):
    roots = OrderedDict()
    patterns = {}
    dispatch = OrderedDict()   # base -> (pattern, hidden)
    bound = OrderedDict()      # name -> form
    names = []                 # (group, name, shape)
    aliases = []
    crf = []
    classify = []
    powroots = []
    fortran = []
    apart = []                 # dispatched functions whose plain name is a body of its own
    merges = []                # (FROM, INTO): FROM's names and tiers stand at INTO's entry
    for ln, line in enumerate(open(path), 1):
        line = line.split("#", 1)[0].rstrip()
        if not line.strip():
            continue
        w = line.split()
        k = w[0]
        if k == "root":
            if len(w) < 9:
                fail("%s:%d: short root record" % (path, ln))
            root = w[1]
            roots[root] = dict(plain=w[2], libm=w[3], bwr=w[4],
                               tiers={"d": w[5], "f": w[6], "l": w[7]},
                               shape=" ".join(w[8:]))
        elif k == "pattern":
            if len(w) != 14:
                fail("%s:%d: a pattern has 12 rows" % (path, ln))
            patterns[w[1]] = w[2:]
        elif k == "dispatch":
            for n in w[2:]:
                hid = n.endswith("*")
                dispatch[n.rstrip("*")] = (w[1], hid)
        elif k == "bound":
            for n in w[2:]:
                bound[n] = w[1]
        elif k == "name":
            names.append((w[1], w[2], " ".join(w[3:])))
        elif k == "alias":
            aliases.append((w[1], w[2]))
        elif k == "crf":
            crf += w[1:]
        elif k == "classify":
            classify += w[1:]
        elif k == "pow":
            powroots += w[1:]
        elif k == "fortran":
            fortran += w[1:]
        elif k == "apart":
            apart += w[1:]
        elif k == "merge":
            merges.append((w[1], w[2]))
        else:
            fail("%s:%d: unknown record %s" % (path, ln, k))
    return roots, patterns, dispatch, bound, names, aliases, crf, classify, powroots, fortran, apart, merges


def build_units(cat):
    roots, patterns, dispatch, bound, names, aliases, crf, classify, powroots, fortran, apart, merges = cat
    units = OrderedDict()
    counts = {"plain": 0, "libm": 0, "bwr": 0, "tier": 0, "extra": 0}

    def add(u):
        if u.uid in units:
            fail("duplicate unit " + u.uid)
        units[u.uid] = u
        return u

    for root, r in roots.items():
        for p in PREC:
            has_plain = p in r["plain"]
            has_libm = p in r["libm"]
            tiers = [] if p not in "dfl" or r["tiers"][p] == "-" else r["tiers"][p].split(",")
            if not (has_plain or has_libm or tiers):
                continue
            u = add(Unit(pname(root, p), p, r["shape"]))
            u.root = root
            if has_plain:
                u.exported.append(u.uid)
                counts["plain"] += 1
            if has_libm:
                u.exported.append("__libm_" + u.uid)
                counts["libm"] += 1
            u.exported_tiers = tiers
            u.exported += ["__libm_%s_%s" % (u.uid, t) for t in tiers]
            counts["tier"] += len(tiers)
            if p in r["bwr"]:
                b = add(Unit("__bwr_" + u.uid, p, r["shape"]))
                b.exported.append(b.uid)
                counts["bwr"] += 1
    # Correctly rounded family, each with four tier names.
    for n in crf:
        u = add(Unit("__libm_cr_" + n, "f", None))
        u.exported = [u.uid] + ["%s_%s" % (u.uid, t) for t in ("ex", "l9", "z0", "d1")]
        u.exported_tiers = ["ex", "l9", "z0", "d1"]
        counts["extra"] += 5
    # The __ and d forms of classification.
    for root in classify:
        for p in "dfl":
            n = "__" + pname(root, p)
            units[pname(root, p)].exported.append(n)
            counts["extra"] += 1
    for group, n, shape in names:
        if group == "cr":
            units[n].shape = shape
            continue
        if group == "classd":
            base = n[:-1]
            units[base].exported += [n, "__" + n]
            counts["extra"] += 2
            continue
        prec = "f" if n.endswith("f") and group == "misc" and "sincos" in n else "d"
        if group == "crfront":
            prec = "f"
        if group == "quad":
            prec = "q"
        u = add(Unit(n, prec, shape))
        u.exported.append(n)
        counts["extra"] += 1
        if group == "data":
            u.kind = "data"
    for n in powroots:
        u = add(Unit(n, "d", "?"))
        u.exported.append(n)
        counts["extra"] += 1
    for n in fortran:
        u = add(Unit(n, "d", "?"))
        u.exported += [n, "__libm_" + n]
        counts["extra"] += 2
    # Names that exist only as second names of another function.
    for n, target in aliases:
        if not any(n in u.exported for u in units.values()):
            owner = next((u for u in units.values() if target in u.exported), None)
            if owner is None:
                fail("alias %s of unknown %s" % (n, target))
            owner.exported.append(n)
            counts["extra"] += 1

    # Dispatch: map base names to units.
    def unit_of_base(base):
        if base.startswith("cr_"):
            return "__libm_" + base
        if base.startswith("sse2_"):
            return "__libm_" + base
        return base

    for base, (pat, hidden) in dispatch.items():
        uid = unit_of_base(base)
        if uid not in units:
            # a dispatched function with no exported name of its own (cotpi, exp2m1, ...)
            u = add(Unit(uid, "f" if uid.endswith("f") else ("q" if uid.endswith("q") else "d"),
                         "R(R)"))
        u = units[uid]
        u.kind = "dispatch"
        u.base = base
        u.pattern = patterns[pat]
        u.hidden = hidden
        if uid.startswith("__libm_"):
            u.entry_names = [uid]
        elif base in apart:
            u.entry_names = ["__libm_" + uid]
        elif uid.startswith("__"):
            u.entry_names = [uid]
        else:
            u.entry_names = [uid, "__libm_" + uid]
        rows = set(u.pattern)
        u.tiers = [t for t in TIER_ORDER if t in rows or t in u.exported_tiers]
        if hidden and any(n in u.exported for n in u.entry_names):
            fail("unexported dispatch %s has exported names" % uid)
    for n, form in bound.items():
        u = units[n]
        u.kind = "bound"
        u.bound_form = form
        u.entry_names = [n] + (["__libm_" + n] if "__libm_" + n in u.exported else [])
        u.tiers = [t for t in TIER_ORDER if t == "ex" or t in u.exported_tiers]
    # A merged function's names stand at the entry of another, which takes its tiers (named
    # after the merged function), shape and precision.
    for src, dst in merges:
        lf = units.pop(src)
        q = units[dst]
        if "__libm_" + src in lf.exported:
            q.entry_names.append("__libm_" + src)
        q.base = src
        q.exported += [n for n in lf.exported if n not in q.exported]
        q.exported_tiers = lf.exported_tiers
        q.shape = lf.shape
        q.prec = lf.prec
    for u in units.values():
        if u.kind == "plain" and not u.tiers:
            u.tiers = list(u.exported_tiers)
    return units, counts


EXPECTED = {"plain": 665, "libm": 260, "bwr": 196, "tier": 529, "total": 1884}


def check_counts(units, counts):
    allnames = [n for u in units.values() for n in u.exported]
    if len(allnames) != len(set(allnames)):
        seen = set()
        d = [n for n in allnames if n in seen or seen.add(n)]
        fail("names appear twice: %s" % d[:10])
    got = dict(counts)
    got["total"] = len(allnames)
    for k, v in EXPECTED.items():
        if got[k] != v:
            fail("the interface has %d %s names, not %d" % (got[k], k, v))
    return sorted(allnames)


def ctype(tok, p):
    tok = tok.strip()
    m = {"R": REAL[p], "C": CPLX.get(p, "?"), "I": "int", "L": "long", "LL": "long long",
         "V": "void", "S": "const char *", "X": WIDE2[p],
         "E": EXCREC.get(p, "?")}
    if tok.endswith("*") and tok[:-1] in m:
        return m[tok[:-1]] + " *"
    return m.get(tok, tok)


def signature(shape, p):
    """(return type, [parameter types]) of a shape at precision p."""
    m = re.match(r"^(.*?)\((.*)\)$", shape)
    if not m:
        return None
    ret = ctype(m.group(1), p)
    params = [ctype(t, p) for t in m.group(2).split(",")] if m.group(2).strip() else []
    if params == ["void"]:
        params = []
    return ret, params


def decl(name, shape, p, extra=""):
    sig = signature(shape, p)
    ret, params = sig
    return "%s %s(%s)%s" % (ret, name, ", ".join(params) or "void", extra)


def fnptr(shape, p):
    ret, params = signature(shape, p)
    return "%s (*)(%s)" % (ret, ", ".join(params) or "void")


def read_built(paths):
    """The built functions, and for each source file the functions whose tier bodies it holds.

    A line `elementary/exp.cpp: exp expf` brings exp and expf to life and says that their
    tier bodies are written in elementary/exp.cpp; a line without a file names functions
    whose bodies need no tiers (each defines its names itself, wherever it lives)."""
    built, sources = [], OrderedDict()
    for path in paths:
        for ln, line in enumerate(open(path), 1):
            line = line.split("#", 1)[0].strip()
            if not line:
                continue
            src, colon, names = line.rpartition(":")
            if colon:
                src = src.strip()
                if not re.match(r"^[a-z0-9_]+/[A-Za-z0-9_]+\.cpp$", src):
                    fail("%s:%d: %s is not a library source" % (path, ln, src))
                sources.setdefault(src, []).extend(names.split())
            built += names.split()
    return built, sources


def gen_tier_units(built_units, sources, root, tier_aliases={}):
    """Per source file and tier, the translation unit the build compiles: the source under
    that tier's macro, then one definition per tier body the catalogue gives it, each calling
    the body the source writes as TSR_BODY(ret, name, params).  A body the source does not
    write for that tier stops the build with the function's and the tier's names."""
    owner = {}
    for src, names in sources.items():
        for n in names:
            if n in owner:
                fail("%s: its tier bodies are claimed by %s and %s" % (n, owner[n], src))
            owner[n] = src
    units = {u.uid: u for u in built_units}
    for u in built_units:
        if u.tiers and u.kind != "data" and u.uid not in owner:
            fail("%s has tiers %s but no line `DIR/FILE.cpp: %s` in dispatch/built/ says which "
                 "source holds their bodies" % (u.uid, ",".join(u.tiers), u.uid))
    out = OrderedDict()   # (src, tier, portable) -> text
    for src, names in sources.items():
        us = [units[n] for n in names]
        for u in us:
            if not u.tiers:
                fail("%s: %s is named with a source but has no tiers" % (src, u.uid))
        tiers = [t for t in TIER_ORDER if any(t in u.tiers and u.variant(t) not in tier_aliases
                                             for u in us)]
        for t in tiers:
            for portable in ((False, True) if t in ("z0", "d1") else (False,)):
                lines = ["/* Generated by tools/catalogue.py: %s compiled as tier %s%s. */"
                         % (src, t, " with portable AVX-512 operations" if portable else ""),
                         "#define TSR_TIER_%s 1" % t.upper(), '#define TSR_TIER_NAME "%s"' % t]
                if portable:
                    lines.append("#define TSR_PORTABLE_AVX512 1")
                lines += ['#include "%s/%s"' % (root, src), "#include <type_traits>", ""]
                for u in us:
                    if t not in u.tiers or u.variant(t) in tier_aliases:
                        continue
                    ret, params = signature(u.shape, u.prec)
                    args = ["a%d" % i for i in range(len(params))]
                    plist = ", ".join("%s %s" % (p, a) for p, a in zip(params, args)) or "void"
                    call = "tsr::body::%s(%s)" % (u.uid, ", ".join(args))
                    lines += [
                        "namespace tsr::body { template <class... A> tsr::MissingBody %s(A...); }" % u.uid,
                        "TSR_DEFINE(%s, %s, (%s)) {" % (ret, u.variant(t), plist),
                        "    static_assert(!std::is_same_v<decltype(%s), tsr::MissingBody>," % call,
                        '                  "%s: %s writes no TSR_BODY(%s, %s, ...) for tier %s");'
                        % (u.uid, src, ret, u.uid, t),
                        "    return %s;" % call, "}", ""]
                    # A tier body the catalogue names a second name of this one has no
                    # unit of its own: its names stand at this body's address.
                    lines += ["TSR_ALIAS(%s, %s, (%s), %s)" % (ret, n, plist, u.variant(t))
                              for n, target in tier_aliases.items() if target == u.variant(t)]
                out[(src, t, portable)] = "\n".join(lines)
    return out


def gen_asm(units, aliases=()):
    out = ["/* Generated by tools/catalogue.py from dispatch/catalogue.txt: do not edit. */",
           '\t.section .note.GNU-stack,"",@progbits', ""]
    for u in units:
        if u.kind == "dispatch":
            b = u.base
            tab, slot, stub = ("__libm_%s_dispatch_table" % b, "__libm_%s_dispatch_slot" % b,
                               "__libm_%s_dispatch_table_zeb_init_zeb" % b)
            out.append("/* %s: rows %s */" % (u.uid, " ".join(u.pattern)))
            out.append('\t.section .data.rel.ro.%s,"aw",@progbits' % tab)
            out.append("\t.p2align 6\n\t.hidden %s\n\t.globl %s\n\t.type %s,@object" % (tab, tab, tab))
            out.append("%s:\n\t.quad %s" % (tab, stub))
            for t in u.pattern:
                out.append("\t.quad %s_local" % u.variant(t))
            out.append("\t.zero 24\n\t.size %s, 128" % tab)
            out.append('\t.section .data.%s,"aw",@progbits' % slot)
            out.append("\t.p2align 6\n\t.hidden %s\n\t.globl %s\n\t.type %s,@object" % (slot, slot, slot))
            out.append("%s:\n\t.quad %s\n\t.zero 56\n\t.size %s, 64" % (slot, stub, slot))
            out.append("\t.text\n\t.p2align 4")
            out.append("\t.hidden %s\n\t.globl %s\n\t.type %s,@function" % (stub, stub, stub))
            out.append("%s:\n\tleaq %s(%%rip), %%r10\n\tleaq %s(%%rip), %%r11" % (stub, tab, slot))
            out.append("\tjmp __libm_dispatch_stub_common\n\t.size %s, .-%s" % (stub, stub))
            first = u.entry_names[0]
            out.append("\t.p2align 4\n\t.hidden %s_local\n\t.globl %s_local\n\t.type %s_local,@function"
                       % (first, first, first))
            out.append("%s_local:\n\tjmp *%s(%%rip)\n\t.size %s_local, .-%s_local" % (first, slot, first, first))
        elif u.kind == "bound":
            first = u.entry_names[0]
            target = u.variant("ex")
            out.append("/* %s: bound to %s */" % (u.uid, target))
            out.append("\t.text\n\t.p2align 4\n\t.hidden %s_local\n\t.globl %s_local\n\t.type %s_local,@function"
                       % (first, first, first))
            out.append("%s_local:\n\tjmp %s_local\n\t.size %s_local, .-%s_local" % (first, target, first, first))
        else:
            continue
        # Second names of a bound entry stand at the entry itself (matherrf, matherrl).
        extra = [n for n, t in aliases if u.kind == "bound" and t in u.entry_names]
        for n in u.entry_names + extra:
            if n != first:
                out.append("\t.hidden %s_local\n\t.globl %s_local\n\t.set %s_local, %s_local" % (n, n, n, first))
            out.append("\t.globl %s\n\t.type %s,@function\n\t.set %s, %s_local" % (n, n, n, first))
        out.append("")
    return "\n".join(out) + "\n"


HEADER_TOP = """/* tessera: the public interface.  Generated from the catalogue: do not edit. */
#ifndef TESSERA_H
#define TESSERA_H

#include <fenv.h>

#ifdef __cplusplus
#if __cplusplus >= 201103L
#define TESSERA_NOEXCEPT noexcept
#else
#define TESSERA_NOEXCEPT throw()
#endif
extern "C" {
#else
#define TESSERA_NOEXCEPT
#endif

/* long long is older than C99 and C++11 in practice, not in name: quiet under -pedantic. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wlong-long"
typedef long long tessera_llong;
#pragma GCC diagnostic pop

#if defined(__x86_64__) && !defined(TESSERA_COMPLEX128_DEFINED)
#define TESSERA_COMPLEX128_DEFINED
/* __extension__: complex types are an extension in C++ (and quiet under -pedantic). */
__extension__ typedef _Complex float __attribute__((mode(TC))) tessera_complex128;
#endif

/* The record a matherr handler receives: type 1 DOMAIN, 2 SING, 3 OVERFLOW, 4 UNDERFLOW,
   5 TLOSS, 6 PLOSS; name is the function's name with its precision's suffix. */
#ifndef TESSERA_EXCEPTION_DEFINED
#define TESSERA_EXCEPTION_DEFINED
struct tessera_exception { int type; char *name; double arg1, arg2, retval; };
struct tessera_exceptionf { int type; char *name; float arg1, arg2, retval; };
struct tessera_exceptionl { int type; char *name; long double arg1, arg2, retval; };
#endif

"""

HEADER_BOTTOM = """
#ifdef __cplusplus
}
#endif
#endif
"""


def gen_header(units, built_units):
    lines = [HEADER_TOP]
    macro_decls = []
    for u in built_units:
        if u.kind == "data":
            lines += ["extern int %s;" % n for n in u.exported]
            continue
        for n in u.exported:
            shape = u.shape
            if n in MACRO_NAMES:
                macro_decls.append(decl("(%s)" % n, shape, u.prec, " TESSERA_NOEXCEPT") + ";")
                continue
            d = decl("(%s)" % n, shape, u.prec, " TESSERA_NOEXCEPT") + ";"
            d = d.replace("long long", "tessera_llong")
            lines.append("__extension__ " + d if "_Complex" in d else d)
    if macro_decls:
        # <math.h> makes these macros in C and overloads in C++: in C the parenthesised
        # name is never expanded; in C++ they live in namespace tessera.
        lines.append("\n#ifndef __cplusplus")
        lines += macro_decls
        lines.append("#else\n}\nnamespace tessera { extern \"C\" {")
        lines += macro_decls
        lines.append("} }\nextern \"C\" {\n#endif")
    lines.append(HEADER_BOTTOM)
    return "\n".join(lines)


def gen_decls(units):
    """Hidden declarations of every built body and entry (NAME_local)."""
    out = ["/* Generated by tools/catalogue.py: hidden names of the built functions. */",
           "#pragma once", "#include <fenv.h>", '#include "tsr/types.h"', 'extern "C" {']
    for u in units:
        if u.kind == "data":
            for n in u.exported:
                out.append("extern int %s_local TSR_HIDDEN;" % n)
            continue
        names = list(u.entry_names)
        bodies = [u.variant(t) for t in u.tiers]
        names += bodies
        if u.kind == "plain":
            names += [n for n in u.exported if n not in names]
        for n in names:
            out.append(decl(n + "_local", u.shape, u.prec, " noexcept TSR_HIDDEN") + ";")
        for n in bodies:
            if n.endswith(("_z0", "_d1")):
                out.append(decl(n + "_portable", u.shape, u.prec, " noexcept TSR_HIDDEN") + ";")
    out.append("}")
    return "\n".join(out) + "\n"


def gen_tiers(units, tier_aliases=()):
    out = ["/* Generated by tools/catalogue.py: tier lists of the built functions. */",
           "#pragma once", '#include "tsr_decls.h"', '#include "tsr/tiers.h"']
    for u in units:
        if not u.tiers or u.kind == "data":
            continue
        ident = re.sub(r"\W", "_", u.uid)
        ft = fnptr(u.shape, u.prec)
        body = u.variant
        rows = ", ".join('{"%s", tsr::Tier::%s, %s_local}' % (t, t, body(t)) for t in u.tiers)
        out.append("inline const tsr::TierFn<%s> tsr_tiers_%s[] = {%s};" % (ft, ident, rows))
        ptiers = [t for t in u.tiers if t in ("z0", "d1") and body(t) not in tier_aliases]
        if ptiers:
            prow = ", ".join('{"%s", tsr::Tier::l9, %s_portable}' % (t + "-portable", body(t)) for t in ptiers)
            out.append("// The AVX-512 tiers with their portable operations: runnable wherever l9 is.")
            out.append("inline const tsr::TierFn<%s> tsr_portable_tiers_%s[] = {%s};" % (ft, ident, prow))
    return "\n".join(out) + "\n"


def gen_dispatch_info(units):
    out = ["/* Generated by tools/catalogue.py: the dispatched functions that are built. */",
           "#pragma once", 'extern "C" {']
    rows = []
    for u in units:
        if u.kind != "dispatch":
            continue
        b = u.base
        out.append("extern void *const __libm_%s_dispatch_table[16] TSR_HIDDEN;" % b)
        out.append("extern void *__libm_%s_dispatch_slot TSR_HIDDEN;" % b)
        rows.append('{"%s", __libm_%s_dispatch_table, &__libm_%s_dispatch_slot, {%s}}' % (
            u.entry_names[0], b, b, ", ".join('"%s"' % t for t in u.pattern)))
    out.append("}")
    out.append("inline const tsr::DispatchInfo tsr_dispatch_info[] = {")
    out += ["    " + r + "," for r in rows]
    out.append("};")
    return "\n".join(out) + "\n"


def gen_functions(units):
    """Every built function with its entry and tier bodies as untyped pointers, and its
    shape and precision so that a caller can cast them back."""
    out = ["/* Generated by tools/catalogue.py: the built functions, untyped. */",
           "#pragma once", "#include <fenv.h>", '#include "tsr_decls.h"',
           '#include "tsr/types.h"', "namespace tsr_gen {",
           "using AnyFn = void (*)();",
           "struct TierEntry {\n    const char *name;\n    tsr::Tier tier;\n    AnyFn fn;\n};",
           "struct Function {\n    const char *name;   // the function's own name (plain where it has one)",
           "    const char *shape;  // e.g. R(R), R(R,I), L(R)",
           "    char prec;          // d f l h q",
           "    bool dispatched;    // its entry jumps through a slot",
           "    bool bound;         // its entry jumps to its ex tier",
           "    AnyFn entry;",
           "    const TierEntry *tiers;",
           "    int ntiers;\n};"]
    rows = []
    for u in units:
        if u.kind == "data" or u.shape in (None, "?") or not (u.entry_names or u.exported):
            continue
        ident = re.sub(r"\W", "_", u.uid)
        entry = u.entry_names[0] if u.entry_names else u.exported[0]
        body = u.variant
        tiers = "nullptr"
        if u.tiers:
            out.append("inline const TierEntry tsr_fn_tiers_%s[] = {%s};" % (ident, ", ".join(
                '{"%s", tsr::Tier::%s, reinterpret_cast<AnyFn>(&%s_local)}' % (t, t, body(t))
                for t in u.tiers)))
            tiers = "tsr_fn_tiers_%s" % ident
        rows.append('{"%s", "%s", \'%s\', %s, %s, reinterpret_cast<AnyFn>(&%s_local), %s, %d}' % (
            u.uid, re.sub(r"\s*([(),])\s*", r"\1", u.shape), u.prec, "true" if u.kind == "dispatch" else "false",
            "true" if u.kind == "bound" else "false", entry, tiers, len(u.tiers)))
    out.append("inline const Function tsr_functions[] = {")
    out += ["    " + r + "," for r in rows]
    out.append("};")
    out.append("}  // namespace tsr_gen")
    return "\n".join(out) + "\n"


def gen_same_address(built_units, aliases):
    """Groups of exported names that must stand at one address, one group per line."""
    exported = {n for u in built_units for n in u.exported}
    groups = []
    for u in built_units:
        g = [n for n in u.entry_names if n in exported]
        if len(g) > 1:
            groups.append(g)
    for n, target in aliases:
        if n in exported and target in exported:
            groups.append([target, n])
    return "".join(" ".join(g) + "\n" for g in groups)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--catalogue", required=True)
    ap.add_argument("--built", nargs="*", default=[])
    ap.add_argument("--out", required=True)
    ap.add_argument("--root", required=True, help="the source tree, for the tier units")
    a = ap.parse_args()
    cat = parse(a.catalogue)
    units, counts = build_units(cat)
    allnames = check_counts(units, counts)
    built, sources = read_built(a.built)
    missing = [b for b in built if b not in units]
    if missing:
        fail("dispatch/built names unknown functions: %s" % missing)
    bu = [units[b] for b in units if b in set(built)]
    for u in bu:
        if u.shape in (None, "?"):
            fail("%s is built but its shape is not settled" % u.uid)
    os.makedirs(a.out, exist_ok=True)

    def write(name, text):
        path = os.path.join(a.out, name)
        if os.path.exists(path) and open(path).read() == text:
            return
        with open(path, "w") as f:
            f.write(text)

    exported = sorted(n for u in bu for n in u.exported)
    write("exported.txt", "\n".join(exported) + "\n")
    write("same_address.txt", gen_same_address(bu, cat[5]))
    write("all_names.txt", "\n".join(allnames) + "\n")
    write("tessera.map", "TESSERA_1 {\n  global:\n" + "".join("    %s;\n" % n for n in exported)
          + "  local:\n    *;\n};\n")
    aliases = [(n, t) for n, t in cat[5] if n in set(built)]
    # Aliases between tier bodies of built functions (__libm_sincosf_d1 of __libm_sincosf_z0).
    tier_names = {u.variant(t) for u in bu for t in u.tiers}
    tier_aliases = {n: t for n, t in cat[5] if n in tier_names and t in tier_names}
    write("dispatch_gen.S", gen_asm(bu, aliases))
    write("tessera.h", gen_header(units, bu))
    write("tsr_decls.h", gen_decls(bu))
    write("tsr_tiers.inc", gen_tiers(bu, tier_aliases))
    write("tsr_dispatch.inc", gen_dispatch_info(bu))
    write("tsr_functions.inc", gen_functions(bu))
    # The tier units and the list the build compiles: one line per unit, tier then path.
    os.makedirs(os.path.join(a.out, "tiers"), exist_ok=True)
    listing = []
    for (src, t, portable), text in gen_tier_units(bu, sources, a.root,
                                                    tier_aliases).items():
        name = "tiers/%s_%s%s.cpp" % (src[:-4].replace("/", "_"), t, "_portable" if portable else "")
        write(name, text)
        listing.append("%s %s %s %s\n" % (t, "portable" if portable else "library", src, name))
    write("tier_units.txt", "".join(listing))


if __name__ == "__main__":
    main()
