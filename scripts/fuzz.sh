#!/usr/bin/env bash
# Fuzzes all that reads bytes from outside: scripts/fuzz.sh [seconds per target] [targets...]; 60 s and all by default.
# What it finds stands in build/fuzz/findings; inputs worth keeping go into tests/fuzz/corpus by hand.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || vlox_refuse "the first argument is the number of seconds per target"
targets=("${@:2}")
((${#targets[@]})) || mapfile -t targets < <(ls tests/fuzz/corpus)
for target in "${targets[@]}"; do
    [[ -d tests/fuzz/corpus/$target ]] || vlox_refuse "no target '$target': $(ls tests/fuzz/corpus | xargs)"
done

vlox_packages+=(clang libclang-rt-14-dev)
vlox_setup
[[ -f build/fuzz/build.ninja ]] ||
    cmake -B build/fuzz -G Ninja -D CMAKE_CXX_COMPILER=clang++ -D CMAKE_BUILD_TYPE=RelWithDebInfo \
        -D VLOX_BUILD_FUZZ=ON >/dev/null
cmake --build build/fuzz --target "${targets[@]/#/fuzz_}"

mkdir -p build/fuzz/findings
for target in "${targets[@]}"; do
    scratch=build/fuzz/corpus/$target
    mkdir -p "$scratch"
    build/fuzz/tests/fuzz/fuzz_"$target" -max_total_time="$seconds" -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/findings/$target-" "$scratch" "tests/fuzz/corpus/$target" \
        >"build/fuzz/$target.log" 2>&1 || vlox_refuse "$target: a finding, see build/fuzz/$target.log"
    echo "$target: $(awk '/number_of_executed_units/ {print $2}' "build/fuzz/$target.log") inputs, no finding"
done
