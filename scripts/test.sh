#!/usr/bin/env bash
# Builds and runs the tests: scripts/test.sh [preset] [ctest options...]
# Presets: release (the default), debug, asan (with leaks and undefined behaviour), tsan.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

preset=release
if (($#)) && [[ $1 != -* ]]; then
    preset=$1
    shift
fi
case $preset in
release | debug | asan | tsan) ;;
*) vlox_refuse "no preset '$preset': release, debug, asan or tsan" ;;
esac

vlox_setup
vlox_build "$preset"
ctest --preset "$preset" "$@"
