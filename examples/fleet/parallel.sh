#!/usr/bin/env bash
# Exports an archive by GNU parallel, on this machine or on those of a list:
#   parallel.sh SHARES OUT ARGUMENT...
# ARGUMENTs are inputs and options of vrn_export. NODES=FILE names a list of machines, as parallel's
# --sshloginfile has it; OUT and the inputs lie in a file system that all of them see. OUT/report.jsonl
# and OUT/parts.txt appear at the end. Ends with 0, with 1 when inputs are damaged (all is done), or
# else it failed: run it again, what is done is kept.
set -eu
shares=$1
out=$2
shift 2
mkdir -p "$out"
nodes=()
[ -z "${NODES:-}" ] || nodes=(--sshloginfile "$NODES" --workdir "$PWD")
# As many shares run at a time as there are cores, each on one. Status 1 tells of damaged inputs,
# which the report names.
seq "$shares" | parallel ${nodes[@]+"${nodes[@]}"} --retries 3 -I %SHARE% \
    "vrn_export --shard %SHARE%/$shares --resume --threads 1 --output $(printf '%q ' "$out" "$@") ||
        [ \$? -eq 1 ]" || exit 2
status=0
vrn_export --merge --output "$out" --report "$out/report.jsonl" >"$out/.vrn_export/parts.txt" ||
    status=$?
[ "$status" -gt 1 ] || mv "$out/.vrn_export/parts.txt" "$out/parts.txt"
exit "$status"
