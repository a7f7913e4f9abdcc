// The reader keeps what is left of the text and takes one field after another off its front.

#include "csv_text.h"

#include <algorithm>

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kEndsPlainField = ",\"\r\n";

// A field that begins like a byte order mark would lose it as the first one of a text.
bool NeedsQuotes(std::string_view field) {
    return field.find_first_of(kEndsPlainField) != field.npos || field.starts_with(kByteOrderMark);
}

}  // namespace

CsvReader::CsvReader(std::string_view text) : rest_(text) {
    if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
}

bool CsvReader::Next(std::vector<std::string>& row) {
    row.clear();
    if (rest_.empty() || fault_ != nullptr) return false;
    ++rowNumber_;
    do {
        if (!ReadField(row.emplace_back())) return false;
    } while (Take(','));
    return EndRow();
}

bool CsvReader::ReadField(std::string& field) {
    if (Take('"')) return ReadQuoted(field);
    field = rest_.substr(0, std::min(rest_.find_first_of(kEndsPlainField), rest_.size()));
    rest_.remove_prefix(field.size());
    return rest_.starts_with('"') ? Fail("a quote in a field without quotes") : true;
}

// Two quotes stand for one; a single one ends the field.
bool CsvReader::ReadQuoted(std::string& field) {
    for (;;) {
        const size_t quote = rest_.find('"');
        if (quote == rest_.npos) return Fail("a quoted field without an end");
        field += rest_.substr(0, quote);
        rest_.remove_prefix(quote + 1);
        if (!Take('"')) return true;
        field += '"';
    }
}

bool CsvReader::EndRow() {
    if (rest_.empty() || Take('\n')) return true;
    if (!Take('\r')) return Fail("text after a quoted field");
    return Take('\n') ? true : Fail("a CR without its LF");
}

bool CsvReader::Take(char wanted) {
    if (!rest_.starts_with(wanted)) return false;
    rest_.remove_prefix(1);
    return true;
}

bool CsvReader::Fail(const char* fault) {
    fault_ = fault;
    return false;
}

void AppendCsvField(std::string& row, std::string_view field) {
    if (!NeedsQuotes(field)) {
        row += field;
        return;
    }
    row += '"';
    for (const char c : field) {
        if (c == '"') row += '"';
        row += c;
    }
    row += '"';
}
