// A host that reads a stored record, shows it, changes one element under a lock and writes it back.
// Everything about records is left to the library: the tree is a walk by cursor, `get` is an
// extract by number, the changes are one edit by position.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "help.h"
#include "record_arguments.h"
#include "record_name.h"
#include "record_tree.h"
#include "shown_text.h"
#include "vr/owned.hpp"
#include "vr/record.h"
#include "vr/vr.h"

namespace {

constexpr char kUsage[] = R"(Usage: record_host [OPTION]... FILE [COMMAND]
Show a stored record as a tree, or change it under a lock on its key.

Commands:
  get PLACE            show one element
  replace PLACE TEXT   put TEXT in its place
  insert PLACE TEXT    put TEXT in front of it
  append [PLACE] TEXT  put TEXT after the last one in it

PLACE is attribute[,value[,subvalue]], counted from 1. In a change, 0 leaves a level out
and a negative number is after its last element; in get both mean the first.

Options:
  --raw           show text on one line, with the marks as ^ ] \
  --plain         no colours, also on a terminal
  --convert       convert text by the file that the setting CVTFILE names
  --ini FILE      read the settings from FILE
  --log SECTION   keep a log, if the setting LOG of SECTION turns it on
  --key KEY       lock KEY, and not the file's name
  --wait          wait for a key that another process holds
  --hold SECONDS  keep the key that long after the work
  --              words after it are not options

The exit status is 0, 2 after a bad request, or 3 when another process holds the key.
)";

struct Job {
    const Arguments& arguments;
    const char* path;
    VrString record;
    const VrRecordKey* key;  // under which it is changed; null when it is only read
};

// Says on standard error what failed, and returns the exit code for it.
int Complain(const char* path, int32_t result) {
    char text[300];
    VrRecordExplain(result, path, text, sizeof text);
    std::fprintf(stderr, "record_host: %s: %s\n", Shown(path, stderr).c_str(), text);
    return result == kVrRecordHeldElsewhere ? kExitHeldElsewhere : kExitBadRequest;
}

const char* VerbOf(const Arguments& arguments) {
    return arguments.words.size() == 1 ? "show" : arguments.words[1];
}

bool IsCommand(const Arguments& arguments, const char* verb, size_t words) {
    return arguments.words.size() == words && std::strcmp(VerbOf(arguments), verb) == 0;
}

bool IsChange(const Arguments& arguments) {
    return IsCommand(arguments, "append", 3) || IsCommand(arguments, "append", 4) ||
           IsCommand(arguments, "replace", 4) || IsCommand(arguments, "insert", 4);
}

bool IsKnown(const Arguments& arguments) {
    if (arguments.words.size() == 1 || IsChange(arguments) || IsCommand(arguments, "get", 3)) {
        return true;
    }
    std::fprintf(stderr, "record_host: %s: no such command, or not with %zu words after it\n",
                 Shown(VerbOf(arguments), stderr).c_str(), arguments.words.size() - 2);
    return false;
}

// What a person typed, as it is stored: a new string.
VrString FromInput(const Arguments& arguments, const char* typed) {
    VrString text = StrToVrStr(typed);
    VrString stored = arguments.convert ? CvtConvert(text, 0) : text;
    if (stored != text) free_mem(&text);
    return stored;
}

