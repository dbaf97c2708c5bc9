#!/usr/bin/env bash
# Exports an archive on the nodes of a Slurm cluster, and waits for the end:
#   slurm.sh SHARES OUT ARGUMENT...
# ARGUMENTs are inputs and options of vrn_export. OUT and the inputs lie in a file system that all
# nodes see. OUT/report.jsonl and OUT/parts.txt appear at the end. Ends with 0, with 1 when inputs are
# damaged (all is done), or else it failed: run it again, what is done is kept. Further options of
# sbatch go by the environment (SBATCH_PARTITION, ...).
set -eu
shares=$1
out=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
logs=$out/.vrn_export/logs
mkdir -p "$logs"
array=$(sbatch --parsable --array="1-$shares" --output="$logs/%a.txt" \
    "$here/vrn_export.sbatch" "$out" "$@")
# Ends at once when a share has failed for good.
sbatch --wait --dependency="afterok:${array%%;*}" --kill-on-invalid-dep=yes \
    --output="$logs/merge.txt" "$here/vrn_export_merge.sbatch" "$out" || exit 2
# The job ends with 0 in spite of damaged inputs, so that others may depend on it.
tail -n 1 "$out/report.jsonl" | grep -q '"status":0}$' || exit 1
