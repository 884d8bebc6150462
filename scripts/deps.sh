#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and demonstrates with.
# Safe to run again: apt-get skips what is already installed. Never waits for input.
set -euo pipefail

packages=(
  # toolchain
  g++ cmake ninja-build pkg-config git
  # Qt 6.4: Core, Gui, Widgets, Network, Concurrent, Sql (+ SQLite driver), HttpServer, OpenGL
  qt6-base-dev qt6-base-dev-tools qt6-httpserver-dev qt6-websockets-dev libqt6sql6-sqlite libqt6opengl6-dev qt6-qpa-plugins
  libgl-dev libegl-dev libgl1-mesa-dri libegl-mesa0 xvfb xauth
  # storage, tests, benchmarks
  libleveldb-dev libsnappy-dev libgtest-dev libgmock-dev libbenchmark-dev
  # TLS tests make their own certificate authority
  openssl ca-certificates
  # crash capture: LLDB reads our minidumps; the Windows core is built with mingw-w64 and run under Wine
  lldb python3-lldb-14 g++-mingw-w64-x86-64-posix wine wine64
  # fuzzing: clang 14 with its libFuzzer and sanitizer runtimes (the fuzz preset)
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "deps: all ${#packages[@]} packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
echo "deps: installing ${missing[*]}"
$SUDO apt-get update -qq </dev/null
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
