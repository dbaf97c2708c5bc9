#!/usr/bin/env bash
# influxdb.sh PROGRAM: writes the Influx lines that PROGRAM prints to a real InfluxDB 1.x and
# compares what the database then holds. The server (package influxdb) runs on loopback with a
# configuration and data of its own and ends with the script. Without it: "skipped", status 77.
set -euo pipefail
program=${1:-build/bin/vrn_example_page_to_influx}

for tool in influxd curl jq perl; do
    command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done

work=$(mktemp -d)
server=
finish() {
    [ -z "$server" ] || { kill "$server"; wait "$server" || true; }
    rm -rf "$work"
} 2>/dev/null
trap finish EXIT

port=$((20000 + RANDOM % 10000))
cat >"$work/config" <<CONFIG
reporting-disabled = true
bind-address = "127.0.0.1:$((port + 1))"
[meta]
  dir = "$work/meta"
[data]
  dir = "$work/data"
  wal-dir = "$work/wal"
[http]
  bind-address = "127.0.0.1:$port"
CONFIG
influxd -config "$work/config" >"$work/log" 2>&1 &
server=$!

url=http://127.0.0.1:$port
for _ in $(seq 100); do
    curl -s -o "$work/ping" "$url/ping" && break
    kill -0 "$server" || { cat "$work/log" >&2; exit 1; }
    sleep 0.1
done

# One line per field, floats in one notation, sorted: the database keeps no lines.
fields() {
    perl -ne '
        my ($series, $fields, $time) = /^((?:\\.|[^\\ ])+) (.*) (\d+)$/ or die "no line: $_";
        for my $field ($fields =~ /((?:[^,="\\]|\\.)+=(?:"(?:\\.|[^"\\])*"|[^,]+))/g) {
            $field =~ s/=(-?\d+\.\d+)$/"=" . ($1 + 0)/e;
            print "$series $field $time\n";
        }' | LC_ALL=C sort
}

# Lines of all points of a query, from the answer in JSON, where each point has the tags and fields
# of all others, without values.
as_lines() {
    jq -r '
        def escape: gsub("(?<c>[ ,])"; "\\\(.c)");
        def value: if type == "string" then "\"\(.)\"" else tostring end;
        .results[0].series[]
        | .name as $name
        | (.tags | to_entries | map(select(.value != "") | ",\(.key | escape)=\(.value | escape)")
            | add) as $tags
        | .columns as $columns | .values[]
        | [$columns, .] | transpose | map({key: .[0], value: .[1]} | select(.value != null))
        | (map(select(.key == "time"))[0].value) as $time
        | "\($name)\($tags) \(map(select(.key != "time") | "\(.key | escape)=\(.value | value)") | join(",")) \($time)"'
}

"$program" >"$work/lines"
[ -s "$work/lines" ] || { echo "$program printed no lines" >&2; exit 1; }
curl -sS -o "$work/answer" -XPOST "$url/query" --data-urlencode 'q=CREATE DATABASE vrn'
status=$(curl -sS -o "$work/answer" -w '%{http_code}' -XPOST \
    "$url/write?db=vrn&precision=ms" --data-binary "@$work/lines")
[ "$status" = 204 ] || { echo "refused with $status:" >&2; cat "$work/answer" >&2; exit 1; }

curl -sS -G "$url/query" --data-urlencode db=vrn --data-urlencode epoch=ms \
    --data-urlencode 'q=SELECT * FROM /.*/ GROUP BY *' | as_lines | fields >"$work/read"
# Answers in JSON show integers without their suffix.
fields <"$work/lines" | sed -E 's/(=-?[0-9]+)i /\1 /' | LC_ALL=C sort >"$work/written"
diff "$work/written" "$work/read"
echo "passed: $(wc -l <"$work/lines") lines, $(wc -l <"$work/read") fields read back equal"
