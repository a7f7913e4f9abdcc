// What the safe edit returns for each thing that can be in its way, and what it lists.

#include "vr/record.h"

#include "tests/support/library_test.h"

namespace {

struct RecordTest : FilesTest {
    RecordTest() {
        StartWithFiles();
    }
    // The record's text, or the number of the result.
    static std::string Read(const char* path, int32_t limit = 0) {
        VrString record = nullptr;
        const int32_t result = VrRecordRead(path, limit, &record);
        if (result == kVrRecordDone) return TakeText(record);
        EXPECT_EQ(record, nullptr);
        return std::to_string(result);
    }
    static int32_t Replace(const char* path, const char* text, const VrRecordKey* key = nullptr) {
        return VrRecordReplace(path, Array(text), key);
    }
    static std::string Names(const char* folder) {
        VrRecordList* list = VrRecordListFolder(folder);
        if (list == nullptr) return "none";
        std::string names;
        for (int32_t i = 0; i < list->count; ++i)
            names += std::string(list->entries[i].name) + ':' +
                     std::to_string(list->entries[i].length) + ' ';
        VrRecordListFree(list);
        return names;
    }
};

TEST_F(RecordTest, Reading) {
    WriteFile("REC", Marked("a^b"));
    WriteFile("EMPTY", "");
    std::filesystem::create_directory("FOLDER");
    WriteFile("LONG", "");
    std::filesystem::resize_file("LONG", kVrLongestString + 1);
    EXPECT_EQ(Read("rec"), "a^b");
    EXPECT_EQ(Read("REC", 3), "a^b");
    EXPECT_EQ(Read("REC", 2), std::to_string(kVrRecordTooLong));
    EXPECT_EQ(Read("LONG", INT32_MAX), std::to_string(kVrRecordTooLong));
    EXPECT_EQ(Read("EMPTY"), "");
    EXPECT_EQ(Read("none"), std::to_string(kVrRecordAbsent));
    EXPECT_EQ(Read("none\\none"), std::to_string(kVrRecordAbsent));
    EXPECT_EQ(Read("FOLDER"), std::to_string(kVrRecordNotReadable));
    EXPECT_EQ(Read("/dev/zero"), std::to_string(kVrRecordNotPlain));
}

// What killed hosts left, here all names that this process can use, goes with an edit under the
// key, so that the names never run out. Other names are those of other records.
TEST_F(RecordTest, Replacing) {
    WriteFile("Rec", "old");
    for (const char* other :
         {"Rec.1a2345", "Rec.A12345", "Rec.a1234", "Rec.a123456", "Reca12345", "rec.a12345"})
        WriteFile(other, "");
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        char name[20];
        std::snprintf(name, sizeof name, "Rec.%c%05u", letter, unsigned(getpid()) % 100'000);
        WriteFile(name, "");
    }
    EXPECT_EQ(Replace("REC", "x"), kVrRecordNoTemporaryName);
    VrRecordKey key;
    EXPECT_EQ(VrRecordLock("rec", nullptr, kVrRecordTryOnce, &key), kVrRecordDone);
    EXPECT_EQ(Replace("REC", "newer", &key), kVrRecordDone);
    VrRecordUnlock(&key);
    EXPECT_EQ(Names("."),
              "Rec:5 Rec.1a2345:0 Rec.A12345:0 Rec.a1234:0 Rec.a123456:0 "
              "Reca12345:0 rec.a12345:0 test.ini:0 ");
    EXPECT_EQ(Replace("none\\REC", "x"), kVrRecordNotWritten);
    EXPECT_EQ(Replace(std::string(300, 'n').c_str(), "x"), kVrRecordPathTooLong);
    EXPECT_EQ(ReadFile("Rec"), "newer");
}

TEST_F(RecordTest, Locking) {
    const pid_t holder = fork();
    if (holder == 0) {
        VrRecordKey key;
        _exit(VrRecordLock("REC", nullptr, kVrRecordWait, &key) == kVrRecordDone && pause() != 0);
    }
    VrRecordKey key;
    for (; VrRecordLock("rec", nullptr, kVrRecordTryOnce, &key) == kVrRecordDone; usleep(1000))
        VrRecordUnlock(&key);  // until the other one has it
    EXPECT_EQ(VrRecordLock(".\\Rec", nullptr, 60, &key), kVrRecordHeldElsewhere);
    EXPECT_EQ(VrRecordLock("REC", "other", 0, &key), kVrRecordDone);
    EXPECT_EQ(key.isRecords, 0);
    VrRecordUnlock(&key);
    kill(holder, SIGKILL);
    EXPECT_EQ(VrRecordLock("REC", nullptr, kVrRecordWait, &key), kVrRecordDone);
    VrRecordUnlock(&key);
    EXPECT_EQ(waitpid(holder, nullptr, 0), holder);
    EXPECT_EQ(VrRecordLock("none\\REC", nullptr, 0, &key), kVrRecordNotLockable);
}

TEST_F(RecordTest, Listing) {
    EXPECT_EQ(Names("none"), "none");
    std::filesystem::create_directory("FOLDER");
    EXPECT_EQ(Names("FOLDER"), "");
    for (const char* name : {"B", "B.a12345", "B.a1234", "B.A12345", "C.a12345", "A", "__locks"})
        WriteFile("FOLDER/" + std::string(name), "xy");
    std::filesystem::create_directory("FOLDER/D");
    EXPECT_EQ(Names("FOLDER"), "A:2 B:2 B.A12345:2 B.a1234:2 C.a12345:2 ");
    for (int i = 0; i < 200; ++i)
        WriteFile("FOLDER/" + std::to_string(i), "");
    VrRecordList* list = VrRecordListFolder("FOLDER");
    EXPECT_EQ(list->count, 205);
    EXPECT_STREQ(list->entries[204].name, "C.a12345");
    VrRecordListFree(list);
}

}  // namespace
