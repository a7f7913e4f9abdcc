// The definition of the one terminal, put together at compile time.
#ifndef CONFIG_DBENV_DEFINITION_H
#define CONFIG_DBENV_DEFINITION_H

#include <array>
#include <cstddef>

namespace vr {

constexpr size_t kTerminalDefinitionSize = 506;

extern const std::array<unsigned char, kTerminalDefinitionSize> kTerminalDefinition;

constexpr char kTerminalType[] = "PCWIN.COL";

}  // namespace vr

#endif
