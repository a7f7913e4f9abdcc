// Version resources. A block carries all that a query needs: a mark, the bytes in use, and then its
// texts one after the other, each after the sizes of its name and value.
//
//     | mark | used | sizes | name 0 | value 0 | sizes | name 0 | value 0 | ...
//
// The block belongs to the caller, who may have given a small one. So only whole texts are put in,
// `used` ends after the last of them, and a block that was not filled begins with a zero, where a
// query stops reading.

#include "platform/version.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

#include "linux/shortage.h"
#include "linux/textfile.h"

namespace vrplatform {

namespace {

constexpr char kMark[] = "VRVI";
constexpr std::string_view kQueryBegin = "\\StringFileInfo\\";
constexpr size_t kLanguageDigits = 8;

struct BlockHeader {
    char mark[4];
    uint32_t used;  // this header included
};
static_assert(sizeof(BlockHeader) == 8);

struct TextHeader {
    uint32_t nameSize;   // the zero counted
    uint32_t valueSize;  // the zero counted
};
static_assert(sizeof(TextHeader) == 8);

// A text as the block holds it; empty when the line holds none.
std::string TextOfLine(std::string_view line) {
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    const std::string_view name = Trimmed(line.substr(0, equals));
    if (name.empty() || name.front() == ';' || name.front() == '#') return {};
    std::string_view value = line.substr(equals + 1);
    if (value.ends_with('\r')) value.remove_suffix(1);

    const TextHeader header = {static_cast<uint32_t>(name.size() + 1),
                               static_cast<uint32_t>(value.size() + 1)};
    std::string text(reinterpret_cast<const char*>(&header), sizeof header);
    return text.append(name).append(1, '\0').append(value).append(1, '\0');
}

// The module's resource as a block of at most `limit` bytes; empty when there is no
// resource or no room for a text.
std::string MakeBlock(const char* module, size_t limit) {
    std::string file;
    if (module == nullptr || *module == '\0' ||
        !ReadTextFile((std::string(module) + ".version").c_str(), file)) {
        return {};
    }
    std::string block(sizeof(BlockHeader), '\0');
    std::string_view rest = WithoutMark(file);
    std::string_view line;
    while (TakeLine(rest, line)) {
        const std::string text = TextOfLine(line);
        if (block.size() + text.size() > limit) break;
        block.append(text);
    }
    if (block.size() == sizeof(BlockHeader)) return {};
    BlockHeader header = {{}, static_cast<uint32_t>(block.size())};
    std::memcpy(header.mark, kMark, sizeof header.mark);
    std::memcpy(block.data(), &header, sizeof header);
    return block;
}

// Empty for a block that was not filled.
std::string_view TextsOf(const char* block) {
    BlockHeader header;
    if (block == nullptr || std::strncmp(block, kMark, sizeof header.mark) != 0) return {};
    std::memcpy(&header, block, sizeof header);
    if (header.used < sizeof header) return {};
    return {block + sizeof header, header.used - sizeof header};
}

// The name that the query asks for; empty when it is no query for a text.
std::string_view NameOfQuery(std::string_view query) {
    const size_t nameBegin = kQueryBegin.size() + kLanguageDigits + 1;
    if (query.size() <= nameBegin || query[nameBegin - 1] != '\\') return {};
    const std::string_view language = query.substr(kQueryBegin.size(), kLanguageDigits);
    const auto isHexDigit = [](unsigned char c) { return std::isxdigit(c) != 0; };
    const bool isQuery = SameName(query.substr(0, kQueryBegin.size()), kQueryBegin) &&
                         std::all_of(language.begin(), language.end(), isHexDigit);
    return isQuery ? query.substr(nameBegin) : std::string_view();
}

// The value with its zero; empty when there is no such name.
std::string_view FindText(std::string_view texts, std::string_view name) {
    TextHeader header;
    while (texts.size() >= sizeof header) {
        std::memcpy(&header, texts.data(), sizeof header);
        texts.remove_prefix(sizeof header);
        const size_t left = texts.size();
        if (header.nameSize > left || header.valueSize > left - header.nameSize) break;
        if (SameName(texts.substr(0, header.nameSize - 1), name)) {
            return texts.substr(header.nameSize, header.valueSize);
        }
        texts.remove_prefix(header.nameSize + header.valueSize);
    }
    return {};
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

uint32_t GetFileVersionInfoSizeA(const char* module, uint32_t* ignored) {
    if (ignored != nullptr) *ignored = 0;
    return UnlessShort(uint32_t{0},
                       [=] { return static_cast<uint32_t>(MakeBlock(module, UINT32_MAX).size()); });
}

int32_t GetFileVersionInfoA(const char* module, uint32_t, uint32_t size, void* block) {
    if (block == nullptr) return 0;
    std::memset(block, 0, size);
    return UnlessShort(0, [=] {
        const std::string made = MakeBlock(module, size);
        std::memcpy(block, made.data(), made.size());
        return made.empty() ? 0 : 1;
    });
}

int32_t VerQueryValueA(const void* block, const char* query, void** text, uint32_t* length) {
    const std::string_view name = NameOfQuery(query == nullptr ? "" : query);
    std::string_view value;
    if (!name.empty()) value = FindText(TextsOf(static_cast<const char*>(block)), name);
    if (text != nullptr) *text = const_cast<char*>(value.data());
    if (length != nullptr) *length = static_cast<uint32_t>(value.size());
    return value.empty() ? 0 : 1;
}
