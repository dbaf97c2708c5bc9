#!/usr/bin/env bash
# voice_test.sh FOLDER_OF_TOOLS: what all tools have in common, by each of their programs. vrn_read
# isn't among them: its command line is older than they are, and stays as it is.
set -uo pipefail
PATH=$1:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
vrn_collect -t 40 -i 20 && mv telemetry/data/events_* in.bin && mv telemetry/schema . || exit 1
cp in.bin kept.bin
ln -s in.bin in.csv

# A tool, what it does without fault, what would write over its input; ~ stands for a blank.
tools='vrn_chart|in.bin|-o in.bin in.bin
vrn_check|in.bin|--salvage . in.bin
vrn_check|--json in.bin|--salvage in.bin in.bin
vrn_export|in.bin|--report in.bin in.bin
vrn_export|--list in.bin|-f csv -o in.bin in.bin
vrn_sql|FROM~load_sample in.bin|-o in.csv FROM~load_sample in.bin
vrn_sql|--tables in.bin|-o in.csv FROM~cpu_sample in.csv
vrn_serve|-l 127.0.0.1:0 in.bin|
vrn_collect|-t 20 -i 20|-t 20 -o in.bin'

failures=0
# expect WHAT TEST...: fails with what the tool was to do, unless the command TEST succeeds.
expect() {
    "${@:2}" && return
    echo "$tool: $1; but its status was $status:"
    head -c 500 out err
    failures=$((failures + 1))
}
# run ARGUMENTS...: the status is 124 when it doesn't end.
run() {
    timeout 20 "$tool" "$@" >out 2>err </dev/null
    status=$?
}
# The whole of what a refusal is; nothing else is done.
is_refused() {
    [ $status -eq 64 ] && [ ! -s out ] && [ "$(cat err)" = "$tool: $1
Try '$tool --help'." ]
}
answers() { [ $status -eq 0 ] && [ ! -s err ] && grep -qxE -- "$1" out; }
fails() { [ $status -ne 0 ] && [ $status -ne 124 ] && grep -qF -- "$1" err; }
refuses() { # ERROR ARGUMENTS...
    run "${@:2}"
    expect "'${*:2}' is refused: $1" is_refused "$1"
}
notices_a_full_disk() {
    timeout 20 "$tool" "$@" >/dev/full 2>err
    status=$?
    expect "'$*' tells of a full disk" fails "$tool: can't write to standard output: No space left"
}

while IFS='|' read -r tool good overwriting; do
    [ -x "$1/$tool" ] || continue
    [ "$tool" != vrn_sql ] || [ -e "$1/libduckdb.so" ] || continue  # its engine
    read -ra good <<<"$good"
    good=("${good[@]//\~/ }")
    read -ra overwriting <<<"$overwriting"
    overwriting=("${overwriting[@]//\~/ }")

    for option in --version -V --help -h; do
        run "$option" --no-such-option
        [[ $option == *h* ]] && answer="Usage: $tool \[options\].*" ||
            answer="$tool [0-9.]+( \(commit [0-9a-f]+(\+dirty)?\))?"
        expect "$option is answered" answers "$answer"
        notices_a_full_disk "$option"
    done
    run --help
    for option in $(sed -nE 's/^  (-.,|   ) (--[a-z-]+) [A-Z].*/\2/p' out); do
        refuses "$option needs a value" "$option" '' "${good[@]}"
        refuses "$option needs a value" "${good[@]}" "$option"
    done
    refuses 'unknown option --no-such-option' "${good[@]}" --no-such-option
    refuses 'unknown option -~' -~ "${good[@]}"
    if [ "$tool" = vrn_collect ]; then
        refuses "'extra' is one argument too many" "${good[@]}" extra
    else
        refuses 'an argument is empty' "${good[@]}" ''
        notices_a_full_disk "${good[@]}"
        timeout 20 "$tool" "${good[@]}" >>in.bin 2>err
        status=$?
        expect 'no output goes into an input' fails "$tool: standard output is "
    fi
    # It goes on until it is stopped.
    if [ "$tool" != vrn_serve ]; then
        run "${good[@]}"
        expect 'words go to standard error alone' test $status -eq 0 -a ! -s err
        run "${overwriting[@]}"
        expect "'${overwriting[*]}' is refused" fails "$tool: "
    fi
    expect 'leaves its input as it is' cmp in.bin kept.bin
    cp kept.bin in.bin
done <<<"$tools"
[ $failures -eq 0 ] && echo "all tools speak alike"
