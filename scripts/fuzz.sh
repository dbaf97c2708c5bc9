#!/usr/bin/env bash
# Runs every libFuzzer target for some seconds each: scripts/fuzz.sh [seconds [target ...]]
# Corpora start from fuzz/seeds and grow in build/libfuzzer/corpus; a finding stops the run and leaves
# its input there. build/bin/<target>_replay runs it without libFuzzer.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-300}
shift || true

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"
corpus=$PWD/build/libfuzzer/corpus
dictionary=$PWD/fuzz/formats.dict
build/libfuzzer/bin/make_seeds fuzz/seeds "$corpus"

targets=("$@")
[ "${#targets[@]}" -gt 0 ] || mapfile -t targets < <(cd build/libfuzzer/bin && ls ./*_fuzz)
# What costs time and finds nothing: long memory of freed blocks, deep stacks of allocations,
# weights of rare features, our own output.
export ASAN_OPTIONS=quarantine_size_mb=8:malloc_context_size=3
for target in "${targets[@]}"; do
    name=$(basename "$target" _fuzz)
    echo "== $name"
    mkdir -p "$corpus/$name"
    (cd "$corpus" && "../bin/${name}_fuzz" -max_total_time="$seconds" -max_len=65536 -timeout=2 \
        -malloc_limit_mb=256 -entropic=0 -close_fd_mask=3 -dict="$dictionary" \
        -print_final_stats=1 -verbosity=1 "$name") 2>&1 | tail -n 12
done
