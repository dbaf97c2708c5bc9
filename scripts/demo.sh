#!/usr/bin/env bash
# Builds, collects two seconds of telemetry of this machine, and exports it in every text format.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target vrn_read vrn_collect

out=demo-output
read=build/bin/vrn_read
rm -rf "$out"

show() { # title, lines, command
    local title=$1 lines=$2
    shift 2
    printf '\n== %s\n$ %s\n' "$title" "$*"
    "$@" >"$out/shown"
    head -n "$lines" "$out/shown"
    printf '   (%d lines in all)\n' "$(wc -l <"$out/shown")"
}

echo "== Collecting for two seconds"
build/bin/vrn_collect --output-dir "$out" --interval 100 --duration 2000
ls -l "$out"/*.bin "$out"/schema

show "Events, one JSON object a line" 4 "$read" -s "$out/schema" -f ndjson "$out/events.bin"
show "Counters, one JSON object a line" 1 "$read" -s "$out/schema" -f ndjson "$out/counters.bin"
show "Events as one JSON document" 12 \
    "$read" -s "$out/schema" -f json -i load_sample "$out/events.bin"
show "Counters as text tables" 8 "$read" -s "$out/schema" -f txt "$out/counters.bin"
show "File and block headers" 20 "$read" -s "$out/schema" -f ndjson -p "$out/counters.bin"
rm -f "$out/shown"

printf '\nEvery line is JSON: '
"$read" -s "$out/schema" -f ndjson "$out/events.bin" "$out/counters.bin" | jq -c . | wc -l
