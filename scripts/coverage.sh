#!/usr/bin/env bash
# Line and branch coverage of the driver core, the hosted platform and the program, measured
# with clang source-based coverage (preset "coverage"). Without arguments it runs the whole
# suite through CTest; with test program names (model_tests, browser_tests, ...) it runs only
# those and reports what they alone cover. Prints one line per part; the per-file report
# lands in build/coverage/report.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage
if [ ! -f "$build/build.ninja" ]; then
  scripts/ensure-deps.sh
  cmake --preset coverage >/dev/null
fi

profiles="$build/profiles"
rm -rf "$profiles"
mkdir -p "$profiles"
# %4m: the processes of one program merge into four raw profiles as they end, the program's
# own runs included.
export LLVM_PROFILE_FILE="$PWD/$profiles/%4m.profraw"
objects=()
if [ $# -eq 0 ]; then
  cmake --build --preset coverage
  ctest --preset coverage --quiet
  while IFS= read -r binary; do
    objects+=(-object "$binary")
  done < <(find "$build/tests" "$build/tools" -type f -perm -u+x \( -name '*_tests' -o -name morvane \) | sort)
else
  cmake --build --preset coverage --target "$@"
  for name in "$@"; do
    binary=$(find "$build/tests" -type f -perm -u+x -name "$name" | head -n 1)
    [ -n "$binary" ] || { echo "no test program $name" >&2; exit 2; }
    (cd "$(dirname "$binary")" && "$PWD/$(basename "$binary")" >/dev/null) || true
    objects+=(-object "$binary")
  done
fi
llvm-profdata merge -sparse "$profiles"/*.profraw -o "$build/coverage.profdata"

# llvm-cov takes the first program as an argument, the others with -object.
report() {
  llvm-cov report -instr-profile="$build/coverage.profdata" "${objects[@]:1}" "$@"
}
report >"$build/report.txt"

# The TOTAL row: regions, functions, lines and branches, three columns each, after the name.
summary() {
  local name=$1
  shift
  local sources=()
  for folder in "$@"; do
    sources+=("$PWD/$folder")
  done
  report "${sources[@]}" | awk -v name="$name" '$1 == "TOTAL" {
    printf "%-12s lines %7s (%d of %d missed)   branches %7s (%d of %d missed)\n",
           name, $10, $9, $8, $13, $12, $11 }'
}
summary "driver core" core model expression storage screen editors dialogs support data
summary "host" host
summary "tools" tools
