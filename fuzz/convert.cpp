// Conversion files: one that is given as it is, or one that is written from the bytes that
// it is to change. What a table does to each byte it does to any text.

#include "fuzz/fuzz.h"

namespace {

std::string Converted(const std::string& text, int32_t direction) {
    const Array s(StringOfBytes(text));
    VrString converted = CvtConvert(s, direction);
    return converted == s ? text : TakeBytes(converted);
}

std::string TableOf(int32_t direction) {
    std::string bytes;
    while (bytes.size() < 256)
        bytes += char(bytes.size());
    return Converted(bytes, direction);
}

// A section for bytes that change, with numbers in all notations.
std::string Section(Input& in, const std::string& name, std::string& table) {
    constexpr const char* kLines[] = {"%d=%d\r\n", "0x%02X=0%03o\r\n", "0%03o= %d \r\n"};
    std::string section = "[" + name + "]\r\n";
    for (int32_t from = in.Below(256); from < 256; from += 1 + in.Below(80)) {
        const int32_t to = 1 + in.Below(255);
        char line[20];
        std::snprintf(line, sizeof line, kLines[in.Below(3)], from, to);
        section += line;
        table[size_t(from)] = char(to);
    }
    return section;
}

}  // namespace

void TryInput(Input& in) {
    const bool isWritten = in.Below(2) == 0;
    const auto longest = size_t(in.OneOf({0, kVrScratchSize - 10 + in.Below(20), 20000}));
    CvtInit(nullptr);
    std::string tables[] = {TableOf(0), TableOf(1)};
    std::string file;
    if (isWritten) file = Section(in, "Display", tables[1]) + Section(in, "INPUT", tables[0]);
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
}
