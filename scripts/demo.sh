#!/usr/bin/env bash
# The main job: installs what is missing, builds, then shows the library at work
# in zp-demo-host against a local receiver, and prints what arrived.
#
#   bash scripts/demo.sh                          the job (offscreen, no screen needed)
#   bash scripts/demo.sh --screenshots DIR        the same under Xvfb, saving the window and dialogs as PNG
#   bash scripts/demo.sh --verbose                also print what each run of the host did
#
# ZP_DEMO_SKIP_SETUP=1 skips installing and building (the end-to-end test sets it);
# ZP_DEMO_BUILD_DIR names the build folder (default build/<preset>).
#
# Why three runs: the library stores every log on disk and starts a send when its
# queue opens and then at most once a minute. Run 1 crashes, so its logs wait on
# disk; run 2 opens the queue (sending run 1's logs) and only then finds the
# crash and queues its report, which the throttle keeps for the next send; run 3
# opens the queue again and sends it.
set -euo pipefail
cd "$(dirname "$0")/.."

screenshots=""
verbose=0
while [ $# -gt 0 ]; do
  case "$1" in
    --screenshots) screenshots="$(realpath -m "${2:?--screenshots needs a folder}")"; shift 2 ;;
    --verbose) verbose=1; shift ;;
    *) echo "demo: unknown argument $1 (see the top of $0)" >&2; exit 2 ;;
  esac
done

if [ "${ZP_DEMO_SKIP_SETUP:-0}" != 1 ]; then
  bash scripts/deps.sh
  bash scripts/build.sh
fi
build="${ZP_DEMO_BUILD_DIR:-build/${ZP_PRESET:-default}}"
host="$build/tools/zp-demo-host/zp-demo-host"
ingest="$build/tools/zp-ingest/zp-ingest"
for program in "$host" "$ingest"; do
  [ -x "$program" ] || { echo "demo: $program is missing; build first (bash scripts/build.sh)" >&2; exit 1; }
done

