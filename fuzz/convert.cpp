// Conversion files: one that is given as it is, or one that is written from the bytes that
// it is to change. What a table does to each byte it does to any text.

#include <map>

#include "fuzz/fuzz.h"

namespace {

std::string Converted(const std::string& text, int32_t direction) {
    const Array s(StringOfBytes(text));
    VrString converted = CvtConvert(s, direction);
    if (converted == s) return text;
    HOLDS(BytesOf(s) == text);
    return TakeBytes(converted);
}

std::string TableOf(int32_t direction) {
    std::string bytes(256, '\0');
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = char(i);
    return Converted(bytes, direction);
}

// A section for bytes that change, with numbers in all notations.
std::string Section(Input& in, const std::string& name, std::string& table) {
    constexpr const char* kNotations[] = {"%d", "0x%02X", "0%03o", " %d "};
    std::map<int32_t, int32_t> changes;
    for (int32_t left = in.Below(9); left != 0; --left)
        changes[in.Below(256)] = in.Below(256);
    std::string section = "[" + name + "]\r\n";
    for (const auto& [from, to] : changes) {
        char line[2][20];
        std::snprintf(line[0], sizeof line[0], kNotations[in.Below(4)], from);
        std::snprintf(line[1], sizeof line[1], kNotations[in.Below(4)], to);
        section.append(line[0]).append("=").append(line[1]).append("\r\n");
        if (to != 0) table[size_t(from)] = char(to);
    }
    return section;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartLibrary();
    Input in(data, size);
    const bool isWritten = in.Below(2) == 0;
    const auto longest = size_t(in.OneOf({0, kVrScratchSize - 10 + in.Below(20), 20000}));
    CvtInit(nullptr);
    std::string tables[] = {TableOf(0), TableOf(1)};
    HOLDS(tables[0] == tables[1]);
    std::string file;
    if (isWritten) {
        file = Section(in, "Display", tables[1]) + "; comment\n";
        file += Section(in, "INPUT", tables[0]);
    }
    std::string text = in.Bytes(in.rest.size());
    WriteFile("convert.txt", isWritten ? file : text);
    CvtInit(".\\convert.txt");
    while (!text.empty() && text.size() < longest)
        text += text.substr(0, longest - text.size());
    for (const int32_t direction : {0, 1}) {
        const std::string table = TableOf(direction);
        HOLDS(!isWritten || table == tables[direction]);
        HOLDS(table.find('\0', 1) == table.npos);
        std::string expected = text;
        for (char& c : expected)
            c = table[uint8_t(c)];
        HOLDS(Converted(text, direction) == expected);
    }
    HOLDS_NOTHING_LOST();
    return 0;
}
