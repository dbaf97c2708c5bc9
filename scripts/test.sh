#!/usr/bin/env bash
# Sets up, builds and runs all checks: formatting, shell scripts, release and sanitizer builds with
# warnings as errors, their test runs, and clang-tidy. ThreadSanitizer gets the tests of threads only.
# Ends with the test runner's own totals.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh --tests
jobs=$(nproc)
sources() { git ls-files -- '*.cc' '*.h' | grep -v '\.h\.in$'; }

echo "== formatting"
sources | xargs clang-format --dry-run --Werror

echo "== lint of the chart page's scripts and of node scripts"
node node_modules/eslint/bin/eslint.js --max-warnings 0 src tests scripts eslint.config.mjs

echo "== layers, and the tour through them"
node scripts/check-layers.mjs
node scripts/check-tour.mjs

echo "== build"
for preset in release asan tsan; do
    cmake --preset "$preset" -DVRN_WERROR=ON >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
done

echo "== the names that the shared library exports"
node scripts/abi.mjs

echo "== packages: lintian, a bare machine, the same bytes from another folder"
cmake --build --preset package
lintian --allow-root --fail-on error,warning build/packages/*.deb
for script in bare_root reproducible; do
    "tests/package/${script}_test.sh" build/packages || [ $? -eq 77 ]
done

echo "== clang-tidy"
./scripts/tidy.sh build

echo "== an export in shares on a cluster of two nodes"
tests/fleet/slurm_test.sh build/bin . || { [ $? -eq 77 ] && echo skipped; }

echo "== what real servers and tools load"
cmake --build --preset release -j "$jobs" --target random_archive
for script in influxdb export_lines export_openmetrics export_tables prometheus; do
    "tests/integration/$script.sh" || [ $? -eq 77 ]
done

echo "== 100,000 files, of which some are damaged"
VRN_BIN_DIR=$PWD/build/bin node --test tests/integration/damaged_archive.mjs

echo "== tests of threads (thread sanitizer)"
ctest --preset tsan
echo "== tests (release)"
ctest --preset release -j "$jobs"
echo "== tests (address and undefined behaviour sanitizers)"
ctest --preset asan -j "$jobs"
