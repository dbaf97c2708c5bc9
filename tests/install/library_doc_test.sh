#!/bin/sh
# library_doc_test.sh SOURCE_FOLDER: every line of code in docs/library.md stands in the examples.
set -eu
cd "$1"
awk '/^```/ { inside = /cpp/; next } inside && NF' docs/library.md | {
    count=0
    while IFS= read -r line; do
        cat examples/*.cc | grep -qFx -- "$line" || { echo "not in the examples: $line"; exit 1; }
        count=$((count + 1))
    done
    [ "$count" -gt 20 ]
}
