#!/usr/bin/env bash
# Runs every fuzz target in a folder for a fixed number of runs from an
# empty corpus, with a fixed seed; fails on the first crash, leak or hang.
set -euo pipefail
dir=$1
runs=${2:-20000}
export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1
for target in "$dir"/*_fuzz; do
  echo "== $(basename "$target"): $runs runs"
  corpus=$(mktemp -d)
  "$target" -runs="$runs" -seed=1 -max_len=4096 -timeout=10 "$corpus" 2>&1 | tail -n 3
  rm -rf "$corpus"
done
