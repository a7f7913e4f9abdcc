// Locks: keys, registrations, and the pool of their files, seen from outside by the open files
// and the locks on disk.

#include "tests/process/counted_library.h"
#include "tests/support/library_test.h"

namespace {

constexpr uint32_t kPositionOf1 = 0x8BFE0031;  // of the key "1" in a file ABC

struct LockTest : FilesTest {
    // A handle of a file ABC in a folder, or of a path.
    VrLockHandle Register(char letter, const std::string& path) {
        EXPECT_EQ(LockRegister(path.c_str(), &handles[letter]), 0) << path;
        return handles[letter];
    }
    VrLockHandle RegisterIn(char letter, const std::string& folder) {
        std::filesystem::create_directory(folder);
        return Register(letter, folder + "\\ABC");
    }
    // Steps with their results: +a1=0 takes key 1 by the handle a, -a1=0 gives it back, *a=0
    // registers a file ABC here, ~a=0 or ~a1=0 takes that back. The key @ is the one given.
    void Run(const std::string& steps, const std::string& given = "") {
        std::istringstream words(steps);
        for (std::string step; words >> step;) {
            const size_t equal = step.find('=');
            const std::string name = step.substr(2, equal - 2);
            const Array key(name == "@" ? given : name);
            VrLockHandle& handle = handles[step[1]];
            const int32_t result = step[0] == '+'   ? LockLockKey(handle, key, 0, 0)
                                   : step[0] == '-' ? LockUnlockKey(handle, key)
                                   : step[0] == '*' ? LockRegister("ABC", &handle)
                                                    : LockDeregister(handle);
            EXPECT_EQ(step.substr(0, equal + 1) + std::to_string(result), step) << steps;
        }
    }
    // Whether the byte is free for a handle of the test's own.
    static bool IsFree(uint32_t position, const std::string& file = "__locks") {
        const int32_t own = FileOpen(file.c_str(), kOpenReadWrite, kShareDenyNone, 0);
        const bool free = LockFile(FileSystemHandle(own), position, 0, 1, 0) != 0;
        FileClose(own);
        return free;
    }
    std::map<char, VrLockHandle> handles;
    std::string pending;  // steps for a callback
};

TEST_F(LockTest, PositionsOfFilesAndKeys) {
    StartWithFiles();
    EXPECT_EQ(Register('a', "ABC"), 0x1FC42u);
    EXPECT_EQ(Register('c', "CUSTOMER"), 0x16FDEu) << "one lock file serves the directory";
    const std::pair<std::string, uint32_t> cases[] = {
        {"1", kPositionOf1}, {"", 0xFC420000}, {{"\xFF\0", 2}, (0xFC420000 * 31 + 255) * 31}};
    for (const auto& [key, position] : cases) {
        Run("+a@=0", key);
        EXPECT_FALSE(IsFree(position)) << key;
        Run("-a@=0", key);
        EXPECT_TRUE(IsFree(position)) << key;
    }
    Run("~c=0 ~a=0");
    // No memory is asked for where entries are free, but by the checking library for each block.
    ControlFailAllocations(1, std::getenv("VRCHECK_LOG") == nullptr ? UINT32_MAX : 0);
    Run("*a=0 ~a=0");
    ControlFailAllocations(1, 0);
}

// An entry of the table. A free one is taken even if the folder has another after it.
struct LockEntry {
    char folder;
    int32_t registrations;
    std::map<char, int32_t> keys = {};  // how often each was taken
    int32_t usedAt = 0;                 // when its file was opened, or lost its last key
    bool isParked = false;
};

struct LockModel {
    // The file without a key that was used longest ago makes room.
    void Park() {
        LockEntry* longest = nullptr;
        for (LockEntry& entry : entries) {
            const bool isIdle = entry.registrations > 0 && !entry.isParked && entry.keys.empty();
            if (isIdle && (longest == nullptr || entry.usedAt < longest->usedAt)) longest = &entry;
        }
        if (longest != nullptr) longest->isParked = true;
    }
    size_t Register(char folder) {
        const auto entry = std::ranges::find_if(entries, [=](const LockEntry& each) {
            return each.registrations == 0 || each.folder == folder;
        });
        const size_t index = size_t(entry - entries.begin());
        if (entry == entries.end()) entries.push_back({folder, 0});
        if (entries[index].registrations == 0) {
            Park();
            entries[index] = {folder, 0, {}, ++now};
        }
        ++entries[index].registrations;
        return index;
    }
    int32_t Deregister(LockEntry& entry) {
        if (entry.registrations == 0) return -1;
        if (--entry.registrations == 0) entry.keys.clear();
        return 0;
    }
    int32_t Lock(LockEntry& entry, char key) {
        if (entry.registrations == 0) return -1;
        if (entry.isParked) Park();
        entry.isParked = false;
        const bool isElsewhere = entry.keys.count(key) == 0 && IsHeld(entry.folder, key);
        if (!isElsewhere) ++entry.keys[key];
        if (entry.keys.empty()) entry.usedAt = ++now;
        return isElsewhere ? 1 : 0;
    }
    int32_t Unlock(LockEntry& entry, char key) {
        if (entry.registrations == 0) return -1;
        if (entry.keys.count(key) == 0) return 1;
        if (--entry.keys[key] == 0) entry.keys.erase(key);
        if (entry.keys.empty()) entry.usedAt = ++now;
        return 0;
    }
    bool IsHeld(char folder, char key) const {
        return std::ranges::any_of(entries, [=](const LockEntry& each) {
            return each.folder == folder && each.keys.count(key) != 0;
        });
    }
    std::string OpenFolders() const {
        std::multiset<char> open;
        for (const LockEntry& entry : entries) {
            if (entry.registrations > 0 && !entry.isParked) open.insert(entry.folder);
        }
        return {open.begin(), open.end()};
    }
    std::vector<LockEntry> entries;
    int32_t now = 0;
};

// The folders whose lock files this process has open.
std::string OpenFolders() {
    std::multiset<char> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the listing's own
        const auto path = std::filesystem::read_symlink(entry, gone);
        if (path.filename() == "__locks") open.insert(*path.parent_path().filename().c_str());
    }
    return {open.begin(), open.end()};
}

