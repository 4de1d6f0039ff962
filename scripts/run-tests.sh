#!/usr/bin/env bash
# Builds and runs every test: the unit tests, the installed-package and symbol checks, the emulated
# processors, the whole unit suite again under AddressSanitizer and UndefinedBehaviorSanitizer, and
# the diagnostics and platform suites (the concurrent code) under ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-deps.sh
jobs=$(nproc)

cmake --preset default >/dev/null
cmake --build --preset default -j "$jobs"
ctest --preset default -j "$jobs"

cmake --preset sanitize >/dev/null
cmake --build --preset sanitize -j "$jobs"
ctest --preset sanitize -j "$jobs"

cmake --preset tsan >/dev/null
cmake --build --preset tsan -j "$jobs"
ctest --preset tsan -j "$jobs"
