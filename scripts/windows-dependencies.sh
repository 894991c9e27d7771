# The libraries that the Windows build stands on, cross-built from Debian's source packages; to be sourced after
# setup.sh. It gives vlox_windows_dependencies, which builds what the cache lacks and sets
#   vlox_prefixes  where each of them lies: include/, lib/, copyright, version.

vlox_triple=x86_64-w64-mingw32

# In the order of building: the source package, the Linux package whose version it takes, so that both systems run on
# the same one, and what it needs itself.
vlox_dependencies=(
    'openssl libssl-dev'
    'curl libcurl4-openssl-dev openssl'
    'poco libpoco-dev'
    'sqlite3 libsqlite3-dev'
    'fmtlib libfmt-dev'
    'spdlog libspdlog-dev fmtlib'
    'rapidjson rapidjson-dev'
    'googletest libgtest-dev'
)

# --- One recipe each. It runs in its unpacked source and installs into $prefix; $jobs, $toolchain, $launcher (ccache
# or nothing), $triple and $needed (the folder of what it needs) are set.

recipe_helper_cmake() {
    cmake -S . -B vlox-build -G Ninja -D CMAKE_TOOLCHAIN_FILE="$toolchain" -D CMAKE_BUILD_TYPE=Release \
        -D CMAKE_FIND_ROOT_PATH="$needed" -D CMAKE_INSTALL_PREFIX="$prefix" -D CMAKE_INSTALL_LIBDIR=lib \
        -D CMAKE_C_COMPILER_LAUNCHER="$launcher" -D CMAKE_CXX_COMPILER_LAUNCHER="$launcher" \
        -D BUILD_SHARED_LIBS=OFF "$@"
    cmake --build vlox-build --parallel "$jobs"
    cmake --install vlox-build
}

# Nothing is read at run time: no configuration file, no engine, no provider from a folder that another user of the
# machine may write to.
recipe_openssl() {
    ./Configure mingw64 --prefix='C:/Program Files/OpenSSL' --openssldir='C:/Program Files/Common Files/SSL' \
        --cross-compile-prefix="$triple-" CC=gcc-posix \
        no-shared no-tests no-engine no-module no-legacy no-autoload-config \
        -D_WIN32_WINNT=0x0A00 -ffunction-sections -fdata-sections
    make -s -j"$jobs" build_libs CC="$launcher $triple-gcc-posix"
    mkdir -p "$prefix/include" "$prefix/lib"
    cp -r include/openssl "$prefix/include"
    cp libcrypto.a libssl.a "$prefix/lib"
}

# HTTP and, as on Linux, files.
recipe_curl() {
    local off=() part
    for part in DICT FTP GOPHER IMAP LDAP LDAPS MQTT POP3 RTSP SMB SMTP TELNET TFTP ALTSVC HSTS NTLM; do
        off+=(-D "CURL_DISABLE_$part=ON")
    done
    recipe_helper_cmake "${off[@]}" -D BUILD_CURL_EXE=OFF -D BUILD_TESTING=OFF -D CURL_USE_OPENSSL=ON \
        -D CURL_USE_SCHANNEL=OFF -D CURL_USE_LIBSSH2=OFF -D CURL_ZLIB=OFF -D CURL_BROTLI=OFF -D CURL_ZSTD=OFF \
        -D USE_NGHTTP2=OFF -D USE_LIBIDN2=OFF -D CURL_USE_LIBPSL=OFF -D CURL_DISABLE_OPENSSL_AUTO_LOAD_CONFIG=ON \
        -D ENABLE_UNICODE=ON -D ENABLE_MANUAL=OFF
}

