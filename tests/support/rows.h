// Tables as text, a row a line: Rows<2>("\n a -> b \n c -> d \n") has the rows {"a", "b"} and
// {"c", "d"}. The blanks around a cell are not part of it.

#include "tests/support/base.h"
#ifndef TESTS_SUPPORT_ROWS_H
#define TESTS_SUPPORT_ROWS_H

inline std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

template <size_t kColumns>
std::vector<std::array<std::string, kColumns>> Rows(const std::string& table) {
    std::vector<std::array<std::string, kColumns>> rows;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (Trimmed(line).empty()) continue;
        std::array<std::string, kColumns>& row = rows.emplace_back();
        line = "  " + line + " ";  // so that a first or last cell may be empty
        size_t from = 0;
        for (std::string& cell : row) {
            const size_t arrow = std::min(line.find(" -> ", from), line.size());
            cell = Trimmed(line.substr(std::min(from, arrow), arrow - from));
            from = arrow + 3;
        }
    }
    return rows;
}

#endif
