// Two users in one directory: what a stranger plants there, and hosts of both at work on one
// record. Each user is a process; only the superuser can make them, and the office of anybody
// else has one user.

#include <grp.h>

#include <atomic>

#include "tests/support/library_test.h"
#include "tests/torture/torture.h"
#include "vr/record.h"

namespace {

constexpr uid_t kHostUser = 20001;
constexpr uid_t kStranger = 20002;
constexpr mode_t kRights = 0777;

const std::string kSecret = "nobody else's";
constexpr char kSecretPath[] = "private/secret";

mode_t RightsOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & kRights : kRights + 1;
}

// Starts a process of that user, with a group of the same number.
template <typename Body>
pid_t StartAs(uid_t user, Body body) {
    const bool canChange = getuid() == 0;
    return Fork([=] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (canChange && (setgroups(0, nullptr) != 0 || setresgid(user, user, user) != 0 ||
                          setresuid(user, user, user) != 0))
            _exit(98);
        alarm(60);
        body();
    });
}

struct Neighbours : HostTest {
    void SetUp() override {
        if (getuid() != 0) GTEST_SKIP() << "only the superuser can act for two users";
        chmod(".", 0777);
        As(kHostUser, [] {
            mkdir("private", 0700);
            WriteFile(kSecretPath, kSecret);
            chmod(kSecretPath, 0600);
        });
    }
    void TearDown() override {
        EXPECT_EQ(ReadFile(kSecretPath), getuid() == 0 ? kSecret : "");
        HostTest::TearDown();
    }
    template <typename Body>
    static void As(uid_t user, Body body) {
        int status = -1;
        waitpid(StartAs(user, body), &status, 0);
        EXPECT_EQ(status, 0);
    }
    // What opening the file says: 0 or the error.
    static int ErrorOf(const char* path, int32_t flags) {
        const int32_t handle = FileOpen(path, flags, kShareDenyNone, kPermissionWrite);
        return handle == -1 ? errno : FileClose(handle);
    }
    TempDirectory directory;
};

struct Office : HostTest {
    TempDirectory directory;
};

TEST_F(Neighbours, NoLinkOrPipeOfAStrangerIsOpened) {
    As(kStranger, [] {
        EXPECT_EQ(symlink(kSecretPath, "LINK"), 0);
        EXPECT_EQ(symlink("private", "FOLDER"), 0);
        EXPECT_EQ(symlink(kSecretPath, "$$VRDB.LOG"), 0);
        EXPECT_EQ(mkfifo("PIPE", 0666), 0);
        EXPECT_EQ(symlink("PIPE", "settings.ini"), 0);
    });
    As(kHostUser, [] {
        for (const char* planted : {"LINK", "FOLDER\\secret", "PIPE"}) {
            EXPECT_EQ(ErrorOf(planted, kOpenReadWrite), EACCES) << planted;
            EXPECT_EQ(ErrorOf(planted, kOpenReadWrite | kOpenCreate | kOpenTruncate), EACCES);
        }
        EXPECT_EQ(FileDelete("FOLDER\\secret"), -1);
        EXPECT_EQ(symlink(kSecretPath, "own"), 0);
        EXPECT_EQ(ErrorOf("own", kOpenReadOnly), 0) << "one's own";
        WriteFile("log.ini", "[DB]\nLOG=1\n");
        StartHost("log.ini");
        EXPECT_EQ(VrdbLogInit("DB", nullptr), -1);
    });
}

TEST_F(Neighbours, AReplacedFileIsTheOneThatWasMade) {
    As(kHostUser, [] {
        WriteFile("OLD", "old");
        chmod("OLD", 0666);
        WriteFile("NEW", "new");
        EXPECT_EQ(link("NEW", "second"), 0);
        EXPECT_EQ(FileReplace("NEW", "OLD"), -1) << "it has two names";
        unlink("NEW");
        EXPECT_EQ(symlink(kSecretPath, "NEW"), 0);
        EXPECT_EQ(FileReplace("NEW", "OLD"), -1) << "it is a link";
    });
    EXPECT_EQ(RightsOf(kSecretPath), 0600u);
    As(kStranger, [] { WriteFile("THEIRS", "x"); });
    As(kHostUser, [] { EXPECT_EQ(FileReplace("THEIRS", "OLD"), -1); });
    EXPECT_EQ(ReadFile("OLD"), "old");
}

