// Passing attribute marks in a text of 1 MiB, forward and back, by the length of an attribute.

#include "bench/support.h"
#include "vr/edit.h"

namespace {

using bench::kAttributeMark;
using bench::SizeOf;

constexpr size_t kTextSize = 1 << 20;

// The peers pass `count` marks and return where they stand.
const char* PassBytes(const char* p, const char* end, size_t count) {
    for (; p != end && count != 0; ++p)
        if (*p == kAttributeMark) --count;
    return p;
}

const char* PassBytesBack(const char* begin, const char* p, size_t count) {
    for (; p != begin && count != 0; --p)
        if (p[-1] == kAttributeMark) --count;
    return p;
}

const char* PassByMemchr(const char* p, const char* end, size_t count) {
    for (; count != 0; --count) {
        const void* mark = std::memchr(p, kAttributeMark, static_cast<size_t>(end - p));
        if (mark == nullptr) return end;
        p = static_cast<const char*>(mark) + 1;
    }
    return p;
}

const char* PassByMemrchr(const char* begin, const char* p, size_t count) {
    for (; count != 0; --count) {
        const void* mark = memrchr(begin, kAttributeMark, static_cast<size_t>(p - begin));
        if (mark == nullptr) return begin;
        p = static_cast<const char*>(mark);
    }
    return p;
}

std::string TextOf(size_t attributeLength) {
    return bench::MakeRecord(kTextSize / (attributeLength + 1), attributeLength);
}

template <auto pass>
void Peer(benchmark::State& state) {
    const std::string text = TextOf(SizeOf(state));
    const size_t marks = bench::CountOf(text, kAttributeMark);
    for (auto _ : state)
        benchmark::DoNotOptimize(pass(text.data(), text.data() + text.size(), marks));
    bench::CountItems(state, marks);
    bench::CountBytes(state, text.size());
}

void Forward(benchmark::State& state) {
    const std::string text = TextOf(SizeOf(state));
    const bench::OwnString s(text);
    const size_t marks = bench::CountOf(text, kAttributeMark);
    for (auto _ : state) {
        auto count = static_cast<int32_t>(marks) + 1;
        benchmark::DoNotOptimize(ScanStr(s, kVrFirstCursor, s->length, kVrAttributeMark, &count));
        if (count != 0) state.SkipWithError("the last attribute was not found");
    }
    bench::CountItems(state, marks);
    bench::CountBytes(state, text.size());
}

void Back(benchmark::State& state) {
    const std::string text = TextOf(SizeOf(state));
    const bench::OwnString s(text);
    const size_t marks = bench::CountOf(text, kAttributeMark);
    const int32_t last = static_cast<int32_t>(text.rfind(kAttributeMark)) + 1 + kVrFirstCursor;
    for (auto _ : state) {
        auto count = static_cast<int32_t>(marks);
        benchmark::DoNotOptimize(SkipBackNAttrs(s, last, &count));
        if (count != 0) state.SkipWithError("the first attribute was not found");
    }
    bench::CountItems(state, marks);
    bench::CountBytes(state, text.size());
}

void Lengths(benchmark::internal::Benchmark* b) {
    b->Arg(4)->Arg(12)->Arg(40)->Arg(200)->Arg(2000)->Arg(20000);
}

BENCHMARK(Forward)->Name("scan/forward/vrbase")->Apply(Lengths);
BENCHMARK(Peer<PassBytes>)->Name("scan/forward/bytes")->Apply(Lengths);
BENCHMARK(Peer<PassByMemchr>)->Name("scan/forward/memchr")->Apply(Lengths);

BENCHMARK(Back)->Name("scan/back/vrbase")->Apply(Lengths);
BENCHMARK(Peer<PassBytesBack>)->Name("scan/back/bytes")->Apply(Lengths);
BENCHMARK(Peer<PassByMemrchr>)->Name("scan/back/memrchr")->Apply(Lengths);

}  // namespace
