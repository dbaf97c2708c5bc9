# shellcheck shell=bash
# Random archives, for scripts to source with their arguments [FOLDER [SEED ...]]: sets bin to the
# folder of the programs, seeds, and what servers.sh sets.
bin=${1:-build/bin}
seeds=("${@:2}")
[ ${#seeds[@]} -gt 0 ] || seeds=(1 2 3 4)
here=$(dirname "$0")
# shellcheck source=tests/integration/servers.sh
. "$here/servers.sh"

# make_archive SEED [odd-values] [odd-times]: below $work/archive.
make_archive() {
    rm -rf "$work/archive"
    mkdir -p "$work/archive/data" "$work/archive/schema"
    "$bin/random_archive" "$work/archive" "$1" 8 "${@:2}"
}
