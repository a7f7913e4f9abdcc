// What the frame and the modules of settings know of the store.
#ifndef CONFIG_INI_H
#define CONFIG_INI_H

#include "vr/frame.h"
#include "vr/settings.h"

namespace vr {

constexpr size_t kSettingSize = 260;  // a value with its zero, from whichever layer

constexpr uint32_t kEnvironmentValueSize = 8192;  // of DLLGetEnv, with its zero

// The start routine. It runs before the allocator is up, so it takes its memory from
// the platform.
void StartSettings(const UtilInitRecord& record);

// The body of the section in the settings file, or null.
[[nodiscard]] const char* FindSection(const char* section);

constexpr size_t kLineSize = 256;  // of the settings file, with its zero; the rest is cut off

// Copies the rest of the line, and returns the length.
size_t CopyLine(const char* from, char* line);

// Cuts off the white space at the end.
void TrimEnd(char* text);

// The registry's layer.
[[nodiscard]] bool FindRegistryValue(const char* section, const char* key,
                                     char (&value)[kSettingSize]);
void LoadRegistryEnvironment();

}  // namespace vr

#endif
