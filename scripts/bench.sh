#!/usr/bin/env bash
# Builds the release binary and measures it end to end: scripts/bench.sh [runs [events [counters]]]
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target vrn_bench vrn_scaling_bench vrn_export_bench
build/bin/vrn_bench "$@"
echo
build/bin/vrn_scaling_bench "${1:-5}"
echo
build/bin/vrn_export_bench "${1:-5}"
