#!/usr/bin/env bash
# bare.sh [SCRIPT...]: runs scripts of a clean clone of this commit on a minimal Debian 12, one after
# the other, and tells what each took. Without SCRIPT these are the README's two. What they print
# stands in build/bare.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/bare-root.sh
[ $# -gt 0 ] || set -- scripts/demo.sh scripts/test.sh
why=$(bare_root_missing)
[ -z "$why" ] || { echo "bare: $why" >&2; exit 77; }

root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
bare_root_make "$root"
git clone -q --no-hardlinks . "$root/src"

packages() { dpkg-query --admindir="$root/var/lib/dpkg" -W -f '.\n' | wc -l; }
megabytes() { du -sxm --exclude="$root/src" "$root" | cut -f 1; }
status=0
for script; do
    log=$bare_cache/$(basename "$script").log
    had_packages=$(packages) had_megabytes=$(megabytes) start=$SECONDS
    result=passed
    bare_root_run "$root" "cd /src && ./$script" >"$log" 2>&1 </dev/null || { result=failed status=1; }
    echo "$script: $result, $((SECONDS - start)) s; installed $(($(packages) - had_packages)) packages," \
        "$(($(megabytes) - had_megabytes)) MB; its folder is $(du -sm "$root/src" | cut -f 1) MB"
    tail -n 3 "$log"
done
exit $status
