// Texts that are taken apart: escape sequences, hexadecimal text, command lines, words and
// fields. Each text stands in a block of just its size.

#include <cstdio>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

void CheckEscape(const char* text, int32_t size) {
    int32_t used[4] = {};
    int32_t p[7] = {};
    unsigned char plane = 0;
    const int32_t good[] = {
        TermEscAt(text, &used[0], &p[0], &p[1]), TermEscVideo(text, &used[1], &p[0]),
        TermEscColour(text, &used[2], &plane, &p[0]),
        TermEscWindow(text, &used[3], &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6])};
    for (size_t i = 0; i < 4; ++i) {
        HOLDS(used[i] > 0 && used[i] <= size);
        HOLDS(i == 3 || !good[i] || text[used[i] - 1] == '.');
    }
}

// A sequence that draws a window, of four numbers up to six, reads back as it was.
void CheckWindow(Input& in) {
    int32_t numbers[7] = {};
    int32_t read[7] = {-1, -1, -1, -1, -1, -1, -1};
    std::string text = "XD";
    const int32_t count = 4 + in.Below(3);
    for (int32_t i = 0; i < count; ++i) {
        numbers[i] = in.Below(INT32_MAX) - in.Below(INT32_MAX);
        text += (i == 0 ? " " : ", ") + std::to_string(numbers[i]) + " ";
    }
    text += ".";
    int32_t used = 0;
    HOLDS(TermEscWindow(text.c_str(), &used, &read[0], &read[1], &read[2], &read[3], &read[4],
                        &read[5], &read[6]) == 1);
    HOLDS(used == std::ssize(text) && std::equal(numbers, numbers + 7, read));
}

void CheckHexadecimal(const std::string& text) {
    const std::vector<char> bytes(text.begin(), text.end());
    const auto size = int32_t(bytes.size());
    const std::string digits = TakeBytes(HexString(bytes.data(), size));
    HOLDS(TakeBytes(BinaryString(digits.data(), 2 * size)) == text);
    HOLDS(std::ssize(TakeBytes(BinaryString(bytes.data(), size))) == size / 2);
}

void CheckCommand(const std::string& text) {
    const size_t verb = std::min(text.find_first_of(" \t"), text.size());
    const size_t rest = std::min(text.find_first_not_of(" \t", verb), text.size());
    HOLDS(GetCommandVerb(text.c_str()) == text.substr(0, std::min<size_t>(verb, 255)));
    HOLDS(GetCommandParams(text.c_str()) == text.substr(rest, 255));
}

void CheckWords(const std::string& text) {
    for (int32_t at = 0; at < std::ssize(text);) {
        const size_t start = std::min(text.find_first_not_of(' ', size_t(at)), text.size());
        const size_t end = std::min(text.find(' ', start), text.size());
        HOLDS(TakeCText(get_text_word(&at, text.c_str())) == text.substr(start, end - start));
        HOLDS(at == int32_t(end));
    }
}

void CheckFields(const std::string& text, char delimiter) {
    std::string joined = TakeCText(get_text_field(text.c_str(), uint8_t(delimiter), 0));
    for (uint32_t number = 1; joined.size() < text.size(); ++number) {
        HOLDS(findchar(text.c_str(), uint8_t(delimiter), number) == std::ssize(joined));
        joined += delimiter;
        joined += TakeCText(get_text_field(text.c_str(), uint8_t(delimiter), int32_t(number) + 1));
    }
    HOLDS(joined == text);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartLibrary();
    Input in(data, size);
    const auto delimiter = char(in.Below(256));
    const std::string line = in.Line();
    const std::string escape = "X" + line;
    const std::vector<char> exact(escape.c_str(), escape.c_str() + escape.size() + 1);
    CheckEscape(exact.data(), int32_t(escape.size()));
    CheckCommand(line);
    CheckWords(line);
    CheckFields(line, delimiter);
    CheckHexadecimal(line);
    CheckWindow(in);
    HOLDS_NOTHING_LOST();
    return 0;
}
