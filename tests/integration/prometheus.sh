#!/usr/bin/env bash
# Lets promtool check what vrn_serve tells, and a Prometheus scrape it: prometheus.sh BIN_FOLDER
# Without the Debian packages prometheus, curl and jq: "skipped", status 77.
set -euo pipefail
bin=${1:-build/bin}

for tool in prometheus promtool curl jq; do
    command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

folder=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$folder"' EXIT

"$bin/vrn_collect" -o "$folder/data" -i 200 -t 0 &
collector=$!
mkfifo "$folder/address"
"$bin/vrn_serve" --listen 127.0.0.1:0 "$folder/data" >"$folder/address" &
read -r page <"$folder/address"
host=${page#http://}
host=${host%%/*}

until curl -sf "http://$host/metrics" | grep -q '^mem_free{host='; do :; done
curl -sf "http://$host/metrics" | promtool check metrics

port=$((20000 + RANDOM % 10000))
cat >"$folder/prometheus.yml" <<END
global: {scrape_interval: 200ms, scrape_timeout: 200ms}
scrape_configs: [{job_name: vrn, static_configs: [{targets: ["$host"]}]}]
END
prometheus --config.file="$folder/prometheus.yml" --storage.tsdb.path="$folder/tsdb" \
    --web.listen-address="127.0.0.1:$port" 2>"$folder/prometheus.log" &

# The newest value that Prometheus has, of all that the file holds.
query() {
    curl -sf "http://127.0.0.1:$port/api/v1/query" --data-urlencode "query=$1" |
        jq -r '.data.result[0].value[1] // empty'
}
until [ "$(query 'vrn_serve_samples_total')" ] && [ "$(query 'mem_free{host!=""}')" ]; do :; done
kill "$collector"
wait "$collector"
last=$("$bin/vrn_read" -f ndjson "$folder"/data/data/metrics_*.bin |
    jq -s 'map(.metrics[] | .mem_free // empty) | last')
until [ "$(query 'mem_free{host!=""}')" = "$last" ]; do :; done
[ "$(query 'up')" = 1 ]
echo "Prometheus has the newest value of mem_free: $last"
