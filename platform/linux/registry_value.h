// One value of a registry's export.
#ifndef LINUX_REGISTRY_VALUE_H
#define LINUX_REGISTRY_VALUE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace vrplatform {

struct RegistryValue {
    std::string name;
    uint32_t type = 0;
    std::string data;
};

// What a line says of a value.
enum class ValueLine { Nothing, Set, Remove };

// Takes the value's lines off the text: one line and those that continue it.
ValueLine TakeValue(std::string_view& text, bool isUnicode, RegistryValue& value);

// The name alone, from the start of such a line; false when there is none.
bool TakeValueName(std::string_view& line, std::string& name);

}  // namespace vrplatform

#endif
