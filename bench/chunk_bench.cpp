// Saving and restoring a project: the full chunk through the typed big-endian stream, against a
// plain copy of the same number of bytes.

#include "midiplugs/midiseq/pmidiseq.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace
{
void BM_PlainCopyOfAChunk(benchmark::State& state)
{
    std::vector<uint8_t> from(kChunkSize, 1);
    std::vector<uint8_t> to(kChunkSize);
    for (auto _ : state)
    {
        std::memcpy(to.data(), from.data(), kChunkSize);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kChunkSize);
}
BENCHMARK(BM_PlainCopyOfAChunk);

void BM_GetChunk(benchmark::State& state)
{
    PMidiSeq* effect = new PMidiSeq;
    std::vector<uint8_t> bytes(kChunkSize);
    int32_t size = 0;
    for (auto _ : state)
    {
        effect->getChunk(bytes.data(), &size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kChunkSize);
    effect->release();
}
BENCHMARK(BM_GetChunk);

void BM_SetChunk(benchmark::State& state)
{
    PMidiSeq* effect = new PMidiSeq;
    std::vector<uint8_t> bytes(kChunkSize);
    int32_t size = 0;
    effect->getChunk(bytes.data(), &size);
    for (auto _ : state)
    {
        effect->setChunk(bytes.data(), size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kChunkSize);
    effect->release();
}
BENCHMARK(BM_SetChunk);
} // namespace

BENCHMARK_MAIN();
