#!/usr/bin/env bash
# Builds and runs every benchmark program in bench/ (bench/zp_*_bench), keeps
# each one's Google Benchmark JSON, and prints ONE markdown table of all their
# figures on stdout. Everything else (build output, the programs' progress and
# the library's log lines) goes to stderr: `bash scripts/bench.sh 2>/dev/null`
# leaves only the table.
#
#   bash scripts/bench.sh           the full run: the figures to quote
#   bash scripts/bench.sh --quick   a smoke test of the machinery: sets
#                                   ZP_BENCH_QUICK=1, which programs honour
#                                   with fewer runs; not figures to quote
#
# Environment:
#   ZP_PRESET           the CMake preset to build and run (default: default)
#   ZP_BENCH_BUILD_DIR  run the programs of this already built tree instead
#                       (relative to the repository root); nothing is
#                       installed or built
#   ZP_BENCH_OUT        where the JSON files go (default: <build>/bench-results)
#
# Exits non-zero if a program or one of its benchmarks failed; the table is
# printed either way and says which.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=0
for arg in "$@"; do
  case "$arg" in
    --quick) quick=1 ;;
    *) echo "usage: bash scripts/bench.sh [--quick]" >&2; exit 2 ;;
  esac
done

if [ -n "${ZP_BENCH_BUILD_DIR:-}" ]; then
  build="$ZP_BENCH_BUILD_DIR"
else
  bash scripts/deps.sh >&2
  bash scripts/build.sh >&2
  build="build/${ZP_PRESET:-default}"
fi
out="${ZP_BENCH_OUT:-$build/bench-results}"
mkdir -p "$out"
if [ "$quick" -eq 1 ]; then
  export ZP_BENCH_QUICK=1
fi

shopt -s nullglob
programs=("$build"/bench/zp_*_bench)
if [ ${#programs[@]} -eq 0 ]; then
  echo "bench: no benchmark programs in $build/bench" >&2
  exit 1
fi

results=()
failed=0
for program in "${programs[@]}"; do
  name="$(basename "$program")"
  result="$out/$name.json"
  rm -f "$result"
  results+=("$result")
  echo "== $name" >&2
  # The JSON on stdout is the same as the file's.
  if ! QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}" "$program" \
      --benchmark_format=json --benchmark_out="$result" --benchmark_out_format=json >/dev/null; then
    echo "bench: $name failed" >&2
    failed=1
  fi
done

# Start-up once more on a real X server (Xvfb), where the machine
# description's OpenGL probe makes a context; the offscreen platform has none.
tracking="$build/bench/zp_tracking_bench"
if [ -x "$tracking" ] && command -v xvfb-run >/dev/null; then
  result="$out/zp_tracking_bench.xcb.json"
  rm -f "$result"
  results+=("$result")
  echo "== zp_tracking_bench.xcb (start-up under Xvfb)" >&2
  if ! QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1920x1080x24" "$tracking" \
      --benchmark_filter='Startup|SystemProperties' \
      --benchmark_format=json --benchmark_out="$result" --benchmark_out_format=json >/dev/null; then
    echo "bench: zp_tracking_bench.xcb failed" >&2
    failed=1
  fi
  # The same first description in a host that already drew with OpenGL.
  result="$out/zp_tracking_bench.xcb-host-opengl.json"
  rm -f "$result"
  results+=("$result")
  echo "== zp_tracking_bench.xcb-host-opengl" >&2
  if ! ZP_BENCH_HOST_OPENGL=1 QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1920x1080x24" "$tracking" \
      --benchmark_filter='SystemProperties' \
      --benchmark_format=json --benchmark_out="$result" --benchmark_out_format=json >/dev/null; then
    echo "bench: zp_tracking_bench.xcb-host-opengl failed" >&2
    failed=1
  fi
fi

echo "== results in $out" >&2
# Also non-zero when a benchmark reported an error without failing its program.
python3 bench/bench_table.py "${results[@]}" || failed=1
exit "$failed"
