#!/usr/bin/env bash
# Builds the library and the tessera tool, then runs the tool's report: what this
# processor offers, which variant each function reaches, and speed against the system libm.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh g++ cmake ninja-build python3 binutils
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESSERA_TESTS=OFF >/dev/null
cmake --build build
build/tools/tessera/tessera info
build/tools/tessera/tessera bench