TEST_F(LockTest, EntriesKeysAndParkedFilesAgreeWithTheModel) {
    StartWithFiles("[Environment]\nMaxOpenFiles=0\n");  // each open parks a file
    std::mt19937 random(1);
    LockModel model;
    std::map<char, size_t> indexes;
    const auto registerIn = [&](char folder) {
        indexes[folder] = model.Register(folder);
        EXPECT_EQ(RegisterIn(folder, {folder}), (indexes[folder] + 1) << 16 | 0xFC42) << folder;
    };
    for (char folder = 'a'; folder <= 'z'; ++folder)
        registerIn(folder);
    for (int step = 0; step < 1600 && !HasFailure(); ++step) {
        const char folder = char('a' + random() % (step < 800 ? 26 : 5));
        const char key = char('1' + random() % (folder < 'd' ? 8 : 2));
        LockEntry& entry = model.entries[indexes[folder]];
        const std::string name = {folder, key, '='};
        const uint32_t action = random() % 20;
        if (action < 2) {
            registerIn(folder);
        } else if (action < 5) {
            Run("~" + name + std::to_string(model.Deregister(entry)));
        } else if (action < 11) {
            Run("+" + name + std::to_string(model.Lock(entry, key)));
        } else if (action < 19) {
            Run("-" + name + std::to_string(model.Unlock(entry, key)));
        } else {
            OsFilesInc();
            model.Park();
        }
        const std::string file = std::string(1, folder) + "/__locks";
        EXPECT_EQ(IsFree(kPositionOf1 + uint32_t(key - '1'), file), !model.IsHeld(folder, key));
        EXPECT_EQ(OpenFolders(), model.OpenFolders()) << step;
    }
    // The end of the run leaves a file open that is registered more than once.
    for (size_t index = 0; index < model.entries.size(); ++index) {
        handles['!'] = uint32_t(index + 1) << 16;
        while (model.entries[index].registrations > 1)
            Run("~!=" + std::to_string(model.Deregister(model.entries[index])));
    }
}

