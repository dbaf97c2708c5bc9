#!/usr/bin/env bash
# Installs what the programs need on Debian 12, to be built and run; with --tests also what the tests
# and checks need, and the servers and tools whose tests are left out without them. Does nothing, and
# needs no network, when all of it is there already.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
    g++ cmake ninja-build pkg-config jq dpkg-dev file ca-certificates
    zlib1g-dev libdeflate-dev libisal-dev libssl-dev libmd-dev libsnappy-dev libzstd-dev libmicrohttpd-dev
    libboost1.81-dev libboost-filesystem1.81-dev libboost-date-time1.81-dev
    libedit-dev libmd4c-dev
)
test_packages=(
    git clang clang-format clang-tidy libgtest-dev libgmock-dev
    chromium zstd man-db zsh lintian mmdebstrap iproute2
)
# Any node from 18.18 on serves; Debian's is taken where there is none.
command -v node >/dev/null || test_packages+=(nodejs)

# For tests that are left out without them.
optional_packages=(man-db zsh slurm-wlm munge parallel influxdb victoria-metrics prometheus
    clickhouse-server clickhouse-client curl perl sqlite3 miller)

# The genuine parson 1.5.2 sources lie inside this Debian source package.
parson_dir=third_party/parson
parson_package=slirp4netns
parson_package_version=1.2.1-1.1
parson_suite=trixie
parson_sums="690c15276df905618bb958d262044b41d573ae7ed7294640934b6b223583190a  parson.c
4541045531850208b2c8d52807d9aba1d3a78188d690df324c100d570af1d165  parson.h"

# DuckDB's C headers lie inside this npm package.
duckdb_dir=third_party/duckdb
duckdb_package=duckdb@1.4.4
duckdb_sums="cbe6a827284375c5a646b8f27dbd3a00808ce8738b5bbb49c190cb1e08540281  duckdb.h
514a5b639cd800e90f1556e8e039cff7f0b4a256e461754dd55caf79dc16db00  duckdb_extension.h"

fail() {
    echo "install-deps: $*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

missing_packages() {
    local package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
            echo "$package"
    done
}

install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "${packages[@]}")
    [ "${#missing[@]}" -gt 0 ] || return 0
    echo "install-deps: installing ${missing[*]}"
    as_root apt-get update -q || fail "apt-get update failed"
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}" ||
        fail "apt-get could not install: ${missing[*]}"
}

# stop_services PACKAGE...: Debian starts what it installs; the tests have servers of their own.
stop_services() {
    local package
    for package in "$@"; do
        [ -e "/etc/init.d/$package" ] || continue
        { as_root service "$package" stop && as_root update-rc.d "$package" disable; } ||
            echo "install-deps: the service $package may still run"
    done
}

install_optional_packages() {
    local missing
    mapfile -t missing < <(missing_packages "${optional_packages[@]}")
    [ "${#missing[@]}" -gt 0 ] || return 0
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}" ||
        echo "install-deps: goes on without ${missing[*]}"
    stop_services "${missing[@]}"
}

# folder_is_good FOLDER SUMS
folder_is_good() {
    (cd "$1" 2>/dev/null && sha256sum --check --status - <<<"$2" 2>/dev/null)
}

# Prints deb-src lines for the suite with the source package, derived from the host's own entries.
source_list() {
    local file
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -f "$file" ] || continue
        sed -nE 's|^deb(-src)?[[:space:]]+(\[[^]]*\][[:space:]]+)?([^[:space:]]+/debian/?)[[:space:]].*|deb-src \2\3 '"$parson_suite"' main|p' "$file"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -f "$file" ] || continue
        awk -v suite="$parson_suite" '
            function flush() { if (uri ~ /\/debian\/?$/) print "deb-src " (key ? "[signed-by=" key "] " : "") uri " " suite " main"; uri = key = "" }
            /^URIs:/ { uri = $2 }
            /^Signed-By:/ { key = $2 }
            /^[[:space:]]*$/ { flush() }
            END { flush() }' "$file"
    done
}

# Uses a private apt state, so that the host's apt set-up stays untouched.
fetch_parson() (
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    mkdir -p "$work/lists/partial" "$work/parts" "$work/source"
    source_list | sort -u >"$work/sources.list"
    [ -s "$work/sources.list" ] || fail "no Debian archive entry found to derive $parson_suite from"
    apt_options=(
        -o "Dir::Etc::sourcelist=$work/sources.list"
        -o "Dir::Etc::sourceparts=$work/parts"
        -o "Dir::State::Lists=$work/lists"
        -o "Dir::Cache::srcpkgcache=" -o "Dir::Cache::pkgcache="
        -o "APT::Sandbox::User="
    )
    apt-get "${apt_options[@]}" update -q >"$work/log" 2>&1 ||
        { cat "$work/log" >&2; fail "cannot read the $parson_suite source list"; }
    (cd "$work/source" &&
        apt-get "${apt_options[@]}" source -q --download-only \
            "$parson_package=$parson_package_version") >"$work/log" 2>&1 ||
        { cat "$work/log" >&2; fail "cannot download source package $parson_package"; }
    tarball=$(find "$work/source" -name "${parson_package}_*.orig.tar.*" ! -name '*.asc' | head -n 1)
    [ -n "$tarball" ] || fail "source package $parson_package holds no upstream tarball"
    mkdir "$work/parson"
    tar -xf "$tarball" -C "$work/parson" --wildcards --strip-components=3 \
        '*/vendor/parson/parson.c' '*/vendor/parson/parson.h' ||
        fail "$parson_package holds no vendor/parson"
    folder_is_good "$work/parson" "$parson_sums" ||
        fail "checksum mismatch: the fetched parson.c or parson.h is not the genuine release 1.5.2"
    mkdir -p "$parson_dir"
    cp "$work/parson/parson.c" "$work/parson/parson.h" "$parson_dir/"
)

