// A host that answers why a setting has its value: which places were looked at, in their order,
// and which one answered.

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "help.h"
#include "settings_places.h"
#include "shown_text.h"
#include "vr/vr.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitNotFound = 1;
constexpr int kExitBadRequest = 2;

constexpr char kUsage[] = R"(Usage: settings_host [--ini FILE] SECTION [KEY]
  or:  settings_host [--ini FILE] --environment
Explain why a setting has its value: where it was looked for, and what answered.

Without KEY the keys of the section are listed, with the place that each comes from.

Options:
  --ini FILE     read the settings from FILE
  --environment  list the variables that the file and the registry have set

The exit status is 0, 1 when there is no such setting, or 2 after a bad request.
)";

void Print(std::initializer_list<std::string_view> parts) {
    std::string line;
    for (const std::string_view part : parts)
        line += part;
    std::puts(Shown(line, stdout).c_str());
}

void PrintCandidate(const Candidate& candidate) {
    Print({"  ", candidate.what, ": ", candidate.path, ": ", candidate.outcome});
}

void PrintSurroundings(const std::vector<Candidate>& files) {
    Print({"settings file, the first that can be read:"});
    for (const Candidate& file : files)
        PrintCandidate(file);
    Print({"product \"", EnvironProduct(), "\", by the version file:"});
    PrintCandidate(VersionFile());
    Print({"registry, by its export:"});
    PrintCandidate(RegistryExport());
}

std::string_view Text(const Value& value) {
    return value ? std::string_view(*value) : "not there";
}

int ExplainSetting(const std::string& section, const std::string& key) {
    const Value registry = RegistryValue(section, key);
    const Value file = FileValue(section, key);
    Print({"[", section, "] ", key, ", the first that has it:"});
    Print({"  registry: ", RegistryKey(section), ": ", Text(registry)});
    Print({"  file: ", ini_buf == nullptr ? "none" : ini_path, ": ", Text(file)});
    if (!registry && !file) {
        Print({"nothing has it: the caller's default counts"});
        return kExitNotFound;
    }
    Print({registry ? "the registry" : "the file", " answers: ", Text(registry ? registry : file)});
    return kExitOk;
}

int ListSection(const std::string& section) {
    int exit = kExitNotFound;
    for (const std::string& key : RegistryKeys(section)) {
        Print({"registry: ", key, " = ", Text(RegistryValue(section, key))});
        exit = kExitOk;
    }
    for (const std::string& key : FileKeys(section)) {
        const bool isHidden = RegistryValue(section, key).has_value();
        Print({"file: ", key, " = ", Text(FileValue(section, key)),
               isHidden ? ", hidden by the registry" : ""});
        exit = kExitOk;
    }
    if (exit == kExitNotFound) Print({"[", section, "] is in neither place"});
    return exit;
}

void PrintVariable(const char* place, const std::string& name) {
    const char* value = DLLGetEnv(name.c_str());
    Print({place, ": ", name, " = ", value == nullptr ? "" : value});
}

// Without a settings file, or with an empty one, the library copies neither.
int ListEnvironment() {
    if (ini_buf == nullptr || *ini_buf == '\0') {
        Print({"no settings file with a text, and so no variable was set"});
        return kExitNotFound;
    }
    for (const std::string& name : FileVariables())
        PrintVariable("file", name);
    for (const std::string& name : RegistryKeys("ENVIRONMENT"))
        PrintVariable("registry, after the file", name);
    return kExitOk;
}

int Run(const std::vector<std::string>& words) {
    if (words.size() == 2) return ExplainSetting(words[0], words[1]);
    return words[0] == "--environment" ? ListEnvironment() : ListSection(words[0]);
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return PrintUsage(kUsage, stdout, kExitBadRequest);
    std::vector<std::string> words(argv + 1, argv + argc);
    const char* given = nullptr;
    if (words.size() > 2 && words[0] == "--ini") {
        given = argv[2];
        words.erase(words.begin(), words.begin() + 2);
    }
    if (words.empty() || words.size() > 2) return PrintUsage(kUsage, stderr, kExitBadRequest);

    const std::vector<Candidate> files = SettingsFiles(given);
    const UtilInitRecord start = {0, 0, given};
    UtilInit(&start);
    PrintSurroundings(files);
    const int result = Run(words);
    VrExit(result);
    return result;
}
