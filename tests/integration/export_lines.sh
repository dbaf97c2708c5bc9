#!/usr/bin/env bash
# export_lines.sh [FOLDER [SEED ...]]: lets InfluxDB 1.x and VictoriaMetrics load what vrn_export, of the
# programs in FOLDER, makes of random archives, and compares all values that they then hold. A
# server that isn't there is told; status 77 when none is.
set -euo pipefail
# shellcheck source=tests/integration/archives.sh
. "$(dirname "$0")/archives.sh"
need node curl jq
if has influxd; then start_influxdb; fi
if has victoria-metrics; then start_victoria_metrics; fi
[ ${#servers[@]} -gt 0 ] || exit 77

# make_lines SEED [odd-values] [odd-times]
make_lines() {
    make_archive "$@"
    "$bin/vrn_export" -f lines --tag-fields 'a,b,9,a_' "$work/archive/data" >"$work/lines"
}

query() {
    curl -sS -f -G "$influxdb/query" --data-urlencode db=vrn --data-urlencode epoch=ns \
        --data-urlencode "q=$1"
}

in_influxdb() {
    curl -sS -f -o "$work/answer" -XPOST "$influxdb/query" \
        --data-urlencode 'q=DROP DATABASE vrn; CREATE DATABASE vrn'
    post "$influxdb/write?db=vrn&precision=ns" "$work/lines"
    # Of several measurements at once, integers come as floats where another's field is one.
    query 'SHOW MEASUREMENTS' |
        jq -r '.results[0].series[0].values[][0] | "SELECT * FROM \"\(.)\" GROUP BY *;"' >"$work/all"
    query "$(cat "$work/all")" >"$work/read"
    node "$here/points.mjs" lines "$work/lines" influxdb "$work/read"
}

in_victoria_metrics() {
    curl -sS -f "$victoria_metrics/api/v1/admin/tsdb/delete_series" -d 'match[]={__name__!=""}'
    post "$victoria_metrics/write?precision=ns" "$work/lines"
    curl -sS -f "$victoria_metrics/internal/force_flush"
    curl -sS -f "$victoria_metrics/api/v1/export" -d 'match[]={__name__!=""}' >"$work/read"
    node "$here/points.mjs" lines-as-series "$work/lines" victoria-metrics "$work/read"
}

for seed in "${seeds[@]}"; do
    if [ -n "${influxdb:-}" ]; then
        make_lines "$seed" odd-values odd-times
        in_influxdb
    fi
    if [ -n "${victoria_metrics:-}" ]; then
        make_lines "$seed"
        in_victoria_metrics
    fi
done
echo passed
