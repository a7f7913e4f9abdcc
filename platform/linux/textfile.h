// Text files of names and values, which several services read.
#ifndef LINUX_TEXTFILE_H
#define LINUX_TEXTFILE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vrplatform {

// What a text in UTF-8 may begin with.
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// What shows that a file was replaced or changed. A change too soon after another may not show in
// the times.
struct FileState {
    uint64_t device = 0;
    uint64_t number = 0;
    int64_t size = 0;
    int64_t written = 0;  // nanoseconds since 1970
    int64_t changed = 0;  // its content or its status

    bool operator==(const FileState&) const = default;

    // Whether each further change will show.
    bool IsSettled() const;
};

// The state of the regular file of that platform path; false for any other.
bool LookAtFile(const char* name, FileState& state);

// Reads the regular file of that platform path whole, and its state before that, unless it is
// null; false for one that cannot be read or has more than 64 MB.
bool ReadTextFile(const char* name, std::string& text, FileState* state = nullptr);

inline std::string_view WithoutMark(std::string_view text) {
    return text.starts_with(kUtf8Mark) ? text.substr(kUtf8Mark.size()) : text;
}

// The next line with its LF taken off; false at the end of the text.
bool TakeLine(std::string_view& text, std::string_view& line);

// Without the blanks, tabs and CRs at both ends.
std::string_view Trimmed(std::string_view text);

// Equal without regard to the case of A to Z.
bool SameName(std::string_view a, std::string_view b);

}  // namespace vrplatform

#endif
