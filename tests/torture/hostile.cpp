// Hostile surroundings: whatever a host finds around it, each call gives its documented
// result, without a crash and without a hang, which the time limit of a case would end.

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include "platform/control.h"
#include "platform/files.h"
#include "platform/programs.h"
#include "platform/version.h"
#include "tests/support/arrays.h"
#include "tests/support/library_test.h"
#include "tests/torture/torture.h"

namespace {

constexpr int32_t kMake = kOpenReadWrite | kOpenCreate;
constexpr int kMegabyte = 1 << 20;
constexpr char kFiveIsSet[] = "printf '[S]\nKEY=5\n' >> s.ini;";

// What the surroundings are, the shell makes.
void Make(const std::string& commands) {
    ASSERT_EQ(system(commands.c_str()), 0) << commands;
}

int32_t Open(const std::string& path, int32_t flags = kMake | kOpenBinary) {
    int32_t file = -1;
    OsOpen(path.c_str(), flags, kPermissionWrite, &file);
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
    EXPECT_EQ(LockDeregister(handle), result == 0 ? 0 : -1);
    return result;
}

bool Lists(const std::string& name) {
    DirSearch* search = nullptr;
    const char* found = DirFirst(".", &search);
    while (found != nullptr && found != name)
        found = DirNext(search);
    DirClose(&search);
    return found != nullptr;
}

// Writes go so far, and no further.
void FillUp(int32_t file) {
    const std::string bytes(kMegabyte, '\n');
    const int32_t written = OsWrite(file, bytes.data(), kMegabyte);
    EXPECT_TRUE(written > 0 && written < kMegabyte) << written;
    while (OsWrite(file, "y", 1) == 1) {
    }
    EXPECT_EQ(errno, EFBIG);
}

bool Succeeds(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0;
}

pid_t ReadSlowly(int pipe, ssize_t expected) {
    return Fork([=] {
        std::string bytes(20'000, ' ');
        for (ssize_t total = 0; total < expected; usleep(2000))
            total += read(pipe, bytes.data(), bytes.size());
    });
}

struct Hostile : FilesTest {
    void StartHere() {
        Start("s.ini");
        files_init();
        LockInit();
    }
};

TEST_F(Hostile, SettingsFiles) {
    const std::pair<std::string, int32_t> cases[] = {
        {kFiveIsSet + std::string("truncate -s 64M s.ini"), 5},
        {"head -c 9999 /dev/zero > s.ini", 7},
        {"printf '[S] KEY=5' > s.ini", 5},
        {"mkdir s.ini", 7},
        {"mkfifo s.ini", 7},
        {"ln -s /dev/zero s.ini", 7},
        {"ln -s s.ini s.ini", 7},
    };
    for (const auto& [commands, setting] : cases) {
        Make("rm -rf s.ini;" + commands);
        EXPECT_TRUE(Succeeds(Fork([this, setting = setting] {
            StartHere();
            EXPECT_EQ(IniGetInt("S", "KEY", 7), setting);
        }))) << commands;
    }
}

TEST_F(Hostile, NothingMayBeTouched) {
    Make(kFiveIsSet + std::string("touch __locks; chmod 0 s.ini; chmod 444 __locks; chmod 555 ."));
    const bool isRoot = getuid() == 0;
    EXPECT_EQ(isRoot ? chown(".", 65534, 65534) + setuid(65534) : 0, 0);
    StartHere();
    EXPECT_EQ(IniGetInt("S", "KEY", 7), 7);
    EXPECT_EQ(ErrorOf("new"), EACCES);
    EXPECT_EQ(ErrorOf("s.ini"), EACCES);
    EXPECT_EQ(Register("FILE"), -1);
    EXPECT_TRUE(Lists("__locks"));
    Make("chmod 700 .");
}

TEST_F(Hostile, RegistryVersionAndConversionFiles) {
    Make(kFiveIsSet + std::string("mkfifo pipe.version; mkdir folder.version;"
                                  "ln -s /dev/zero zero.version"));
    setenv("VRPLATFORM_REGISTRY", ".\\pipe.version", 1);
    StartHere();
    for (const std::string name : {".\\pipe", ".\\folder", ".\\zero"}) {
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
        const std::string name = {'a', 'b', static_cast<char>(byte), 'c'};
        const Array text(StringOfBytes(name));
        const std::string shortName = TakeBytes(OsFileName(text, nullptr));
        for (const std::string& each : {name, shortName, TakeBytes(GetFullPath(text))})
            EXPECT_EQ(ErrorOf(each), 0) << byte;
        EXPECT_TRUE(Lists(name) && Lists(shortName)) << byte;
        std::filesystem::remove(name);
        std::filesystem::remove(shortName);
        std::filesystem::create_directory(name);
        EXPECT_EQ(Register(name + "\\FILE"), 0) << byte;
        std::filesystem::remove_all(name);
    }
    Make("touch file; ln -s loop loop; ln -s none dangling; ln -s file link");
    const std::pair<std::string, int> cases[] = {
        {std::string(255, 'x'), 0},
        {std::string(256, 'x'), ENAMETOOLONG},
        {std::string(5000, 'x'), ENAMETOOLONG},
        {"..\\..\\..\\..\\..\\.." + directory.path + "\\x\\..\\file", 0},
        {"link", 0},
        {"loop", ELOOP},
        {"dangling", EACCES},
        {"file\\x", ENOTDIR},
    };
    for (const auto& [name, error] : cases)
        EXPECT_EQ(ErrorOf(name), error) << name;
    EXPECT_EQ(Register(std::string(5000, 'x') + "\\FILE"), -1);
}

TEST_F(Hostile, FullDisks) {
    StartHere();
    for (int32_t mode : {kOpenText, kOpenBinary}) {
        EXPECT_EQ(OsWrite(Open("/dev/full", kMake | mode), "x\n", 2), -1);
        EXPECT_EQ(errno, ENOSPC);
    }
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {10'001, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int32_t mode : {kOpenText, kOpenBinary})
        FillUp(Open(std::to_string(mode), kMake | mode));
    EXPECT_EQ(OsChsize(Open("size"), 20'000), -1);
}

TEST_F(Hostile, NoStandardStreams) {
    EXPECT_TRUE(Succeeds(Fork([this] {
        setsid();
        for (int descriptor : {0, 1, 2})
            close(descriptor);
        ControlMessageBoxes(nullptr, nullptr);
        StartHere();
        const int32_t files[] = {Open("a"), Open("b"), Open("c")};
        EXPECT_EQ(VrErrorMessage("nobody sees this"), 1);
        for (int32_t file : files)
            EXPECT_EQ(OsFileLength(file), 0);
        EXPECT_EQ(System("echo x;exit 5", "out"), 5);
        EXPECT_EQ(ReadFile("out"), "x\n");
    })));
}

TEST_F(Hostile, TenThousandVariables) {
    for (int i = 0; i < 10'000; ++i)
        setenv(("VARIABLE" + std::to_string(i)).c_str(), "value", 1);
    StartHere();
    EXPECT_STREQ(DLLGetEnv("VARIABLE9999"), "value");
    EXPECT_EQ(System("test \"$VARIABLE9999\" = value", nullptr), 0);
    DLLPutEnv("VARIABLE1", std::string(200'000, 'x').c_str());
    EXPECT_STREQ(DLLGetEnv("VARIABLE1"), "");
    EXPECT_EQ(System("exit 3", nullptr), 0) << "the system hands no such variable on";
    EXPECT_EQ(boxes.shown.size(), 1u);
}

TEST_F(Hostile, ACurrentDirectoryThatIsGone) {
    Make("mkdir gone");
    EXPECT_EQ(chdir("gone") + rmdir("../gone"), 0);
    StartHere();
    char buffer[300] = "?";
    EXPECT_EQ(GetCwd(buffer, 255), nullptr);
    EXPECT_EQ(ErrorOf("new"), ENOENT);
    EXPECT_EQ(ErrorOf(directory.path + "/file"), 0);
    EXPECT_EQ(Register("FILE"), -1);
    EXPECT_EQ(GetFullPath(Array("x")), NullString());
    EXPECT_FALSE(Lists("."));
    EXPECT_EQ(System("exit 4;exit 5", nullptr), 4);
    EXPECT_EQ(ChDir(directory.drivePath.c_str()), 0);
    EXPECT_EQ(GetCwd(buffer, 255), directory.drivePath);
}

TEST_F(Hostile, SignalsWhilePipesAreReadAndWritten) {
    Make("mkfifo pipe");
    StartHere();
    const int both = open("pipe", O_RDWR);
    const int32_t file = Open("pipe");
    SendSignals();
    const pid_t writer = Fork([] { Make("sleep 0.1; printf bytes > pipe"); });
    std::string bytes(kMegabyte, ' ');
    EXPECT_EQ(OsRead(file, bytes.data(), 100), 5);
    const pid_t reader = ReadSlowly(both, 2 * kMegabyte + 1);
    EXPECT_EQ(OsWrite(file, bytes.data(), kMegabyte), kMegabyte);
    const pid_t shower = Fork([both, &bytes] {
        setsid();
        dup2(both, STDERR_FILENO);
        ControlMessageBoxes(nullptr, nullptr);
        SendSignals();
        MessageBoxA(nullptr, bytes.c_str(), nullptr, MB_OK);
    });
    EXPECT_TRUE(Succeeds(writer) && Succeeds(shower) && Succeeds(reader));
}

TEST_F(Hostile, SignalsWhileProgramsRunAndTimePasses) {
    StartHere();
    SendSignals();
    EXPECT_EQ(System("sleep 0.2;exit 7", nullptr), 7);
    EXPECT_EQ(System("-0sleep 0.2;echo x", "out"), 0);
    EXPECT_EQ(ReadFile("out"), "x\n");
    signal(SIGTERM, SIG_IGN);
    EXPECT_EQ(System("kill -TERM $$", nullptr), 128 + SIGTERM) << "programs ignore no signal";
    auto begin = Clock::now();
    GoToSleep(1);
    EXPECT_GE(Clock::now() - begin, Seconds(1));
    void* self = OpenProcess(0, 0, static_cast<uint32_t>(getpid()));
    for (int i = 0; i < 20; ++i) {
        begin = Clock::now();
        WaitForSingleObject(self, 20);
        EXPECT_GE(Clock::now() - begin, Seconds(0.02));
    }
    CloseHandle(self);
}

}  // namespace
