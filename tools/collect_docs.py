#!/usr/bin/env python3
"""Assembles docs/accuracy.md from the per-family reports in docs/accuracy/ (each family's
tests write or document its own measurements there)."""
import glob
import os

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
parts = sorted(glob.glob(os.path.join(ROOT, "docs", "accuracy", "*.md")))
out = ["# Accuracy", "",
       "Measured against MPFR (errors in ulps of the target format at the exact value; exact",
       "functions are checked bit for bit). One section per family; each gives the command that",
       "reproduces its numbers. This file is assembled by `tools/collect_docs.py` from",
       "`docs/accuracy/*.md`.", ""]
for p in parts:
    text = open(p).read().strip()
    # demote the family's headings by one level
    lines = [("#" + l) if l.startswith("#") else l for l in text.splitlines()]
    out += lines + [""]
open(os.path.join(ROOT, "docs", "accuracy.md"), "w").write("\n".join(out) + "\n")
