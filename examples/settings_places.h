// The places that a setting can come from, each asked by itself.
#ifndef EXAMPLES_SETTINGS_PLACES_H
#define EXAMPLES_SETTINGS_PLACES_H

#include <optional>
#include <string>
#include <vector>

// A file that was to be opened, and what became of it.
struct Candidate {
    std::string what;
    std::string path;
    std::string outcome;
};

// The candidates for the settings file. To be asked before UtilInit, which takes the first that
// can be read and may change the variables that name them.
std::vector<Candidate> SettingsFiles(const char* given);

// The version file of this program, and the registry's export.
Candidate VersionFile();
Candidate RegistryExport();

// The registry's key of a section.
std::string RegistryKey(const std::string& section);

using Value = std::optional<std::string>;

Value RegistryValue(const std::string& section, const std::string& key);
Value FileValue(const std::string& section, const std::string& key);

// The names of the keys of a section, in their order. In the file a name ends before the = of
// its line.
std::vector<std::string> RegistryKeys(const std::string& section);
std::vector<std::string> FileKeys(const std::string& section);

// The names of the variables that the file's section ENVIRONMENT sets (vr/settings.h).
std::vector<std::string> FileVariables();

#endif
