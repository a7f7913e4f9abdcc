// Blocks: taken, zeroed and given back at once; and many of mixed sizes at a time, given back
// in random order.

#include "bench/allocators.h"
#include "bench/support.h"

namespace {

using bench::CountItems;
using bench::Glibc;
using bench::Mimalloc;
using bench::SizeOf;
using bench::Vrbase;

constexpr uint32_t kLargestPooled = 62;

template <typename Allocator>
void Pair(benchmark::State& state) {
    const auto size = static_cast<uint32_t>(SizeOf(state));
    for (auto _ : state) {
        void* block = Allocator::Take(size);
        benchmark::DoNotOptimize(block);
        Allocator::Give(block);
    }
    CountItems(state);
}

template <typename Allocator, uint32_t smallest = 1, uint32_t largest = kLargestPooled>
void Many(benchmark::State& state) {
    const size_t count = SizeOf(state);
    const std::vector<uint32_t> order = bench::RandomOrder(count);
    std::vector<void*> blocks(count);
    std::minstd_rand random(1);
    std::vector<uint16_t> sizes(count);
    for (uint16_t& size : sizes)
        size = static_cast<uint16_t>(smallest + random() % (largest - smallest + 1));

    for (auto _ : state) {
        for (size_t i = 0; i < count; ++i)
            blocks[i] = Allocator::Take(sizes[i]);
        benchmark::ClobberMemory();
        for (const uint32_t i : order)
            Allocator::Give(blocks[i]);
    }
    CountItems(state, count);
}

void PooledSizes(benchmark::internal::Benchmark* b) {
    b->Arg(1)->DenseRange(4, 60, 4)->Arg(kLargestPooled);
}

void LargeSizes(benchmark::internal::Benchmark* b) {
    b->Arg(63)->Arg(128)->Arg(256)->Arg(512)->Arg(1024)->Arg(16384)->Arg(1 << 20);
}

void Counts(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(10, 1000000);
}

BENCHMARK(Pair<Vrbase>)->Name("block/one/vrbase")->Apply(PooledSizes);
BENCHMARK(Pair<Glibc>)->Name("block/one/glibc")->Apply(PooledSizes);
BENCHMARK(Pair<Mimalloc>)->Name("block/one/mimalloc")->Apply(PooledSizes);

BENCHMARK(Many<Vrbase>)->Name("block/mixed/vrbase")->Apply(Counts);
BENCHMARK(Many<Glibc>)->Name("block/mixed/glibc")->Apply(Counts);
BENCHMARK(Many<Mimalloc>)->Name("block/mixed/mimalloc")->Apply(Counts);

void ManyCounts(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(1000, 100000);
}

BENCHMARK(Many<Vrbase, 63, 1024>)->Name("block/mixed-large/vrbase")->Apply(ManyCounts);
BENCHMARK(Many<Glibc, 63, 1024>)->Name("block/mixed-large/glibc")->Apply(ManyCounts);
BENCHMARK(Many<Mimalloc, 63, 1024>)->Name("block/mixed-large/mimalloc")->Apply(ManyCounts);

BENCHMARK(Pair<Vrbase>)->Name("block/large/vrbase")->Apply(LargeSizes);
BENCHMARK(Pair<Glibc>)->Name("block/large/glibc")->Apply(LargeSizes);
BENCHMARK(Pair<Mimalloc>)->Name("block/large/mimalloc")->Apply(LargeSizes);

}  // namespace
