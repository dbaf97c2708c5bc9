#!/usr/bin/env bash
# reproducible_test.sh FOLDER_OF_PACKAGES: builds this commit once more, elsewhere and with other
# settings, and compares the packages byte by byte. 77: they may be of another commit.
set -euo pipefail
packages=$(realpath "$1")
cd "$(dirname "$0")/../.."
[ -z "$(git status --porcelain --untracked-files=no)" ] || { echo "skipped: uncommitted changes"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
git clone -q . "$work/another folder"
ln -s "$PWD/node_modules" "$PWD/third_party" "$work/another folder"
cd "$work/another folder"
umask 077
export TZ=Pacific/Auckland LC_ALL=C CCACHE_DISABLE=1
cmake --preset release -DVRN_BUILD_TESTS=OFF -DVRN_BUILD_BENCH=OFF >"$work/log"
cmake --build --preset package -j "$(nproc)" >>"$work/log" 2>&1 || { tail -n 20 "$work/log"; exit 1; }
(cd "$packages" && sha256sum -- *.deb *.tar.gz) | (cd build/packages && sha256sum --check)
