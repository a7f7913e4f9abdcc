// Running commands. The command's first character chooses the route: straight to the
// platform, through the shell, or hidden through the shell, where the first word is
// looked for in the host's places first. A command of several steps becomes a batch
// file.

#define VR_MODULE "System"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/Text.h"
#include "core/Util.h"
#include "core/vrmem.h"
#include "platform/files.h"
#include "platform/messagebox.h"
#include "platform/programs.h"
#include "process/Host.h"
#include "process/System_word.h"
#include "vr/files.h"
#include "vr/process.h"
#include "vr/settings.h"

namespace {

constexpr size_t kLineSize = 260;
constexpr size_t kClauseSize = 256;
constexpr size_t kMessageSize = 512;
constexpr int32_t kMaximizedWindow = 3;
constexpr int32_t kLargestWindowMode = 9;
constexpr int32_t kHiddenWindow = 0;
constexpr int32_t kDefaultWindow = -1;  // as the platform opens it
constexpr uint32_t kTooLong = 8;
constexpr int32_t kNotStarted = 0;
constexpr int32_t kNotStartedHidden = -1;
constexpr int32_t kNobodyWaits = 1;
constexpr char kBatchFile[] = "__aavrtm.bat";
constexpr int32_t kBatchFlags = kOpenWriteOnly | kOpenCreate | kOpenTruncate | kOpenPrivate;
constexpr char kDigits[] = "0123456789";

struct ErrorText {
    uint32_t number;
    const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {0, "Out of memory or file corrupt"},
    {2, "File not found"},
    {3, "Path not found"},
    {5, "Sharing or network protection error"},
    {6, "Library required separate data segments"},
    {8, "Insufficient memory to load application"},
    {10, "Windows version incorrect"},
    {11, "Executable file invalid"},
    {12, "Application not for this OS"},
    {13, "Application for MS-DOS 4.0"},
    {14, "Executable type unknown"},
    {15, "Can't load Real-Mode application"},
    {16, "Can't load second instance of executable"},
    {19, "Can't load compressed executable"},
    {20, "required DDL invalid"},
    {21, "Need 32-bit windows extensions"},
};

// A line that did not fit holds its beginning, for the message.
struct CommandLine {
    char text[kLineSize];
    bool fits;
};

struct Sign {
    int32_t number;  // 0 when none was given
    bool hasDigits;
    const char* rest;  // after the digits
};

const char* ShellWord() {
    return vr::IsNewPlatform() ? "CMD " : "COMMAND.COM ";
}

bool HasText(const char* text) {
    return text != nullptr && *text != '\0';
}

__attribute__((format(printf, 1, 2))) CommandLine MakeLine(const char* format, ...) {
    CommandLine line;
    va_list values;
    va_start(values, format);
    const int wanted = std::vsnprintf(line.text, sizeof line.text, format, values);
    va_end(values);
    line.fits = vr::Fits(wanted, sizeof line.text);
    return line;
}

void ShowFailure(const char* line, uint32_t number) {
    char text[kMessageSize];
    const ErrorText* known = std::ranges::find(kErrorTexts, number, &ErrorText::number);
    std::snprintf(text, sizeof text, "CreateProcess '%s' failed\n error (%d) - %s", line,
                  static_cast<int32_t>(number), known == std::end(kErrorTexts) ? "" : known->text);
    vr::ShowBox(text, MB_OK);
}

// Starts the line; a failure shows `shown`. No memory is allocated here: a shortage could end the
// run before the batch file is deleted, and its callbacks may use the scratch area that holds the
// line.
bool Start(const char* line, const CommandLine& shown, int32_t windowMode,
           ProcessInformation& process) {
    if (!shown.fits) {
        ShowFailure(shown.text, kTooLong);
        return false;
    }
    StartupInfo startup = {};
    startup.size = sizeof startup;
    if (windowMode != kDefaultWindow) {
        startup.flags = STARTF_USESHOWWINDOW;
        startup.showWindow = static_cast<uint16_t>(windowMode);
    }
    char writable[kVrScratchSize];
    std::snprintf(writable, sizeof writable, "%s", line);
    const bool started = CreateProcessA(nullptr, writable, nullptr, nullptr, 0, 0, nullptr, nullptr,
                                        &startup, &process) != 0;
    if (!started) ShowFailure(shown.text, GetLastError());
    return started;
}

void CloseBoth(const ProcessInformation& process) {
    CloseHandle(process.process);
    CloseHandle(process.thread);
}

int32_t WaitForCode(const ProcessInformation& process) {
    uint32_t code = 0;
    WaitForSingleObject(process.process, INFINITE);
    GetExitCodeProcess(process.process, &code);
    CloseBoth(process);
    return static_cast<int32_t>(code);
}

int32_t RunAndWait(const CommandLine& line, int32_t windowMode) {
    ProcessInformation process = {};
    return Start(line.text, line, windowMode, process) ? WaitForCode(process) : kNotStarted;
}

int32_t RunAlone(const CommandLine& line, int32_t windowMode) {
    ProcessInformation process = {};
    if (!Start(line.text, line, windowMode, process)) return kNotStarted;
    CloseBoth(process);
    return kNobodyWaits;
}

// Writes a line for each part: the first overwrites the output file, the others append to it.
void WriteParts(int32_t handle, const char* text, const char* first, const char* further) {
    const char* clause = first;
    for (const char* part = text; part != nullptr; clause = further) {
        const char* semicolon = std::strchr(part, ';');
        const size_t length =
            semicolon == nullptr ? std::strlen(part) : static_cast<size_t>(semicolon - part);
        OsWrite(handle, part, static_cast<uint32_t>(length));
        OsWrite(handle, clause, static_cast<uint32_t>(std::strlen(clause)));
        part = semicolon == nullptr ? nullptr : semicolon + 1;
    }
}

// False also when the clause does not fit, since the whole line does not fit then either.
bool WriteBatchFile(const char* text, const char* outputFile) {
    char first[kClauseSize] = "\n";
    char further[kClauseSize] = "\n";
    if (HasText(outputFile)) {
        std::snprintf(first, sizeof first, " > %s\n", outputFile);
        const int wanted = std::snprintf(further, sizeof further, " >> %s\n", outputFile);
        if (!vr::Fits(wanted, sizeof further)) return false;
    }
    FileDelete(kBatchFile);  // an old one may be a second name of another file
    int32_t handle = -1;
    if (OsOpen(kBatchFile, kBatchFlags, kPermissionWrite, &handle) != 0) return false;
    WriteParts(handle, text, first, further);
    OsClose(handle);
    return true;
}

bool MakesBatch(const char* text, const char* outputFile) {
    return std::strchr(text, ';') != nullptr && WriteBatchFile(text, outputFile);
}

// The line that the shell gets.
CommandLine ShellLine(const char* text, const char* outputFile, bool hasBatch) {
    const char* word = ShellWord();
    if (hasBatch) return MakeLine("%s/c %s", word, kBatchFile);
    return HasText(outputFile) ? MakeLine("%s/c %s > %s", word, text, outputFile)
                               : MakeLine("%s/c %s", word, text);
}

int32_t RunShellAlone(int32_t windowMode) {
    return RunAndWait(MakeLine("%s", ShellWord()), windowMode);
}

int32_t RunInShell(const char* text, const char* outputFile, int32_t windowMode) {
    if (*text == '\0') return RunShellAlone(windowMode);
    const bool hasBatch = MakesBatch(text, outputFile);
    const int32_t result = RunAndWait(ShellLine(text, outputFile, hasBatch), windowMode);
    if (hasBatch) FileDelete(kBatchFile);
    return result;
}

int32_t RunHidden(const char* text, const char* outputFile, int32_t windowMode) {
    const bool hasBatch = MakesBatch(text, outputFile);
    const CommandLine line = ShellLine(text, outputFile, hasBatch);
    ProcessInformation process = {};
    const bool started = Start(vr::ResolveFirstWord(line.text), line, windowMode, process);
    const int32_t result = started ? WaitForCode(process) : kNotStartedHidden;
    FileDelete(kBatchFile);
    return result;
}

// The number after a sign may follow blanks, but only digits directly after the sign are skipped.
Sign ReadSign(const char* afterSign) {
    const size_t digits = std::strspn(afterSign, kDigits);
    return {vr::NumberAt(afterSign), digits != 0, afterSign + digits};
}

int32_t WindowModeOf(const Sign& sign) {
    return std::clamp(sign.number, 0, kLargestWindowMode);
}

int32_t RunDirectly(const Sign& sign, bool waits) {
    const int32_t windowMode = sign.number != 0 ? WindowModeOf(sign) : kMaximizedWindow;
    if (*sign.rest == '\0') return RunShellAlone(windowMode);
    const CommandLine line = MakeLine("%s", sign.rest);
    return waits ? RunAndWait(line, windowMode) : RunAlone(line, windowMode);
}

int32_t RunMinus(const Sign& sign, const char* outputFile) {
    const int32_t windowMode = WindowModeOf(sign);
    if (windowMode != 0) return RunInShell(sign.rest, outputFile, windowMode);
    return RunHidden(sign.rest, outputFile, sign.hasDigits ? kHiddenWindow : kDefaultWindow);
}

}  // namespace

int32_t System(const char* command, const char* outputFile) {
    if (command == nullptr) command = "";
    while (vr::IsSpace(*command))
        ++command;
    switch (*command) {
        case '&':
        case '+':
            return RunDirectly(ReadSign(command + 1), *command == '+');
        case '-':
            return RunMinus(ReadSign(command + 1), outputFile);
        default:
            return RunInShell(command, outputFile, kMaximizedWindow);
    }
}

const char* GetPortNumber() {
    const char* port = DLLGetEnv("VRLPORT");
    return port == nullptr ? "Unknown" : port;
}

void GoToSleep(uint32_t seconds) {
    constexpr uint32_t kMostSeconds = UINT32_MAX / 1000;
    Sleep(std::min(seconds, kMostSeconds) * 1000);
}
