#!/usr/bin/env bash
# Runs every libFuzzer harness of a fuzz build for a few seconds each, from its seed corpus.
# A crash leaves its input in the build folder; copy it to tests/data/fuzz/ and add a test row.
set -euo pipefail
build=${1:-build-fuzz}
seconds=${2:-20}
here=$(cd "$(dirname "$0")/.." && pwd)
status=0
for harness in "$build"/fuzz/fuzz_* "$build"/fuzz_*; do
  [ -x "$harness" ] || continue
  name=$(basename "$harness")
  corpus="$build/corpus/$name"
  mkdir -p "$corpus"
  seeds="$here/fuzz/corpus/${name#fuzz_}"
  echo "== $name (${seconds}s)"
  if [ -d "$seeds" ]; then
    "$harness" -max_total_time="$seconds" -artifact_prefix="$build/$name-" "$corpus" "$seeds" || status=1
  else
    "$harness" -max_total_time="$seconds" -artifact_prefix="$build/$name-" "$corpus" || status=1
  fi
done
exit $status
