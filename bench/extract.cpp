// Picking one element by number, and moving chosen attributes out of and into a record.

#include "vr/extract.h"
#include "bench/support.h"
#include "vr/fields.h"

namespace {

using bench::kAttributeMark;
using bench::kValueMark;
using bench::SizeOf;

constexpr size_t kAttributes = 100000;
constexpr size_t kValues = 4;
constexpr size_t kValueLength = 12;
constexpr size_t kFieldAttributes = 10000;

// The text behind `count` marks, or nothing.
std::string_view Behind(std::string_view text, char mark, size_t count) {
    const char* p = text.data();
    const char* end = p + text.size();
    for (; count != 0; --count) {
        const void* at = std::memchr(p, mark, static_cast<size_t>(end - p));
        if (at == nullptr) return {};
        p = static_cast<const char*>(at) + 1;
    }
    return {p, end};
}

std::string_view UpTo(std::string_view text, char mark) {
    return text.substr(0, text.find(mark));
}

std::string FieldRecord() {
    return bench::MakeRecord(kAttributes * kValues, kValueLength, kValues);
}

void ExtractField(benchmark::State& state) {
    const bench::OwnString s(FieldRecord());
    for (auto _ : state) {
        VrString value = extract_field(static_cast<int32_t>(SizeOf(state)), kValues - 1, 0, s);
        benchmark::DoNotOptimize(VrStrText(value));
        free_mem(&value);
    }
    bench::CountItems(state);
}

void ExtractByMemchr(benchmark::State& state) {
    const std::string text = FieldRecord();
    for (auto _ : state) {
        const auto attribute =
            UpTo(Behind(text, kAttributeMark, SizeOf(state) - 1), kAttributeMark);
        const std::string value(UpTo(Behind(attribute, kValueMark, kValues - 2), kValueMark));
        benchmark::DoNotOptimize(value.data());
    }
    bench::CountItems(state);
}

// The numbers of the last `count` attributes, as a field list.
std::string FieldList(size_t count) {
    std::string list;
    for (size_t number = kFieldAttributes - count + 1; number <= kFieldAttributes; ++number)
        list += std::to_string(number) + kAttributeMark;
    list.pop_back();
    return list;
}

void GatherFields(benchmark::State& state) {
    const bench::OwnString record(bench::MakeRecord(kFieldAttributes, kValueLength));
    const bench::OwnString fields(FieldList(SizeOf(state)));
    for (auto _ : state) {
        VrString gathered = UtilGetFieldsFromVrString(record, fields);
        benchmark::DoNotOptimize(VrStrText(gathered));
        free_mem(&gathered);
    }
    bench::CountItems(state, SizeOf(state));
}

void PutFields(benchmark::State& state) {
    const bench::OwnString record(bench::MakeRecord(kFieldAttributes, kValueLength));
    const bench::OwnString fields(FieldList(SizeOf(state)));
    const bench::OwnString values(bench::MakeRecord(SizeOf(state), kValueLength));
    for (auto _ : state) {
        VrString result = UtilPutFieldsInVrString(record, values, fields);
        benchmark::DoNotOptimize(VrStrText(result));
        free_mem(&result);
    }
    bench::CountItems(state, SizeOf(state));
}

std::vector<std::string_view> Split(std::string_view text) {
    std::vector<std::string_view> parts;
    for (;;) {
        parts.push_back(UpTo(text, kAttributeMark));
        if (parts.back().size() == text.size()) return parts;
        text.remove_prefix(parts.back().size() + 1);
    }
}

std::string Join(const std::vector<std::string_view>& parts) {
    std::string text;
    for (const std::string_view part : parts)
        text.append(part) += kAttributeMark;
    text.pop_back();
    return text;
}

std::vector<size_t> IndexesIn(std::string_view list) {
    std::vector<size_t> indexes;
    for (const std::string_view part : Split(list))
        indexes.push_back(std::strtoul(std::string(part).c_str(), nullptr, 10) - 1);
    return indexes;
}

void GatherBySplitting(benchmark::State& state) {
    const std::string record = bench::MakeRecord(kFieldAttributes, kValueLength);
    const std::string fields = FieldList(SizeOf(state));
    for (auto _ : state) {
        const auto attributes = Split(record);
        std::vector<std::string_view> chosen;
        for (const size_t index : IndexesIn(fields))
            chosen.push_back(attributes[index]);
        const std::string gathered = Join(chosen);
        benchmark::DoNotOptimize(gathered.data());
    }
    bench::CountItems(state, SizeOf(state));
}

void PutBySplitting(benchmark::State& state) {
    const std::string record = bench::MakeRecord(kFieldAttributes, kValueLength);
    const std::string fields = FieldList(SizeOf(state));
    const std::string values = bench::MakeRecord(SizeOf(state), kValueLength);
    for (auto _ : state) {
        auto attributes = Split(record);
        const auto replacements = Split(values);
        const auto indexes = IndexesIn(fields);
        for (size_t i = 0; i < indexes.size(); ++i)
            attributes[indexes[i]] = replacements[i];
        const std::string result = Join(attributes);
        benchmark::DoNotOptimize(result.data());
    }
    bench::CountItems(state, SizeOf(state));
}

void Positions(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(1, kAttributes);
}

void ListLengths(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(1, 1000);
}

BENCHMARK(ExtractField)->Name("extract/field/vrbase")->Apply(Positions);
BENCHMARK(ExtractByMemchr)->Name("extract/field/memchr")->Apply(Positions);

BENCHMARK(GatherFields)->Name("fields/gather/vrbase")->Apply(ListLengths);
BENCHMARK(GatherBySplitting)->Name("fields/gather/split")->Apply(ListLengths);
BENCHMARK(PutFields)->Name("fields/put/vrbase")->Apply(ListLengths);
BENCHMARK(PutBySplitting)->Name("fields/put/split")->Apply(ListLengths);

}  // namespace
