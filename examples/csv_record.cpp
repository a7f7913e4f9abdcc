// The characters for marks are changed in a copy of the attribute or of the row's fields, and a
// check before either conversion makes sure that it can be reversed.

#include "csv_record.h"

#include <algorithm>
#include <span>

#include "csv_text.h"
#include "vr/text.h"

namespace {

constexpr char kAttributeMark = '\xFE';
constexpr char kValueMark = '\xFD';
constexpr char kSubvalueMark = '\xFC';
constexpr std::string_view kNoData = "\xFC\xFD\xFE\xFF";
constexpr std::string_view kNotInNames("/\\\0", 3);

std::span<const std::string> AttributesOf(const std::vector<std::string>& row) {
    return std::span(row).subspan(1);
}

size_t LengthOf(const std::vector<std::string>& row) {
    size_t length = row.size() - std::min<size_t>(row.size(), 2);  // marks
    for (const std::string& attribute : AttributesOf(row))
        length += attribute.size();
    return length;
}

// A key names a file of the folder, and never the lock file or one of another folder.
bool IsKey(std::string key) {
    if (key.find_first_of(kNotInNames) != key.npos) return false;
    ToLower(key.data());
    return !key.empty() && key != "." && key != ".." && key != "__locks";
}

void Swap(std::string& text, char from, char to) {
    std::replace(text.begin(), text.end(), from, to);
}

}  // namespace

const char* WhyNoRow(std::string_view record, MarkCharacters marks) {
    const char characters[] = {marks.value, marks.subvalue};
    if (record.find_first_of({characters, sizeof characters}) != record.npos)
        return "holds a character that stands for a mark; choose others with --marks";
    return record.find('\xFF') != record.npos ? "holds byte 255" : nullptr;
}

std::string RowOf(std::string_view key, std::string_view record, MarkCharacters marks) {
    std::string row;
    AppendCsvField(row, key);
    for (std::string_view attribute : vr::Attributes(record)) {
        std::string field(attribute);
        Swap(field, kValueMark, marks.value);
        Swap(field, kSubvalueMark, marks.subvalue);
        row += ',';
        AppendCsvField(row, field);
    }
    return row;
}

const char* WhyNoRecord(const std::vector<std::string>& row) {
    if (!IsKey(row.front())) return "the key cannot name a record";
    if (LengthOf(row) > kVrLongestString) return "too long for a record";
    for (const std::string& attribute : AttributesOf(row)) {
        if (attribute.find_first_of(kNoData) != attribute.npos) return "a byte from 252 to 255";
    }
    return nullptr;
}

vr::String RecordOf(const std::vector<std::string>& row, MarkCharacters marks) {
    std::string record;
    for (const std::string& attribute : AttributesOf(row)) {
        if (&attribute != &row[1]) record += kAttributeMark;
        record += attribute;
    }
    Swap(record, marks.value, kValueMark);
    Swap(record, marks.subvalue, kSubvalueMark);
    return vr::String(record);
}
