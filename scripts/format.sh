#!/usr/bin/env bash
# Formats all C++ sources in place; with --check it changes nothing and fails on a file that is not formatted.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

case ${1:-} in
'') mode=(-i) ;;
--check) mode=(--dry-run --Werror) ;;
*) vlox_refuse "unknown option '$1': --check or nothing" ;;
esac

vlox_setup git clang-format
mapfile -t files < <(git ls-files --cached --others --exclude-standard '*.h' '*.cpp')
((${#files[@]})) || vlox_refuse "no sources found"
clang-format "${mode[@]}" "${files[@]}"
echo "${#files[@]} files"
