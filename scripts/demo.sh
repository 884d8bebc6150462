#!/usr/bin/env bash
# The main job: installs what is missing, builds, and runs the demo host.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/build.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# A virtual X server gives the demo a screen and a real (software) OpenGL context.
xvfb-run -a -s "-screen 0 1920x1080x24" env QT_QPA_PLATFORM=xcb \
  build/"${ZP_PRESET:-default}"/tools/zp-demo-host/zp-demo-host --log-file "$work/demo.log"
echo
echo "The vendor log file received:"
cat "$work/demo.log"
