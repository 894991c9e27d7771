#!/usr/bin/env bash
set -euo pipefail
source "$(dirname "$0")/setup.sh"
source scripts/windows-dependencies.sh
vlox_windows_dependencies
printf '%s\n' "${vlox_prefixes[@]}"
