#!/usr/bin/env bash
# export_tables.sh [FOLDER [SEED ...]]: lets jq, DuckDB, sqlite3 and Miller read what vrn_export, of the
# programs in FOLDER, makes of random archives, and compares all values that they then have, and
# the numbers of records with those of vrn_read. A consumer that isn't there is told.
set -euo pipefail
# shellcheck source=tests/integration/archives.sh
. "$(dirname "$0")/archives.sh"
need node jq

# As "events groups", where a group is one of a row of counters. Fails as vrn_read does: what is no
# number or no UTF-8 ends a file for it.
count_of_vrn_read() {
    "$bin/vrn_read" -s "$work/archive/schema" -f ndjson "$1" 2>/dev/null >"$work/read" || return
    jq -n -r 'reduce inputs as $r ([0, 0];
        if $r | has("@timestamp") | not then .[0] += 1
        else .[1] += ($r.groups // [] | length) end) | join(" ")' "$work/read"
}

count_of_vrn_export() {
    for kind in --type --counter; do
        "$bin/vrn_export" -f ndjson "$kind" '*' "$1" | wc -l
    done | paste -sd ' '
}

compared=0
for seed in "${seeds[@]}"; do
    make_archive "$seed" odd-values odd-times
    rm -rf "$work/csv" "$work/types"
    "$bin/vrn_export" -f ndjson "$work/archive/data" >"$work/all.ndjson"
    "$bin/vrn_export" -f csv -o "$work/csv" "$work/archive/data"
    node "$here/export_tables.mjs" "$work/all.ndjson" "$work/csv" "$work/types"

    make_archive "$seed"
    for file in "$work"/archive/data/*.bin; do
        read=$(count_of_vrn_read "$file") || continue
        own=$(count_of_vrn_export "$file")
        [ "$own" = "$read" ] || { echo "$own events and groups, $read of vrn_read"; exit 1; }
        compared=$((compared + 1))
    done
done
echo "$compared files have as many events and groups as vrn_read prints"
[ "$compared" -gt 0 ]
echo passed
