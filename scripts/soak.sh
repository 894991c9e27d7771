#!/usr/bin/env bash
# Kills a program that works a store, a log or a resolver's cache, again and again: scripts/soak.sh [minutes], 10 by
# default. Prints kills, acknowledged operations and losses; fails when there was a loss.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

minutes=${1:-10}
[[ $# -le 1 && $minutes =~ ^[0-9]+(\.[0-9]+)?$ ]] || vlox_refuse "one argument at most: the minutes to go on for"

vlox_setup
vlox_build release crash_soak
build/release/tests/crash/crash_soak "$minutes"
