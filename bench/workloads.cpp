// Five fixed pieces of work, whose instructions scripts/instructions counts:
//   workloads blocks|walk|edit|lookup|files
// They do the same in every run, in the current folder.

#include <cstring>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "vr/vr.h"

namespace {

constexpr char kAttributeMark = static_cast<char>(kVrAttributeMark);

// A row of numbers that looks random and is the same everywhere.
class Numbers {
public:
    uint32_t Below(uint32_t limit) {
        last_ = last_ * 1664525 + 1013904223;
        return (last_ >> 8) % limit;
    }

private:
    uint32_t last_ = 1;
};

VrString RecordOf(uint32_t attributes, uint32_t length) {
    std::string text;
    for (uint32_t i = 0; i < attributes; ++i)
        text.append(length, static_cast<char>('a' + i % 26)) += kAttributeMark;
    text.pop_back();
    VrString s = alloc_string(static_cast<uint32_t>(text.size()));
    std::memcpy(VrStrText(s), text.data(), text.size());
    return s;
}

// A thousand blocks of up to 100 bytes at a time, each replaced at random.
void Blocks() {
    constexpr uint32_t kLive = 1000;
    void* blocks[kLive] = {};
    Numbers numbers;
    for (int round = 0; round < 200000; ++round) {
        void*& block = blocks[numbers.Below(kLive)];
        free_mem(&block);
        block = alloc_memory(1 + numbers.Below(100));
    }
    for (void*& block : blocks)
        free_mem(&block);
}

void Walk() {
    VrString record = RecordOf(2000, 12);
    const int32_t end = record->length + kVrFirstCursor;
    alignas(4) char buffer[100];
    for (int round = 0; round < 50; ++round) {
        for (int32_t cursor = kVrFirstCursor; cursor < end;) {
            auto element = reinterpret_cast<VrString>(buffer);
            cursor = UtilGetNextAttribute(record, cursor, &element, sizeof buffer);
        }
        for (int32_t cursor = kVrFirstCursor; cursor < end;) {
            VrString element = nullptr;
            cursor = UtilGetNextValue(record, cursor, &element, 0);
            free_mem(&element);
        }
        VrString last = extract_field(2000, 1, 0, record);
        free_mem(&last);
    }
    free_mem(&record);
}

void Change(VrString& record, int32_t attribute, int32_t value, VrString element, bool replace) {
    UtilPosition position = {attribute, value, 0, 0};
    VrString changed = UtilInsertReplace(&position, record, element, replace ? 1 : 0);
    if (changed != record) free_mem(&record);
    record = changed;
}

// Sweeps over a record, elements of other lengths here and there, and a record that is built.
void Edit() {
    constexpr int32_t kAttributes = 2000;
    VrString record = RecordOf(kAttributes, 20);
    VrString same = StrToVrStr("twenty bytes of text");
    VrString longer = StrToVrStr("more than twenty bytes of text");
    for (int round = 0; round < 10; ++round) {
        for (int32_t attribute = 1; attribute <= kAttributes; ++attribute)
            Change(record, attribute, 0, same, true);
    }
    Numbers numbers;
    for (int round = 0; round < 1000; ++round) {
        const auto attribute = static_cast<int32_t>(1 + numbers.Below(kAttributes));
        Change(record, attribute, 0, round % 2 == 0 ? longer : same, true);
        Change(record, attribute, 1 + round % 3, same, round % 5 != 0);
    }
    free_mem(&record);

    record = VR_SHARED_STRING(NullVrStr);
    for (int32_t attribute = 1; attribute <= 10 * kAttributes; ++attribute)
        Change(record, -1, 0, same, false);
    free_mem(&record);
    free_mem(&same);
    free_mem(&longer);
}

void Lookup() {
    constexpr uint32_t kKeys = 5000;
    HashTable* table = HashTableCreate(2048, nullptr, 0, 0);
    for (uint32_t i = 1; i <= kKeys; ++i) {
        const std::string key = "KEY*" + std::to_string(i * 7);
        HashTableInstall(table, key.c_str(), i);
        Quark(key.c_str());
    }
    Numbers numbers;
    for (int round = 0; round < 100000; ++round) {
        const std::string key = "KEY*" + std::to_string(1 + numbers.Below(kKeys * 7));
        HashTableLookup(table, key.c_str());
    }
    for (int32_t quark = 1; quark <= static_cast<int32_t>(kKeys); ++quark)
        Quark(QuarkToString(quark));
    HashTableDestroy(table);

    const int32_t handles = tblCreate("workload", 32, 0, nullptr);
    for (int round = 0; round < 2000; ++round)
        TblAllocHnd(handles);
    for (int round = 0; round < 200000; ++round)
        TblHndToPtr(handles, static_cast<int32_t>(numbers.Below(2000)));
    TblDestroy(handles);
}

void CopyText(const char* from, const char* to) {
    int32_t in = -1;
    int32_t out = -1;
    OsOpen(from, kOpenReadOnly | kOpenText, 0, &in);
    OsOpen(to, kOpenReadWrite | kOpenCreate | kOpenText, kPermissionRead | kPermissionWrite, &out);
    char buffer[4096];
    for (;;) {
        const int32_t count = OsRead(in, buffer, sizeof buffer);
        if (count <= 0) break;
        OsWrite(out, buffer, static_cast<uint32_t>(count));
    }
    OsClose(in);
    OsClose(out);
}

// Text copied, keys taken and given back, settings asked for.
void Files() {
    std::string text;
    for (int line = 0; line < 10000; ++line)
        text += "line " + std::to_string(line) + " of a text\r\n";
    int32_t file = -1;
    OsOpen("FROM", kOpenReadWrite | kOpenCreate | kOpenBinary, kPermissionRead | kPermissionWrite,
           &file);
    OsWrite(file, text.data(), static_cast<uint32_t>(text.size()));
    OsClose(file);
    for (int round = 0; round < 10; ++round)
        CopyText("FROM", "TO");

    VrLockHandle locks = 0;
    LockRegister("FROM", &locks);
    for (int round = 0; round < 5000; ++round) {
        VrString key = StrToVrStr(("KEY*" + std::to_string(round)).c_str());
        LockLockKey(locks, key, 0, 0);
        LockUnlockKey(locks, key);
        free_mem(&key);
        char* setting = IniGetString("Section5", "Key5", "");
        free_mem(&setting);
    }
    LockDeregister(locks);
}

struct Workload {
    std::string_view name;
    void (*run)();
};

constexpr Workload kWorkloads[] = {
    {"blocks", Blocks}, {"walk", Walk}, {"edit", Edit}, {"lookup", Lookup}, {"files", Files}};

}  // namespace

int main(int argc, char** argv) {
    const std::string_view wanted = argc == 2 ? argv[1] : "";
    for (const Workload& workload : kWorkloads) {
        if (workload.name != wanted) continue;
        const UtilInitRecord start = {0, 0, "workload.ini"};
        if (UtilInit(&start) != 1) return 1;
        files_init();
        LockInit();
        workload.run();
        VrExit(0);
        return 0;
    }
    return 2;
}
