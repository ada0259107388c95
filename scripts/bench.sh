#!/usr/bin/env bash
# Builds the benchmarks in release mode and prints every figure of the README.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
BUILD_DIR=${BENCH_BUILD_DIR:-build-bench}
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKORVANE_BENCH=ON >/dev/null
cmake --build "$BUILD_DIR" --target bench_codec bench_record bench_store bench_banner bench_composer bench_console korvane-client korvane-devserver >/dev/null
for bench in bench_codec bench_record bench_store bench_banner bench_composer bench_console; do
    "$BUILD_DIR/bench/$bench" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true 2>/dev/null |
        grep -E '^(BM_|Benchmark|-)' | grep -v '_stddev\|_cv\|_mean'
done
python3 bench/process_bench.py "$BUILD_DIR"
