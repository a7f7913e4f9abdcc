// A host that writes records as comma-separated values, and stores such rows as records. A text
// is checked to its end before its first record is stored; each record is then replaced under
// its key, so a host that edits one meanwhile loses nothing.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "csv_record.h"
#include "csv_text.h"
#include "platform/files.h"
#include "report_source.h"
#include "shown_text.h"
#include "vr/owned.hpp"
#include "vr/vr.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 2;
constexpr int kExitHeldElsewhere = 3;
constexpr int32_t kLongestFile = 512 * 1024 * 1024;
constexpr int kFirstNoData = 252;

struct Arguments {
    bool good = true;
    bool wait = false;
    MarkCharacters marks;
    std::vector<const char*> words;  // command and paths
};

int Usage() {
    std::fputs(
        "usage: csv_host [OPTION...] export PATH         write records as CSV to standard output\n"
        "       csv_host [OPTION...] import FOLDER FILE  store each row of FILE as a record\n"
        "PATH is a folder of records, one a file, or a file of records, one a line, whose keys\n"
        "are the lines' numbers. A row is a key and then a field for each attribute.\n"
        "  --marks VS  write the marks of values and subvalues as V and S, and not as ] and \\\n"
        "  --wait      wait for a record that another process holds; otherwise leave it out\n"
        "              and exit with 3\n",
        stderr);
    return kExitFailed;
}

int Complain(std::string_view what, const char* why) {
    std::fprintf(stderr, "csv_host: %s: %s\n", Shown(std::string(what), stderr).c_str(), why);
    return kExitFailed;
}

int Complain(const std::string& path, int32_t result) {
    char why[300];
    VrRecordExplain(result, path.c_str(), why, sizeof why);
    Complain(path, why);
    return result == kVrRecordHeldElsewhere ? kExitHeldElsewhere : kExitFailed;
}

// A failure takes precedence over a key that was held elsewhere, and that over success.
int Worse(int a, int b) {
    return a == kExitFailed || b == kExitOk ? a : b;
}

bool SetMarks(Arguments& arguments, const char* text) {
    if (text == nullptr || std::strlen(text) != 2 || text[0] == text[1]) return false;
    arguments.marks = {text[0], text[1]};
    return static_cast<unsigned char>(text[0]) < kFirstNoData &&
           static_cast<unsigned char>(text[1]) < kFirstNoData;
}

Arguments ParseArguments(int argc, char** argv) {
    Arguments arguments;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--wait") == 0) {
            arguments.wait = true;
        } else if (std::strcmp(argv[i], "--marks") == 0) {
            if (SetMarks(arguments, argv[++i])) continue;
            Complain("--marks", "needs two characters that differ and are not marks");
            arguments.good = false;
        } else if (std::strncmp(argv[i], "--", 2) == 0) {
            Complain(argv[i], "no such option");
            arguments.good = false;
        } else {
            arguments.words.push_back(argv[i]);
        }
    }
    return arguments;
}

// Reads a plain file whole.
bool ReadFile(const char* path, std::string& text) {
    const vr::File file(path, kOpenReadOnly | kOpenBinary);
    if (!file || !IsPlainFile(file.get())) return false;
    const int32_t length = OsFileLength(file.get());
    if (length > kLongestFile) return false;
    text.resize(static_cast<size_t>(length));
    return OsRead(file.get(), text.data(), static_cast<uint32_t>(length)) == length;
}

int ExportRecord(const Arguments& arguments, const std::string& key, std::string_view record) {
    if (const char* why = WhyNoRow(record, arguments.marks)) return Complain(key, why);
    const std::string row = Shown(RowOf(key, record, arguments.marks), stdout) + "\r\n";
    std::fwrite(row.data(), 1, row.size(), stdout);
    return kExitOk;
}

