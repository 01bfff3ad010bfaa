#!/usr/bin/env bash
# Installs what the tests need and runs the whole default suite (the `long` label is
# separate: ctest -L long in the test build directory).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh g++ cmake ninja-build python3 binutils pkg-config libgtest-dev libgmock-dev \
  libmpfr-dev libmpc-dev libgmp-dev python3-mpmath libc-bin
cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build-test
cd build-test && ctest -LE long --output-on-failure -j2
