// Reading the text that an export of a registry is.
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

// The values of the key of that full path, in the order of the export file, whose
// bytes are `text`; false when it holds no such key.
bool ReadRegistryKey(std::string text, std::string_view path, std::vector<RegistryValue>& values);

#endif