recipe_poco() {
    # It spells headers of Windows in capitals, which only a file system of Windows takes for the same.
    sed -i 's/<Winsock2.h>/<winsock2.h>/; s/<Iphlpapi.h>/<iphlpapi.h>/' Foundation/include/Poco/UnWindows.h
    # A macro of a newer Windows header has the name of an enumerator.
    sed -i '0,/^namespace Poco/s//#undef TIMESTAMP_REQUEST\nnamespace Poco/' Net/include/Poco/Net/ICMPv4PacketImpl.h
    local off=() part
    for part in ENCODINGS XML JSON UTIL MONGODB REDIS DATA DATA_SQLITE DATA_MYSQL DATA_POSTGRESQL DATA_ODBC ZIP \
        NETSSL CRYPTO JWT ACTIVERECORD ACTIVERECORD_COMPILER PAGECOMPILER PAGECOMPILER_FILE2PAGE; do
        off+=(-D "ENABLE_$part=OFF")
    done
    recipe_helper_cmake "${off[@]}" -D CMAKE_MC_COMPILER="$(command -v "$triple-windmc")" \
        -D CMAKE_CXX_FLAGS="-DWIN32_LEAN_AND_MEAN -DNOMINMAX -D_WIN32_WINNT=0x0A00 -ffunction-sections -fdata-sections"
    # The sockets of Windows are started by an object of the library that nothing refers to: a static library
    # would leave it out.
    echo 'target_link_options(Poco::Net INTERFACE LINKER:--undefined=_ZN4Poco3Net17initializeNetworkEv)' \
        >>"$prefix/cmake/PocoNetConfig.cmake"
}

# What changes the meaning of a statement or of a file is set as in the Linux library.
recipe_sqlite3() {
    ./configure --disable-tcl
    make sqlite3.c
    $launcher "$triple-gcc-posix" -c -O2 -ffunction-sections -fdata-sections -DSQLITE_THREADSAFE=1 \
        -DSQLITE_SECURE_DELETE -DSQLITE_USE_URI=1 -DSQLITE_LIKE_DOESNT_MATCH_BLOBS -DSQLITE_MAX_SCHEMA_RETRY=25 \
        -DSQLITE_MAX_VARIABLE_NUMBER=250000 -DSQLITE_ENABLE_COLUMN_METADATA -DSQLITE_ENABLE_UNLOCK_NOTIFY \
        -DSQLITE_OMIT_LOAD_EXTENSION sqlite3.c -o sqlite3.o
    mkdir -p "$prefix/include" "$prefix/lib"
    "$triple-ar" crs "$prefix/lib/libsqlite3.a" sqlite3.o
    cp sqlite3.h "$prefix/include"
}

recipe_fmtlib() { recipe_helper_cmake -D FMT_TEST=OFF -D FMT_DOC=OFF; }

recipe_spdlog() { recipe_helper_cmake -D SPDLOG_FMT_EXTERNAL=ON -D SPDLOG_BUILD_EXAMPLE=OFF; }

recipe_rapidjson() {
    recipe_helper_cmake -D RAPIDJSON_BUILD_DOC=OFF -D RAPIDJSON_BUILD_EXAMPLES=OFF -D RAPIDJSON_BUILD_TESTS=OFF
    # It names the folder that it was installed into, and the package is moved.
    sed -i 's|"[^"]*/include"|"${RAPIDJSON_CMAKE_DIR}/../include"|' "$prefix/cmake/RapidJSONConfig.cmake"
}

recipe_googletest() { recipe_helper_cmake -D gtest_disable_pthreads=ON; }

# --- What turns a recipe into a folder of the cache.

