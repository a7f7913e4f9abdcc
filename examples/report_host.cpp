// A host that prints a table of chosen fields of many records. The records are objects
// of a cache: as many of their texts stay in memory as VRLCACHESIZE allows, and one that
// was released is read again when it is wanted. The table takes two passes over the
// records, one for the widths of its columns and one for its lines.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "help.h"
#include "report_dictionary.h"
#include "report_source.h"
#include "shown_text.h"
#include "vr/owned.hpp"
#include "vr/vr.h"

namespace {

constexpr int kExitOk = 0;
constexpr char kUsage[] = R"(Usage: report_host DICTIONARY PATH FIELD...
Print a table of fields of stored records.

PATH is a file of records, one a line, or a folder of them, one a file.
DICTIONARY has lines of NAME ATTRIBUTE [date]; a FIELD is one of these names.

The exit status is 0, or 2 after a bad request.
)";

constexpr int kExitBadRequest = 2;
constexpr int32_t kBuckets = 4093;
constexpr size_t kWidestColumn = 40;
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// What the cache holds for a record; the body is null while it is released.
struct Object {
    StoredRecord stored;
    VrString body;
};

struct Report {
    Cache* cache = nullptr;
    std::vector<Object> objects;
    std::vector<Field> columns;
    std::vector<size_t> widths;
    VrString fieldList = nullptr;  // the columns' attribute numbers
    bool international = false;
    int released = 0;
    int readAgain = 0;
};

void ReleaseBody(VrWord object, VrWord owner) {
    free_mem(&reinterpret_cast<Object*>(object)->body);
    ++reinterpret_cast<Report*>(owner)->released;
}

void DestroyObject(VrWord object, VrWord) {
    free_mem(&reinterpret_cast<Object*>(object)->body);
}

std::string DateText(const Report& report, const std::string& days) {
    char* end = nullptr;
    const long number = std::strtol(days.c_str(), &end, 10);
    if (end == days.c_str() || *end != '\0') return days;
    int32_t month = 0;
    int32_t day = 0;
    int32_t year = 0;
    DaysToDate(static_cast<int32_t>(number), &month, &day, &year);
    if (month < 0 || month > 11) return days;  // long before our era
    char text[40];
    if (report.international) {
        std::snprintf(text, sizeof text, "%d %s %d", day, kMonths[month], year);
    } else {
        std::snprintf(text, sizeof text, "%s %d %d", kMonths[month], day, year);
    }
    return text;
}

// Values and subvalues show divided by a semicolon and a comma.
std::string FieldText(const Report& report, const Field& field, VrString text) {
    UtilSwapChar(text, kVrValueMark, ';');
    UtilSwapChar(text, kVrSubvalueMark, ',');
    const std::string shown(vr::View(text));
    return field.isDate ? DateText(report, shown) : shown.substr(0, kWidestColumn);
}

// The record's body, brought back if it was released.
VrString BodyOf(Report& report, const char* name) {
    auto& object = *reinterpret_cast<Object*>(CacheLookup(report.cache, name));
    if (object.body == nullptr) {
        object.body = LoadRecord(object.stored);
        CacheIncrObjStr(report.cache, name);
        ++report.readAgain;
    }
    return object.body;
}

// The texts of the record's columns. The body must not be released meanwhile.
std::vector<std::string> Cells(Report& report, const char* name) {
    CacheStackCountInc(report.cache, name);
    VrString chosen = UtilGetFieldsFromVrString(BodyOf(report, name), report.fieldList);
    CacheStackCountDec(report.cache, name);

    std::vector<std::string> cells;
    int32_t cursor = kVrFirstCursor;
    for (const Field& column : report.columns) {
        VrString text = nullptr;
        cursor = UtilGetNextAttribute(chosen, cursor, &text, 0);
        cells.push_back(FieldText(report, column, text));
        free_mem(&text);
    }
    free_mem(&chosen);
    return cells;
}

