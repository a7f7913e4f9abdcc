// Tables as text: Rows<2>("a -> b | c -> d") has the rows {"a", "b"} and {"c", "d"}.
#ifndef TESTS_SUPPORT_ROWS_H
#define TESTS_SUPPORT_ROWS_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

// Takes the text up to the separator, and that with it.
inline std::string TakeUpTo(std::string_view separator, std::string_view& text) {
    const std::string taken(text.substr(0, text.find(separator)));
    text.remove_prefix(std::min(taken.size() + separator.size(), text.size()));
    return taken;
}

template <size_t kColumns>
std::vector<std::array<std::string, kColumns>> Rows(std::string_view table) {
    std::vector<std::array<std::string, kColumns>> rows;
    while (!table.empty()) {
        const std::string row = TakeUpTo(" | ", table);
        std::string_view rest = row;
        for (std::string& cell : rows.emplace_back())
            cell = TakeUpTo(" -> ", rest);
    }
    return rows;
}

#endif
