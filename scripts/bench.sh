#!/usr/bin/env bash
# Builds and runs every benchmark in bench/ (figures are medians of repetitions).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/build.sh
for program in build/"${ZP_PRESET:-default}"/bench/zp_*_bench; do
  echo "== $(basename "$program")"
  QT_QPA_PLATFORM=offscreen "$program"
done