void PrintCells(const Report& report, const std::vector<std::string>& cells) {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        line.append(report.widths[i] + 2 - std::min(cells[i].size(), report.widths[i]), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    line = Shown(line, stdout) + '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

void InstallRecords(Report& report) {
    for (Object& object : report.objects) {
        object.body = LoadRecord(object.stored);
        CacheInstall(report.cache, object.stored.name.c_str(), reinterpret_cast<VrWord>(&object),
                     object.stored.length, 0);
    }
}

void MeasureColumns(Report& report) {
    for (const Field& column : report.columns)
        report.widths.push_back(std::strlen(QuarkToString(column.name)));
    for (const Object& object : report.objects) {
        const std::vector<std::string> cells = Cells(report, object.stored.name.c_str());
        for (size_t i = 0; i < cells.size(); ++i)
            report.widths[i] = std::max(report.widths[i], cells[i].size());
    }
}

void PrintTable(Report& report) {
    std::vector<std::string> heading;
    std::vector<std::string> rule;
    for (size_t i = 0; i < report.columns.size(); ++i) {
        heading.emplace_back(QuarkToString(report.columns[i].name));
        rule.emplace_back(report.widths[i], '-');
    }
    PrintCells(report, heading);
    PrintCells(report, rule);
    for (const Object& object : report.objects)
        PrintCells(report, Cells(report, object.stored.name.c_str()));
    std::printf("%zu records; the cache released %d, and %d were read again\n",
                report.objects.size(), report.released, report.readAgain);
}

std::string Names(const std::vector<Field>& fields) {
    std::string names;
    for (const Field& field : fields)
        names += std::string(" ") + QuarkToString(field.name);
    return names;
}

bool ChooseColumns(Report& report, const std::vector<Field>& fields, char** names, int count) {
    report.fieldList = StrToVrStr(nullptr);
    for (int i = 0; i < count; ++i) {
        const Field* field = FindField(fields, names[i]);
        if (field == nullptr) {
            std::fprintf(stderr, "report_host: %s: no such field; the dictionary has:%s\n",
                         Shown(names[i], stderr).c_str(), Shown(Names(fields), stderr).c_str());
            return false;
        }
        report.columns.push_back(*field);
        VrString number = StrToVrStr(std::to_string(field->attribute).c_str());
        UtilPosition end = {-1, 0, 0, kVrFirstCursor};
        VrString before = report.fieldList;
        report.fieldList = UtilInsertReplace(&end, before, number, 0);
        if (report.fieldList != before) free_mem(&before);
        free_mem(&number);
    }
    return true;
}

bool FindObjects(Report& report, const char* path) {
    std::vector<StoredRecord> stored;
    if (!FindRecords(path, stored)) {
        std::fprintf(stderr, "report_host: %s: no such file or folder of records\n",
                     Shown(path, stderr).c_str());
        return false;
    }
    for (const StoredRecord& record : stored)
        report.objects.push_back({record, nullptr});
    return true;
}

int Run(int argc, char** argv) {
    std::vector<Field> fields;
    if (!ReadDictionary(argv[1], fields)) {
        std::fprintf(stderr, "report_host: %s: no such file that can be read as a dictionary\n",
                     Shown(argv[1], stderr).c_str());
        return kExitBadRequest;
    }
    Report report;
    report.international = EnvironInternationalDate() != 0;
    const bool good =
        FindObjects(report, argv[2]) && ChooseColumns(report, fields, argv + 3, argc - 3);
    if (good) {
        report.cache =
            CacheCreate(kBuckets, DestroyObject, ReleaseBody, reinterpret_cast<VrWord>(&report));
        InstallRecords(report);
        MeasureColumns(report);
        PrintTable(report);
        CacheDestroy(report.cache);
    }
    free_mem(&report.fieldList);
    return good ? kExitOk : kExitBadRequest;
}

}  // namespace

int main(int argc, char** argv) {
    if (AsksForHelp(argc, argv)) return PrintUsage(kUsage, stdout, kExitBadRequest);
    if (argc < 4) return PrintUsage(kUsage, stderr, kExitBadRequest);
    const UtilInitRecord start = {};
    UtilInit(&start);
    files_init();
    int result = Run(argc, argv);
    if (std::fflush(stdout) != 0) {
        std::fputs("report_host: the output cannot be written\n", stderr);
        result = kExitBadRequest;
    }
    VrExit(result);
    return result;
}
