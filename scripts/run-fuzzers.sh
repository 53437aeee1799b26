#!/usr/bin/env bash
# Runs every libFuzzer harness of a fuzz build for a while each, from its corpus in fuzz/corpus/.
# New inputs that reach new code are added to that corpus, so every run starts where the last one
# stopped; commit them. A crash or a time-out leaves its input in fuzz/finds/: make it a test row
# (tests/data/fuzz/) and fix it, then delete it from fuzz/finds/.
set -euo pipefail
build=${1:-build-fuzz}
seconds=${2:-20}
here=$(cd "$(dirname "$0")/.." && pwd)
finds="$here/fuzz/finds"
mkdir -p "$finds"
status=0
for harness in "$build"/fuzz/fuzz_* "$build"/fuzz_*; do
  [ -x "$harness" ] || continue
  name=$(basename "$harness")
  corpus="$here/fuzz/corpus/${name#fuzz_}"
  mkdir -p "$corpus"
  echo "== $name (${seconds}s, $(find "$corpus" -type f | wc -l) inputs)"
  # One job, a memory cap well under the machine's and a per-input time-out: an input that runs
  # away is a find like a crash.
  "$harness" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -artifact_prefix="$finds/$name-" \
    "$corpus" || status=1
done
exit $status
