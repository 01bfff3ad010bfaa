#!/usr/bin/env python3
"""Pack the readable error-policy tables (error/report_tables.txt) into the words the
error interpreter reads, written as C++ source (error/report_data.cpp).

    tools/gen/error_tables.py [--out DIR]

Word layouts:
  code record   class bits 0-6, precision bits 7-8, name bits 9-15
  class word    exception type bits 0-2, message bits 3-5, action row of mode m at 6+6m
  action word   value index bits 0-2, errno index bits 3-4, program bits 5-9
  program       4-bit steps, first step in the low nibble, a zero nibble ends it
"""
import codecs
import os
import shlex
import sys

import tsrgen as g

STEPS = {"SET_ERRNO": 1, "ERRNO_IF_ZERO": 2, "SET_RESULT": 3, "COPY_ARG1": 4,
         "SOURCE_ARG1": 5, "SOURCE_RESULT": 6, "APPLY_SIGN": 7, "SIGNED_BY_ARG1": 8,
         "SIGNED_NONPOSITIVE_ARG1": 9, "SIGNED_BY_RESULT": 10, "WRITE_MESSAGE": 11,
         "CALL_HANDLER": 12}
VALUES = ["+0", "-0", "+1", "-1", "+inf", "-inf", "+MAX", "-MAX"]
ERRNO = {"ERANGE": 0, "EDOM": 1}
NCODES = 404


def fail(msg):
    sys.exit("error_tables: " + msg)


def parse(path):
    t = dict(names=[], exc={}, fmt={}, prec={}, values={}, programs={}, actions={},
             classes={}, codes={})
    for ln, raw in enumerate(open(path), 1):
        line = raw.split("#", 1)[0].strip() if not raw.lstrip().startswith("format") else raw.strip()
        if not line:
            continue
        w = line.split()
        k = w[0]
        where = "%s:%d" % (path, ln)
        if k == "names":
            t["names"] += w[1:]
        elif k == "exception":
            t["exc"][int(w[1])] = w[2]
        elif k == "format":
            t["fmt"][int(w[1])] = codecs.decode(shlex.split(line)[2], "unicode_escape")
        elif k == "precision":
            t["prec"][int(w[1])] = dict(suffix="" if w[3] == "-" else w[3], words=int(w[4]),
                                        stride=int(w[5]), first=int(w[6]), shift=int(w[7]),
                                        sign=int(w[8]))
        elif k == "value":
            t["values"][int(w[1])] = (w[2], w[3:7])
        elif k == "program":
            try:
                t["programs"][int(w[1])] = [STEPS[s] for s in w[2:]]
            except KeyError as e:
                fail("%s: unknown step %s" % (where, e))
        elif k == "action":
            t["actions"][int(w[1])] = (int(w[2]), VALUES.index(w[3]), ERRNO[w[4]])
        elif k == "class":
            t["classes"][int(w[1])] = (t_exc_index(t, w[2], where), int(w[3]),
                                       [int(x) for x in w[4:8]])
        elif k == "code":
            fn = w[1]
            for prec, code, cls in ((2, w[2], w[5]), (1, w[3], w[6]), (0, w[4], w[7])):
                if code == "-":
                    continue
                add_code(t, int(code), int(cls), prec, fn, where)
        elif k == "qcode":
            add_code(t, int(w[1]), int(w[3]), 3, w[2], where)
        else:
            fail("%s: unknown record %s" % (where, k))
    return t


def t_exc_index(t, name, where):
    for n, text in t["exc"].items():
        if text == name:
            return n
    fail("%s: unknown exception type %s" % (where, name))


def add_code(t, code, cls, prec, name, where):
    if code in t["codes"]:
        fail("%s: code %d twice" % (where, code))
    t["codes"][code] = (cls, prec, name)


def check(t):
    if sorted(t["codes"]) != list(range(NCODES)):
        fail("codes are not exactly 0..%d" % (NCODES - 1))
    if len(set(t["names"])) != len(t["names"]) or len(t["names"]) > 128:
        fail("names must be distinct and fit 7 bits")
    for c, (cls, prec, name) in t["codes"].items():
        if cls not in t["classes"]:
            fail("code %d names the missing class %d" % (c, cls))
        if name not in t["names"]:
            fail("code %d names the unknown function %s" % (c, name))
    for n, (exc, msg, rows) in t["classes"].items():
        if not 0 <= n < 128 or msg not in t["fmt"] or not 0 <= exc < 8:
            fail("class %d out of range" % n)
        for r in rows:
            if r not in t["actions"] or r >= 64:
                fail("class %d names the missing action %d" % (n, r))
    for r, (prog, _, _) in t["actions"].items():
        if prog not in t["programs"] or prog >= 32:
            fail("action %d names the missing program %d" % (r, prog))
    for n, steps in t["programs"].items():
        if len(steps) > 16:
            fail("program %d is longer than 16 steps" % n)
    # The values of one precision must not overlap those of the next.
    end = 0
    for p in sorted(t["prec"]):
        r = t["prec"][p]
        if r["first"] < end or r["words"] > r["stride"]:
            fail("precision %d overlaps the values before it" % p)
        end = r["first"] + 8 * r["stride"]


