// Hostile surroundings: whatever a host finds around it, each call gives its documented
// result, without a crash and without a hang, which the time limit of a case would end.

#include "tests/support/emulated.h"
#include "tests/support/library_test.h"
#include "tests/torture/torture.h"

namespace {

constexpr int kMegabyte = 1 << 20;
constexpr char kFiveIsSet[] = "printf '[S]\nKEY=5\n' >> s.ini;";

// What the surroundings are, the shell makes.
void Make(const std::string& commands) {
    ASSERT_EQ(system(commands.c_str()), 0) << commands;
}

int32_t Open(const std::string& path) {
    int32_t file = -1;
    OsOpen(path.c_str(), kOpenReadWrite | kOpenCreate, kPermissionWrite, &file);
    return file;
}

// The reason why it cannot be opened, or 0.
int ErrorOf(const std::string& path) {
    const int32_t file = Open(path);
    return file == -1 ? errno : OsClose(file) - 1;
}

int32_t Register(const std::string& path) {
    VrLockHandle handle = 0;
    const int32_t result = LockRegister(path.c_str(), &handle);
    LockDeregister(handle);
    return result;
}

struct Hostile : FilesTest {
    static void StartHere() {
        EXPECT_TRUE(StartHost("s.ini"));
    }
};

TEST_F(Hostile, SettingsFiles) {
    const std::pair<std::string, int32_t> cases[] = {
        {kFiveIsSet + std::string("truncate -s 64M s.ini"), 5},
        {"head -c 9999 /dev/zero > s.ini", 7},
        {"printf '[S] KEY=5' > s.ini", 5},
        {"mkdir s.ini", 7},
        {"mkfifo s.ini", 7},
        {"ln -s s.ini s.ini", 7},
    };
    for (const auto& [commands, setting] : cases) {
        Make("rm -rf s.ini;" + commands);
        const auto read = [] {
            StartHere();
            std::_Exit(IniGetInt("S", "KEY", 7));
        };
        EXPECT_EXIT(read(), testing::ExitedWithCode(setting), "") << commands;
    }
}

TEST_F(Hostile, NothingMayBeTouched) {
    Make(kFiveIsSet + std::string("touch __locks; chmod 0 s.ini; chmod 444 __locks; chmod 555 ."));
    if (getuid() == 0) {
        EXPECT_EQ(chown(".", 65534, 65534), 0);
        EXPECT_EQ(setuid(65534), 0);
    }
    StartHere();
    EXPECT_EQ(IniGetInt("S", "KEY", 7), 7);
    EXPECT_EQ(ErrorOf("new"), EACCES);
    EXPECT_EQ(ErrorOf("s.ini"), EACCES);
    EXPECT_EQ(Register("FILE"), -1);
    Make("chmod 0 .");
    EXPECT_EQ(TakeBytes(OsFileName(Array("name"), nullptr)), "NAME1") << "nobody can tell";
    Make("chmod 700 " + directory.path);
}

TEST_F(Hostile, RegistryVersionAndConversionFiles) {
    Make(kFiveIsSet + std::string("mkfifo pipe.version; mkdir folder.version"));
    StartHere();
    for (const std::string name : {".\\pipe", ".\\folder"}) {
        setenv("VRPLATFORM_REGISTRY", (name + ".version").c_str(), 1);
        EXPECT_EQ(IniGetInt("S", "KEY", 7), 5) << name;
        EXPECT_EQ(GetFileVersionInfoSizeA(name.c_str(), nullptr), 0u) << name;
        CvtInit((name + ".version").c_str());
        EXPECT_EQ(CvtFlag, 0) << name;
    }
}

TEST_F(Hostile, NoStandardStreams) {
    const auto run = [] {
        setsid();
        for (int descriptor : {0, 1, 2})
            close(descriptor);
        ControlMessageBoxes(nullptr, nullptr);
        StartHere();
        const int32_t file = Open("a");
        VrErrorMessage("nobody sees this");
        std::_Exit(OsFileLength(file) == 0 ? System("echo x;exit 5", "out") : 99);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(5), "");
    EXPECT_EQ(ReadFile("out"), "x\n");
}

TEST_F(Hostile, AMillionVariables) {
    StartHere();
    int set = 0;
    while (environ[set] != nullptr)
        ++set;
    for (char name[16] = ""; set < 1'100'000; ++set) {
        std::snprintf(name, sizeof name, "V%d", set);
        if (DLLPutEnv(name, "x") != 0) break;
    }
    EXPECT_EQ(set, 1'000'000);
    EXPECT_EQ(DLLPutEnv("VRLDATE", "y"), 0) << "this one is there already";
    EXPECT_STREQ(getenv("VRLDATE"), "y");
    if (IsEmulated()) GTEST_SKIP() << "no start fails in the emulator";
    EXPECT_EQ(System("exit 3", nullptr), 0) << "the system hands no such variables on";
}

TEST_F(Hostile, ACurrentDirectoryThatIsGone) {
    Make("mkdir gone");
    EXPECT_EQ(chdir("gone"), 0);
    EXPECT_EQ(rmdir("../gone"), 0);
    StartHere();
    char buffer[300] = "?";
    EXPECT_EQ(GetCwd(buffer, 255), nullptr);
    EXPECT_EQ(ErrorOf("new"), ENOENT);
    EXPECT_EQ(Register("FILE"), -1);
    EXPECT_EQ(System("exit 4;exit 5", nullptr), 4);
    EXPECT_EQ(ChDir(directory.drivePath.c_str()), 0);
}

TEST_F(Hostile, SignalsInCallsThatTakeTime) {
    Make("mkfifo pipe");
    StartHere();
    const int32_t file = Open("pipe");
    SendSignals();
    Make("(sleep 0.1; printf bytes > pipe) &");
    std::string bytes(kMegabyte, ' ');
    EXPECT_EQ(OsRead(file, bytes.data(), 100), 5);
    Make("dd if=pipe of=read bs=4k count=256 iflag=fullblock 2> told &");
    EXPECT_EQ(OsWrite(file, bytes.data(), kMegabyte), kMegabyte);
    EXPECT_EQ(System("sleep 0.2;exit 7", nullptr), 7);
    signal(SIGTERM, SIG_IGN);
    EXPECT_EQ(System("-0kill -TERM $$", nullptr), 128 + SIGTERM) << "programs ignore no signal";
    auto begin = Clock::now();
    GoToSleep(1);
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(1))
        << "in whole numbers: the emulator spoils floating ones";
    begin = Clock::now();
    void* self = OpenProcess(0, 0, static_cast<uint32_t>(getpid()));
    WaitForSingleObject(self, 200);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(200));
    CloseHandle(self);
    OsClose(file);
}

}  // namespace
