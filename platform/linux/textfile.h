// Text files of names and values, which several services read.
#ifndef LINUX_TEXTFILE_H
#define LINUX_TEXTFILE_H

#include <string>
#include <string_view>

// What a text in UTF-8 may begin with.
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Reads the regular file of that platform path whole; false for one that cannot be read or
// has more than 64 MB.
bool ReadTextFile(const char* name, std::string& text);

inline std::string_view WithoutMark(std::string_view text) {
    return text.starts_with(kUtf8Mark) ? text.substr(kUtf8Mark.size()) : text;
}

// The next line with its LF taken off; false at the end of the text.
bool TakeLine(std::string_view& text, std::string_view& line);

// Without the blanks, tabs and CRs at both ends.
std::string_view Trimmed(std::string_view text);

// Equal without regard to the case of A to Z.
bool SameName(std::string_view a, std::string_view b);

#endif
