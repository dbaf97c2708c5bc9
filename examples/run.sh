#!/bin/sh
# run.sh FOLDER READER: lets a collector and two hosts exchange a page, and reads what was stored.
# FOLDER holds the example programs, READER is vrn_read. Prints the stored records and their mean.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkfifo "$work/input" "$work/name"

"$1/vrn_example_collector" "$work" fans <"$work/input" >"$work/name" &
exec 3>"$work/input"
read -r page <"$work/name"
"$1/vrn_example_host" "$page" "$work/data" pumps,fans
"$1/vrn_example_host" "$page" "$work/refused" pumps
exec 3>&-
wait

[ ! -e "$work/refused" ]
"$2" -v 3 -s "$work/schema" -f ndjson -d "$work/data"
find "$work/data" -type f -exec "$1/vrn_example_read_file" "$work/schema" {} +
