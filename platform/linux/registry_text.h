// Reading the text that an export of a registry is.
#ifndef LINUX_REGISTRY_TEXT_H
#define LINUX_REGISTRY_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "linux/registry_value.h"

// The values of one key, in the order of the export. It keeps the export's text and reads a
// value's lines again when it is asked for: a copy of many small values would need many times
// the room.
class RegistryKey {
public:
    // Takes the bytes of the export; false when it has no key of that full path.
    bool Read(std::string text, std::string_view path);

    size_t Count() const {
        return lines_.size();
    }
    RegistryValue At(size_t index) const;

private:
    std::string text_;             // Latin-1
    std::vector<uint32_t> lines_;  // where each value begins
    bool isUnicode_ = false;       // its bytes of text are UTF-16
};

#endif
