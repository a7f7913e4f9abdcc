// Names on disk and command lines. No program is ever started: the platform reports the
// command line instead, and its words are taken apart as for a start.

#include "fuzz/fuzz.h"
#include "linux/commandline.h"

namespace {

void CheckMappedName(const Array& name, std::string extension, bool bare) {
    std::erase_if(extension, [](char c) { return c == '\\' || c == '/'; });  // else it is a path
    const Array result(OsFileName(name, bare ? nullptr : extension.data()));
    const std::string mapped = BytesOf(result);
    const size_t dot = std::min(mapped.find('.'), mapped.size());
    HOLDS(mapped.size() <= 12);
    HOLDS(bare || dot <= 8);
    HOLDS(mapped.empty() || FileStatus(mapped.c_str()) == -1);
    HOLDS(mapped.substr(0, dot).find_first_of("\"\x01\\|+/:;,-[]{}*?$><= ") == mapped.npos);
}

void CheckPaths(const Array& name, std::string prefix) {
    const std::string expanded = TakeBytes(EnvironFileName(name));
    HOLDS(expanded.find('/') == expanded.npos);
    std::string plain = BytesOf(name);
    std::replace(plain.begin(), plain.end(), '/', '\\');
    HOLDS(plain.starts_with('$') || expanded == plain);
    const std::string full = TakeBytes(GetFullPath(name));
    HOLDS(full.size() < 255);
    HOLDS(full.empty() || full.substr(1, 2) == ":\\");
    HOLDS(TakeBytes(GetFullPath(Array(StringOfBytes(full)))) == full);
    VrString base = ExtractBaseName(name, prefix.data());
    HOLDS(base == nullptr || BytesOf(name).ends_with(TakeBytes(base)));
    HOLDS(TakeBytes(OsFileLongName(name, prefix.c_str())).size() <= 390);
}

// Words in quotes come out of a line as they were.
void CheckQuotedWords(Input& in) {
    std::vector<std::string> words = {"/bin/sh"};
    std::string line = "/bin/sh";
    for (int32_t left = in.Below(5); left != 0; --left) {
        line += " \"";
        size_t backslashes = 0;
        for (const char c : words.emplace_back(in.Line())) {
            line.append(c == '"' ? backslashes + 1 : 0, '\\') += c;
            backslashes = c == '\\' ? backslashes + 1 : 0;
        }
        line.append(backslashes, '\\') += '"';
    }
    vrplatform::HostCommand command;
    HOLDS(vrplatform::ParseCommandLine(line, command) == 0);
    HOLDS(command.words == words);
}

// In place of a start.
int32_t Record(void* started, const char* line, int32_t, uint32_t* code) {
    vrplatform::HostCommand command;
    ++*static_cast<size_t*>(started);
    HOLDS(std::strlen(line) < 260);
    *code = uint32_t(vrplatform::ParseCommandLine(line, command));
    return kProgramRan;
}

void CheckSystem(const std::string& text, const std::string& output) {
    size_t started = 0;
    ControlPrograms(Record, &started);
    System(text.c_str(), output.c_str());
    HOLDS(started <= 1);
    HOLDS(boxesShown.shown.size() == 1 - started);
    HOLDS(FileStatus("__aavrtm.bat") == -1);
}

}  // namespace

void TryInput(Input& in) {
    static const bool isPrepared = [] {
        for (const char* name : {"A", "AB1", "ABC.DAT", "COMMAND.BAT", "run.bat"})
            WriteFile(name, "first\r\nsecond\r\n");
        setenv("PATH", ".", 1);
        setenv("A", "C:\\a\\", 1);
        return setenv("B", "$A/b", 1) == 0 && files_init() == 1;
    }();
    HOLDS(isPrepared);
    const bool bare = in.Below(2) == 0;
    ControlPlatformNumber(uint32_t(1 + in.Below(2)));
    const std::string text = in.Line();
    const std::string other = in.Line();
    const Array name(StringOfBytes(text));
    CheckMappedName(name, other, bare);
    CheckPaths(name, other);
    CheckSystem(text, other);
    CheckQuotedWords(in);
}
