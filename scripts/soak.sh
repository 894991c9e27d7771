#!/usr/bin/env bash
# Kills a program that works a store, a log or a resolver's cache, or moves files, again and again: scripts/soak.sh
# [minutes], 10 by default. Prints kills, acknowledged operations and losses; fails when there was a loss.
# With scripts/soak.sh life [rounds], 1000 by default, a program loads the library, works it on four threads, forks and
# ends in all the ways that a program ends; fails when one hangs for ten seconds or ends badly.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

if [[ ${1:-} = life ]]; then
  rounds=${2:-1000}
  [[ $# -le 2 && $rounds =~ ^[1-9][0-9]*$ ]] || vlox_refuse "after life one argument at most: the number of rounds"
  vlox_setup
  vlox_build release life_soak
  exec build/release/tests/life/life_soak "$rounds"
fi

minutes=${1:-10}
[[ $# -le 1 && $minutes =~ ^[0-9]+(\.[0-9]+)?$ ]] || vlox_refuse "one argument at most: the minutes to go on for"

vlox_setup
vlox_build release crash_soak
build/release/tests/crash/crash_soak "$minutes"
