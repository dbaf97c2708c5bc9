#!/usr/bin/env bash
# manuals_test.sh FOLDER_OF_TOOLS FOLDER_OF_MANUALS: help, manual pages and completions name the same
# options; the pages are sound, and their commands lead where they say. 77: no man.
set -uo pipefail
bin=$(realpath "$1") manuals=$(realpath "$2")
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
options_of_bash() {
    bash -c '. "$1"; COMP_WORDS=("$2" -); COMP_CWORD=1; "_$2"; printf "%s\n" "${COMPREPLY[@]}"' \
        - "$manuals/bash/$1" "$1" | sort
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
    same "$tool: bash" "$options" "$(options_of_bash "$tool")"
    command -v zsh >/dev/null && same "$tool: zsh" "$options" "$(options_of_zsh "$tool")"
    # The help of vrn_read names three that its parser doesn't know, and leaves one out.
    [ "$tool" != vrn_read ] || options=$(echo "$options" |
        sed 's/^--print-page-info$/--print-headers/; s/^-S$/-C/; s/^--sort-files$/-o/' | sort)
    same "$tool: help" "$options" "$(options_of_help "$tool")"
done

# What is typed at the prompts of both shells, with tabs, and the words that the tool gets.
cd "$work" || exit 1
mkdir telemetry
touch page.html
tr '~' '\t' >typed <<'END'
vrn_read --form~nd~|--format ndjson
vrn_read --sort~|--sort-files
vrn_export --compress=z~|--compress zst
vrn_export --iso~--sh~1/2|--iso-times --shard 1/2
vrn_check --sal~te~|--salvage telemetry
vrn_chart -o pa~te~|-o page.html telemetry
vrn_chart -n te~|-n te
vrn_sql --schema-path te~|--schema-path telemetry
vrn_collect -e g~|-e gzip
vrn_collect te~|te
vrn_serve --to~pa~--op~|--token-file page.html --open
END
expected=$(cut -d'|' -f2 typed)
for tool in "$manuals"/bash/*; do
    tool=$(basename "$tool")
    # shellcheck disable=SC2016 # for the shells under test
    echo "$tool"'() { echo said "${@%/}"; }'
done >stand_ins
cut -d'|' -f1 typed | cat stand_ins - <(echo exit) >lines
words() { tr -d '\r' | sed -n 's/^said //p' | tr '=' ' '; }
same 'bash, as typed' "$expected" "$(cat <(sed 's/.*/. &/' <(ls -d "$manuals"/bash/*)) lines |
    PS1='' bash --norc --noprofile -i 2>/dev/null | words)"
if command -v zsh >/dev/null; then
    # shellcheck disable=SC2016
    same 'zsh, as typed' "$expected" "$(timeout 60 zsh -fc 'zmodload zsh/zpty
        zpty z "TERM=dumb PS1= zsh -f -i"
        zpty -w z "fpath=($1 \$fpath); autoload -Uz compinit; compinit -u -D"
        while IFS= read -r line; do zpty -w z "$line"; done <lines
        while zpty -r z line; do print -r -- "$line"; done' - "$manuals/zsh" | words)"
else
    echo 'no zsh: its completion is left out'
fi
rm -r telemetry page.html

# The first steps of vrn(7), and then the examples of the tools on what those made.
run_shown() { # WHAT: the lines of standard input
    grep -v "$no_engine" >.steps
    PATH=$bin:$PATH bash -e -o pipefail .steps >.out 2>.err </dev/null || fail "$1: $(cat .err)"
    same "words of $1" '' "$(cat .err)"
}
no_engine='^$'
[ -e "$bin/libduckdb.so" ] || no_engine=vrn_sql
run_shown 'the first steps' < <(MANWIDTH=200 man -E ascii -l "$manuals/man/vrn.7" | sed -n 's/^ *\$ //p')
grep -q '<html' chart.html || fail 'no chart'
[ ! -e "$bin/libduckdb.so" ] || [ "$(head -c 4 load.parquet)" = PAR1 ] || fail 'no Parquet file'
[ -s records.ndjson ] && [ -s tables/load_sample.csv ] || fail 'no records'
gzip -c telemetry/data/events_* >old.bin.gz
for tool in read export chart check sql collect; do
    run_shown "vrn_$tool.1" < <(
        echo 'curl() { cat >loaded; }'
        sed -n '/^\.SH EXAMPLES/,/^\.SH SEE/p' "$manuals/man/vrn_$tool.1" |
            sed -n '/^\.EX/,/^\.EE/{/^\.E[XE]/d; s/\\-/-/g; s/\\(aq/'\''/g; s/\\e$/\\/; p}' |
            sed 's/-t 0 /-t 40 /'
    )
done
grep -q ^load_sample, loaded || fail 'no lines to load'

[ $failures -eq 0 ] && echo 'all pages and completions are true'
