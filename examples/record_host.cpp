// A host that reads a stored record, shows it, changes one element and writes it
// back. Everything it knows of records it asks the library for: the tree is a walk
// by cursor, `get` is an extract by number, the changes are one edit by position.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "record_file.h"
#include "record_tree.h"
#include "vr/vr.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitBadRequest = 2;
constexpr long kFarthestNumber = 1'000'000;

constexpr char kUsage[] =
    "usage: record_host [--raw] FILE                       show the record as a tree\n"
    "       record_host [--raw] FILE get PLACE             show one element\n"
    "       record_host [--raw] FILE replace PLACE TEXT    put TEXT in its place\n"
    "       record_host [--raw] FILE insert PLACE TEXT     put TEXT in front of it\n"
    "       record_host [--raw] FILE append [PLACE] TEXT   put TEXT behind the last one in it\n"
    "PLACE is attribute[,value[,subvalue]], counted from 1. In a change, 0 leaves a level out\n"
    "and a negative number is behind its last element; in get both mean the first.\n"
    "--raw shows text on one line, with the marks as ^ ] \\. Words behind -- are no options.\n";

struct Arguments {
    bool raw = false;
    std::vector<const char*> words;  // FILE, command, PLACE, TEXT
};

Arguments ParseArguments(int argc, char** argv) {
    Arguments arguments;
    bool options = true;
    for (int i = 1; i < argc; ++i) {
        if (options && std::strcmp(argv[i], "--") == 0) {
            options = false;
        } else if (options && std::strcmp(argv[i], "--raw") == 0) {
            arguments.raw = true;
        } else {
            arguments.words.push_back(argv[i]);
        }
    }
    return arguments;
}

int Usage() {
    std::fputs(kUsage, stderr);
    return kExitBadRequest;
}

int BadPlace(const char* place) {
    std::fprintf(stderr,
                 "record_host: %s: a place is up to three numbers from -%ld to %ld, as in 3,2,1\n",
                 place, kFarthestNumber, kFarthestNumber);
    return kExitBadRequest;
}

// Fills in up to `levels` numbers; false if the text is anything else. Returns how
// many there were in `given`.
bool ParsePlace(const char* text, UtilPosition& position, int& given) {
    int32_t* const numbers[] = {&position.attribute, &position.value, &position.subvalue};
    for (given = 0; given < 3;) {
        char* end = nullptr;
        const long number = std::strtol(text, &end, 10);
        if (end == text || std::labs(number) > kFarthestNumber) return false;
        *numbers[given++] = static_cast<int32_t>(number);
        if (*end == '\0') return true;
        if (*end != ',') return false;
        text = end + 1;
    }
    return false;
}

// An append goes behind the last element of the level below the place.
bool DescendToEnd(UtilPosition& position, int given) {
    int32_t* const numbers[] = {&position.attribute, &position.value, &position.subvalue};
    if (given == 3) return false;
    *numbers[given] = -1;
    return true;
}

// How long the record can get: each number above 0 may add that many marks.
bool GrowsTooLong(const UtilPosition& position, VrString record, VrString element) {
    int64_t length = int64_t{record->length} + element->length;
    for (int32_t number : {position.attribute, position.value, position.subvalue}) {
        if (number > 0) length += number;
    }
    return length > kLongestRecord;
}

bool Replaces(const char* verb, const UtilPosition& position) {
    const bool appends = position.attribute < 0 || position.value < 0 || position.subvalue < 0;
    return std::strcmp(verb, "replace") == 0 && !appends;
}

// What stood at the position, whose numbers the edit has completed.
VrString ElementAt(const UtilPosition& position, VrString record) {
    if (position.attribute == 0) return NewString(record);
    return extract_field(position.attribute, position.value, position.subvalue, record);
}

void PrintChange(const char* verb, const UtilPosition& position, VrString old, VrString element) {
    std::printf("%s %d,%d,%d\n", verb, position.attribute, position.value, position.subvalue);
    if (Replaces(verb, position)) {
        VrString before = ElementAt(position, old);
        std::printf("  was  ");
        PrintLine(before, true);
        free_mem(&before);
    }
    std::printf("  now  ");
    PrintLine(element, true);
}

int Show(const Arguments& arguments, VrString record) {
    if (arguments.raw) {
        PrintLine(record, true);
    } else {
        PrintTree(record);
    }
    return kExitOk;
}

int Get(const Arguments& arguments, VrString record) {
    UtilPosition position = {};
    int given = 0;
    if (!ParsePlace(arguments.words[2], position, given)) return BadPlace(arguments.words[2]);
    VrString element = extract_field(position.attribute, position.value, position.subvalue, record);
    PrintLine(element, arguments.raw);
    free_mem(&element);
    return kExitOk;
}

// Edits `record`, which becomes the new array, and stores it.
int Store(const Arguments& arguments, UtilPosition position, VrString& record, VrString element) {
    const char* verb = arguments.words[1];
    VrString old = NewString(record);
    VrString edited =
        UtilInsertReplace(&position, record, element, std::strcmp(verb, "replace") == 0);
    if (edited != record) {
        free_mem(&record);
        record = edited;
    }
    const bool stored = WriteRecord(arguments.words[0], record);
    if (stored) {
        PrintChange(verb, position, old, element);
        std::printf("  record of %d bytes, was %d\n", record->length, old->length);
        if (arguments.raw) PrintLine(record, true);
    }
    free_mem(&old);
    return stored ? kExitOk : kExitBadRequest;
}

int Change(const Arguments& arguments, const UtilPosition& position, VrString& record) {
    VrString element = StrToVrStr(arguments.words.back());
    int result = kExitBadRequest;
    if (GrowsTooLong(position, record, element)) {
        std::fprintf(stderr, "record_host: the record would grow too long\n");
    } else {
        result = Store(arguments, position, record, element);
    }
    free_mem(&element);
    return result;
}

bool IsCommand(const Arguments& arguments, const char* name, size_t words) {
    return arguments.words.size() == words && std::strcmp(arguments.words[1], name) == 0;
}

int Run(const Arguments& arguments, VrString& record) {
    UtilPosition position = {};
    int given = 0;
    if (arguments.words.size() == 1) return Show(arguments, record);
    if (IsCommand(arguments, "get", 3)) return Get(arguments, record);
    if (IsCommand(arguments, "append", 3)) {
        position.attribute = -1;
        return Change(arguments, position, record);
    }
    const bool append = IsCommand(arguments, "append", 4);
    if (!append && !IsCommand(arguments, "replace", 4) && !IsCommand(arguments, "insert", 4)) {
        return Usage();
    }
    const char* place = arguments.words[2];
    if (!ParsePlace(place, position, given)) return BadPlace(place);
    if (append && !DescendToEnd(position, given)) return BadPlace(place);
    return Change(arguments, position, record);
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments arguments = ParseArguments(argc, argv);
    if (arguments.words.empty()) return Usage();

    UtilInitRecord start = {};
    UtilInit(&start);
    VrString record = ReadRecord(arguments.words[0]);
    const int result = record == nullptr ? kExitBadRequest : Run(arguments, record);
    free_mem(&record);
    VrExit(0);
    return result;
}
