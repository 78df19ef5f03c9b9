#!/usr/bin/env bash
# Runs every test: unit and scenario tests under AddressSanitizer and UndefinedBehaviorSanitizer,
# the freestanding check of the driver objects, the EFI image check and the bounded fuzz runs.
set -euo pipefail
cd "$(dirname "$0")"
scripts/ensure-deps.sh
cmake --preset test
cmake --build --preset test
ctest --preset test
