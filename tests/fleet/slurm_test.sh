#!/usr/bin/env bash
# The job array of examples/fleet on a Slurm cluster of two nodes on this machine: a share that is
# killed on its way is made again, and the parts are those of one serial run. By root, without
# systemd; the cluster has a folder of its own.
#   slurm_test.sh FOLDER-OF-TOOLS FOLDER-OF-SOURCES
# Status 77 where Slurm or munge are missing.
set -euo pipefail
tools=$(cd "$1" && pwd)
sources=$(cd "$2" && pwd)
PATH=$tools:$PATH:/usr/sbin
for program in munged munge slurmctld slurmd sbatch; do
    command -v "$program" >/dev/null || { echo "no $program"; exit 77; }
done
[ "$(id -u)" = 0 ] && id munge >/dev/null 2>&1 || { echo "needs root and the user munge"; exit 77; }

work=$(mktemp -d)
chmod 755 "$work"
pids=()
end_cluster() {
    local pid
    for pid in ${pids[@]+"${pids[@]}"}; do kill "$pid" 2>/dev/null || true; done
    for pid in ${pids[@]+"${pids[@]}"}; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap end_cluster EXIT
fail() {
    echo "FAILED: $*" >&2
    tail -n 20 "$work"/*.log "$work"/out/.vrn_export/logs/* >&2 2>/dev/null || true
    exit 1
}

free_port() {
    perl -MIO::Socket::INET -e \
        'print IO::Socket::INET->new(Listen => 1, LocalAddr => "127.0.0.1")->sockport'
}

start_cluster() {
    local host node
    host=$(hostname -s)
    mkdir -p "$work/munge" "$work/state" "$work/spool-n1" "$work/spool-n2"
    head -c 1024 /dev/urandom >"$work/munge/key"
    chown -R munge: "$work/munge"
    chmod 711 "$work/munge"
    chmod 400 "$work/munge/key"
    setpriv --reuid=munge --regid=munge --clear-groups munged --foreground --force \
        --socket="$work/munge/socket" --key-file="$work/munge/key" \
        --pid-file="$work/munge/pid" --log-file="$work/munge/log" --seed-file="$work/munge/seed" \
        >"$work/munged.log" 2>&1 &
    pids+=($!)
    cat >"$work/slurm.conf" <<CONF
ClusterName=test
SlurmctldHost=$host(127.0.0.1)
SlurmUser=root
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$work/munge/socket,cred_expire=5
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SwitchType=switch/none
MpiDefault=none
ReturnToService=2
SlurmctldPort=$(free_port)
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd-%n.pid
SlurmdSpoolDir=$work/spool-%n
StateSaveLocation=$work/state
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd-%n.log
SchedulerParameters=sched_interval=1
KillWait=2
NodeName=n1 NodeHostname=$host NodeAddr=127.0.0.1 Port=$(free_port) CPUs=1
NodeName=n2 NodeHostname=$host NodeAddr=127.0.0.1 Port=$(free_port) CPUs=1
PartitionName=all Nodes=n1,n2 Default=YES State=UP
CONF
    export SLURM_CONF=$work/slurm.conf
    until munge -S "$work/munge/socket" -n >/dev/null 2>&1; do sleep 0.1; done
    slurmctld -D >/dev/null 2>&1 &
    pids+=($!)
    for node in n1 n2; do
        slurmd -D -N "$node" >/dev/null 2>&1 &
        pids+=($!)
    done
    for _ in $(seq 100); do
        [ "$(sinfo -h -o %T 2>/dev/null)" = idle ] && return
        sleep 0.2
    done
    fail "the cluster does not get ready"
}

# The same records in many files, so that a share takes its time.
make_archive() {
    local i
    vrn_collect --duration 1000 --interval 1 --output-dir "$work/archive" >/dev/null
    mv "$work/archive/data" "$work/first"
    for i in $(seq 100); do
        mkdir -p "$work/archive/data/$i"
        cp "$work"/first/*.bin "$work/archive/data/$i"
    done
    head -c 100000 "$(ls "$work"/first/events*)" >"$work/archive/data/cut.bin"
}

# Waits until share 2 has made some of its parts, and kills it.
kill_a_share() {
    local journal=$work/out/.vrn_export/shard-2-of-4.journal
    for _ in $(seq 600); do
        [ -s "$journal" ] && [ "$(wc -l <"$journal")" -ge 5 ] && break
        sleep 0.05
    done
    local task
    task=$(squeue -h -r -t R -o %F_%K | grep '_2$') || fail "share 2 doesn't run"
    scontrol requeue "$task"
}

start_cluster
make_archive
cd "$work"
vrn_export -o serial --compress gz archive 2>/dev/null || [ $? -eq 1 ]
"$sources/examples/fleet/slurm.sh" 4 out --compress gz archive >slurm.log 2>&1 &
slurm=$!
kill_a_share
status=0
wait "$slurm" || status=$?
[ "$status" -eq 1 ] || fail "the damaged input is not told: status $status"

diff -r -x .vrn_export -x report.jsonl -x parts.txt serial out || fail "the parts differ"
[ "$(wc -l <out/parts.txt)" -eq "$(find serial -name '*.gz' | wc -l)" ] || fail "parts.txt"
totals() { tail -n 1 "$1" | sed 's/"kept":[0-9]*,//; s/"seconds":[0-9.]*,//'; }
[ "$(totals out/report.jsonl)" = "$(totals serial/.vrn_export/shard-1-of-1.jsonl)" ] ||
    fail "the reports differ"
kept=$(tail -n 1 out/.vrn_export/shard-2-of-4.jsonl | sed 's/.*"kept":\([0-9]*\).*/\1/')
[ "$kept" -gt 0 ] || fail "share 2 did not go on where it was killed"

# A share that is not there is told.
rm out/.vrn_export/shard-3-of-4.jsonl
if vrn_export --merge -o out >/dev/null 2>missing.log; then fail "a missing share is not told"; fi
grep -q 'missing or not finished: 3' missing.log || fail "another failure: $(cat missing.log)"
cp out/parts.txt before.txt
if "$sources/examples/fleet/vrn_export_merge.sbatch" out 2>missing.log; then fail "and by the job"; fi
cmp before.txt out/parts.txt || fail "a merge that fails changes the list of parts"

if command -v parallel >/dev/null; then
    status=0
    "$sources/examples/fleet/parallel.sh" 4 by-parallel --compress gz archive >parallel.log 2>&1 ||
        status=$?
    [ "$status" -eq 1 ] || fail "parallel.sh ended with $status"
    diff -r -x .vrn_export -x report.jsonl -x parts.txt serial by-parallel || fail "other parts"
fi
echo "4 shares on 2 nodes, one of them killed: $(wc -l <out/parts.txt) parts, $kept kept"
