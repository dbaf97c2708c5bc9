# shellcheck shell=bash
# Real servers on loopback, for scripts to source: each has data of its own below $work and ends
# with the script.
work=$(mktemp -d)
servers=()
finish() {
    local server
    for server in "${servers[@]}"; do
        kill "$server"
        wait "$server" || true
    done
    rm -rf "$work"
} 2>/dev/null
trap finish EXIT

# Whether the program is there; tells when it isn't.
has() {
    command -v "$1" >/dev/null || { echo "skipped: $1 is not installed"; return 1; }
}

# Ends the script as skipped unless all tools are installed.
need() {
    local tool
    for tool in "$@"; do
        has "$tool" || exit 77
    done
}

# await NAME URL: until the server that was started last answers.
await() {
    for _ in $(seq 100); do
        curl -s -f -o "$work/ping" "$2" && return
        kill -0 "${servers[-1]}" 2>/dev/null || break
        sleep 0.1
    done
    echo "$1 does not answer:" >&2
    cat "$work/$1.log" >&2
    exit 1
}

spare_port() { echo $((20000 + RANDOM % 10000)); }

# start_influxdb [PORT]: sets influxdb to the URL of an InfluxDB 1.x with an empty database "vrn".
start_influxdb() {
    local port=${1:-$(spare_port)}
    cat >"$work/influxdb.conf" <<CONFIG
reporting-disabled = true
bind-address = "127.0.0.1:$((port + 10000))"
[meta]
  dir = "$work/influxdb/meta"
[data]
  dir = "$work/influxdb/data"
  wal-dir = "$work/influxdb/wal"
[http]
  bind-address = "127.0.0.1:$port"
CONFIG
    influxd -config "$work/influxdb.conf" >"$work/influxdb.log" 2>&1 &
    servers+=($!)
    influxdb=http://127.0.0.1:$port
    await influxdb "$influxdb/ping"
    curl -sS -f -o "$work/answer" -XPOST "$influxdb/query" \
        --data-urlencode 'q=CREATE DATABASE vrn'
}

# start_victoria_metrics [PORT]: sets victoria_metrics to the URL of an empty VictoriaMetrics.
start_victoria_metrics() {
    local port=${1:-$(spare_port)}
    victoria-metrics -storageDataPath="$work/victoria-metrics" -retentionPeriod=100y \
        -httpListenAddr="127.0.0.1:$port" >"$work/victoria-metrics.log" 2>&1 &
    servers+=($!)
    victoria_metrics=http://127.0.0.1:$port
    await victoria-metrics "$victoria_metrics/health"
}

# start_clickhouse PORT: an empty ClickHouse, for clickhouse-client at this port.
start_clickhouse() {
    local port=$1
    cat >"$work/clickhouse.xml" <<CONFIG
<yandex>
  <logger><console>1</console><level>warning</level></logger>
  <tcp_port>$port</tcp_port>
  <http_port>$((port + 10000))</http_port>
  <path>$work/clickhouse/</path>
  <tmp_path>$work/clickhouse/tmp/</tmp_path>
  <mark_cache_size>5000000</mark_cache_size>
  <profiles><default/></profiles>
  <quotas><default/></quotas>
  <users>
    <default>
      <password/>
      <networks><ip>::/0</ip></networks>
      <profile>default</profile>
      <quota>default</quota>
    </default>
  </users>
</yandex>
CONFIG
    clickhouse-server --config-file="$work/clickhouse.xml" >"$work/clickhouse.log" 2>&1 &
    servers+=($!)
    await clickhouse "http://127.0.0.1:$((port + 10000))/ping"
}

# post URL FILE: fails, with what the server says, unless it takes all.
post() {
    local status
    status=$(curl -sS -o "$work/answer" -w '%{http_code}' -XPOST "$1" --data-binary "@$2")
    [ "$status" = 204 ] || { echo "refused with $status:" >&2; cat "$work/answer" >&2; exit 1; }
}
