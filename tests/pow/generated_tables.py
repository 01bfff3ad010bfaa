#!/usr/bin/env python3
"""The committed pow tables are what tools/gen/pow_tables.py makes."""
import os
import subprocess
import sys

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
made = subprocess.run([sys.executable, os.path.join(root, "tools/gen/pow_tables.py")],
                      check=True, capture_output=True, text=True).stdout
if made != open(os.path.join(root, "elementary/pow_data.cpp")).read():
    print("FAIL: elementary/pow_data.cpp is stale: rerun tools/gen/pow_tables.py")
    sys.exit(1)
print("ok")
