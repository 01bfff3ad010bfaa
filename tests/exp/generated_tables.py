#!/usr/bin/env python3
"""The committed tables of 2^(j/N) are what their generator makes."""
import os
import subprocess
import sys

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
made = subprocess.run([sys.executable, os.path.join(root, "tools/gen/exp_tables.py")],
                      check=True, capture_output=True, text=True).stdout
if made != open(os.path.join(root, "elementary/exp_data.cpp")).read():
    print("FAIL: elementary/exp_data.cpp is stale: rerun tools/gen/exp_tables.py")
    sys.exit(1)
print("ok")
