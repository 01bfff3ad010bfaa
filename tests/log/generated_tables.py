#!/usr/bin/env python3
"""The committed logarithm tables are what tools/gen/log_tables.py makes."""
import os
import subprocess
import sys

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
made = subprocess.run([sys.executable, os.path.join(root, "tools/gen/log_tables.py")],
                      check=True, capture_output=True, text=True).stdout
if made != open(os.path.join(root, "elementary/log_data.cpp")).read():
    print("FAIL: elementary/log_data.cpp is stale: rerun tools/gen/log_tables.py")
    sys.exit(1)
print("log tables up to date")
