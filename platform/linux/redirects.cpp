// The shell takes a backslash for a quote, so a redirect to C:\tmp\x would write a stray file. The
// text is read as the shell reads it, with its quotes and comments, and everything but names of
// redirects stays as it is.

#include "linux/redirects.h"

#include <algorithm>
#include <string_view>

#include "linux/paths.h"

namespace vrplatform {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kEndsOfWord = " \t\n|&;()<>";
constexpr std::string_view kEndsOfName = "\n|&;()<>";
constexpr std::string_view kNoName = "&|<>";  // what makes a redirect one of another kind
constexpr std::string_view kQuotes = "\"'";
constexpr std::string_view kExpanded = "$`";
constexpr std::string_view kDigits = "0123456789";

bool IsIn(std::string_view set, char c) {
    return set.find(c) != std::string_view::npos;
}

bool HasDrive(std::string_view name) {
    const char letter = name.empty() ? '\0' : static_cast<char>(name[0] | 0x20);
    return name.size() >= 2 && name[1] == ':' && letter >= 'a' && letter <= 'z';
}

// A name that ends in a backslash names no file; the shell quotes what follows it.
bool IsOurs(std::string_view name) {
    const bool isPlatforms = HasDrive(name) || IsIn(name, '\\');
    return isPlatforms && name.back() != '\\' && name.find_first_of(kExpanded) == name.npos;
}

std::string Quoted(std::string_view path) {
    std::string quoted = "'";
    for (const char c : path) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

struct Name {
    std::string text;  // empty for one that is left to the shell
    size_t end;
};

// What is read, and what was made of it up to `place`.
struct Scanner {
    std::string_view text;
    size_t place = 0;
    std::string made = {};

    bool Is(std::string_view set, size_t at) const;
    size_t Find(std::string_view set, size_t from) const;
    void CopyTo(size_t end);
    size_t EndOfQuote() const;
    void CopyElement();
    size_t EndOfLongName() const;
    Name LongName() const;
    Name QuotedName() const;
    Name Word() const;
    Name TakeName() const;
    void CopyRedirect();
};

// Whether one of the set stands there.
bool Scanner::Is(std::string_view set, size_t at) const {
    return at < text.size() && IsIn(set, text[at]);
}

size_t Scanner::Find(std::string_view set, size_t from) const {
    return std::min(text.find_first_of(set, from), text.size());
}

void Scanner::CopyTo(size_t end) {
    end = std::min(end, text.size());
    made += text.substr(place, end - place);
    place = end;
}

// Just after the quote that closes the one at `place`.
size_t Scanner::EndOfQuote() const {
    const char quote = text[place];
    size_t end = place + 1;
    while (end < text.size() && text[end] != quote)
        end += quote == '"' && text[end] == '\\' ? 2 : 1;
    return end + 1;
}

// Copies what is no redirect: a quoted text, a comment, an escaped byte or any other.
void Scanner::CopyElement() {
    const char c = text[place];
    if (IsIn(kQuotes, c)) {
        CopyTo(EndOfQuote());
    } else if (c == '#' && (place == 0 || Is(kEndsOfWord, place - 1))) {
        CopyTo(Find("\n", place));
    } else {
        CopyTo(place + (c == '\\' ? 2 : 1));
    }
}

// Blanks at its end are no part of the name, nor is the number of a redirect after it.
size_t Scanner::EndOfLongName() const {
    bool quoted = false;
    size_t end = place;
    for (; end < text.size() && (quoted || !Is(kEndsOfName, end)); ++end) {
        if (text[end] == '"') quoted = !quoted;
    }
    size_t digits = end;
    while (Is("<>", end) && Is(kDigits, digits - 1))
        --digits;
    if (Is(kBlanks, digits - 1)) end = digits;
    while (Is(kBlanks, end - 1))
        --end;
    return end;
}

Name Scanner::LongName() const {
    const size_t end = EndOfLongName();
    Name name = {std::string(text.substr(place, end - place)), end};
    std::erase(name.text, '"');
    return name;
}

// The text between double quotes, if the word ends with them.
Name Scanner::QuotedName() const {
    const size_t quote = Find("\"", place + 1);
    const bool endsWord = quote + 1 == text.size() || Is(kEndsOfWord, quote + 1);
    if (!endsWord) return {"", place};
    return {std::string(text.substr(place + 1, quote - place - 1)), quote + 1};
}

Name Scanner::Word() const {
    const size_t end = Find(kEndsOfWord, place);
    const std::string_view word = text.substr(place, end - place);
    if (word.find_first_of(kQuotes) != word.npos) return {"", place};
    return {std::string(word), end};
}

Name Scanner::TakeName() const {
    if (Is("\"", place)) return QuotedName();
    return Is("\\", place) || HasDrive(text.substr(place)) ? LongName() : Word();
}

void Scanner::CopyRedirect() {
    const bool isDouble = place + 1 < text.size() && text[place + 1] == text[place];
    const bool hasName = !(isDouble && text[place] == '<');  // else it is a text that follows
    CopyTo(place + (isDouble ? 2 : 1));
    if (!hasName || Is(kNoName, place)) return;
    CopyTo(text.find_first_not_of(kBlanks, place));
    const Name name = TakeName();
    char path[kHostPathSize];
    if (!IsOurs(name.text) || !HostPath(name.text.c_str(), path)) return;
    made += Quoted(path);
    place = name.end;
}

}  // namespace

std::string WithHostRedirects(const std::string& text) {
    Scanner scanner = {text};
    while (scanner.place < text.size()) {
        if (scanner.Is("<>", scanner.place)) {
            scanner.CopyRedirect();
        } else {
            scanner.CopyElement();
        }
    }
    return scanner.made;
}

}  // namespace vrplatform
