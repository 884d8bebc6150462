#!/usr/bin/env bash
# Builds and tests under the sanitizers: installs what is missing, then for each
# preset named configures, builds every target and runs the whole suite.
#   bash scripts/sanitize.sh asan   AddressSanitizer + UndefinedBehaviorSanitizer (build/asan)
#   bash scripts/sanitize.sh tsan   ThreadSanitizer (build/tsan)
#   bash scripts/sanitize.sh all    both, one after the other; fails if either fails
# The sanitizer options (and the suppressions in tools/sanitizers/) come from the
# test presets in CMakePresets.json, so a plain `ctest --preset asan` runs the same.
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1:-}" in
  asan | tsan) presets=("$1") ;;
  all) presets=(asan tsan) ;;
  *)
    echo "usage: bash scripts/sanitize.sh asan|tsan|all" >&2
    exit 2
    ;;
esac

bash scripts/deps.sh

status=0
for preset in "${presets[@]}"; do
  started=$SECONDS
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  built=$SECONDS
  if ctest --preset "$preset"; then result=passed; else result=FAILED; status=1; fi
  echo "sanitize: $preset $result (build $((built - started)) s, tests $((SECONDS - built)) s)"
done
exit $status
