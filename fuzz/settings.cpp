// Settings files and private profiles. An input is a section, a key and the text that both
// readers get; the loader runs anew for each, with its variables taken back afterwards. The
// model of the settings reads the whole text as a std::string.

#include <utility>

#include "config/Ini.h"
#include "fuzz/fuzz.h"
#include "fuzz/variables.h"

namespace {

using Variables = std::map<std::string, std::string>;

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr char kSpace[] = " \t\n\v\f\r";
constexpr size_t kPiece = 255;  // of a value, and of a line of the environment

std::string Folded(const std::string& text) {
    return Swapped(text, kLetters.substr(26), kLetters);
}

std::string WithoutSpaceAtEnd(const std::string& text) {
    return text.substr(0, text.find_last_not_of(kSpace) + 1);
}

std::string PassSpace(const std::string& text) {
    return text.substr(std::min(text.find_first_not_of(kSpace), text.size()));
}

std::string LineOf(const std::string& text) {
    return text.substr(0, std::min(text.find('\n'), kPiece));
}

// A file in text mode ends at a Ctrl-Z, and a CR in front of an LF goes.
std::string TextOf(std::string text) {
    text.resize(std::min(text.find('\x1A'), text.size()));
    for (size_t at = text.find("\r\n"); at != text.npos; at = text.find("\r\n", at))
        text.erase(at, 1);
    return text.c_str();
}

// From a section's body to the end of the text. Any [ may begin a section.
bool FindBody(const std::string& text, const std::string& section, std::string& body) {
    const size_t header = Folded(text).find("[" + Folded(section) + "]");
    if (header != text.npos) body = PassSpace(text.substr(header + section.size() + 2));
    return header != text.npos;
}

// A key is the start of a line. What stands up to the next =, on whichever line, is passed, and
// so is the space after it; a value is the rest of that line.
std::string ValueOf(std::string body, const std::string& key, const std::string& otherwise) {
    while (!body.empty() && body[0] != '[') {
        if (Folded(body).starts_with(Folded(key))) {
            const size_t equals = body.find('=');
            if (equals == body.npos) return otherwise;
            return WithoutSpaceAtEnd(LineOf(PassSpace(body.substr(equals + 1))));
        }
        body.erase(0, std::min(body.find('\n'), body.size() - 1) + 1);
    }
    return otherwise;
}

// The lines of a section without their comments, one after the other.
std::string WholeOf(std::string body) {
    if (body.find('[') != body.npos) body = WithoutSpaceAtEnd(body.substr(0, body.find('[')));
    std::string whole;
    while (!body.empty()) {
        const size_t copied = std::min(body.find_first_of(";\n"), body.size());
        whole += body.substr(0, copied);
        body.erase(0, std::min(body.find('\n', copied), body.size()));
        body = PassSpace(body);
    }
    return whole;
}

// A line of the environment begins at its first letter, and ends for the name at the first byte
// that is no letter, digit or semicolon.
Variables EnvironmentOf(std::string body) {
    Variables variables;
    const std::string letters(kLetters);
    while (!body.empty() && body[0] != '[') {
        if (body[0] == '\n' || body[0] == ';') {
            body.erase(0, body[0] == ';' ? std::min(body.find('\n'), body.size()) : 1);
            continue;
        }
        body.erase(0, std::min(body.find_first_of(letters + "["), body.size()));
        const std::string line = LineOf(body);
        if (body.empty() || body[0] == '[') break;
        const size_t name = std::min(line.find_first_not_of(letters + "0123456789;"), line.size());
        const size_t value = std::min(line.find_first_not_of(" \t=", name), line.size());
        variables[line.substr(0, name)] =
            value == name ? "" : WithoutSpaceAtEnd(line.substr(value));
        body.erase(0, line.size());
    }
    return variables;
}

void CheckValue(const std::string& section, const std::string& key, const std::string& text) {
    std::string body;
    const std::string value =
        FindBody(text, section, body) ? ValueOf(body, key, "7") : std::string("7");
    HOLDS(TakeCText(IniGetString(section.c_str(), key.c_str(), "7")) == value);
    HOLDS(IniGetInt(section.c_str(), key.c_str(), 7) == strtol(value.c_str(), nullptr, 10));
}

// By the key that is given, and by what begins the lines of the text.
void CheckStore(const std::string& section, const std::string& key, const std::string& text) {
    CheckValue(section, key, text);
    size_t line = 0;
    for (int i = 0; i < 20 && line < text.size(); ++i) {
        CheckValue(section, text.substr(line, text.find_first_of("=\n", line) - line), text);
        line = std::min(text.find('\n', line), text.size()) + 1;
    }
    std::string body;
    const std::string whole = FindBody(text, section, body) ? WholeOf(body) : "(null)";
    HOLDS(TakeCText(IniGetSection(section.c_str())) == whole);
}

void CheckEnvironment(const std::string& text) {
    std::string body;
    Variables expected;
    if (FindBody(text, "ENVIRONMENT", body)) expected = EnvironmentOf(body);
    for (auto& [name, setting] : expected)
        setting = name + "=" + setting;
    HOLDS(settings == expected);
}

// In a block of just that size.
std::string Profile(const char* section, const char* key, uint32_t size) {
    std::vector<char> block(size);
    const uint32_t length =
        GetPrivateProfileStringA(section, key, "\n", block.data(), size, ".\\settings.ini");
    HOLDS(length < size);
    HOLDS(block[length] == '\0');
    HOLDS((section != nullptr && key != nullptr) || block[std::min(length + 1, size - 1)] == '\0');
    return {block.data(), length};
}

void CheckProfile(const std::string& section, const std::string& key, uint32_t size) {
    const std::string value = Profile(section.c_str(), key.c_str(), 5000);
    HOLDS(Profile(section.c_str(), key.c_str(), size) == value.substr(0, size - 1));
    Profile(nullptr, nullptr, size);
    Profile(section.c_str(), nullptr, size);
}

}  // namespace

void TryInput(Input& in) {
    TakeVariablesBack();  // the library may set one while it starts
    const auto blockSize = uint32_t(1 + in.Below(255));
    const std::string section = in.Line();
    const std::string key = in.Line();
    const std::string bytes = in.Bytes(in.rest.size());
    WriteFile("settings.ini", bytes);
    vr::StartSettings({0, 0, "settings.ini"});
    HOLDS(TextOf(bytes) == ini_buf);
    CheckStore(section, key, TextOf(bytes));
    CheckEnvironment(TextOf(bytes));
    CheckProfile(section, key, blockSize);
    LocalFree(std::exchange(ini_buf, nullptr));
    TakeVariablesBack();
}
