#!/usr/bin/env bash
# Builds and runs the libFuzzer targets of fuzz/ (the `fuzz` preset: clang,
# AddressSanitizer, UndefinedBehaviorSanitizer).
#
#   scripts/fuzz.sh build                 configure and build the fuzzers
#   scripts/fuzz.sh smoke                 every fuzzer over its committed corpus
#                                         only (fast; for CI)
#   scripts/fuzz.sh run <target> [secs]   one fuzzer for secs seconds (600 when
#                                         not given), one job
#   scripts/fuzz.sh list                  the targets
#
# Long runs work on a copy of the committed corpus under build/fuzz/work/, so
# what they find never lands in the source tree by accident; crash inputs go
# to build/fuzz/artifacts/<target>/. Each run ends with libFuzzer's final
# statistics in build/fuzz/work/<target>/fuzz-0.log.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$root/build/fuzz"
targets=(feature_codes pending_crashes ingest_request)

# Per target: the longest input worth mutating. Crash files and requests carry
# a minidump or a batch of logs; feature codes are short.
max_len() {
  case "$1" in
    feature_codes) echo 4096 ;;
    *) echo 16384 ;;
  esac
}

sanitizer_environment() {
  # The crash service installs its own crash handler; AddressSanitizer's runs
  # first and reports. Leaks are reported at exit and per input by libFuzzer.
  export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:allow_user_segv_handler=1}"
  export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
  export QT_QPA_PLATFORM=offscreen
}

build_fuzzers() {
  cmake --preset fuzz -S "$root" >/dev/null
  local names=()
  for t in "${targets[@]}"; do names+=("fuzz_$t"); done
  cmake --build "$build" -j2 --target "${names[@]}"
}

check_target() {
  local t="$1"
  for known in "${targets[@]}"; do [ "$known" = "$t" ] && return 0; done
  echo "fuzz.sh: unknown target '$t' (one of: ${targets[*]})" >&2
  exit 2
}

smoke() {
  sanitizer_environment
  local failed=0
  for t in "${targets[@]}"; do
    echo "== fuzz_$t over fuzz/corpus/$t"
    if ! "$build/fuzz/fuzz_$t" -runs=0 -max_len="$(max_len "$t")" -timeout=60 \
        "$root/fuzz/corpus/$t" 2>"$build/smoke-$t.log"; then
      tail -n 60 "$build/smoke-$t.log" >&2
      failed=1
    else
      grep -E '^#[0-9]+[[:space:]]+DONE' "$build/smoke-$t.log" || true
    fi
  done
  return "$failed"
}

run() {
  local t="$1" seconds="${2:-600}"
  check_target "$t"
  sanitizer_environment
  local work="$build/work/$t" artifacts="$build/artifacts/$t"
  mkdir -p "$work/corpus" "$artifacts"
  cp -n "$root/fuzz/corpus/$t"/* "$work/corpus/" 2>/dev/null || true
  local dict=()
  [ -f "$root/fuzz/$t.dict" ] && dict=(-dict="$root/fuzz/$t.dict")
  echo "fuzz.sh: fuzz_$t for ${seconds}s; log $work/fuzz-0.log"
  # -jobs=1 runs the fuzzer in one child process whose output goes to
  # fuzz-0.log in the working directory. libFuzzer's leak check after single
  # inputs is off: the library keeps caches and a growing store between
  # inputs, so nearly every input would trigger a full LeakSanitizer scan and
  # cut the speed by an order of magnitude. LeakSanitizer still checks the
  # whole run at exit (an unreachable block is reported there), and the smoke
  # mode keeps the check after every input.
  local status=0
  (cd "$work" && "$build/fuzz/fuzz_$t" -jobs=1 -workers=1 -max_total_time="$seconds" \
      -max_len="$(max_len "$t")" -timeout=60 -print_final_stats=1 -detect_leaks=0 \
      -artifact_prefix="$artifacts/" "${dict[@]}" corpus) || status=$?
  grep -E '^(#[0-9]+[[:space:]]+DONE|stat::number_of_executed_units|stat::average_exec_per_sec|Done )' "$work/fuzz-0.log" || true
  echo "corpus: $(find "$work/corpus" -type f | wc -l) files"
  if grep -qE '^==[0-9]+==ERROR|invariant broken|runtime error:' "$work/fuzz-0.log"; then
    echo "fuzz.sh: fuzz_$t found a problem; see $work/fuzz-0.log and $artifacts/" >&2
    status=1
  fi
  return "$status"
}

case "${1:-}" in
  build) build_fuzzers ;;
  smoke) smoke ;;
  run) shift; [ $# -ge 1 ] || { echo "usage: fuzz.sh run <target> [seconds]" >&2; exit 2; }; run "$@" ;;
  list) printf '%s\n' "${targets[@]}" ;;
  *) sed -n '2,16p' "$0" | sed 's/^# \{0,1\}//'; exit 2 ;;
esac
