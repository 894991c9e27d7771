#!/usr/bin/env bash
# Builds the library for Windows x64 on this Linux machine, runs its tests under Wine and packs it:
#   scripts/windows.sh [--build] [ctest options...]
#     --build   only build, don't test and don't pack
# The libraries it stands on are built once and kept in ${XDG_CACHE_HOME:-~/.cache}/vlox_common. The package is
# dist/vlox_common-<version>-win64.zip; with ctest options, which may leave tests out, none is made.
set -euo pipefail
source "$(dirname "$0")/setup.sh"
source scripts/windows-dependencies.sh

usage="$(sed -n '2,/^set/{/^# /s/^# //p}' scripts/windows.sh)"
build_only=''
case ${1:-} in
--help | -h) echo "$usage" && exit ;;
--build) build_only=yes && shift ;;
esac

vlox_packages+=(g++-mingw-w64-x86-64-posix wine64 dpkg-dev tcl llvm lld patch xz-utils bzip2)

# Packages may be there and a tool yet another one, or none.
check_tools() {
    local tool
    for tool in "$vlox_triple"-{gcc-posix,g++-posix,windres,windmc,ar,ranlib} tclsh llvm-dlltool lld-link dpkg-source; do
        command -v "$tool" >/dev/null || vlox_refuse "$tool is missing although its package is installed"
    done
    [[ $("$vlox_triple-g++-posix" -v 2>&1) == *'Thread model: posix'* ]] ||
        vlox_refuse "$vlox_triple-g++-posix has no POSIX threads, and so no std::thread"
    [[ -x $wine && -x $wineserver ]] || vlox_refuse "Wine is not in /usr/lib/wine"
}

# Anew when the dependencies have moved: CMake remembers where it found them.
configure() {
    local found=build/windows/dependencies prefixes fresh=()
    prefixes=$(IFS=';' && echo "${vlox_prefixes[*]}")
    [[ -f $found && $(<"$found") == "$prefixes" ]] || fresh=(--fresh)
    cmake "${fresh[@]}" --preset windows -D CMAKE_FIND_ROOT_PATH="$prefixes" >/dev/null
    echo "$prefixes" >"$found"
}

# Runs a program with the addresses that the system always gives: at random ones one process of Wine in two thousand
# finds those taken that it can't do without, and doesn't start. Where that can't be asked for, it runs as it is.
at_fixed_addresses() {
    if setarch -R true 2>/dev/null; then
        setarch -R "$@"
    else
        "$@"
    fi
}

# One server for all tests; without it every test would start and stop a Windows of its own. The environment is that
# of the test preset.
start_wine() {
    export WINEPREFIX=$PWD/build/windows/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= DISPLAY= LC_ALL=C.UTF-8
    mkdir -p "$WINEPREFIX"
    "$wineserver" -p || true # one that runs already will do
    trap '"$wineserver" -k || true' EXIT
    at_fixed_addresses "$wine" wineboot -u >/dev/null 2>&1 || vlox_refuse "Wine doesn't start, with its folder in $WINEPREFIX"
}

# Only what a green run leaves is packed, and nothing of an earlier one stays.
pack() {
    rm -rf dist/*-win64.zip dist/_CPack_Packages
    cpack --config build/windows/CPackConfig.cmake -B dist >build/windows/cpack.log ||
        { cat build/windows/cpack.log && return 1; }
    rm -rf dist/_CPack_Packages
    ls -l dist/*-win64.zip
}

wine=/usr/lib/wine/wine64 wineserver=/usr/lib/wine/wineserver64
vlox_setup
check_tools
vlox_windows_dependencies
vlox_use_ccache
vlox_build release vlox-devserver
configure
vlox_build windows
[[ -z $build_only ]] || exit 0
start_wine
at_fixed_addresses ctest --preset windows "$@"
(($#)) || pack
