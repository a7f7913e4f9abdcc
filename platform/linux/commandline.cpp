// Command lines. The first word decides: the shell by its words, a batch file by its
// name, and otherwise a program that gets the words after it.

#include "linux/commandline.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "linux/insist.h"
#include "linux/owned.h"
#include "linux/paths.h"
#include "linux/redirects.h"
#include "linux/resolve.h"
#include "platform/text.h"

namespace vrplatform {

namespace {

constexpr char kShell[] = "/bin/sh";
constexpr char kBlanks[] = " \t";
constexpr char kCtrlZ = 26;
constexpr int kNoSuchProgram = 2;
constexpr int kNoSuchDirectory = 3;
constexpr int kAccessDenied = 5;
constexpr int kNoMemory = 8;
constexpr off_t kLargestBatch = off_t{128} * 1024;

bool Same(const std::string& a, const char* b) {
    return lstrcmpiA(a.c_str(), b) == 0;
}

bool HasExtension(const std::string& name, const char* extension) {
    const size_t dot = name.find_last_of('.');
    return dot != std::string::npos && Same(name.substr(dot), extension);
}

bool IsShellWord(const std::string& word) {
    return Same(word, "CMD") || Same(word, "CMD.EXE") || Same(word, "COMMAND") ||
           Same(word, "COMMAND.COM");
}

bool IsBatchName(const std::string& name) {
    return HasExtension(name, ".bat") || HasExtension(name, ".cmd");
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// Takes a run of backslashes, and the quote after it if there is one. Before a quote two of them
// stand for one, and an odd one makes the quote an ordinary byte.
void TakeBackslashes(const std::string& line, size_t& at, std::string& word, bool& quoted) {
    const size_t end = std::min(line.find_first_not_of('\\', at), line.size());
    const size_t backslashes = end - at;
    const bool quote = end < line.size() && line[end] == '"';
    word.append(quote ? backslashes / 2 : backslashes, '\\');
    at = quote ? end + 1 : end;
    if (!quote) return;
    if (backslashes % 2 == 0) {
        quoted = !quoted;
    } else {
        word += '"';
    }
}

// Takes the next word off the line.
std::string TakeWord(const std::string& line, size_t& at) {
    std::string word;
    bool quoted = false;
    while (at < line.size() && (quoted || !IsBlank(line[at]))) {
        if (line[at] == '\\' || line[at] == '"') {
            TakeBackslashes(line, at, word, quoted);
        } else {
            word += line[at++];
        }
    }
    return word;
}

void PassBlanks(const std::string& line, size_t& at) {
    at = std::min(line.find_first_not_of(kBlanks, at), line.size());
}

bool IsFile(const std::string& hostPath) {
    struct stat status;
    return stat(hostPath.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Whether a bare name may stand for this file: a data file must not hide a program of that name in
// a later place.
bool IsRunnable(const std::string& hostPath) {
    return IsFile(hostPath) && (IsBatchName(hostPath) || access(hostPath.c_str(), X_OK) == 0);
}

bool IsProgramHere(const std::string& hostDirectory, const std::string& name, std::string& found) {
    for (const char* extension : {"", ".exe"}) {
        found = hostDirectory;
        found.append("/").append(name).append(extension);
        if (IsRunnable(found)) return true;
    }
    return false;
}

std::string OwnDirectory() {
    char path[kHostPathSize];
    const std::string own = ExecutablePath(path) ? path : "";
    return own.substr(0, own.find_last_of('/'));
}

bool FindByPath(const std::string& name, bool (*fits)(const std::string&), std::string& found) {
    for (const char* extension : {"", ".exe"}) {
        char hostPath[kHostPathSize];
        if (!HostPath((name + extension).c_str(), hostPath) || !fits(hostPath)) continue;
        found = hostPath;
        return true;
    }
    return false;
}

bool FindInPath(const std::string& name, std::string& found) {
    const char* variable = std::getenv("PATH");
    std::string path = variable == nullptr ? "/usr/bin:/bin" : variable;
    while (!path.empty()) {
        const std::string directory = path.substr(0, path.find(':'));
        path.erase(0, directory.size() + 1);
        if (!directory.empty() && IsProgramHere(directory, name, found)) return true;
    }
    return false;
}

bool FindProgram(const std::string& name, std::string& found) {
    if (name.empty()) return false;
    if (name.find_first_of("\\/:") != std::string::npos) return FindByPath(name, IsFile, found);
    return IsProgramHere(OwnDirectory(), name, found) || FindByPath(name, IsRunnable, found) ||
           FindInPath(name, found);
}

// Sets `at` after the program's name. An unquoted name grows word by word until it is
// a file.
bool FindFirstWord(const std::string& line, size_t& at, std::string& found) {
    if (line[at] == '"') return FindProgram(TakeWord(line, at), found);
    const size_t start = at;
    while (at < line.size()) {
        at = std::min(line.find_first_of(kBlanks, at), line.size());
        if (FindProgram(line.substr(start, at - start), found)) return true;
        PassBlanks(line, at);
    }
    return false;
}

int NotFound(const std::string& name) {
    const size_t separator = name.find_last_of("\\/");
    if (separator == std::string::npos) return kNoSuchProgram;
    char directory[kHostPathSize];
    struct stat status;
    const bool exists =
        HostPath(name.substr(0, separator + 1).c_str(), directory) && stat(directory, &status) == 0;
    return exists ? kNoSuchProgram : kNoSuchDirectory;
}

enum class Batch { IsRead, IsNone, TooLarge, Denied };

// Whether nobody but the user and the superuser can have written the file under another name.
bool IsOnesOwn(const struct stat& status) {
    return (status.st_uid == geteuid() || status.st_uid == 0) && status.st_nlink == 1;
}

// A batch file's lines as a text for the shell. The name may be that of a pipe by now, and opening
// it would wait for the other side.
Batch ReadBatch(const std::string& hostPath, bool mustBeOwn, std::string& text) {
    const Descriptor file(OpenResolved(hostPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0));
    struct stat status;
    if (!file.IsOpen()) return errno == EACCES ? Batch::Denied : Batch::IsNone;
    if (fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return Batch::IsNone;
    if (mustBeOwn && !IsOnesOwn(status)) return Batch::Denied;
    if (status.st_size > kLargestBatch) return Batch::TooLarge;
    text.resize(static_cast<size_t>(status.st_size));
    const ssize_t length = ReadAll(file.Get(), text.data(), text.size());
    if (length < 0) return Batch::IsNone;
    text.resize(static_cast<size_t>(length));
    text.resize(std::min(text.find(kCtrlZ), text.size()));
    std::erase_if(text, [](char c) { return c == '\r' || c == '\0'; });
    text = WithHostRedirects(text);
    return Batch::IsRead;
}

// The text's $0 and $1 are the words.
HostCommand ShellCommand(const std::string& text, const std::vector<std::string>& words) {
    HostCommand command = {kShell, {"sh", "-c", "--", text}};
    command.words.insert(command.words.end(), words.begin(), words.end());
    return command;
}

// A batch file, with its own name first among the words, or whatever else is found there.
int FileCommand(const std::string& hostPath, const std::vector<std::string>& words,
                HostCommand& command) {
    std::string text;
    const Batch batch = IsBatchName(hostPath) ? ReadBatch(hostPath, false, text) : Batch::IsNone;
    if (batch == Batch::TooLarge) return kNoMemory;
    if (batch == Batch::Denied) return kAccessDenied;
    command = batch == Batch::IsRead ? ShellCommand(text, words) : HostCommand{hostPath, words};
    return 0;
}

// The text after /c may begin with the name of a batch file, which runs in a shell of its own; what
// follows the name, a redirect maybe, is for the shell around it. A file in the current directory,
// where hosts write their temporary ones, must belong to the user.
int TextCommand(const std::string& text, HostCommand& command) {
    std::string found;
    std::string lines;
    size_t afterName = 0;
    const std::string name = TakeWord(text, afterName);
    const bool isFile = IsBatchName(name) && FindByPath(name, IsFile, found);
    const bool isBare = name.find_first_of("\\/:") == name.npos;
    const Batch batch = isFile ? ReadBatch(found, isBare, lines) : Batch::IsNone;
    if (batch == Batch::TooLarge) return kNoMemory;
    if (batch == Batch::Denied) return kAccessDenied;
    if (batch == Batch::IsNone) {
        command = ShellCommand(WithHostRedirects(text), {});
        return 0;
    }
    const std::string rest = WithHostRedirects(text.substr(afterName));
    command = ShellCommand("sh -c -- \"$1\" \"$0\"" + rest, {name, lines});
    return 0;
}

int ParseShellLine(const std::string& line, size_t at, HostCommand& command) {
    for (PassBlanks(line, at); line.size() >= at + 2 && line[at] == '/'; PassBlanks(line, at)) {
        if ((line[at + 1] | 0x20) != 'c') {
            at = std::min(line.find_first_of(kBlanks, at), line.size());
            continue;
        }
        at += 2;
        PassBlanks(line, at);
        return TextCommand(line.substr(at), command);
    }
    command = {kShell, {"sh"}};
    return 0;
}

}  // namespace

int ParseCommandLine(const std::string& line, HostCommand& command) {
    size_t at = 0;
    PassBlanks(line, at);
    if (at == line.size()) return kNoSuchProgram;
    size_t afterWord = at;
    const std::string word = TakeWord(line, afterWord);
    if (IsShellWord(word)) return ParseShellLine(line, afterWord, command);
    std::string found;
    if (!FindFirstWord(line, at, found)) return NotFound(word);
    std::vector<std::string> words = {word};
    for (PassBlanks(line, at); at < line.size(); PassBlanks(line, at))
        words.push_back(TakeWord(line, at));
    return FileCommand(found, words, command);
}

}  // namespace vrplatform
