#!/usr/bin/env bash
# Builds everything, starts a stand-in platform and sends the messages of a file through the library to it.
#   scripts/demo.sh [options] [file]      the file holds a JSON value per line; examples/messages.jsonl by default
#   scripts/demo.sh [options] --file <path>   sends this one file of any kind, in slices, and brings it back
#     --dir <directory>     where store, log and results lie (demo-data)
#     --fresh               forget what an earlier run left in the directory
#     --keep                go on in a directory whose earlier run had finished, instead of starting afresh
#     --crypto <name>       sm2-aes (the default), sm2-sm4, sm9-aes, sm9-sm4, none
#     --https               the platform answers over TLS, under a certificate of its own authority
#     --https-mutual        the same, and the application shows a certificate too
#     --senders <n>         requests, or slices of the file, under way at one time (4)
#     --chunk <bytes>       length of a slice of the file (4194304)
#     --delay <ms>          the platform answers so late
#     --misbehave <rule>    the platform misbehaves, e.g. status=503 (vlox-devserver --help has the rules)
#     --every <n>           it does so at each n-th request only
# Stopped in the middle, by Ctrl-C or kill -9, the same command goes on with what is left.
set -euo pipefail
caller=$PWD
source "$(dirname "$0")/setup.sh"

usage="$(sed -n '2,/^set/{/^# /s/^# //p}' scripts/demo.sh)"
needs_value() { (($# > 1)) || vlox_refuse "$1 needs a value"; }
needs_number() {
    needs_value "$@"
    [[ $2 =~ ^[0-9]{1,7}$ ]] || vlox_refuse "$1 needs a number"
}
from_caller() { [[ $1 = /* ]] && echo "$1" || echo "$caller/$1"; }

messages='' file='' chunk='' directory=$PWD/demo-data fresh='' keep='' delay=0 rule='' every=1 senders=4 crypto=sm2-aes
https=''
while (($#)); do
    case $1 in
    --help | -h) echo "$usage" && exit ;;
    --fresh) fresh=yes ;;
    --keep) keep=yes ;;
    --dir) needs_value "$@" && directory=$(from_caller "$2") && shift ;;
    --crypto)
        needs_value "$@"
        [[ $2 =~ ^(none|sm2-aes|sm2-sm4|sm9-aes|sm9-sm4)$ ]] ||
            vlox_refuse "--crypto is one of none, sm2-aes, sm2-sm4, sm9-aes, sm9-sm4"
        crypto=$2 && shift
        ;;
    --https | --https-mutual) https=$1 ;;
    --file) needs_value "$@" && file=$(from_caller "$2") && shift ;;
    --chunk) needs_number "$@" && chunk=$2 && shift ;;
    --senders) needs_number "$@" && senders=$2 && shift ;;
    --delay) needs_number "$@" && delay=$2 && shift ;;
    --every) needs_number "$@" && every=$2 && shift ;;
    --misbehave) needs_value "$@" && rule=$2 && shift ;;
    -*) vlox_refuse "unknown option '$1': --help shows all" ;;
    *)
        [[ -z $messages ]] || vlox_refuse "one file only, '$1' is the second"
        messages=$(from_caller "$1")
        ;;
    esac
    shift
done
if [[ -n $file ]]; then
    [[ -z $messages ]] || vlox_refuse "either --file or a file of messages, not both"
    [[ -e $file ]] || vlox_refuse "no such file: $file"
    [[ -f $file && -r $file ]] || vlox_refuse "no file that can be read: $file"
    [[ -s $file ]] || vlox_refuse "the file is empty, there is nothing to send: $file"
else
    messages=${messages:-$PWD/examples/messages.jsonl}
    [[ -f $messages && -r $messages ]] || vlox_refuse "no such file: $messages"
fi
((delay == 0)) || rule="delay=$delay${rule:+,$rule}"

# Built and installed like a release; the example sees nothing but the installed package.
build() {
    vlox_build release vlox_common vlox-devserver vlox-inspect
    cmake --install build/release --prefix build/installed >build/install.log
    [[ -f build/examples/build.ninja ]] || cmake -S examples -B build/examples -G Ninja \
        -D CMAKE_PREFIX_PATH="$PWD/build/installed" -D CMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    cmake --build build/examples
}

# One run at a time: the store is locked by the process that has it open. A run whose script was killed ends soon.
take_directory() {
    mkdir -p "$directory"
    exec 9>"$directory/lock"
    flock -n 9 || { echo "waiting for the earlier run in $directory to end" && flock 9; }
    if [[ -n $fresh || (-f $directory/finished && -z $keep) ]]; then
        [[ -n $fresh ]] || echo "the earlier run in $directory had finished: starting afresh (--keep goes on there)"
        rm -rf "$directory"/{messages.db*,files.db*,vloxDomain.db*,results.jsonl,transfers.jsonl,windows_sdk*} \
            "$directory"/{files,fetched,summary.json,finished}
    fi
    rm -f "$directory"/{finished,summary.json}
}

# The server ends when the pipe to its input does, and so with this script, however that ends.
start_platform() {
    local options=(--stop-on-eof --final-stats --keys "$directory/keys" --files "$directory/files")
    [[ -z $rule ]] || options+=(--misbehave "$rule" --every "$every")
    [[ -z $https ]] || options+=(--tls)
    coproc platform { exec build/installed/bin/vlox-devserver "${options[@]}" 9>&-; }
    platform_pid=$!
    platform_input=${platform[1]} platform_output=${platform[0]}
    read -r line <&"$platform_output" || exit 2
    # By name, as customers do: so the resolver and its cache have their part.
    line=$(jq -c '(.url, .httpsUrl // empty) |= sub("//127.0.0.1:"; "//localhost:") | .host = "localhost"' <<<"$line")
    echo "$line" >"$directory/platform.json"
    local where='.url'
    case $https in
    --https) where='.httpsUrl' ;;
    --https-mutual) where='"https://\(.host):\(.tls.ports.clientCertificate)"' ;;
    esac
    jq -r "\"platform at \\($where), process \\(.pid)\"" <<<"$line"
}

stop_platform() {
    exec {platform_input}>&-
    read -r counted <&"$platform_output" || counted='{}'
    wait "$platform_pid" || true
}

# The same holds for the application: it reads from a pipe whose only writer is this script.
run_application() {
    local options=(--platform "$directory/platform.json" --dir "$directory" --senders "$senders"
        --crypto "$crypto" --summary "$directory/summary.json" --stop-on-eof)
    [[ ! -t 1 ]] || options+=(--progress-line)
    [[ -z $https ]] || options+=("$https")
    [[ -z $chunk ]] || options+=(--chunk "$chunk")
    if [[ -n $file ]]; then options+=(--file "$file"); else options+=("$messages"); fi
    [[ -p $directory/alive ]] || mkfifo "$directory/alive"
    exec 8<>"$directory/alive"
    # fd 9 stays open in it: the directory is taken for as long as the application lives.
    build/examples/vlox-messenger "${options[@]}" <"$directory/alive" 8>&- && status=0 || status=$?
    exec 8>&-
}

# What the platform has counted against what the application believes. A request that broke on its way may or may
# not have arrived; a run has one session, whose key the platform unwraps once.
compare_counts() {
    jq -rn --argjson counted "$counted" --slurpfile summary "$directory/summary.json" --arg crypto "$crypto" '
        $summary[0].report as $report
        | (if $crypto == "none" then $counted.plainRequests else $counted.encryptedRequests end) as $arrived
        | (if $crypto == "none" or $arrived == 0 then 0 else 1 end) as $keys
        | "platform counted        \($counted.plainRequests) plain and \($counted.encryptedRequests) encrypted requests, "
          + "\($counted.unwrappedKeys) keys unwrapped (\($crypto)): " as $text
        | if $counted.plainRequests + $counted.encryptedRequests == $arrived and $counted.unwrappedKeys == $keys
             and $arrived <= $report.requests and $arrived >= $report.requests - $report.unreached
          then $text + "agrees" else $text + "DIFFERS\n" | halt_error(1) end'
}

# The file that went up against the copy that came back, by another program than those that moved them.
compare_digests() {
    local copy digest
    copy=$(jq -r .copy "$directory/summary.json")
    digest=$(md5sum <"$file")
    if [[ $digest == "$(md5sum <"$copy")" && ${digest%% *} == "$(jq -r .digest "$directory/summary.json")" ]]; then
        echo "md5sum of both          ${digest%% *}: agrees"
    else
        echo "md5sum of both          DIFFERS"
        return 1
    fi
}

compare() {
    if [[ -n $file ]]; then compare_digests; else compare_counts; fi
}

vlox_setup
build
take_directory
trap : INT # the application ends by itself; this script still has to stop the platform
start_platform
run_application
stop_platform
case $status in
0)
    compare
    touch "$directory/finished"
    ;;
3) [[ -n $file ]] || compare_counts ;;
*)
    [[ -n $file ]] || echo "the application ended with code $status; the log in $directory may tell why"
    echo "run the same command again to finish the rest"
    ;;
esac
exit "$status"