# The cache is shared by all checkouts; where the usual place can't be written to, it is in this one.
vlox_cache_folder() {
    local folder=${XDG_CACHE_HOME:-${HOME:-/nonexistent}/.cache}/vlox_common/windows
    [[ $folder = /* ]] && mkdir -p "$folder" 2>/dev/null && [[ -w $folder ]] || folder=$PWD/build/cache/windows
    mkdir -p "$folder"
    echo "$folder"
}

# apt with lists of its own, so that the machine's sources stay as they are: the archives that the machine has its
# packages from, asked for sources.
vlox_apt() {
    local tool=$1 apt=$vlox_cache/apt
    shift
    "$tool" -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts=/dev/null \
        -o Dir::State::lists="$apt/lists" -o Dir::Cache="$apt/cache" -o APT::Sandbox::User="$(id -un)" "$@"
}

vlox_update_sources() {
    mkdir -p "$vlox_cache"/apt/{lists/partial,cache/archives/partial}
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' |
        sort -u >"$vlox_cache/apt/sources.list"
    [[ -s $vlox_cache/apt/sources.list ]] || vlox_refuse "no archive of Debian among this machine's package sources"
    vlox_apt apt-get update -qq
}

# The wanted version, or the newest older one that the archives still hold, into the current folder.
vlox_fetch_source() {
    local source=$1 wanted=$2 version
    for version in $(vlox_apt apt-cache showsrc --only-source "$source" | sed -n 's/^Version: //p' | sort -rVu); do
        dpkg --compare-versions "$version" le "$wanted" || continue
        vlox_apt apt-get source -qq --download-only "$source=$version" || continue
        [[ $version == "$wanted" ]] || echo "$source $wanted is not in the archives, $version is taken" >&3
        echo "$version" >version
        dpkg-source --no-check -x ./*.dsc source
        return
    done
    echo "no version of $source up to $wanted can be fetched"
    return 1
}

# Everything that a recipe's result depends on but the version.
vlox_recipe_text() {
    declare -f recipe_helper_cmake "recipe_$1"
    cat cmake/mingw-w64.cmake
    dpkg-query -W -f='${Package} ${Version}\n' g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev
}

# Builds beside its final place and moves in at the end: what stands in the cache is whole.
vlox_build_dependency() {
    local source=$1 wanted=$2 needed=$3 folder=$4 work=$vlox_cache/work/$1
    rm -rf "$work"
    mkdir -p "$work/fetched" "$work/prefix"
    [[ -n ${vlox_sources_updated:-} ]] || vlox_update_sources
    vlox_sources_updated=yes
    local log=$work/log began=$SECONDS
    echo "building $source $wanted for Windows"
    if ! (cd "$work/fetched" && vlox_fetch_source "$source" "$wanted") 3>&1 >"$log" 2>&1 ||
        ! (cd "$work/fetched/source" && prefix=$work/prefix jobs=$(nproc) toolchain=$vlox_toolchain \
            launcher=$(command -v ccache || true) triple=$vlox_triple needed=$needed \
            bash -euo pipefail -c "$(declare -f recipe_helper_cmake "recipe_$source"); recipe_$source") >>"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "$(basename "$0"): $source could not be built; all it said is in $log" >&2
        return 1
    fi
    cp "$work/fetched/source/debian/copyright" "$work/fetched/version" "$work/prefix"
    rm -rf "$folder"
    mv "$work/prefix" "$folder"
    rm -rf "$work"
    echo "  done in $((SECONDS - began)) s"
}

vlox_windows_dependencies() {
    local source package needs needed wanted key folder lock
    local -A folder_of=()
    vlox_cache=$(vlox_cache_folder)
    vlox_toolchain=$PWD/cmake/mingw-w64.cmake
    vlox_prefixes=()
    exec {lock}>"$vlox_cache/lock"
    flock -n "$lock" || { echo "waiting for another build of the Windows dependencies" && flock "$lock"; }
    while read -r source package needs; do
        wanted=$(dpkg-query -W -f='${source:Version}' "$package")
        needed=${needs:+${folder_of[$needs]}}
        key=$( (echo "$wanted $needed" && vlox_recipe_text "$source") | sha256sum | cut -c -12)
        folder=$vlox_cache/$source-$key
        [[ -d $folder ]] || vlox_build_dependency "$source" "$wanted" "$needed" "$folder" </dev/null
        folder_of[$source]=$folder
        vlox_prefixes+=("$folder")
    done < <(printf '%s\n' "${vlox_dependencies[@]}")
    exec {lock}>&-
}
