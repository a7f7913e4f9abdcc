// The command line of record_host.
#ifndef EXAMPLES_RECORD_ARGUMENTS_H
#define EXAMPLES_RECORD_ARGUMENTS_H

#include <vector>

#include "vr/edit.h"

// Exit codes.
constexpr int kExitOk = 0;
constexpr int kExitBadRequest = 2;
constexpr int kExitHeldElsewhere = 3;

struct Arguments {
    bool good = true;  // every option is known and has what it needs
    bool raw = false;
    bool wait = false;
    bool convert = false;
    bool plain = false;
    long holdSeconds = 0;
    const char* iniPath = nullptr;
    const char* logSection = nullptr;
    const char* key = nullptr;       // null: the file's base name
    std::vector<const char*> words;  // FILE, command, PLACE, TEXT
};

// Words after `--` are not options. Each option that is refused is reported on standard error.
Arguments ParseArguments(int argc, char** argv);

// Prints how the program is called on standard error.
int Usage();

// Fills in up to three numbers of the position and returns how many there were; 0,
// after a message, for anything that is no place.
int ParsePlace(const char* text, UtilPosition& position);

// The same place, as an append after the last element of the level below it. 0,
// after a message, when there is no such level.
int ParseAppendPlace(const char* text, UtilPosition& position);

#endif
