#!/usr/bin/env python3
"""The committed packed tables are what the generator makes from the readable tables."""
import os
import subprocess
import sys
import tempfile

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
with tempfile.TemporaryDirectory() as d:
    out = os.path.join(d, "report_data.cpp")
    subprocess.run([sys.executable, os.path.join(root, "tools/gen/error_tables.py"),
                    os.path.join(root, "error/report_tables.txt"), out], check=True)
    if open(out).read() != open(os.path.join(root, "error/report_data.cpp")).read():
        print("FAIL: error/report_data.cpp is stale: rerun tools/gen/error_tables.py")
        sys.exit(1)
