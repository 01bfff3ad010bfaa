#!/usr/bin/env python3
"""The committed rounding tables are what their generator makes."""
import os
import subprocess
import sys
import tempfile

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
with tempfile.TemporaryDirectory() as tmp:
    subprocess.run([sys.executable, os.path.join(root, "tools/gen/rounding_data.py"), tmp],
                   check=True)
    for name in ("rounding_data.h", "rounding_data.cpp"):
        if open(os.path.join(tmp, name)).read() != open(os.path.join(root, "exact", name)).read():
            print(f"FAIL: exact/{name} is stale: rerun tools/gen/rounding_data.py")
            sys.exit(1)
print("ok")
