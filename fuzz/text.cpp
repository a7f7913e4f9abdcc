// Texts that are taken apart: escape sequences, hexadecimal text, command lines, words and
// fields. Each text stands in a block of just its size.

#include "fuzz/fuzz.h"

namespace {

void CheckEscape(const char* text, int32_t size) {
    int32_t used[4] = {};
    int32_t p[7] = {};
    unsigned char plane = 0;
    TermEscAt(text, &used[0], &p[0], &p[1]);
    TermEscVideo(text, &used[1], &p[0]);
    TermEscColour(text, &used[2], &plane, &p[0]);
    TermEscWindow(text, &used[3], &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6]);
    HOLDS(std::ranges::min(used) > 0);
    HOLDS(std::ranges::max(used) <= size);
}

void CheckHexadecimal(const std::string& text) {
    const std::string digits = TakeBytes(HexString(text.data(), int32_t(text.size())));
    HOLDS(TakeBytes(BinaryString(digits.data(), int32_t(digits.size()))) == text);
    TakeBytes(BinaryString(text.data(), int32_t(text.size())));  // which may be anything
}

void CheckCommand(const std::string& text) {
    const size_t verb = std::min(text.find_first_of(" \t"), text.size());
    const size_t rest = std::min(text.find_first_not_of(" \t", verb), text.size());
    HOLDS(GetCommandVerb(text.c_str()) == text.substr(0, std::min<size_t>(verb, 255)));
    HOLDS(GetCommandParams(text.c_str()) == text.substr(rest, 255));
}

// Words and fields, put together again.
void CheckParts(std::string text, char delimiter) {
    std::string joined = TakeCText(get_text_field(text.c_str(), uint8_t(delimiter), 0));
    for (int32_t number = 2; joined.size() < text.size(); ++number)
        joined += delimiter + TakeCText(get_text_field(text.c_str(), uint8_t(delimiter), number));
    HOLDS(joined == text);
    std::string words;
    for (int32_t at = 0; at < std::ssize(text);)
        words += TakeCText(get_text_word(&at, text.c_str()));
    std::erase(text, ' ');
    HOLDS(words == text);
}

}  // namespace

void TryInput(Input& in) {
    const auto delimiter = char(in.Below(256));
    const std::string line = in.Line();
    const std::string escape = "X" + line;
    const std::vector<char> exact(escape.c_str(), escape.c_str() + escape.size() + 1);
    CheckEscape(exact.data(), int32_t(escape.size()));
    CheckCommand(line);
    CheckHexadecimal(line);
    CheckParts(line, delimiter);
}
