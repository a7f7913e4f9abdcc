// The environment variables that an input sets, taken back after it. The C library never
// gives back the text of a variable that was set, so that a long run would end for lack of
// memory: this takes the place of its setenv, in the one source of a target.

#include "tests/support/base.h"
#ifndef FUZZ_VARIABLES_H
#define FUZZ_VARIABLES_H

inline std::map<std::string, std::string> settings;  // NAME=VALUE by name, as in use

// NOLINTNEXTLINE(misc-definitions-in-headers)
extern "C" int setenv(const char* name, const char* value, int) noexcept {
    const std::string key = name;
    if (key.empty() || key.find('=') != key.npos) return -1;
    unsetenv(name);
    std::string& setting = settings[key];
    setting = key + "=" + value;
    return putenv(setting.data());
}

inline void TakeVariablesBack() {
    for (const auto& [name, setting] : settings)
        unsetenv(name.c_str());
    settings.clear();
}

#endif
