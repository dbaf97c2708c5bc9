#!/usr/bin/env bash
# manuals_test.sh FOLDER_OF_TOOLS FOLDER_OF_MANUALS: help, manual pages and completions name the same
# options; the pages are sound, and the first steps of vrn(7) lead where they say. 77: no man.
set -uo pipefail
bin=$1 manuals=$2
command -v man lexgrog >/dev/null || exit 77
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() {
    echo "$*"
    failures=$((failures + 1))
}
same() { # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] || fail "$1:
$(diff <(echo "$2") <(echo "$3"))"
}

for page in "$manuals"/man/*; do
    same "$page" '' "$(man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)"
    lexgrog "$page" >/dev/null || fail "$page has no line for whatis"
done

# Each prints the options of a tool, sorted.
names() { grep -oE -- '(^|[ ,])--?[A-Za-z][a-z-]*' | tr -d ' ,' | sort; }
options_of_help() { "$bin/$1" --help | sed -nE 's/^ +((-., )?--[a-z-]+).*/\1/p' | names; }
options_of_page() {
    MANWIDTH=200 man -E ascii -l "$manuals/man/$1.1" | sed -n '/^OPTIONS/,/^[A-NP-Z]/p' |
        grep -E '^ {7}-' | names
}
complete_in_bash() { # TOOL WORDS...: what readline is asked for instead has a '+'
    bash -c '. "$1"; compopt() { echo "+$2"; }; COMP_WORDS=("${@:2}"); COMP_CWORD=$(($# - 2))
        "_$2"; [ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\n" "${COMPREPLY[@]}"' - "$manuals/bash/$1" "$@"
}
options_of_zsh() {
    zsh -fc '_arguments() { print -rl -- "$@" }; fpath=($1 $fpath); autoload -Uz compinit
        compinit -u -D; $_comps[$2]' - "$manuals/zsh" "$1" |
        sed -nE 's/^(\*|\([^)]*\))?(-[^[+=]*)[+=]?\[.*/\2/p' | sort
}

for page in "$manuals"/man/*.1; do
    tool=$(basename "$page" .1)
    [ -x "$bin/$tool" ] || continue
    options=$(options_of_page "$tool")
    same "$tool: bash" "$options" "$(complete_in_bash "$tool" - | sort)"
    command -v zsh >/dev/null && same "$tool: zsh" "$options" "$(options_of_zsh "$tool")"
    # The help of vrn_read names three that its parser doesn't know, and leaves one out.
    [ "$tool" != vrn_read ] || options=$(echo "$options" |
        sed 's/^--print-page-info$/--print-headers/; s/^-S$/-C/; s/^--sort-files$/-o/' | sort)
    same "$tool: help" "$options" "$(options_of_help "$tool")"
done

while IFS='|' read -r line expected; do
    read -ra words <<<"$line"
    [[ $line != *' ' ]] || words+=('')
    same "bash: $line" "$expected" "$(complete_in_bash "${words[@]}" | paste -sd ' ')"
done <<'END'
vrn_read -f nd|ndjson
vrn_read --format = |json ndjson txt csv influx bin
vrn_export --compress = z|zst
vrn_export --sh|--shard
vrn_check --salvage |+dirnames
vrn_chart -o pa|+default
vrn_chart te|+default
vrn_chart -n |
vrn_collect -e |gzip snappy
vrn_collect te|
END

# What zsh makes of a line and a tab, at its prompt.
complete_in_zsh() { # LINE COMPLETED
    timeout 60 zsh -fc 'zmodload zsh/zpty; zpty z "TERM=dumb PS1= zsh -f -i"
        zpty -w z "fpath=($1 \$fpath); autoload -Uz compinit; compinit -u -D; print READY"
        zpty -r z seen "*READY*READY*"
        zpty -nw z "$2"$'"'\t'"'; zpty -r z seen "*${(b)3}*"; zpty -d z' - "$manuals/zsh" "$@"
}
if command -v zsh >/dev/null; then
    complete_in_zsh 'vrn_read --form' 'vrn_read --format=' || fail 'zsh completes no option'
    complete_in_zsh 'vrn_chart --sch' 'vrn_chart --schema-path=' || fail 'zsh completes no option'
    complete_in_zsh 'vrn_export -f open' 'vrn_export -f openmetrics' || fail 'zsh completes no value'
else
    echo 'no zsh: its completion is left out'
fi

cd "$work" || exit 1
MANWIDTH=200 man -E ascii -l "$manuals/man/vrn.7" | sed -n 's/^ *\$ //p' >steps
[ -e "$bin/libduckdb.so" ] || sed -i '/vrn_sql/d' steps
PATH=$bin:$PATH bash -e steps >out 2>err </dev/null || fail "the first steps: $(cat err)"
same 'words of the first steps' '' "$(cat err)"
grep -q '<html' chart.html || fail 'no chart'
[ ! -e "$bin/libduckdb.so" ] || [ "$(head -c 4 load.parquet)" = PAR1 ] || fail 'no Parquet file'
[ -s records.ndjson ] && [ -s tables/load_sample.csv ] || fail 'no records'

[ $failures -eq 0 ] && echo 'all pages and completions are true'