// How long the record can get: each number above 0 may add that many marks, and the element
// may come with one of its own.
bool GrowsTooLong(const UtilPosition& position, VrString record, VrString element) {
    int64_t length = int64_t{record->length} + element->length + 1;
    for (int32_t number : {position.attribute, position.value, position.subvalue}) {
        if (number > 0) length += number;
    }
    return length > kVrLongestString;
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

void PrintElement(const Arguments& arguments, const char* label, VrString element) {
    std::printf("  %s  ", label);
    PrintLine(element, true, arguments.convert);
}

void PrintChange(const Arguments& arguments, const UtilPosition& position, VrString old,
                 VrString element) {
    const char* verb = VerbOf(arguments);
    std::printf("%s %d,%d,%d\n", verb, position.attribute, position.value, position.subvalue);
    if (Replaces(verb, position)) {
        VrString before = ElementAt(position, old);
        PrintElement(arguments, "was", before);
        free_mem(&before);
    }
    PrintElement(arguments, "now", element);
}

// Colours are used on terminals that know them, for people who want them.
bool WantsColours(const Arguments& arguments) {
    const char* never = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return !arguments.plain && isatty(STDOUT_FILENO) != 0 && (never == nullptr || *never == '\0') &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

int Show(const Job& job) {
    const bool convert = job.arguments.convert;
    if (job.arguments.raw) {
        PrintLine(job.record, true, convert);
    } else {
        PrintTree(job.record, WantsColours(job.arguments), convert);
    }
    return kExitOk;
}

int Get(const Job& job) {
    UtilPosition position = {};
    if (ParsePlace(job.arguments.words[2], position) == 0) return kExitBadRequest;
    VrString element =
        extract_field(position.attribute, position.value, position.subvalue, job.record);
    PrintLine(element, job.arguments.raw || isatty(STDOUT_FILENO) != 0, job.arguments.convert);
    free_mem(&element);
    return kExitOk;
}

// Edits the record, which becomes the new array, and stores it.
int Store(Job& job, UtilPosition position, VrString element) {
    const char* verb = VerbOf(job.arguments);
    VrString old = NewString(job.record);
    VrString edited =
        UtilInsertReplace(&position, job.record, element, std::strcmp(verb, "replace") == 0);
    if (edited != job.record) {
        free_mem(&job.record);
        job.record = edited;
    }
    VrdbLogStartMes("WRITE");
    const int32_t result = VrRecordReplace(job.path, job.record, job.key);
    const bool stored = result == kVrRecordDone;
    VrdbLogEndMes("WRITE", stored ? job.record->length : -1);
    if (stored) {
        PrintChange(job.arguments, position, old, element);
        std::printf("  record of %d bytes, was %d\n", job.record->length, old->length);
        if (job.arguments.raw) PrintLine(job.record, true, job.arguments.convert);
    }
    free_mem(&old);
    return stored ? kExitOk : Complain(job.path, result);
}

// An append without a place is one of a whole attribute.
bool ParseChangePlace(const Arguments& arguments, UtilPosition& position) {
    const char* place = arguments.words[2];
    if (IsCommand(arguments, "append", 4)) return ParseAppendPlace(place, position) != 0;
    if (arguments.words.size() == 4) return ParsePlace(place, position) != 0;
    position.attribute = -1;
    return true;
}

int Change(Job& job) {
    UtilPosition position = {};
    if (!ParseChangePlace(job.arguments, position)) return kExitBadRequest;
    VrString element = FromInput(job.arguments, job.arguments.words.back());
    int result = kExitBadRequest;
    if (GrowsTooLong(position, job.record, element)) {
        std::fprintf(stderr,
                     "record_host: %s: the record would grow too long: %d bytes now, %d more, and "
                     "the marks up to the place; %d is the limit\n",
                     Shown(job.path, stderr).c_str(), job.record->length, element->length,
                     kVrLongestString);
    } else {
        result = Store(job, position, element);
    }
    free_mem(&element);
    return result;
}

int32_t ReadLogged(const char* path, VrString* record) {
    VrdbLogStartMes("READ");
    const int32_t result = VrRecordRead(path, 0, record);
    VrdbLogEndMes("READ", result == kVrRecordDone ? (*record)->length : -1);
    return result;
}

int Work(const Arguments& arguments, const char* path, const VrRecordKey* key) {
    Job job = {arguments, path, nullptr, key};
    const int32_t read = ReadLogged(path, &job.record);
    if (read != kVrRecordDone) return Complain(path, read);
    int result = kExitBadRequest;
    if (IsChange(arguments)) {
        result = Change(job);
    } else {
        result = arguments.words.size() == 1 ? Show(job) : Get(job);
    }
    free_mem(&job.record);
    return result;
}

int WorkUnderKey(const Arguments& arguments, const char* path) {
    VrRecordKey key;
    const int32_t taken =
        VrRecordLock(path, arguments.key, arguments.wait ? kVrRecordWait : kVrRecordTryOnce, &key);
    const bool isOther = taken == kVrRecordHeldElsewhere && arguments.key != nullptr;
    if (taken != kVrRecordDone) return Complain(isOther ? arguments.key : path, taken);
    const int result = Work(arguments, path, &key);
    if (arguments.holdSeconds != 0) {
        std::printf("holding the key for %ld s\n", arguments.holdSeconds);
        std::fflush(stdout);
        std::this_thread::sleep_for(std::chrono::seconds(arguments.holdSeconds));
    }
    VrRecordUnlock(&key);
    return result;
}

int Run(const Arguments& arguments) {
    VrString mapped = MapFileName(arguments.words[0]);
    if (mapped == nullptr) return Complain(arguments.words[0], kVrRecordPathTooLong);
    const char* path = vr::View(mapped).data();
    const bool locks = IsChange(arguments) || arguments.holdSeconds != 0;
    const int result = locks ? WorkUnderKey(arguments, path) : Work(arguments, path, nullptr);
    free_mem(&mapped);
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return PrintUsage(kUsage, stdout, kExitBadRequest);
    const Arguments arguments = ParseArguments(argc, argv);
    if (!arguments.good || !IsKnown(arguments)) return PrintUsage(kUsage, stderr, kExitBadRequest);

    const UtilInitRecord start = {0, 0, arguments.iniPath};
    UtilInit(&start);
    files_init();
    LockInit();
    if (arguments.logSection != nullptr && VrdbLogInit(arguments.logSection, "record_host") != 0) {
        std::fputs(
            "record_host: $$VRDB.LOG cannot be made in VRLTEMP or the current directory (one that "
            "an earlier run left must be deleted by hand); going on without a log\n",
            stderr);
    }
    int result = Run(arguments);
    if (std::fflush(stdout) != 0) {
        std::fputs("record_host: the output cannot be written\n", stderr);
        result = kExitBadRequest;
    }
    VrExit(result);
    return result;
}
