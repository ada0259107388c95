#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and the sanitizers, replays every
# kept regression input, then fuzzes each target for a while.
#   scripts/fuzz.sh            about a minute in all (what CI runs)
#   scripts/fuzz.sh 600        ten minutes per target
set -euo pipefail
cd "$(dirname "$0")/.."
SECONDS_PER_TARGET=${1:-15}
BUILD_DIR=${FUZZ_BUILD_DIR:-build-fuzz}
TARGETS=(fuzz_frames fuzz_dvmessage fuzz_policies fuzz_lists fuzz_config fuzz_mounts fuzz_layouts fuzz_routes fuzz_relayframes)

CC=clang CXX=clang++ cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORVANE_FUZZ=ON -DKORVANE_WERROR=ON >/dev/null
cmake --build "$BUILD_DIR" --target "${TARGETS[@]}"

export QT_QPA_PLATFORM=offscreen
# Qt's own libraries are not instrumented; leaks at exit are theirs to keep.
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
status=0
for target in "${TARGETS[@]}"; do
    name=${target#fuzz_}
    seeds="tests/data/fuzz/$name"
    corpus="$BUILD_DIR/corpus/$name"
    crashes="$BUILD_DIR/crashes/$name"
    mkdir -p "$corpus" "$crashes"
    if [ -d "$seeds/regressions" ] && [ -n "$(ls -A "$seeds/regressions")" ]; then
        "$BUILD_DIR/fuzz/$target" "$seeds"/regressions/* >/dev/null 2>&1 || { echo "fuzz: $target fails a kept input"; status=1; }
    fi
    echo "fuzz: $target for ${SECONDS_PER_TARGET}s"
    if ! "$BUILD_DIR/fuzz/$target" -max_total_time="$SECONDS_PER_TARGET" -max_len=40000 -timeout=10 \
        -artifact_prefix="$crashes/" -print_final_stats=1 "$corpus" "$seeds" >"$BUILD_DIR/$target.log" 2>&1; then
        echo "fuzz: $target found a failure:"
        tail -40 "$BUILD_DIR/$target.log"
        status=1
    else
        grep -E 'stat::number_of_executed_units|cov:' "$BUILD_DIR/$target.log" | tail -2 || true
    fi
done
exit $status
