#!/usr/bin/env bash
# Configures and builds with a CMake preset (default: "default"; ZP_PRESET picks another).
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${ZP_PRESET:-default}"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
