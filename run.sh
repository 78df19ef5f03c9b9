#!/usr/bin/env bash
# Builds the optimised tree and runs the main job.
set -euo pipefail
cd "$(dirname "$0")"
scripts/ensure-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release
echo
echo "Built in build/release:"
find build/release -maxdepth 3 \( -name '*.efi' -o -name '*.a' \) -newer CMakeLists.txt -printf '  %P\n' | sort
