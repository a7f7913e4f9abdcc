// A host that runs commands, looks for running programs and loads libraries.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "help.h"
#include "shown_text.h"
#include "vr/vr.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitNotFound = 1;
constexpr int kExitBadRequest = 2;

constexpr char kUsage[] = R"(Usage: run_host run COMMAND [--out FILE]
  or:  run_host find NAME
  or:  run_host list
  or:  run_host dll NAME
Run commands, and look at running programs and at libraries.

Commands:
  run COMMAND  run a command and print its exit code. Its steps are divided by ; and
               a sign in front chooses the way, as vr/process.h lists
  find NAME    print the number and path of a running program
  list         print the running programs
  dll NAME     load a library, show the report, unload it

Options:
  --out FILE   write the output of the command to FILE

The exit status is 0, 1 when a program or library is not found, or 2 after a bad request.
)";

int RunCommand(const char* command, const char* outputFile) {
    const int32_t result = System(command, outputFile);
    if (*command == '&' && result != 0) {
        std::puts("started; nobody waits for it");
    } else {
        std::printf("result %d\n", result);
    }
    return kExitOk;
}

int FindProgram(const char* name) {
    const uint32_t number = VrFindProcess(name);
    if (number == 0) {
        std::fprintf(stderr, "run_host: %s: no such program is running\n",
                     Shown(name, stderr).c_str());
        return kExitNotFound;
    }
    char* path = VrProcessPath(name);
    std::printf("%u %s\n", number, Shown(path, stdout).c_str());
    free_mem(&path);
    return kExitOk;
}

// The list's entries are number,name divided by semicolons: a line each.
int ListPrograms() {
    char* list = VrProcessList();
    for (char* entry = std::strtok(list, ";"); entry != nullptr; entry = std::strtok(nullptr, ";"))
        std::puts(Shown(entry, stdout).c_str());
    free_mem(&list);
    return kExitOk;
}

// The handle of the table of that name, or -1.
int32_t FindTable(const char* name) {
    for (int32_t table = TblLength(0) - 1; table >= 0; --table) {
        const char* its = TblName(table);
        if (its != nullptr && std::strcmp(its, name) == 0) return table;
    }
    return -1;
}

// The report is made line by line until the table says that there are no more.
void PrintReport(int32_t table) {
    const TblFormat format = TblFunc(table);
    char line[kVrTblLineSize];
    for (VrWord number = 0; format(0, 0, 0, number, 0, reinterpret_cast<VrWord>(line)) != 0;
         ++number) {
        std::printf("%.72s\n", Shown(line, stdout).c_str());
    }
}

int LoadLibrary(const char* name) {
    const VrWord module = DllLoad(name, nullptr);
    if (module == 0) {
        std::fprintf(stderr, "run_host: %s: no such library\n", Shown(name, stderr).c_str());
        return kExitNotFound;
    }
    PrintReport(FindTable("DLL Table"));
    DllUnload(name, module);
    return kExitOk;
}

int Run(int argc, char** argv) {
    const char* verb = argc < 2 ? "" : argv[1];
    const bool hasOutput = argc == 5 && std::strcmp(argv[3], "--out") == 0;
    if (std::strcmp(verb, "run") == 0 && (argc == 3 || hasOutput)) {
        return RunCommand(argv[2], hasOutput ? argv[4] : nullptr);
    }
    if (std::strcmp(verb, "find") == 0 && argc == 3) return FindProgram(argv[2]);
    if (std::strcmp(verb, "list") == 0 && argc == 2) return ListPrograms();
    if (std::strcmp(verb, "dll") == 0 && argc == 3) return LoadLibrary(argv[2]);
    return PrintUsage(kUsage, stderr, kExitBadRequest);
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return PrintUsage(kUsage, stdout, kExitBadRequest);
    const UtilInitRecord start = {};
    UtilInit(&start);
    files_init();
    const int result = Run(argc, argv);
    VrExit(result);
    return result;
}
