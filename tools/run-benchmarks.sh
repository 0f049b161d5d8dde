#!/usr/bin/env bash
# Runs every benchmark program and prints each figure beside its peer, the ratio, and the ratio aimed at.
set -u
bin=${1:?usage: run-benchmarks.sh FOLDER}
for program in "$bin"/tlx_bench_*; do
  [ -x "$program" ] || continue
  echo "== $(basename "$program")"
  "$program" || echo "$(basename "$program"): a budget is missed"
done
echo "== picks"
"$(dirname "$0")/bench-picks.sh" "$bin"
