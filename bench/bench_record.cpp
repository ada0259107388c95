// The text form of a typical record, both ways.
#include "bench/BenchSupport.h"

#include <benchmark/benchmark.h>

namespace {

void BM_ToString(benchmark::State &state)
{
    const DVMessage record = typicalRecord(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(record.ToString());
    state.SetItemsProcessed(int64_t(state.iterations()));
}

void BM_ToObject(benchmark::State &state)
{
    const QString text = typicalRecord(1).ToString();
    for (auto _ : state) {
        DVMessage record;
        record.ToObject(text);
        benchmark::DoNotOptimize(record.MsgID);
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}

} // namespace

BENCHMARK(BM_ToString);
BENCHMARK(BM_ToObject);
BENCHMARK_MAIN();
