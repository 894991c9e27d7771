#!/usr/bin/env bash
# Runs the tests with counters compiled in and prints line and branch coverage of src, file by file.
# Branches are counted without those that only an exception of the standard library takes.
set -euo pipefail
source "$(dirname "$0")/setup.sh"

(($# == 0)) || vlox_refuse "takes no arguments"
vlox_packages+=(gcovr)
vlox_setup
vlox_build coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage
gcovr --root . --filter src/ --object-directory build/coverage --exclude-throw-branches --txt --print-summary \
    --html-details build/coverage/report.html
echo "details: build/coverage/report.html"
