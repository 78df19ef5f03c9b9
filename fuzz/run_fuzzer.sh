#!/usr/bin/env bash
# Runs a fuzz target for a bounded time on a scratch copy of its seed corpus, so the run never
# writes into the build's seeds. Usage: run_fuzzer.sh FUZZER SEEDS SECONDS [ARGS...]
set -euo pipefail
fuzzer="$1"
seeds="$2"
seconds="$3"
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$seeds"/. "$work/"
exec "$fuzzer" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 "$@" "$work"
