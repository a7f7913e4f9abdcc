// Reading the text of a registry's export.
#ifndef LINUX_REGISTRY_TEXT_H
#define LINUX_REGISTRY_TEXT_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux/registry_value.h"

namespace vrplatform {

// The text of an export. Its keys keep it and read a value's lines again when they are asked for
// it: a copy of many small values would need many times the room.
struct RegistryExport {
    // Takes the bytes of a file; false when it does not begin as an export does.
    bool Take(std::string bytes);

    std::string text;        // Latin-1
    size_t keysBegin = 0;    // after the header
    bool isUnicode = false;  // its bytes of text are UTF-16
};

// The values of one key, in the order of the export.
class RegistryKey {
public:
    explicit RegistryKey(std::shared_ptr<const RegistryExport> source);

    size_t Count() const {
        return lines_.size();
    }
    RegistryValue At(size_t index) const;

    // The value of that name, whose case does not count; false when there is none.
    bool Find(const std::string& name, RegistryValue& value) const;

    // For the reader of the export, which calls Finish at its end. A line is named by the place
    // where it begins.
    void Clear();
    void Set(uint32_t line, const std::string& name);
    void Remove(const std::string& name);
    void Finish();

private:
    // Most names that are not the same differ in the tag, so that no text is read for them.
    struct Place {
        uint32_t number : 24;  // of the line, from 1; 0 is free
        uint32_t tag : 8;      // of the hash
    };

    std::string NameAt(uint32_t line) const;
    size_t IndexOf(const std::string& name) const;
    bool IsOf(const Place& place, uint32_t hash, const std::string& name) const;
    void Enter(size_t at, size_t number, const std::string& name);
    void MakeRoomForAll(uint32_t from);
    void MakeIndex(size_t most);

    std::shared_ptr<const RegistryExport> source_;
    std::vector<uint32_t> lines_;  // where each value begins; one that was removed is marked
    std::vector<Place> places_;    // by the hash of the name
};

// The key of that full path; null when the export has none.
std::shared_ptr<const RegistryKey> ReadRegistryKey(
    const std::shared_ptr<const RegistryExport>& source, std::string_view path);

}  // namespace vrplatform

#endif