TEST_F(LockTest, RefusalsOfTheSystem) {
    StartWithFiles();
    handles['a'] = 77;
    ControlFailLocks(1, 1, EIO);
    Run("*a=-1");
    EXPECT_FALSE(std::filesystem::exists("__locks")) << "a file that cannot be locked goes";
    WriteFile("__locks", "");
    ControlFailLocks(1, 1, EIO);
    Run("*a=-1");
    EXPECT_TRUE(std::filesystem::exists("__locks")) << "but not one of others";
    EXPECT_EQ(handles['a'], 77u) << "no handle is written";
    Run("*a=0");
    ControlFailLocks(1, 1, kErrorDeadlock);
    Run("+a1=1");
}

TEST_F(LockTest, AParkedFileIsReopenedButNotCreated) {
    StartWithFiles("[Environment]\nMaxOpenFiles=0\n");
    for (const char folder : {'0', '1'})
        RegisterIn(folder, {folder});  // the second parks the first
    std::filesystem::remove("0/__locks");
    Run("+01=-1");
    EXPECT_FALSE(std::filesystem::exists("0/__locks"));
    WriteFile("0/__locks", "");
    Run("+01=0 -01=0");
}

TEST_F(LockTest, CallbacksOfAnOpenMayUseTheSameLockFile) {
    StartWithFiles("[Environment]\nMaxOpenFiles=0\n");
    const auto runPending = [](VrWord test, VrWord) {
        auto& self = *reinterpret_cast<LockTest*>(test);
        self.Run(std::exchange(self.pending, ""));
    };
    MemAddCallback(kVrTooManyOpenFiles, runPending, VrWord(this));
    pending = "*b=0";
    Run("*a=0 ~b=0");
    EXPECT_EQ(handles['a'], handles['b']) << "one lock file is one entry";
    for (const auto& [within, steps] : Rows<2>(R"(
            +a1=0                         -> +a1=0 -a1=0 -a1=0 -a1=1
            +a2=0 -a2=0                   -> +a1=0 -a1=0
            +a2=0 +a3=0 +a4=0 +a5=0 +a6=0 -> +a1=0 ~a=0 *a=0
            ~a=0                          -> +a1=-1 -a1=-1)")) {
        OsFilesInc();  // parks the file
        pending = within;
        Run(steps);
        EXPECT_EQ(pending, "") << steps;
        EXPECT_TRUE(IsFree(kPositionOf1)) << steps;
    }
}

// A lock on a file that no name leads to would exclude nobody.
TEST_F(LockTest, ALockFileThatWasDeletedIsMadeAnew) {
    StartWithFiles();
    for (const std::string use : {"*a=0", "+a1=0 -a1=0", "*b=0 ~b=0", "+a1=0"}) {
        Run(use);
        EXPECT_TRUE(std::filesystem::exists("__locks")) << use;
        if (use != "+a1=0") std::filesystem::remove("__locks");
    }
    EXPECT_FALSE(IsFree(kPositionOf1));
}

// The host is a library, whose process goes on when memory runs out for it.
TEST_F(LockTest, TheEndOfTheRunGivesTheKeysBack) {
    PutLibrary("./host.dll");
    const auto run = [this] {
        StartHost(nullptr, VrWord(LoadLibraryA(".\\host.dll")));
        EnvironProduct();
        Run("*a=0 +a1=0 +a2=0 +a3=0 +a4=0 +a5=0");
        const Array key("6");
        const int32_t code = CodeOfThread([&] {
            ControlFailAllocations(1, 1);
            LockLockKey(handles['a'], key, 0, 0);
        });
        _exit(IsFree(kPositionOf1) ? code : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(9), "");
}

}  // namespace