int ExportLines(const Arguments& arguments, std::string_view text) {
    int result = kExitOk;
    for (int line = 1; !text.empty(); ++line) {
        const std::string_view record = text.substr(0, text.find('\n'));
        result = Worse(result, ExportRecord(arguments, std::to_string(line), record));
        text.remove_prefix(std::min(record.size() + 1, text.size()));
    }
    return result;
}

int ExportFile(const Arguments& arguments, const std::string& folder, const char* name) {
    const std::string path = folder + '\\' + name;
    vr::String record;
    const int32_t read = VrRecordRead(path.c_str(), 0, record.out());
    return read == kVrRecordDone ? ExportRecord(arguments, name, record) : Complain(path, read);
}

int Export(const Arguments& arguments, const char* path) {
    std::string text;
    if (ReadFile(path, text)) return ExportLines(arguments, text);
    VrRecordList* list = VrRecordListFolder(path);
    if (list == nullptr) return Complain(path, "no such folder or plain file of up to 512 MB");
    int result = kExitOk;
    for (const VrRecordEntry& entry : std::span(list->entries, static_cast<size_t>(list->count)))
        result = Worse(result, ExportFile(arguments, path, entry.name));
    VrRecordListFree(list);
    return result;
}

// Whether each row is a record, and no two rows are the same one: case does not count in file
// names.
int CheckRows(std::string_view text) {
    CsvReader reader(text);
    std::set<std::string> keys;
    std::vector<std::string> row;
    const char* why = nullptr;
    while (why == nullptr && reader.Next(row)) {
        why = WhyNoRecord(row);
        ToLower(row.front().data());
        if (why == nullptr && !keys.insert(row.front()).second) why = "a key that was there before";
    }
    if (why == nullptr) why = reader.Fault();
    if (why == nullptr) return kExitOk;
    return Complain("row " + std::to_string(reader.RowNumber()), why);
}

int StoreRecord(const Arguments& arguments, const std::string& path, const vr::String& record) {
    const vr::Key key(path.c_str(), arguments.wait ? kVrRecordWait : kVrRecordTryOnce);
    if (!key) return Complain(path, key.result());
    const int32_t stored = VrRecordReplace(path.c_str(), record.get(), key.get());
    return stored == kVrRecordDone ? kExitOk : Complain(path, stored);
}

int StoreRows(const Arguments& arguments, const std::string& folder, std::string_view text) {
    CsvReader reader(text);
    std::vector<std::string> row;
    int result = kExitOk;
    int count = 0;
    while (reader.Next(row)) {
        const vr::String record = RecordOf(row, arguments.marks);
        const int stored = StoreRecord(arguments, folder + '\\' + row.front(), record);
        if (stored == kExitOk) ++count;
        result = Worse(result, stored);
    }
    std::printf("%d of %d records stored\n", count, reader.RowNumber());
    return result;
}

int Import(const Arguments& arguments, const char* folder, const char* file) {
    std::string text;
    if (FileIsDirectory(folder) == 0) return Complain(folder, "no such folder");
    if (!ReadFile(file, text)) return Complain(file, "no plain file of up to 512 MB");
    const int checked = CheckRows(text);
    if (checked != kExitOk) std::puts("nothing stored");
    return checked == kExitOk ? StoreRows(arguments, folder, text) : checked;
}

bool IsCommand(const Arguments& arguments, const char* verb, size_t words) {
    return arguments.words.size() == words && std::strcmp(arguments.words[0], verb) == 0;
}

int Run(const Arguments& arguments) {
    const std::vector<const char*>& words = arguments.words;
    if (IsCommand(arguments, "export", 2)) return Export(arguments, words[1]);
    if (IsCommand(arguments, "import", 3)) return Import(arguments, words[1], words[2]);
    return Usage();
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments arguments = ParseArguments(argc, argv);
    if (!arguments.good) return Usage();
    UtilInit(nullptr);
    files_init();
    LockInit();
    int result = Run(arguments);
    if (std::fflush(stdout) != 0) result = Complain("the output", "cannot be written");
    VrExit(result);
    return result;
}
