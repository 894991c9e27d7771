# Set-up that the other scripts share; to be sourced, in bash, from anywhere.
# It changes into the root of the checkout and gives: vlox_setup [packages...], vlox_build <preset> [targets...].

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

# Everything that building, testing and measuring needs, as packages of Debian 12.
vlox_packages=(
    g++ cmake ninja-build pkg-config
    libspdlog-dev libfmt-dev libpoco-dev libcurl4-openssl-dev libssl-dev libsqlite3-dev rapidjson-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    ca-certificates openssl jq curl python3 bsdextrautils git clang-format valgrind
    nginx haproxy # servers for tests, which start them themselves
)

# One line and exit code 2: what was asked for can't be done as it was asked.
vlox_refuse() {
    echo "$(basename "$0"): $*" >&2
    exit 2
}

# Installs what is missing of the given packages, or of all; without the right to do so it names them and stops.
vlox_setup() {
    local missing=() package
    (($#)) || set -- "${vlox_packages[@]}"
    for package; do  # a line for each architecture that it is there for
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -x installed >/dev/null || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    if [[ $(id -u) -ne 0 ]]; then
        vlox_refuse "missing packages, install them as root: apt-get install ${missing[*]}"
    fi
    echo "installing: ${missing[*]}"
    apt-get update -qq
    vlox_without_services env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
    for package in nginx haproxy; do
        [[ " ${missing[*]} " != *" $package "* ]] || systemctl --quiet disable "$package" 2>/dev/null || true
    done
}

# Runs a command during which Debian's packages start no service. A rule that the machine has already is left alone.
vlox_without_services() (
    local rule=/usr/sbin/policy-rc.d
    if [[ ! -e $rule ]]; then
        trap 'rm -f "$rule"' EXIT
        printf '#!/bin/sh\nexit 101\n' >"$rule"
        chmod +x "$rule"
    fi
    "$@"
)

vlox_use_ccache() {
    if command -v ccache >/dev/null && [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER:-} ]]; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
}

# Configures and builds a preset into build/<preset>, all of it or the given targets.
vlox_build() {
    local preset=$1 targets=()
    shift
    (($#)) && targets=(--target "$@")
    vlox_use_ccache
    if [[ ! -f build/$preset/build.ninja ]]; then
        cmake --preset "$preset" >/dev/null
    fi
    cmake --build --preset "$preset" "${targets[@]}"
}
