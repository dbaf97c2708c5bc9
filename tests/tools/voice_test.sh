#!/usr/bin/env bash
# voice_test.sh FOLDER_OF_TOOLS: what all tools have in common, by each of their programs. vrn_read
# isn't among them: its command line is older than they are, and stays as it is.
set -uo pipefail
bin=$1
PATH=$bin:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
vrn_collect -t 40 -i 20 && mv telemetry/data/events_* in.bin && mv telemetry/schema . || exit 1
echo '[load_sample]' >load.fset
for name in load_sample.csv shards/in.bin; do install -D in.bin $name; done
vrn_export --shard 1/1 -o parts shards/in.bin || exit 1
ln -s in.bin in.csv
ln -s "$(grep -l load_sample schema/*)" schema.csv
inputs=(in.bin schema/* load.fset load_sample.csv parts/.vrn_export/shard-1-of-1.jsonl parts/shards/*)
digest() { sha256sum "${inputs[@]}"; }
whole=$(digest)

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
# Until it ends, or something is on standard output.
run_until_said() {
    "$tool" "$@" >out 2>err </dev/null &
    until [ -s out ] || ! kill -0 $! 2>/dev/null; do sleep 0.05; done
    kill $! 2>/dev/null
    wait $!
    status=$?
}
is_there() { [ -x "$bin/$1" ] && { [ "$1" != vrn_sql ] || [ -e "$bin/libduckdb.so" ]; }; }
# A line of a table: a tool and its arguments, with ~ for a blank within one of them.
take_line() {
    read -r tool line <<<"$1"
    read -ra arguments <<<"$line"
    arguments=("${arguments[@]//\~/ }")
    is_there "$tool"
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

while read -r line; do
    take_line "$line" || continue
    for option in --version -V --help -h; do
        run "$option" --no-such-option
        [[ $option == *h* ]] && answer="Usage: $tool \[options\].*" ||
            answer="$tool [0-9.]+( \(commit [0-9a-f]+(\+dirty)?\))?"
        expect "$option is answered" answers "$answer"
        notices_a_full_disk "$option"
    done
    run --help
    for option in $(sed -nE 's/^  (-.,|   ) (--[a-z-]+) [A-Z].*/\2/p' out); do
        refuses "$option needs a value" "$option" '' "${arguments[@]}"
        refuses "$option needs a value" "${arguments[@]}" "$option"
    done
    refuses 'unknown option --no-such-option' "${arguments[@]}" --no-such-option
    refuses 'unknown option -~' -~ "${arguments[@]}"
    if [ "$tool" = vrn_collect ]; then
        refuses "'extra' is one argument too many" "${arguments[@]}" extra
        run "${arguments[@]}"
        expect 'has nothing to say' test $status -eq 0 -a ! -s out -a ! -s err
        continue
    fi
    refuses 'an argument is empty' "${arguments[@]}" ''
    notices_a_full_disk "${arguments[@]}"
    timeout 20 "$tool" "${arguments[@]}" >>in.bin 2>err
    status=$?
    expect 'no output goes into an input' fails "$tool: standard output is "
    run_until_said "${arguments[@]/in.bin/no.bin}"
    expect 'a missing input is told' grep -q '] no.bin: .*No such file' err
    # It goes on until it is stopped.
    [ "$tool" != vrn_serve ] || continue
    run "${arguments[@]}"
    expect 'words go to standard error alone' test $status -eq 0 -a -s out -a ! -s err
done <<'END'
vrn_chart in.bin
vrn_check --json in.bin
vrn_export in.bin
vrn_export --list in.bin
vrn_sql FROM~load_sample in.bin
vrn_sql --tables in.bin
vrn_serve -l 127.0.0.1:0 in.bin
vrn_collect -t 20 -i 20
END

# No output takes the place of what is read.
while read -r line; do
    take_line "$line" || continue
    run "${arguments[@]}"
    expect "'${arguments[*]}' is refused" fails "$tool: "
    expect "'${arguments[*]}' leaves all inputs" test "$(digest)" = "$whole"
done <<'END'
vrn_chart -o in.bin in.bin
vrn_chart -o schema.csv in.bin
vrn_check --salvage . in.bin
vrn_check --salvage in.bin in.bin
vrn_export --report in.bin in.bin
vrn_export --report load.fset -F load.fset in.bin
vrn_export --report schema.csv --list in.bin
vrn_export -f csv -o in.bin in.bin
vrn_export -f csv -o . load_sample.csv
vrn_export -f csv --resume -o . load_sample.csv
vrn_export --merge -o parts --report parts/shards/in.bin.ndjson
vrn_export --merge -o parts --report parts/.vrn_export/shard-1-of-1.jsonl
vrn_sql -o in.csv FROM~load_sample in.bin
vrn_sql -o schema.csv FROM~load_sample in.bin
vrn_collect -t 20 -o in.bin
END

# Where no file may grow, as on a full disk.
while read -r line; do
    take_line "$line" || continue
    (
        trap '' XFSZ
        ulimit -f 0
        timeout 20 "$tool" "${arguments[@]}" 2>&1 >/dev/null </dev/null
        echo $?
    ) | cat >err
    status=$(tail -n 1 err)
    expect "'${arguments[*]}' tells of a full disk" fails 'File too large'
done <<'END'
vrn_chart -o new in.bin
vrn_check --salvage new in.bin
vrn_export -o new in.bin
vrn_export -f csv -o new in.bin
vrn_export -f openmetrics -o new in.bin
vrn_export --report new.jsonl in.bin
vrn_sql -o new.parquet FROM~load_sample in.bin
vrn_sql -o new.json FROM~load_sample in.bin
vrn_collect -t 20 -o new
END
[ $failures -eq 0 ] && echo "all tools speak alike"
