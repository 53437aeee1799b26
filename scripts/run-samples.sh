#!/usr/bin/env bash
# `make run`: the main job on the bundled samples.
set -euo pipefail
build=${1:-build}
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/datum-samples.sh" "$build"
