#!/usr/bin/env bash
# Installs what the tests need and runs the whole default suite (the `long` label is
# separate: ctest -L long in build/).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh g++ cmake ninja-build python3 binutils pkg-config libgtest-dev libgmock-dev \
  libmpfr-dev libmpc-dev libgmp-dev python3-mpmath libc-bin
# The same build directory as tools/main.sh: after it, only the tests are compiled.
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESSERA_TESTS=ON >/dev/null
cmake --build build
cd build && ctest -LE long --output-on-failure -j2
