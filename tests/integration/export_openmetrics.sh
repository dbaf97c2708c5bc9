#!/usr/bin/env bash
# export_openmetrics.sh [FOLDER [SEED ...]]: lets promtool make blocks of what vrn_export, of the programs in
# FOLDER, makes of random archives, and VictoriaMetrics load it, and compares all samples that they
# then hold. What isn't there is told; status 77 when neither is.
set -euo pipefail
# shellcheck source=tests/integration/archives.sh
. "$(dirname "$0")/archives.sh"
need node curl
promtool=
if has promtool; then promtool=promtool; fi
if has victoria-metrics; then start_victoria_metrics; fi
[ -n "$promtool" ] || [ ${#servers[@]} -gt 0 ] || exit 77

# make_samples SEED [odd-values]
make_samples() {
    make_archive "$@"
    "$bin/vrn_export" -f openmetrics --tag-fields 'a,b,9,a_' "$work/archive/data" >"$work/samples"
}

in_promtool() {
    rm -rf "$work/blocks"
    mkdir -p "$work/blocks/wal"
    promtool tsdb create-blocks-from openmetrics -q "$work/samples" "$work/blocks"
    promtool tsdb dump "$work/blocks" >"$work/read"
    node "$here/points.mjs" openmetrics "$work/samples" promtool "$work/read"
}

in_victoria_metrics() {
    curl -sS -f "$victoria_metrics/api/v1/admin/tsdb/delete_series" -d 'match[]={__name__!=""}'
    post "$victoria_metrics/api/v1/import/prometheus" "$work/samples"
    curl -sS -f "$victoria_metrics/internal/force_flush"
    curl -sS -f "$victoria_metrics/api/v1/export" -d 'match[]={__name__!=""}' >"$work/read"
    node "$here/points.mjs" openmetrics "$work/samples" victoria-metrics "$work/read"
}

for seed in "${seeds[@]}"; do
    if [ -n "$promtool" ]; then
        make_samples "$seed" odd-values
        in_promtool
    fi
    if [ -n "${victoria_metrics:-}" ]; then
        make_samples "$seed"
        in_victoria_metrics
    fi
done
echo passed
