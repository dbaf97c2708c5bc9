#!/usr/bin/env bash
# influxdb.sh PROGRAM: writes the Influx lines that PROGRAM prints to a real InfluxDB 1.x and
# compares what the database then holds. The server (package influxdb) runs on loopback with a
# configuration and data of its own and ends with the script. Without it: "skipped", status 77.
set -euo pipefail
program=${1:-build/bin/vrn_example_page_to_influx}

# shellcheck source=tests/integration/servers.sh
. "$(dirname "$0")/servers.sh"
need influxd curl jq perl
start_influxdb

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
post "$influxdb/write?db=vrn&precision=ms" "$work/lines"

curl -sS -G "$influxdb/query" --data-urlencode db=vrn --data-urlencode epoch=ms \
    --data-urlencode 'q=SELECT * FROM /.*/ GROUP BY *' | as_lines | fields >"$work/read"
# Answers in JSON show integers without their suffix.
fields <"$work/lines" | sed -E 's/(=-?[0-9]+)i /\1 /' | LC_ALL=C sort >"$work/written"
diff "$work/written" "$work/read"
echo "passed: $(wc -l <"$work/lines") lines, $(wc -l <"$work/read") fields read back equal"
