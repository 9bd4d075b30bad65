#!/usr/bin/env bash
# The whole test suite as CI runs it: install, build with AddressSanitizer and
# UndefinedBehaviorSanitizer, run every test. Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
build=${KESTRA_TEST_BUILD:-build-ci}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKESTRA_SANITIZE=ON \
      -DKESTRA_WARNINGS_FATAL=ON -DKESTRA_BUILD_BENCH=OFF
cmake --build "$build"
cd "$build"
ctest --output-on-failure --timeout 600 -j2 "$@"
