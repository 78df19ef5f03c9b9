#!/usr/bin/env bash
# The main job: builds the optimised tree, then runs the morvane program on the built-in sample
# platform. In a terminal it is the interactive setup (arguments go to morvane: --help lists
# them); without one it plays sample/tour.keys headless and prints the screens.
set -euo pipefail
cd "$(dirname "$0")"
scripts/ensure-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release
morvane=build/release/tools/morvane
if [ $# -gt 0 ]; then
  exec "$morvane" "$@"
fi
if [ -t 0 ] && [ -t 1 ]; then
  exec "$morvane"
fi
echo "No terminal: a headless tour of the sample setup (sample/tour.keys)."
vars=$(mktemp -d)/tour.vars
trap 'rm -rf "$(dirname "$vars")"' EXIT
"$morvane" --keys sample/tour.keys --vars "$vars"
