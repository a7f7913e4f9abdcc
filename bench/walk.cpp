// Walking a record from end to end by attribute and by value, into a buffer and into new
// strings. The peer splits a std::string_view, and makes std::strings in place of new strings.

#include "bench/support.h"

namespace {

using bench::kAttributeMark;
using bench::kValueMark;
using bench::SizeOf;

constexpr size_t kElementLength = 12;
constexpr size_t kRecordSize = 1 << 20;
constexpr size_t kValuesAnAttribute = 8;
constexpr uint32_t kBufferSize = 4096;

using WalkStep = int32_t (*)(VrString, int32_t, VrString*, uint32_t);

template <WalkStep next>
size_t WalkInBuffer(VrString s) {
    alignas(4) char buffer[kBufferSize];
    const int32_t end = s->length + kVrFirstCursor;
    size_t bytes = 0;
    for (int32_t cursor = kVrFirstCursor; cursor < end;) {
        auto element = reinterpret_cast<VrString>(buffer);
        cursor = next(s, cursor, &element, kBufferSize);
        bytes += static_cast<size_t>(element->length);
    }
    return bytes;
}

template <WalkStep next>
size_t WalkAllocated(VrString s) {
    const int32_t end = s->length + kVrFirstCursor;
    size_t bytes = 0;
    for (int32_t cursor = kVrFirstCursor; cursor < end;) {
        VrString element = nullptr;
        cursor = next(s, cursor, &element, 0);
        bytes += static_cast<size_t>(element->length);
        free_mem(&element);
    }
    return bytes;
}

// Hands each part of the text to `use`.
template <typename Use>
void ForEachPart(std::string_view text, char mark, Use use) {
    for (;;) {
        const size_t at = text.find(mark);
        use(text.substr(0, at));
        if (at == text.npos) return;
        text.remove_prefix(at + 1);
    }
}

struct Attributes {
    static constexpr size_t kValues = 1;
    template <typename Use>
    static void ForEach(std::string_view text, Use use) {
        ForEachPart(text, kAttributeMark, use);
    }
};

struct Values {
    static constexpr size_t kValues = kValuesAnAttribute;
    template <typename Use>
    static void ForEach(std::string_view text, Use use) {
        ForEachPart(text, kAttributeMark,
                    [use](std::string_view attribute) { ForEachPart(attribute, kValueMark, use); });
    }
};

template <typename Elements>
size_t SplitViews(std::string_view text) {
    size_t bytes = 0;
    Elements::ForEach(text, [&bytes](std::string_view element) {
        benchmark::DoNotOptimize(element.data());
        bytes += element.size();
    });
    return bytes;
}

template <typename Elements>
size_t SplitStrings(std::string_view text) {
    size_t bytes = 0;
    Elements::ForEach(text, [&bytes](std::string_view element) {
        const std::string copy(element);
        benchmark::DoNotOptimize(copy.data());
        bytes += copy.size();
    });
    return bytes;
}

template <auto walk, typename Elements>
void Run(benchmark::State& state, size_t recordSize, size_t elementLength) {
    const size_t count = recordSize / (elementLength + 1);
    const std::string text = bench::MakeRecord(count, elementLength, Elements::kValues);
    const vr::String s(text);
    for (auto _ : state) {
        size_t bytes = 0;
        if constexpr (std::is_invocable_v<decltype(walk), VrString>) {
            bytes = walk(s.get());
        } else {
            bytes = walk(text);
        }
        if (bytes != count * elementLength) state.SkipWithError("the walk lost some text");
    }
    bench::CountItems(state, count);
    bench::CountBytes(state, text.size());
}

template <auto walk, typename Elements>
void ByLength(benchmark::State& state) {
    Run<walk, Elements>(state, kRecordSize, SizeOf(state));
}

template <auto walk, typename Elements>
void ByRecord(benchmark::State& state) {
    Run<walk, Elements>(state, SizeOf(state), kElementLength);
}

void Lengths(benchmark::internal::Benchmark* b) {
    b->Arg(4)->Arg(kElementLength)->Arg(40)->Arg(200)->Arg(2000);
}

void Records(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(16)->Range(1 << 10, 16 << 20);
}

constexpr auto kAttributesInBuffer = WalkInBuffer<UtilGetNextAttribute>;
constexpr auto kAttributesAllocated = WalkAllocated<UtilGetNextAttribute>;
constexpr auto kValuesInBuffer = WalkInBuffer<UtilGetNextValue>;
constexpr auto kValuesAllocated = WalkAllocated<UtilGetNextValue>;

#define BOTH(what, ours, peer, Elements)                                                        \
    BENCHMARK_TEMPLATE(ByLength, ours, Elements)->Name("walk/" what "/vrbase")->Apply(Lengths); \
    BENCHMARK_TEMPLATE(ByLength, peer, Elements)->Name("walk/" what "/split")->Apply(Lengths);  \
    BENCHMARK_TEMPLATE(ByRecord, ours, Elements)                                                \
        ->Name("walk/" what "-by-record/vrbase")                                                \
        ->Apply(Records);                                                                       \
    BENCHMARK_TEMPLATE(ByRecord, peer, Elements)                                                \
        ->Name("walk/" what "-by-record/split")                                                 \
        ->Apply(Records)

BOTH("attributes", kAttributesInBuffer, SplitViews<Attributes>, Attributes);
BOTH("values", kValuesInBuffer, SplitViews<Values>, Values);
BOTH("attributes-allocated", kAttributesAllocated, SplitStrings<Attributes>, Attributes);
BOTH("values-allocated", kValuesAllocated, SplitStrings<Values>, Values);

}  // namespace
