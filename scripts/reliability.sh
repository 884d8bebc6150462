#!/usr/bin/env bash
# The long form of the kill trials: a host tracks numbered events and is killed
# with SIGKILL at random moments; the next launch delivers; every event the
# library accepted must arrive. Prints each trial and the totals (trials,
# events accepted, delivered, lost, duplicated) and the wall time.
#
#   bash scripts/reliability.sh [TRIALS]     default 50
#
# Environment:
#   ZP_PRESET                  the CMake preset to configure and build (default: default)
#   ZP_RELIABILITY_BUILD_DIR   use this already built tree; nothing is configured or built
#   ZP_RELIABILITY_SEED        repeat a run: the seed a previous run printed
#
# Exits non-zero when an accepted event was lost or a check failed.
set -euo pipefail
cd "$(dirname "$0")/.."

trials="${1:-50}"
case "$trials" in
  ''|*[!0-9]*) echo "usage: bash scripts/reliability.sh [TRIALS]" >&2; exit 2 ;;
esac

if [ -n "${ZP_RELIABILITY_BUILD_DIR:-}" ]; then
  build="$ZP_RELIABILITY_BUILD_DIR"
else
  preset="${ZP_PRESET:-default}"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" --target zpreliability_tests reliability_trial_host >&2
  build="build/$preset"
fi

start=$(date +%s.%N)
status=0
ZP_RELIABILITY_TRIALS="$trials" QT_QPA_PLATFORM=offscreen \
  "$build/tests/reliability/zpreliability_tests" --gtest_filter='KillTrials.*' || status=$?
end=$(date +%s.%N)
awk -v s="$start" -v e="$end" 'BEGIN { printf "wall time: %.1f s\n", e - s }'
exit "$status"
