// An option sets a flag or brings a text; whatever is left over is a word.

#include "record_arguments.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "shown_text.h"

namespace {

constexpr long kFarthestNumber = 1'000'000;
constexpr long kLongestHold = 3600;
constexpr int kLevels = 3;

constexpr char kUsage[] =
    "usage: record_host [OPTION...] FILE                       show the record as a tree\n"
    "       record_host [OPTION...] FILE get PLACE             show one element\n"
    "       record_host [OPTION...] FILE replace PLACE TEXT    put TEXT in its place\n"
    "       record_host [OPTION...] FILE insert PLACE TEXT     put TEXT in front of it\n"
    "       record_host [OPTION...] FILE append [PLACE] TEXT   put TEXT after the last one in it\n"
    "PLACE is attribute[,value[,subvalue]], counted from 1. In a change, 0 leaves a level out\n"
    "and a negative number is after its last element; in get both mean the first.\n"
    "A change is made under a lock on the record's key, as is anything with --hold.\n"
    "  --raw           show text on one line, with the marks as ^ ] \\\n"
    "  --plain         no colours, also on a terminal\n"
    "  --convert       convert text by the file that the setting CVTFILE names\n"
    "  --ini FILE      read the settings from FILE\n"
    "  --log SECTION   keep a log, if the setting LOG of SECTION turns it on\n"
    "  --key KEY       lock KEY, and not the file's name\n"
    "  --wait          wait for a key that another process holds; otherwise exit with 3\n"
    "  --hold SECONDS  keep the key that long after the work\n"
    "  --              words after it are not options\n";

void Refuse(Arguments& arguments, const char* option, const char* why) {
    std::fprintf(stderr, "record_host: %s: %s\n", Shown(option, stderr).c_str(), why);
    arguments.good = false;
}

// The text that follows an option; null, after a message, at the end of the line.
const char* Value(Arguments& arguments, int argc, char** argv, int& i) {
    if (i + 1 < argc) return argv[++i];
    Refuse(arguments, argv[i], "needs a value");
    return nullptr;
}

void ParseHold(Arguments& arguments, const char* text) {
    if (text == nullptr) return;
    char* end = nullptr;
    arguments.holdSeconds = std::strtol(text, &end, 10);
    const bool number = end != text && *end == '\0';
    if (!number || arguments.holdSeconds < 0 || arguments.holdSeconds > kLongestHold) {
        Refuse(arguments, "--hold", "needs a number of seconds from 0 to 3600");
    }
}

// The flag that the option sets, or null.
bool* FlagOf(Arguments& arguments, const char* option) {
    if (std::strcmp(option, "--raw") == 0) return &arguments.raw;
    if (std::strcmp(option, "--wait") == 0) return &arguments.wait;
    if (std::strcmp(option, "--plain") == 0) return &arguments.plain;
    if (std::strcmp(option, "--convert") == 0) return &arguments.convert;
    return nullptr;
}

// The text that the option brings, or null.
const char** TextOf(Arguments& arguments, const char* option) {
    if (std::strcmp(option, "--ini") == 0) return &arguments.iniPath;
    if (std::strcmp(option, "--key") == 0) return &arguments.key;
    if (std::strcmp(option, "--log") == 0) return &arguments.logSection;
    return nullptr;
}

void ParseOption(Arguments& arguments, int argc, char** argv, int& i) {
    const char* option = argv[i];
    if (bool* flag = FlagOf(arguments, option)) {
        *flag = true;
    } else if (const char** text = TextOf(arguments, option)) {
        *text = Value(arguments, argc, argv, i);
    } else if (std::strcmp(option, "--hold") == 0) {
        ParseHold(arguments, Value(arguments, argc, argv, i));
    } else {
        Refuse(arguments, option, "no such option");
    }
}

int BadPlace(const char* text) {
    std::fprintf(stderr,
                 "record_host: %s: a place is up to three numbers from -%ld to %ld, as in 3,2,1\n",
                 Shown(text, stderr).c_str(), kFarthestNumber, kFarthestNumber);
    return 0;
}

int ReadPlace(const char* text, UtilPosition& position) {
    int32_t* const numbers[kLevels] = {&position.attribute, &position.value, &position.subvalue};
    for (int level = 0; level < kLevels; ++level) {
        char* end = nullptr;
        const long number = std::strtol(text, &end, 10);
        if (end == text || number < -kFarthestNumber || number > kFarthestNumber) return 0;
        *numbers[level] = static_cast<int32_t>(number);
        if (*end == '\0') return level + 1;
        if (*end != ',') return 0;
        text = end + 1;
    }
    return 0;
}

}  // namespace

Arguments ParseArguments(int argc, char** argv) {
    Arguments arguments;
    bool options = true;
    for (int i = 1; i < argc; ++i) {
        if (!options || std::strncmp(argv[i], "--", 2) != 0) {
            arguments.words.push_back(argv[i]);
        } else if (argv[i][2] == '\0') {
            options = false;
        } else {
            ParseOption(arguments, argc, argv, i);
        }
    }
    if (arguments.words.empty()) arguments.good = false;
    return arguments;
}

int Usage() {
    std::fputs(kUsage, stderr);
    return kExitBadRequest;
}

int ParsePlace(const char* text, UtilPosition& position) {
    const int given = ReadPlace(text, position);
    return given == 0 ? BadPlace(text) : given;
}

int ParseAppendPlace(const char* text, UtilPosition& position) {
    const int given = ReadPlace(text, position);
    if (given == 0 || given == kLevels) return BadPlace(text);
    (given == 1 ? position.value : position.subvalue) = -1;
    return given + 1;
}
