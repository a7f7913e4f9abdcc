// What every host does for `--help` alone: its usage goes to standard output, and it ends well.
#ifndef EXAMPLES_HELP_H
#define EXAMPLES_HELP_H

#include <cstdio>
#include <cstring>

inline bool AsksForHelp(int argc, char** argv) {
    return argc == 2 && std::strcmp(argv[1], "--help") == 0;
}

// Prints the usage and returns the exit code: 0 on standard output, otherwise that of a bad
// request.
inline int PrintUsage(const char* usage, std::FILE* stream, int badRequest) {
    std::fputs(usage, stream);
    return stream == stdout ? 0 : badRequest;
}

#endif
