#!/usr/bin/env bash
# bare_root_test.sh FOLDER_OF_PACKAGES: installs the packages on a minimal Debian 12, uses what they
# hold, and removes them. 77: this machine can't make one.
set -euo pipefail
packages=$(realpath "$1")
cd "$(dirname "$0")/../.."
. scripts/bare-root.sh
why=$(bare_root_missing)
[ -z "$why" ] || { echo "skipped: $why"; exit 77; }
root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
bare_root_make "$root"
mkdir "$root/debs"
cp "$packages"/*.deb "$packages"/*.tar.gz "$root/debs"
cp tests/package/use_packages.sh "$root/debs"
bare_root_run "$root" "cd /debs && bash use_packages.sh"