# Debian's npm is nearly 400 packages, and apt's own helper can fetch as well. The address is the one
# that npm has: its package is read for it, and not installed.
npm_registry=${npm_config_registry:-}
find_npm_registry() {
    [ -z "$npm_registry" ] || return 0
    local work
    work=$(mktemp -d)
    as_root apt-get update -q >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "apt-get update failed"; }
    (cd "$work" && apt-get -o "APT::Sandbox::User=" -qq download npm) || fail "apt-get could not download npm"
    npm_registry=$(dpkg-deb --fsys-tarfile "$work"/npm_*.deb |
        tar -xO --wildcards '*/config/definitions.js' |
        sed -n "/^define('registry'/,/^})/s/.*default: '\\(.*\\)'.*/\\1/p")
    rm -r "$work"
    [ -n "$npm_registry" ] || fail "npm has no address of a registry"
}

# npm_archive NAME VERSION FILE [HASH]: fetches a package as it is; no script of it runs.
npm_archive() {
    /usr/lib/apt/apt-helper -o "APT::Sandbox::User=" download-file \
        "${npm_registry%/}/$1/-/${1##*/}-$2.tgz" "$3" ${4:+"$4"} >"$3.log" 2>&1 ||
        { cat "$3.log" >&2; fail "cannot fetch $1 $2 from the npm registry"; }
}

fetch_duckdb_headers() (
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    if command -v npm >/dev/null; then
        npm pack "$duckdb_package" --ignore-scripts --loglevel=error --pack-destination "$work" \
            >/dev/null || fail "npm pack $duckdb_package failed"
    else
        npm_archive "${duckdb_package%@*}" "${duckdb_package#*@}" "$work/duckdb-.tgz"
    fi
    mkdir "$work/headers"
    tar -xzf "$work"/duckdb-*.tgz -C "$work/headers" --strip-components=5 \
        package/src/duckdb/src/include/duckdb.h \
        package/src/duckdb/src/include/duckdb_extension.h ||
        fail "$duckdb_package holds no duckdb.h"
    folder_is_good "$work/headers" "$duckdb_sums" ||
        fail "checksum mismatch: the headers of $duckdb_package are not the genuine ones"
    mkdir -p "$duckdb_dir"
    cp "$work"/headers/*.h "$duckdb_dir/"
)

# sources_are_there FOLDER SUMS
sources_are_there() {
    [ -d "$1" ] || return 1
    folder_is_good "$1" "$2" ||
        fail "checksum mismatch in $1: remove that folder and run again"
}

# Copies of the lock file are written last, so they stand for complete folders.
programs_stamp=node_modules/.programs-lock.json
tests_stamp=node_modules/.tests-lock.json
takes_tests=false
npm_options=(--omit=dev)
stamps=("$programs_stamp")
if [ "${1:-}" = --tests ]; then
    packages+=("${test_packages[@]}")
    takes_tests=true
    npm_options=()
    stamps+=("$tests_stamp")
fi

node_modules_are_there() {
    cmp --silent package-lock.json "${stamps[-1]}"
}

# Folder, name, version and hash of what the lock file names for this machine.
locked_packages() {
    local processor
    case $(uname -m) in
        aarch64) processor=arm64 ;;
        *) processor=x64 ;;
    esac
    jq -r --arg processor "$processor" --argjson tests "$takes_tests" '
        .packages | to_entries[] | select(.key != "") | .value as $package |
        select($tests or ($package.dev | not)) |
        select(($package.os // ["linux"] | index("linux")) and
            ($package.cpu // [$processor] | index($processor)) and
            ($package.libc // ["glibc"] | index("glibc"))) |
        [.key, $package.name // (.key | sub(".*node_modules/"; "")), $package.version,
            $package.integrity] | @tsv' package-lock.json
}

fetch_locked_packages() (
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    locked_packages >"$work/list"
    while IFS=$'\t' read -r folder name version integrity; do
        hash=$(base64 -d <<<"${integrity#sha512-}" | od -An -v -tx1 | tr -d ' \n')
        npm_archive "$name" "$version" "$work/archive" "SHA512:$hash"
        mkdir -p "$folder"
        tar -xzf "$work/archive" -C "$folder" --strip-components=1 --no-same-owner
        rm "$work/archive"
    done <"$work/list"
)

# npm checks each package against the hash in the lock file, too.
fetch_node_modules() {
    rm -rf node_modules
    if command -v npm >/dev/null; then
        npm ci "${npm_options[@]}" --ignore-scripts --no-audit --no-fund --loglevel=error || fail "npm ci failed"
    else
        fetch_locked_packages
    fi
    for stamp in "${stamps[@]}"; do
        cp package-lock.json "$stamp"
    done
}

install_packages
[ "${1:-}" != --tests ] || install_optional_packages
has_duckdb() { sources_are_there "$duckdb_dir" "$duckdb_sums"; }
if ! command -v npm >/dev/null && ! { has_duckdb && node_modules_are_there; }; then
    find_npm_registry
fi
if ! sources_are_there "$parson_dir" "$parson_sums"; then
    echo "install-deps: fetching parson 1.5.2"
    fetch_parson
fi
if ! has_duckdb; then
    echo "install-deps: fetching the headers of $duckdb_package"
    fetch_duckdb_headers
fi
if ! node_modules_are_there; then
    echo "install-deps: fetching the npm packages of package-lock.json"
    fetch_node_modules
fi
