// The C library never gives back the text of a variable that was set, and a long run would
// end for lack of memory. This takes the place of its setenv.

#include "fuzz/variables.h"

#include <cstdlib>

namespace {

std::map<std::string, std::string> settings;  // NAME=VALUE by name, which the environment uses

}  // namespace

extern "C" int setenv(const char* name, const char* value, int) noexcept {
    const std::string key = name;
    if (key.empty() || key.find('=') != key.npos) return -1;
    unsetenv(name);
    std::string& setting = settings[key];
    setting = key + "=" + value;
    return putenv(setting.data());
}

const std::map<std::string, std::string>& SetVariables() {
    return settings;
}

void TakeVariablesBack() {
    for (const auto& [name, setting] : settings)
        unsetenv(name.c_str());
    settings.clear();
}
