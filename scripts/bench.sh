#!/usr/bin/env bash
# Builds the release binary and measures it end to end: scripts/bench.sh [runs [events [counters]]]
# With --compare COMMIT before these, builds that commit, too, and measures the two by turns.
set -euo pipefail
cd "$(dirname "$0")/.."

# build FOLDER TARGETS...
build() {
    cmake --preset release -S "$1" >/dev/null
    cmake --build "$1/build" -j "$(nproc)" --target "${@:2}"
}

# Prints the folder of a commit's sources, which lie below the git-ignored one of builds.
sources_of() {
    local folder=build/compare/$1
    if [ ! -d "$folder" ]; then
        rm -rf "$folder.new"
        mkdir -p "$folder.new"
        git archive "$1" | tar -x -C "$folder.new"
        rm -rf "$folder.new/third_party"
        ln -s "$PWD/third_party" "$PWD/node_modules" "$folder.new"
        mv "$folder.new" "$folder"
    fi
    echo "$folder"
}

compare() {
    local commit folder
    commit=$(git rev-parse --verify "$1^{commit}")
    folder=$(sources_of "$commit")
    build "$folder" vrn_read
    build . vrn_read vrn_compare_bench
    build/bin/vrn_compare_bench "$folder/build/bin/vrn_read" "${@:2}"
}

./scripts/install-deps.sh
if [ "${1:-}" = --compare ]; then
    compare "${@:2}"
    exit
fi
build . vrn_bench vrn_scaling_bench vrn_export_bench vrn_sql_bench
build/bin/vrn_bench "$@"
echo
build/bin/vrn_scaling_bench "${1:-5}"
echo
build/bin/vrn_export_bench "${1:-5}"
echo
build/bin/vrn_sql_bench "${1:-5}"
