// Hostile surroundings: whatever a host finds around it, each call gives its documented
// result, without a crash and without a hang, which the time limit of a case would end.

#include <signal.h>
#include <sys/resource.h>

#include <cerrno>

#include "platform/control.h"
#include "platform/files.h"
#include "platform/programs.h"
#include "platform/version.h"
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

int32_t Open(const std::string& path, int32_t mode = kOpenBinary) {
    int32_t file = -1;
    OsOpen(path.c_str(), kOpenReadWrite | kOpenCreate | mode, kPermissionWrite, &file);
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
        const auto read = [this] {
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

TEST_F(Hostile, Names) {
    StartHere();
    for (int byte = 1; byte < 256; ++byte) {
        if (byte == '/' || byte == '\\') continue;
        const std::string name = "ab" + std::string(1, char(byte)) + std::to_string(byte);
        const std::string shortName = TakeBytes(OsFileName(Array(StringOfBytes(name)), nullptr));
        for (const std::string& file : {name, shortName}) {
            EXPECT_EQ(ErrorOf(file), 0) << byte;
            EXPECT_TRUE(std::filesystem::exists(file)) << byte;
        }
    }
    Make("touch file; ln -s loop loop; ln -s none dangling");
    const std::pair<std::string, int> cases[] = {
        {std::string(255, 'x'), 0},
        {std::string(256, 'x'), ENAMETOOLONG},
        {"..\\..\\..\\..\\..\\.." + directory.path + "\\x\\..\\file", 0},
        {"loop", ELOOP},
        {"dangling", EACCES},
        {"file\\x", ENOTDIR},
    };
    for (const auto& [name, error] : cases)
        EXPECT_EQ(ErrorOf(name), error) << name;
}

// What a write to the file returns.
int32_t Written(const std::string& path, const std::string& bytes, int32_t mode = kOpenBinary) {
    const int32_t file = Open(path, mode);
    const int32_t written = OsWrite(file, bytes.data(), uint32_t(bytes.size()));
    const int error = errno;
    OsClose(file);
    errno = error;
    return written;
}

TEST_F(Hostile, FullDisks) {
    StartHere();
    EXPECT_EQ(Written("/dev/full", "x"), -1);
    EXPECT_EQ(errno, ENOSPC);
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {10'001, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    const std::string bytes(20'000, '\n');
    EXPECT_EQ(Written("text", bytes, kOpenText), 5000);
    EXPECT_EQ(ReadFile("text").size(), 10'000u) << "no half a line end";
    EXPECT_EQ(Written("binary", bytes), 10'001);
    const int32_t file = Open("size");
    EXPECT_EQ(OsChsize(file, 20'000), -1);
    OsClose(file);
}

TEST_F(Hostile, NoStandardStreams) {
    const auto run = [this] {
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

TEST_F(Hostile, TenThousandVariables) {
    StartHere();
    for (int i = 0; i < 10'000; ++i)
        DLLPutEnv(("VARIABLE" + std::to_string(i)).c_str(), "before");
    setenv("ANOTHER", "by others", 1);
    unsetenv("VARIABLE500");
    for (int i = 501; i < 10'000; ++i)
        DLLPutEnv(("VARIABLE" + std::to_string(i)).c_str(), "value");
    EXPECT_STREQ(getenv("VARIABLE499"), "before");
    EXPECT_EQ(getenv("VARIABLE500"), nullptr);
    EXPECT_STREQ(getenv("ANOTHER"), "by others");
    EXPECT_STREQ(DLLGetEnv("VARIABLE9999"), "value");
    EXPECT_EQ(System("test \"$VARIABLE9999\" = value", nullptr), 0);
    if (IsEmulated()) GTEST_SKIP() << "no start fails in the emulator";
    DLLPutEnv("VARIABLE1", std::string(200'000, 'x').c_str());
    EXPECT_EQ(System("exit 3", nullptr), 0) << "the system hands no such variable on";
}

TEST_F(Hostile, AMillionVariables) {
    StartHere();
    int set = 0;
    for (char name[16] = ""; set < 1'100'000; ++set) {
        std::snprintf(name, sizeof name, "V%d", set);
        if (DLLPutEnv(name, "x") != 0) break;
    }
    EXPECT_GT(set, 999'000);
    EXPECT_LE(set, 1'000'000);
    EXPECT_EQ(DLLPutEnv("V3", "y"), 0) << "this one is there already";
    EXPECT_STREQ(getenv("V3"), "y");
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
    EXPECT_GE(Clock::now() - begin, Seconds(1));
    begin = Clock::now();
    void* self = OpenProcess(0, 0, static_cast<uint32_t>(getpid()));
    WaitForSingleObject(self, 200);
    EXPECT_GE(Clock::now() - begin, Seconds(0.2));
    CloseHandle(self);
    OsClose(file);
}

}  // namespace
