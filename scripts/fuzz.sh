#!/usr/bin/env bash
# Runs every libFuzzer target for some seconds each: scripts/fuzz.sh [seconds [target ...]]
# Corpora grow in build/fuzz/corpus; a finding stops the run and leaves its input there.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-300}
shift || true

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"
corpus=$PWD/build/fuzz/corpus
build/fuzz/bin/make_seeds "$corpus"

targets=("$@")
[ "${#targets[@]}" -gt 0 ] || mapfile -t targets < <(cd build/fuzz/bin && ls ./*_fuzz)
for target in "${targets[@]}"; do
    name=$(basename "$target" _fuzz)
    echo "== $name"
    mkdir -p "$corpus/$name"
    # Sizes that pages claim are reserved, not used: only real memory counts.
    (cd "$corpus" && ASAN_OPTIONS=allocator_may_return_null=1 "../bin/${name}_fuzz" \
        -max_total_time="$seconds" -max_len=8192 -rss_limit_mb=2048 -malloc_limit_mb=8192 \
        -print_final_stats=1 -verbosity=1 "$name") 2>&1 | tail -n 12
done