// RIGHTS of the old record -> those of the new one, which a user of another group writes.
TEST_F(Neighbours, ANewRecordIsNoMoreReadableThanTheOldOne) {
    for (const auto& [before, after] :
         {std::pair(0644u, 0644u), {0664u, 0644u}, {0660u, 0600u}, {0666u, 0666u}}) {
        As(kStranger, [before = before] {
            WriteFile("RECORD", "old");
            chmod("RECORD", before);
        });
        As(kHostUser, [] {
            umask(0);
            const int32_t handle =
                FileOpen("NEW", kOpenWriteOnly | kOpenCreate | kOpenPrivate, kShareDenyNone, 0);
            EXPECT_EQ(RightsOf("NEW"), 0600u);
            FileClose(handle);
            EXPECT_EQ(FileReplace("NEW", "RECORD"), 0);
        });
        EXPECT_EQ(RightsOf("RECORD"), after) << before;
        unlink("RECORD");
    }
}

// RIGHTS of the directory -> those of its lock file, which the group or all may need.
TEST_F(Neighbours, WhoMayWriteTheDirectoryMayLock) {
    for (const auto& [folder, file] : {std::pair(0777u, 0666u), {0775u, 0660u}, {0755u, 0600u}}) {
        chmod(".", folder);
        EXPECT_EQ(chown(".", kHostUser, kHostUser), 0);
        As(kHostUser, [] {
            umask(077);
            StartHost(nullptr);
            VrLockHandle lock = 0;
            EXPECT_EQ(LockRegister("RECORD", &lock), 0);
        });
        EXPECT_EQ(RightsOf("__locks"), file);
        unlink("__locks");
    }
}

// In a directory where everybody deletes his own files alone, the name may be taken.
TEST_F(Neighbours, NoCommandOfAStrangerRuns) {
    const auto plant = [] {
        WriteFile("__aavrtm.bat", "exit 66\n");
        chmod("__aavrtm.bat", 0666);
    };
    As(kStranger, plant);
    As(kHostUser, [] {
        StartHost(nullptr);
        umask(0);
        EXPECT_EQ(System("true;exit 4", nullptr), 4) << "deleted and made anew";
        EXPECT_EQ(System("stat -c %a __aavrtm.bat > mode;true", nullptr), 0);
        EXPECT_EQ(ReadFile("mode"), "600\n");
    });
    chmod(".", 01777);
    As(kStranger, plant);
    As(kHostUser, [] {
        StartHost(nullptr);
        EXPECT_EQ(System("true;exit 4", nullptr), 0) << "not started";
        EXPECT_EQ(System("exit 4", nullptr), 4);
    });
    unlink("__aavrtm.bat");
    As(kStranger, [] { EXPECT_EQ(symlink(kSecretPath, "__aavrtm.bat"), 0); });
    As(kHostUser, [] {
        StartHost(nullptr);
        EXPECT_EQ(System("true;exit 4", nullptr), 4) << "as one line";
    });
}

// What is in the way of a lock -> what the message says of it.
TEST_F(Neighbours, WhoeverMayNotLockIsToldWhy) {
    const auto expectRefusal = [](const std::string& reason) {
        As(kHostUser, [reason] {
            StartHost(nullptr);
            VrRecordKey key;
            EXPECT_EQ(VrRecordLock("RECORD", nullptr, 0, &key), kVrRecordNotLockable);
            char text[200];
            VrRecordExplain(kVrRecordNotLockable, "RECORD", text, sizeof text);
            EXPECT_EQ(text, "its folder cannot be locked in: " + reason);
        });
        unlink("__locks");
    };
    As(kStranger, [] {
        WriteFile("__locks", "");
        chmod("__locks", 0644);
    });
    expectRefusal("__locks belongs to user 20002, group 20002, rights rw-r--r--");
    As(kStranger, [] { EXPECT_EQ(symlink(kSecretPath, "__locks"), 0); });
    expectRefusal("__locks belongs to user 20002, group 20002, rights rwxrwxrwx");
    EXPECT_EQ(chown(".", kStranger, kHostUser), 0);
    chmod(".", 01751);
    expectRefusal("the folder belongs to user 20002, group 20001, rights rwxr-x--x");
}

