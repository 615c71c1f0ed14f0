#!/usr/bin/env bash
# Runs every benchmark binary of a build tree (bench_*), one after another.
set -euo pipefail
build=${1:-build/release}
found=0
while IFS= read -r exe; do
    found=1
    echo "== $(basename "$exe")"
    "$exe" --benchmark_counters_tabular=true
done < <(find "$build/bench" -type f -perm -u+x -name 'bench_*' | sort)
[ "$found" = 1 ] || { echo "no benchmarks built under $build/bench" >&2; exit 1; }
