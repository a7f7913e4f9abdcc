// Editing a record by attribute number, one attribute after the other, and building a record by
// appending.
//
// A sweep replaces every attribute once. Its peers change the whole record in one go: they split
// it, change the parts and join them, or they just copy it, which is the least that a change can
// cost.

#include "vr/edit.h"
#include "bench/support.h"
#include "vr/buffer.h"

namespace {

using bench::kAttributeMark;
using bench::SizeOf;

constexpr size_t kLength = 20;
constexpr size_t kShorter = 16;
constexpr size_t kLonger = 24;
constexpr size_t kAttributes = 100000;
constexpr int32_t kBufferStep = 65536;

void Replace(vr::String& record, int32_t attribute, const vr::String& element) {
    UtilPosition position = {attribute, 0, 0, 0};
    bench::Become(record, UtilInsertReplace(&position, record.get(), element.get(), 1));
}

void Sweep(vr::String& record, size_t attributes, const vr::String& element) {
    for (size_t attribute = 1; attribute <= attributes; ++attribute)
        Replace(record, static_cast<int32_t>(attribute), element);
}

// The record may be swept again, since its shape stays.
void SweepSame(benchmark::State& state) {
    vr::String record(bench::MakeRecord(SizeOf(state), kLength));
    const vr::String element(bench::Letters(kLength, 2));
    for (auto _ : state)
        Sweep(record, SizeOf(state), element);
    bench::CountItems(state, SizeOf(state));
}

template <size_t newLength>
void SweepResizing(benchmark::State& state) {
    const std::string text = bench::MakeRecord(SizeOf(state), kLength);
    const vr::String element(bench::Letters(newLength, 2));
    for (auto _ : state) {
        state.PauseTiming();
        vr::String record(text);
        state.ResumeTiming();
        Sweep(record, SizeOf(state), element);
        if (record.size() != SizeOf(state) * (newLength + 1) - 1) {
            state.SkipWithError("the record has a wrong length");
        }
    }
    bench::CountItems(state, SizeOf(state));
}

void Copy(benchmark::State& state) {
    const std::string text = bench::MakeRecord(SizeOf(state), kLength);
    std::string copy = text;
    for (auto _ : state) {
        std::memcpy(copy.data(), text.data(), text.size());
        benchmark::ClobberMemory();
    }
    bench::CountItems(state, SizeOf(state));
}

template <size_t newLength>
void SplitAndJoin(benchmark::State& state) {
    const std::string text = bench::MakeRecord(SizeOf(state), kLength);
    const std::string element = bench::Letters(newLength, 2);
    for (auto _ : state) {
        std::vector<std::string> parts;
        std::string_view rest = text;
        for (size_t at = 0; at != rest.npos;) {
            at = rest.find(kAttributeMark);
            parts.emplace_back(rest.substr(0, at));
            if (at != rest.npos) rest.remove_prefix(at + 1);
        }
        for (std::string& part : parts)
            part = element;
        std::string joined;
        for (const std::string& part : parts)
            (joined += part) += kAttributeMark;
        joined.pop_back();
        benchmark::DoNotOptimize(joined.data());
    }
    bench::CountItems(state, SizeOf(state));
}

// The same attribute again and again: the memo is hit.
void ReplaceAgain(benchmark::State& state) {
    vr::String record(bench::MakeRecord(kAttributes, kLength));
    const vr::String element(bench::Letters(kLength, 2));
    for (auto _ : state)
        Replace(record, static_cast<int32_t>(SizeOf(state)), element);
    bench::CountItems(state);
}

// An attribute anywhere, so that the memo is near by chance only.
void ReplaceAnywhere(benchmark::State& state) {
    vr::String record(bench::MakeRecord(SizeOf(state), kLength));
    const vr::String element(bench::Letters(kLength, 2));
    const std::vector<uint32_t> order = bench::RandomOrder(SizeOf(state));
    size_t next = 0;
    for (auto _ : state) {
        Replace(record, static_cast<int32_t>(order[next]) + 1, element);
        next = next + 1 < order.size() ? next + 1 : 0;
    }
    bench::CountItems(state);
}

void BuildByAppending(benchmark::State& state) {
    const vr::String element(bench::Letters(kLength, 2));
    for (auto _ : state) {
        vr::String record;
        for (size_t i = 0; i < SizeOf(state); ++i) {
            UtilPosition position = {-1, 0, 0, 0};
            bench::Become(record, UtilInsertReplace(&position, record.get(), element.get(), 0));
        }
        benchmark::DoNotOptimize(record.c_str());
    }
    bench::CountItems(state, SizeOf(state));
}

void BuildInBufDscr(benchmark::State& state) {
    const std::string element = bench::Letters(kLength, 2);
    for (auto _ : state) {
        BufDscr* buffer = BufDscrCreate(kBufferStep);
        for (size_t i = 0; i < SizeOf(state); ++i)
            AddStrToBuffer(buffer, element.data(), kLength, kVrAttributeMark);
        const vr::String record(BufDscrMakeVrStr(buffer));
        benchmark::DoNotOptimize(record.c_str());
        BufDscrDestroy(buffer);
    }
    bench::CountItems(state, SizeOf(state));
}

void BuildStdString(benchmark::State& state) {
    const std::string element = bench::Letters(kLength, 2);
    for (auto _ : state) {
        std::string record;
        for (size_t i = 0; i < SizeOf(state); ++i) {
            record.append(element);
            record.push_back(kAttributeMark);
        }
        benchmark::DoNotOptimize(record.data());
    }
    bench::CountItems(state, SizeOf(state));
}

// Records of 1 KB to 13 MB.
void Attributes(benchmark::internal::Benchmark* b) {
    b->Arg(50)->Arg(1000)->Arg(10000)->Arg(kAttributes)->Arg(600000);
}

// Each edit that resizes moves all that follows it.
void FewerAttributes(benchmark::internal::Benchmark* b) {
    b->Arg(50)->Arg(1000)->Arg(10000);
}

void AllOnce(benchmark::internal::Benchmark* b) {
    b->Arg(kAttributes)->Iterations(1)->Repetitions(1);
}

void Positions(benchmark::internal::Benchmark* b) {
    b->Arg(1)->Arg(100)->Arg(10000)->Arg(50000)->Arg(kAttributes);
}

BENCHMARK(SweepSame)->Name("edit/sweep-same/vrbase")->Apply(Attributes);
BENCHMARK(Copy)->Name("edit/sweep-same/copy")->Apply(Attributes);
BENCHMARK(SplitAndJoin<kLength>)->Name("edit/sweep-same/split-join")->Apply(Attributes);

BENCHMARK(SweepResizing<kShorter>)->Name("edit/sweep-smaller/vrbase")->Apply(FewerAttributes);
BENCHMARK(SweepResizing<kShorter>)->Name("edit/sweep-smaller/vrbase")->Apply(AllOnce);
BENCHMARK(SplitAndJoin<kShorter>)
    ->Name("edit/sweep-smaller/split-join")
    ->Apply(FewerAttributes)
    ->Arg(kAttributes);
BENCHMARK(SweepResizing<kLonger>)->Name("edit/sweep-growing/vrbase")->Apply(FewerAttributes);
BENCHMARK(SweepResizing<kLonger>)->Name("edit/sweep-growing/vrbase")->Apply(AllOnce);
BENCHMARK(SplitAndJoin<kLonger>)
    ->Name("edit/sweep-growing/split-join")
    ->Apply(FewerAttributes)
    ->Arg(kAttributes);

BENCHMARK(ReplaceAgain)->Name("edit/again/vrbase")->Apply(Positions);
BENCHMARK(ReplaceAnywhere)->Name("edit/anywhere/vrbase")->Apply(Attributes);

BENCHMARK(BuildByAppending)->Name("build/append/vrbase")->Apply(Attributes);
BENCHMARK(BuildStdString)->Name("build/append/std-string")->Apply(Attributes);
BENCHMARK(BuildInBufDscr)->Name("build/buffer/vrbase")->Apply(Attributes);
BENCHMARK(BuildStdString)->Name("build/buffer/std-string")->Apply(Attributes);

}  // namespace
