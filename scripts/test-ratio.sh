#!/usr/bin/env bash
# Prints the lines of tests against the lines of the rest of the code (benchmarks
# and fuzz targets counted in neither).
set -euo pipefail
cd "$(dirname "$0")/.."
count() { git ls-files -- "$@" | grep -E '\.(cpp|h|cmake|sh|py|ui)$|CMakeLists\.txt$' | xargs cat 2>/dev/null | wc -l; }
tests=$(count tests ':!tests/data')
code=$(count . ':!tests' ':!bench' ':!fuzz')
awk -v t="$tests" -v c="$code" 'BEGIN { printf "test lines: %d, code lines: %d, ratio %.2f\n", t, c, t / c }'
