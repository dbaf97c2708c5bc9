#!/usr/bin/env bash
# Builds, collects two seconds of telemetry of this machine, and exports it in every text format.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target vrn_installed

out=demo-output
read=build/bin/vrn_read
rm -rf "$out"
mkdir "$out"

show() { # title, lines, command
    local title=$1 lines=$2
    shift 2
    printf '\n== %s\n$ %s\n' "$title" "$*"
    "$@" >"$out/shown"
    head -n "$lines" "$out/shown"
    printf '   (%d lines in all)\n' "$(wc -l <"$out/shown")"
    rm "$out/shown"
}

echo "== Collecting for two seconds"
build/bin/vrn_collect --output-dir "$out" --interval 100 --duration 2000
ls -l "$out/data" "$out/schema"

# Files are named by stream and time of their first data. The schema folder is
# found above them.
show "Events, one JSON object a line" 4 "$read" -f ndjson "$out"/data/events_*.bin
show "Counters, one JSON object a line" 1 "$read" -f ndjson "$out"/data/counters_*.bin
show "Metrics, one JSON object a line" 1 "$read" -f ndjson "$out"/data/metrics_*.bin
show "Events as one JSON document" 12 "$read" -i load_sample "$out"/data/events_*.bin
show "Event fields as Influx lines" 2 "$read" -f influx "$out"/data/events_*.bin
show "Counters as text tables" 8 "$read" -f txt "$out"/data/counters_*.bin
show "File and block headers" 20 "$read" -f ndjson -p "$out"/data/counters_*.bin

echo
echo "== Collecting compressed pages for one second, and reading the tree in time order"
build/bin/vrn_collect --output-dir "$out/pages" --duration 1000 --encoding gzip \
    --counters-template '{{source}}/{{tag}}/{{id}}.bin' \
    --data-template '{{source}}/{{tag}}/{{id}}.bin'
show "All records of the tree" 2 "$read" -f ndjson -S -d "$out/pages/data"

printf '\nEvery line is JSON: '
"$read" -f ndjson -d "$out/pages/data" "$out"/data/*.bin | jq -c . | wc -l

printf '\nNo file is damaged: '
build/bin/vrn_check "$out/data" "$out/pages/data"

build/bin/vrn_chart -o "$out/metrics.html" "$out/data"
echo "The metrics as charts: $out/metrics.html"

show "A question in SQL" 4 build/bin/vrn_sql \
    "SELECT cpu, max(times.user) AS user, count(*) AS samples FROM cpu_sample GROUP BY cpu ORDER BY cpu" \
    "$out/data"
build/bin/vrn_sql -o "$out/cpu.parquet" "FROM cpu_sample" "$out/data"
show "The same events out of Parquet" 4 build/bin/vrn_sql "SELECT count(*) FROM '$out/cpu.parquet'"