TEST_F(Neighbours, TheOwnershipFitsOrFails) {
    const std::string expected = "user 20001, group 20001, rights rw-------";
    EXPECT_EQ(symlink(kSecretPath, "own"), 0);
    char text[50] = "";
    const auto size = int32_t(expected.size());
    for (const auto& [path, room, error] : {std::tuple(kSecretPath, size + 1, 0),
                                            {"own", size + 1, 0},
                                            {kSecretPath, size, ERANGE},
                                            {"nothing", size + 1, ENOENT}}) {
        const int32_t result = FileOwnership(path, text, room);
        EXPECT_EQ(result == 0 ? 0 : errno, error) << path;
        EXPECT_EQ(result == 0 ? text : expected, expected) << path;
    }
}

// The stranger puts links in the place of whatever comes up while the host edits.
TEST_F(Neighbours, NoRaceGetsAtAnothersFile) {
    WriteFile("RECORD", "old");
    chmod("RECORD", 0666);
    const pid_t stranger = StartAs(kStranger, [] {
        for (;;) {
            for (const auto& entry : std::filesystem::directory_iterator(".")) {
                const std::string name = entry.path().filename();
                if (!name.starts_with("RECORD")) continue;
                unlink(name.c_str());
                if (symlink(kSecretPath, name.c_str()) != 0) continue;
            }
        }
    });
    As(kHostUser, [] {
        StartHost(nullptr);
        for (const auto end = Clock::now() + Seconds(1); Clock::now() < end;) {
            VrString record = nullptr;
            if (VrRecordRead("RECORD", 0, &record) != kVrRecordDone) record = StringOfBytes("new");
            VrRecordReplace("RECORD", record, nullptr);
            free_mem(&record);
            EXPECT_EQ(RightsOf(kSecretPath), 0600u);
        }
    });
    kill(stranger, SIGKILL);
    waitpid(stranger, nullptr, 0);
}

struct Tally {
    std::atomic<uint32_t> increments, killed;
};

// Reads the number, adds one, and writes it, under the record's key.
void Increment(Tally& tally) {
    VrRecordKey key;
    EXPECT_EQ(VrRecordLock("RECORD", nullptr, kVrRecordWait, &key), kVrRecordDone);
    VrString record = nullptr;
    EXPECT_EQ(VrRecordRead("record", 0, &record), kVrRecordDone);
    const Array before(record);
    const Array after(StringOfBytes(std::to_string(std::stoul(BytesOf(before)) + 1)));
    if (VrRecordReplace("record", after, &key) == kVrRecordDone) ++tally.increments;
    VrRecordUnlock(&key);
}

// How many files of that record's name there are, the record itself included.
ptrdiff_t FilesOf(const std::string& record) {
    return std::ranges::count_if(std::filesystem::directory_iterator("."), [&](const auto& entry) {
        return entry.path().filename().string().starts_with(record);
    });
}

// Six hosts of three users, which are killed at any moment: no increment is lost or torn, and
// what the dead left is gone but for the last one's.
TEST_F(Office, OfThreeUsersLosesNothing) {
    chmod(".", 0777);
    auto* tally = static_cast<Tally*>(
        mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    WriteFile("RECORD", "0");
    chmod("RECORD", 0666);
    pid_t hosts[6] = {};
    const auto work = [tally] {
        StartHost(nullptr);
        for (;;)
            Increment(*tally);
    };
    for (const auto end = Clock::now() + LengthOf("VR_OFFICE_SECONDS", 10); Clock::now() < end;) {
        for (size_t i = 0; i < std::size(hosts); ++i) {
            if (hosts[i] == 0) hosts[i] = StartAs(kHostUser + i % 3, work);
        }
        usleep(50'000 + Random(50'000));
        pid_t& victim = hosts[Random(std::size(hosts))];
        kill(victim, SIGKILL);
        waitpid(victim, nullptr, 0);
        victim = 0;
        ++tally->killed;
    }
    for (const pid_t host : hosts) {
        if (host == 0) continue;
        kill(host, SIGKILL);
        waitpid(host, nullptr, 0);
    }
    // One who was killed between the write and the count has counted nothing.
    const uint32_t stored = static_cast<uint32_t>(std::stoul(ReadFile("RECORD")));
    std::printf("office: %u increments, %u kills\n", stored, +tally->killed);
    EXPECT_GE(stored, +tally->increments);
    EXPECT_LE(stored, tally->increments + tally->killed + std::size(hosts));
    EXPECT_GT(stored, 0u);
    EXPECT_EQ(FilesOf("record"), 0);
    EXPECT_LE(FilesOf("RECORD"), 2);
}

}  // namespace
