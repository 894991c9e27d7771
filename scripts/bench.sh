#!/usr/bin/env bash
# Runs the benchmarks and prints one table; each figure stands beside the bare dependency in the same run.
#   scripts/bench.sh [--quick] [--filter <regex>]
# Ratio: time of the bare dependency over time of the library, medians of interleaved repetitions; more is better.
# Memory: how far this library's process grows while it moves a file of 4 GiB; not with --quick.
# Everything measured is written to build/bench.json.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

repetitions=5
min_time=0.5
filter=.
memory=yes
while (($#)); do
    case $1 in
    --quick) repetitions=1 min_time=0.01 memory='' ;;
    --filter)
        (($# > 1)) || vlox_refuse "--filter needs a regular expression"
        filter=$2
        shift
        ;;
    *) vlox_refuse "unknown option '$1': --quick or --filter <regex>" ;;
    esac
    shift
done

vlox_setup
vlox_build release
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
# What is handed from thread to thread waits for all else that wants the processor: where that is allowed, it goes first.
first=()
! chrt -f 1 true 2>/dev/null || first=(chrt -f 1)
for program in build/release/bench/*Bench; do
    echo "running $(basename "$program")" >&2
    ahead=()
    [[ $program != */ThreadBench ]] || ahead=("${first[@]}")
    "${ahead[@]}" "$program" --benchmark_filter="$filter" --benchmark_repetitions="$repetitions" --benchmark_min_time="$min_time" \
        --benchmark_enable_random_interleaving=true --benchmark_out_format=json \
        --benchmark_out="$results/$(basename "$program").json" >/dev/null
done

# A program in which the filter finds nothing writes an empty file.
find "$results" -name '*.json' -size +0 -print0 | xargs -0 jq -s --slurpfile targets bench/targets.json '
    def seconds: .real_time * {ns: 1e-9, us: 1e-6, ms: 1e-3, s: 1}[.time_unit];
    def median: sort | if length % 2 == 1 then .[length / 2 | floor] else (.[length / 2 - 1] + .[length / 2]) / 2 end;
    [.[].benchmarks[] | select(.run_type == "iteration")]
    | map(select(.error_occurred != true) | (.run_name | split("/")) as $part
          | {subsystem: $part[0], work: $part[1], side: $part[2], seconds: seconds})
    | group_by([.subsystem, .work])
    | map({subsystem: .[0].subsystem, work: .[0].work,
           vlox_seconds: (map(select(.side == "vlox").seconds) | if length > 0 then median else null end),
           bare_seconds: (map(select(.side == "bare").seconds) | if length > 0 then median else null end),
           repetitions: (map(select(.side == "vlox")) | length)})
    | map(. + {ratio: (if .vlox_seconds and .bare_seconds then .bare_seconds / .vlox_seconds else null end),
               at_least: $targets[0][.subsystem + "/" + .work]})' >build/bench.json

jq -r 'def time: if . == null then "-" elif . < 1e-6 then "\(. * 1e10 | round / 10) ns"
                 elif . < 1e-3 then "\(. * 1e7 | round / 10) us" else "\(. * 1e4 | round / 10) ms" end;
       def figure: if . == null then "-" else . * 100 | round / 100 | tostring end;
       ["subsystem", "work", "vlox", "bare", "ratio", "at least", ""],
       (.[] | [.subsystem, .work, (.vlox_seconds | time), (.bare_seconds | time), (.ratio | figure),
               (.at_least | figure),
               (if .at_least and .ratio then (if .ratio >= .at_least then "reached" else "missed" end) else "" end)])
       | @tsv' build/bench.json | column -t -s "$(printf '\t')"

# transfer_memory <upload|download> <path of the service> <file>: kibibytes, the peak during the transfer less what
# the process had before it, as the system counts what is resident.
transfer_memory() {
    local before peak line
    coproc client { exec build/release/bench/transfer_memory "$1" "$url$2" "$3"; }
    local input=${client[1]} output=${client[0]} pid=$client_PID
    read -r line <&"$output"
    before=$(awk '/^VmRSS/ {print $2}' "/proc/$pid/status")
    echo >&"$input"
    read -r line <&"$output"
    peak=$(awk '/^VmHWM/ {print $2}' "/proc/$pid/status")
    echo >&"$input"
    wait "$pid" || { echo "the $1 failed" >&2 && return 1; }
    echo $((peak - before))
}

memory_rows() {
    local direction path file kib
    for direction in upload download; do
        grep -qE "$filter" <<<"Http/memory of a 4 GiB $direction" || continue
        echo "running the $direction of 4 GiB" >&2
        path=/file/download/@zeros=4294967296 file=/dev/null
        [[ $direction == download ]] || path=/file/upload/@discard=1 file=$results/source
        kib=$(transfer_memory "$direction" "$path" "$file")
        jq -n --arg work "memory of a 4 GiB $direction" --argjson kib "$kib" \
            '{subsystem: "Http", work: $work, grown_mebibytes: ($kib / 1024), at_most: 16}'
    done
}

if [[ -n $memory ]]; then
    truncate -s 4G "$results/source"
    exec {server}< <(exec build/release/devserver/vlox-devserver)
    read -r line <&"$server"
    url=$(jq -r .url <<<"$line") server_pid=$(jq -r .pid <<<"$line")
    trap 'kill "$server_pid"; rm -rf "$results"' EXIT
    memory_rows >"$results/memory"
    jq --slurpfile rows "$results/memory" '. + $rows' build/bench.json >"$results/all"
    mv "$results/all" build/bench.json
    jq -r '.[] | select(.grown_mebibytes) | "\(.subsystem)  \(.work)  grows by \(.grown_mebibytes * 10 | round / 10) MiB  "
        + "at most \(.at_most)  " + (if .grown_mebibytes <= .at_most then "reached" else "missed" end)' build/bench.json
fi
