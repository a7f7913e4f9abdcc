// Text of comma-separated values, as RFC 4180 describes it: fields divided by commas, rows by
// line ends, and a field with a comma, a quote or a line end in quotes, each quote in it twice.
#ifndef EXAMPLES_CSV_TEXT_H
#define EXAMPLES_CSV_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A reader of rows, which end in CR LF or LF; the last one may have no end. A byte order mark
// at the start of the text is skipped. The text must outlive the reader.
class CsvReader {
public:
    explicit CsvReader(std::string_view text);

    // Reads the next row. False at the end of the text, and where the text is malformed.
    bool Next(std::vector<std::string>& row);

    // Why Next returned false before the end; null otherwise.
    const char* Fault() const {
        return fault_;
    }
    // The number of the row that was read last, from 1.
    int32_t RowNumber() const {
        return rowNumber_;
    }

private:
    bool ReadField(std::string& field);
    bool ReadQuoted(std::string& field);
    bool EndRow();
    bool Take(char wanted);
    bool Fail(const char* fault);

    std::string_view rest_;
    int32_t rowNumber_ = 0;
    const char* fault_ = nullptr;
};

// Appends the field to a row's text, in quotes where it needs them.
void AppendCsvField(std::string& row, std::string_view field);

#endif