started=$SECONDS
work="$(mktemp -d "${TMPDIR:-/tmp}/zp-demo.XXXXXX")"
ingest_pid=""
cleanup() {
  if [ -n "$ingest_pid" ]; then
    kill "$ingest_pid" 2>/dev/null || true
    wait "$ingest_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM # the EXIT trap still runs

fail() {
  echo "demo: $*" >&2
  for log in "$work"/run*.out "$work"/run*.log "$work/ingest.log"; do
    [ -s "$log" ] && { echo "--- $(basename "$log")" >&2; tail -n 20 "$log" >&2; }
  done
  exit 1
}

# Qt wants a private runtime folder; without one it makes its own under /tmp.
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
  export XDG_RUNTIME_DIR="$work/runtime"
  mkdir -m 700 "$XDG_RUNTIME_DIR"
fi

# A receiver with a fresh database on a free loopback port.
"$ingest" serve --port 0 --db "$work/received.sqlite" --port-file "$work/port" \
  >"$work/ingest.out" 2>"$work/ingest.log" &
ingest_pid=$!
for _ in $(seq 100); do
  [ -s "$work/port" ] && break
  kill -0 "$ingest_pid" 2>/dev/null || fail "zp-ingest did not start"
  sleep 0.1
done
[ -s "$work/port" ] || fail "zp-ingest did not report its port"
endpoint="http://127.0.0.1:$(cat "$work/port")"

common=(--data-dir "$work/data" --endpoint "$endpoint"
        --product Beta --product-type 0 --edition 3 --user-id demo-user
        --app-version 2024.1.0 --build-number 1000)
if [ -n "$screenshots" ]; then
  mkdir -p "$screenshots"
  common+=(--screenshot-dir "$screenshots")
fi

# run_host <name> <flags...>: runs the host once; its exit status goes to $status.
# Its log (standard error) goes to $work/<name>.log; the braces keep bash's own
# "Segmentation fault" notice for run 1 out of the output.
run_host() {
  local name=$1
  shift
  status=0
  if [ -n "$screenshots" ]; then
    { xvfb-run -a -s "-screen 0 1280x900x24" env QT_QPA_PLATFORM=xcb \
        "$host" "${common[@]}" "$@" >"$work/$name.out" 2>"$work/$name.log"; } 2>/dev/null || status=$?
  else
    { "$host" --offscreen "${common[@]}" "$@" >"$work/$name.out" 2>"$work/$name.log"; } 2>/dev/null || status=$?
  fi
  if [ "$verbose" = 1 ]; then
    sed -n 's/^.* zp-demo-host: /       | /p' "$work/$name.log"
  fi
}

summary() {
  "$ingest" summary --db "$work/received.sqlite"
}

# wait_for <pattern> <seconds>: until the receiver's summary has a line matching it.
wait_for() {
  local deadline=$((SECONDS + $2))
  until grep -Eq "$1" <<<"$(summary)"; do
    [ $SECONDS -lt "$deadline" ] || return 1
    sleep 0.2
  done
}

echo "zp-demo: zp-ingest receives on $endpoint; the host keeps its data in a temporary folder"
echo

# The feature script of run 1 (see zp-demo-host --help), a few steps a line.
feature_lines=(
  "once:Welcome Dialog Automatic; Application.Module.Layers; Tethered Shooting;"
  "start:DetailView Session; wait:400; stop:DetailView Session;"
  "value:Cataloged Photo Count=1234; Import.Action.Import{Source=Memory card};"
  "once:Welcome Dialog Automatic; Tethered Shooting"
)
features="${feature_lines[*]}"
echo "run 1  privacy question answered \"Participate\", analytics started, features tracked:"
printf '         %s\n' "${feature_lines[@]}"
echo "       then a crash (a store through a null pointer in the host's code)"
run_host run1 --privacy participate --features "$features" --crash-after 0
[ "$status" -eq $((128 + 11)) ] || fail "run 1 should have ended by SIGSEGV, but its exit status is $status"
dumps=("$work"/data/AppCenter/crashes/*.dmp)
[ -f "${dumps[0]}" ] || fail "run 1 crashed but left no minidump in data/AppCenter/crashes"
# Run 2 deletes the crash files once it has queued them; LLDB reads a copy.
cp "${dumps[0]}" "$work/crash.dmp"
echo "    -> ended by SIGSEGV as intended; the crash handler wrote a minidump of $(stat -c %s "$work/crash.dmp") bytes"
echo "       and a crash record under data/AppCenter/crashes; the analytics logs wait in the queue on disk"

echo "run 2  crash reporting started; at launch the crash dialog is answered \"Submit\" with a name, e-mail"
echo "       and description; the queue opened first and sent run 1's logs"
run_host run2 --privacy off --crash-answer send --user-name "Ada Example" --user-email ada@example.com \
  --description "Tracked a few features, then pressed Crash now." --quit-after 2
[ "$status" -eq 0 ] || fail "run 2 exit status $status"
grep -q "crash dialog answered" "$work/run2.log" || fail "run 2 was not asked about the crash"
wait_for '^events by name:$' 10 || fail "run 1's logs did not arrive"
echo "    -> the report and its three attachments are queued; sends start at most once a minute, so they wait"

echo "run 3  the queue opens again and sends what run 2 queued"
run_host run3 --privacy off --quit-after 3
[ "$status" -eq 0 ] || fail "run 3 exit status $status"
wait_for '^crash reports: 1$' 10 || fail "the crash report did not arrive"
echo "    -> exited normally"

echo
echo "What zp-ingest received (zp-ingest summary):"
summary
echo
echo "The crashed thread, read from the minidump by LLDB (top frames):"
lldb --batch --no-lldbinit -o "target create --core $work/crash.dmp" -o "bt" >"$work/lldb.txt" 2>"$work/lldb.err" || true
if grep -q 'frame #' "$work/lldb.txt"; then
  grep 'frame #' "$work/lldb.txt" | head -n 6 | sed -E 's/^[ *]+/  /'
else
  echo "  (LLDB printed no frames)"
  tail -n 5 "$work/lldb.txt" "$work/lldb.err"
fi
if [ -n "$screenshots" ]; then
  echo
  echo "Screenshots in $screenshots:"
  ls -1 "$screenshots"/*.png | sed 's/^/  /'
fi
echo
echo "zp-demo: done in $((SECONDS - started)) s; stopping zp-ingest and removing the temporary files"
