#!/usr/bin/env bash
# Runs every fuzz target in a folder for a fixed number of runs from an
# empty corpus (plus fuzz/corpus/<target> when that exists), with a fixed seed; fails on the first crash, leak, sanitizer
# report or hang, and then prints the end of that target's log.
set -euo pipefail
dir=$1
runs=${2:-20000}
export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for target in "$dir"/*_fuzz; do
  name=$(basename "$target")
  mkdir -p "$work/$name"
  seeds=$(dirname "$0")/../fuzz/corpus/$name
  [ -d "$seeds" ] || seeds=""
  if ! "$target" -runs="$runs" -seed=1 -max_len=4096 -timeout=10 -print_final_stats=1 \
       -artifact_prefix="$work/" "$work/$name" $seeds > "$work/$name.log" 2>&1; then
    echo "== $name FAILED"
    tail -n 60 "$work/$name.log"
    exit 1
  fi
  echo "== $name: $(grep -E '^Done' "$work/$name.log"), $(grep -oE 'cov: [0-9]+' "$work/$name.log" | tail -n 1)"
done
