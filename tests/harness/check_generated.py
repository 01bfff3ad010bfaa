#!/usr/bin/env python3
"""The committed files are what their generator makes: reruns it into a scratch directory
and compares.

    tests/harness/check_generated.py tools/gen/GENERATOR.py OUTPUT...

OUTPUT paths are relative to the repository root, as the generator writes them under --out.
"""
import difflib
import os
import subprocess
import sys
import tempfile

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
gen, outputs = sys.argv[1], sys.argv[2:]
if not outputs:
    sys.exit("usage: check_generated.py GENERATOR OUTPUT...")
failed = False
with tempfile.TemporaryDirectory() as tmp:
    subprocess.run([sys.executable, os.path.join(root, gen), "--out", tmp], check=True, cwd=root,
                   stdout=subprocess.DEVNULL)
    for rel in outputs:
        made_path = os.path.join(tmp, rel)
        made = open(made_path).read().splitlines(True) if os.path.exists(made_path) else []
        committed = open(os.path.join(root, rel)).read().splitlines(True)
        if made != committed:
            failed = True
            print("FAIL: %s is not what %s makes (rerun it):" % (rel, gen))
            sys.stdout.writelines(list(difflib.unified_diff(committed, made, rel, "generated"))[:40])
if failed:
    sys.exit(1)
print("ok: %s" % ", ".join(outputs))
