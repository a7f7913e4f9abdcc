// Reading the texts that stand for what other systems keep in a store of their own:
// the export file of a registry, for the most part.
#ifndef LINUX_REGISTRY_TEXT_H
#define LINUX_REGISTRY_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct RegistryValue {
    std::string name;
    uint32_t type;
    std::string data;
};

// Reads the regular file of that platform path whole; false for one that cannot be
// read or has more than 64 MB.
bool ReadTextFile(const char* name, std::string& text);

// The next line with its LF taken off; false at the end of the text.
bool TakeLine(std::string_view& text, std::string_view& line);

// Without the blanks, tabs and CRs at both ends.
std::string_view Trimmed(std::string_view text);

// Equal without regard to the case of A to Z.
bool SameName(std::string_view a, std::string_view b);

// The values of the key of that full path, in the order of the export file, whose
// bytes are `text`; false when it holds no such key.
bool ReadRegistryKey(std::string text, std::string_view path, std::vector<RegistryValue>& values);

#endif