def value_words(hexes, prec, words):
    """The 16-bit words of one value, least significant first."""
    h = hexes[prec].replace(":", "")
    if len(h) != 4 * words:
        fail("value %s has %d hex digits, not %d" % (hexes, len(h), 4 * words))
    v = int(h, 16)
    return [(v >> (16 * i)) & 0xFFFF for i in range(words)]


def cstr(s):
    out = ""
    for ch in s:
        out += {"\r": "\\r", "\n": "\\n", '"': '\\"', "\\": "\\\\"}.get(ch, ch)
    return '"' + out + '"'


def emit(t):
    records = []
    for c in range(NCODES):
        cls, prec, name = t["codes"][c]
        records.append(cls | prec << 7 | t["names"].index(name) << 9)
    nclass = max(t["classes"]) + 1
    classes = [0] * nclass
    for n, (exc, msg, rows) in t["classes"].items():
        w = exc | msg << 3
        for m, r in enumerate(rows):
            w |= r << (6 + 6 * m)
        classes[n] = w
    nact = max(t["actions"]) + 1
    actions = [0] * nact
    for r, (prog, val, err) in t["actions"].items():
        actions[r] = val | err << 3 | prog << 5
    programs = []
    for n in range(max(t["programs"]) + 1):
        w = 0
        for i, s in enumerate(t["programs"].get(n, [])):
            w |= s << (4 * i)
        programs.append(w)
    last = max(t["prec"])
    nwords = t["prec"][last]["first"] + 8 * t["prec"][last]["stride"]
    values = [0] * nwords
    for p, r in t["prec"].items():
        for i in range(8):
            ws = value_words(t["values"][i][1], p, r["words"])
            base = r["first"] + i * r["stride"]
            values[base:base + len(ws)] = ws

    def rows(vals, digits, per, suffix=""):
        return "\n".join(g.c_rows([g.hexint(v, digits, suffix) for v in vals], per))

    o = [g.header("error_tables.py", "error/report_tables.txt"),
         '#include "error/report_data.h"', "#include <cerrno>", "", 'extern "C" {', ""]
    o.append("const uint32_t __libm_error_records[%d] = {\n%s\n};\n" % (NCODES, rows(records, 4, 10)))
    o.append("const uint32_t __libm_error_classes[%d] = {\n%s\n};\n" % (nclass, rows(classes, 8, 6)))
    o.append("const uint32_t __libm_error_actions[%d] = {\n%s\n};\n" % (nact, rows(actions, 3, 10)))
    o.append("const uint64_t __libm_error_programs[%d] = {\n%s\n};\n" % (len(programs), rows(programs, 0, 6, "ull")))
    o.append("const uint16_t __libm_error_values[%d] = {\n%s\n};\n" % (nwords, rows(values, 4, 8)))
    o.append("const ErrorPrecision __libm_error_precisions[%d] = {" % (last + 1))
    for p in range(last + 1):
        r = t["prec"][p]
        o.append("    {%s, %d, %d, %d, %d, %d}," % (cstr(r["suffix"]), r["words"], r["stride"], r["first"],
                                                   r["shift"], r["sign"]))
    o.append("};\n")
    o.append("const int __libm_error_errno[2] = {ERANGE, EDOM};\n")
    o.append("const char *const __libm_error_types[%d] = {%s};\n" % (
        len(t["exc"]), ", ".join(cstr(t["exc"][i]) for i in range(len(t["exc"])))))
    o.append("const char *const __libm_error_formats[%d] = {\n%s\n};\n" % (
        len(t["fmt"]), "\n".join("    %s," % cstr(t["fmt"][i]) for i in range(len(t["fmt"])))))
    o.append("const char *const __libm_error_names[%d] = {\n%s\n};\n" % (
        len(t["names"]), "\n".join(g.c_rows([cstr(n) for n in t["names"]], 8))))
    o.append("}  // extern \"C\"")
    return "\n".join(o) + "\n"


def main():
    t = parse(os.path.join(g.ROOT, "error/report_tables.txt"))
    check(t)
    g.write_outputs({"error/report_data.cpp": emit(t)})


if __name__ == "__main__":
    main()
