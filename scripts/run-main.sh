#!/usr/bin/env bash
# Builds the library and runs the host program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target quoraccelerate-host
exec build/quoraccelerate-host
