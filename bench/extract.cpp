// Picking one element by number, and moving chosen attributes out of and into a record.

#include "vr/extract.h"
#include "bench/support.h"
#include "vr/fields.h"

namespace {

using bench::Case;
using bench::ItemsOfSize;
using bench::kAttributeMark;
using bench::kValueMark;
using bench::Use;

constexpr size_t kAttributes = 100000;
constexpr size_t kValues = 4;
constexpr size_t kValueLength = 12;
constexpr size_t kFieldAttributes = 10000;

// The text after `count` marks, or nothing.
std::string_view After(std::string_view text, char mark, size_t count) {
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

// The numbers of the last `count` attributes, as a field list.
std::string FieldList(size_t count) {
    std::string list;
    for (size_t number = kFieldAttributes - count + 1; number <= kFieldAttributes; ++number)
        list += std::to_string(number) + kAttributeMark;
    list.pop_back();
    return list;
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

std::string Gather(const std::string& record, const std::string& fields) {
    const auto attributes = Split(record);
    std::vector<std::string_view> chosen;
    for (const size_t index : IndexesIn(fields))
        chosen.push_back(attributes[index]);
    return Join(chosen);
}

std::string Put(const std::string& record, const std::string& fields, const std::string& values) {
    auto attributes = Split(record);
    const auto replacements = Split(values);
    const auto indexes = IndexesIn(fields);
    for (size_t i = 0; i < indexes.size(); ++i)
        attributes[indexes[i]] = replacements[i];
    return Join(attributes);
}

void AddPicks() {
    const std::string record = bench::MakeRecord(kAttributes * kValues, kValueLength, kValues);
    const std::vector<int64_t> positions = {1, 10, 100, 1000, 10000, kAttributes};
    Case("extract/field/vrbase", positions, [record](size_t number) {
        return [s = vr::String(record), attribute = static_cast<int32_t>(number)] {
            Use(extract_field(attribute, kValues - 1, 0, s.get()));
        };
    });
    Case("extract/field/memchr", positions, [record](size_t number) {
        return [record, number] {
            const auto attribute = UpTo(After(record, kAttributeMark, number - 1), kAttributeMark);
            const std::string value(UpTo(After(attribute, kValueMark, kValues - 2), kValueMark));
            benchmark::DoNotOptimize(value.data());
        };
    });
}

void AddFields() {
    const std::vector<int64_t> counts = {1, 10, 100, 1000};
    const std::string record = bench::MakeRecord(kFieldAttributes, kValueLength);
    Case(
        "fields/gather/vrbase", counts,
        [record](size_t count) {
            return [s = vr::String(record), fields = vr::String(FieldList(count))] {
                Use(UtilGetFieldsFromVrString(s.get(), fields.get()));
            };
        },
        ItemsOfSize);
    Case(
        "fields/gather/split", counts,
        [record](size_t count) {
            return [record, fields = FieldList(count)] {
                benchmark::DoNotOptimize(Gather(record, fields).data());
            };
        },
        ItemsOfSize);
    Case(
        "fields/put/vrbase", counts,
        [record](size_t count) {
            return [s = vr::String(record), fields = vr::String(FieldList(count)),
                    values = vr::String(bench::MakeRecord(count, kValueLength))] {
                Use(UtilPutFieldsInVrString(s.get(), values.get(), fields.get()));
            };
        },
        ItemsOfSize);
    Case(
        "fields/put/split", counts,
        [record](size_t count) {
            return [record, fields = FieldList(count),
                    values = bench::MakeRecord(count, kValueLength)] {
                benchmark::DoNotOptimize(Put(record, fields, values).data());
            };
        },
        ItemsOfSize);
}

[[maybe_unused]] const bool added = (AddPicks(), AddFields(), true);

}  // namespace
