// Locks under torture: sixteen processes take keys, end with keys held and are killed at any
// moment, while their idle lock files are parked and their directories go away and come back.
// Exclusion is seen from outside: whoever has a key enters its number in the key's slot, and
// nobody may find another number there, unless the kernel tells that its process has ended.

#include "tests/support/library_test.h"
#include "tests/torture/torture.h"

namespace {

constexpr uint32_t kKeys = 8;
constexpr uint32_t kFiles = 3;

struct Shared {
    std::atomic<pid_t> holders[kKeys];
    std::atomic<uint32_t> moves[kFiles];  // odd while the directory is away
    std::atomic<uint32_t> takes, handovers, overlaps, wrong;
};

Shared* const shared = static_cast<Shared*>(
    mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

std::string Folder(uint32_t file) {
    return "folder" + std::to_string(file);
}

// What cannot be read belongs to nobody any more.
bool HasEnded(pid_t process) {
    constexpr unsigned kExiting = 4;
    unsigned flags = kExiting;
    std::FILE* file = std::fopen(("/proc/" + std::to_string(process) + "/stat").c_str(), "re");
    if (file == nullptr) return true;
    const int read = std::fscanf(file, "%*d (%*[^)]) %*c %*d %*d %*d %*d %*d %u", &flags);
    std::fclose(file);
    return read != 1 || (flags & kExiting) != 0;
}

struct Host {
    Host() {
        StartHost("torture.ini");
    }
    bool Take(uint32_t key, bool wait) {
        const uint32_t file = key % kFiles;
        const uint32_t moves = shared->moves[file];
        const std::string path = Folder(file) + "\\FILE";
        int32_t result = handles[file] != 0 ? 0 : LockRegister(path.c_str(), &handles[file]);
        if (result == 0) result = LockLockKey(handles[file], Array(std::to_string(key)), 0, wait);
        // While its directory is away a lock file cannot be opened.
        const bool away = result == -1 && (moves % 2 != 0 || moves != shared->moves[file]);
        Check(result == 0 || (result == 1 && !wait) || away);
        return result == 0;
    }
    static void Check(bool holds) {
        if (!holds) ++shared->wrong;
    }
    VrLockHandle handles[kFiles] = {};
};

// One who holds a key asks for others, but waits for none.
void Visit(Host& host, int depth) {
    const uint32_t key = Random(kKeys);
    if (!host.Take(key, depth == 0 && Random(8) == 0)) return;
    std::atomic<pid_t>& holder = shared->holders[key];
    pid_t self = getpid();
    const pid_t before = holder.exchange(self);
    if (before != self) {
        ++shared->takes;
        if (before != 0) ++shared->handovers;
        if (before != 0 && !HasEnded(before)) ++shared->overlaps;
        if (Random(300) == 0) _exit(0);
        if (depth < 3 && Random(3) == 0) Visit(host, depth + 1);
        if (!holder.compare_exchange_strong(self, 0)) ++shared->overlaps;
    }
    Host::Check(LockUnlockKey(host.handles[key % kFiles], Array(std::to_string(key))) == 0);
}

void Work() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (Random(2) == 0) SendSignals();
    Host host;
    const auto end = Clock::now() + std::chrono::milliseconds(Random(300));
    while (Clock::now() < end) {
        Visit(host, 0);
        VrLockHandle& handle = host.handles[Random(kFiles)];
        if (Random(20) == 0 && handle != 0) Host::Check(LockDeregister(handle) == 0), handle = 0;
    }
    VrExit(0);
}

void Reap(pid_t& child, int options) {
    int status = 0;
    if (waitpid(child, &status, options) != child) return;
    EXPECT_TRUE(status == 0 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)) << status;
    child = 0;
}

TEST(Torture, OfLocks) {
    const Seconds length = LengthOf("VR_LOCK_SECONDS");
    const TempDirectory directory;
    WriteFile("torture.ini", "[Environment]\nMaxOpenFiles=1\n");
    for (uint32_t file = 0; file < kFiles; ++file)
        std::filesystem::create_directory(Folder(file));
    pid_t workers[16] = {};
    uint32_t kills = 0;
    // A slow machine goes on until one process has taken over from a dead one.
    const auto end = Clock::now() + length;
    const auto isOver = [end] {
        const auto now = Clock::now();
        return now > end && (shared->handovers != 0 || now > end + std::chrono::seconds(60));
    };
    for (; !isOver(); usleep(Random(2000))) {
        for (pid_t& worker : workers) {
            if (worker != 0) Reap(worker, WNOHANG);
            if (worker == 0) worker = Fork(Work);
        }
        if (Random(8) == 0) kills += kill(workers[Random(16)], SIGKILL) == 0;
        if (Random(40) != 0) continue;
        const uint32_t file = Random(kFiles);  // goes away and comes back
        ++shared->moves[file];
        std::filesystem::rename(Folder(file), "away");
        usleep(Random(3000));
        std::filesystem::rename("away", Folder(file));
        ++shared->moves[file];
    }
    for (pid_t& worker : workers) {
        kill(worker, SIGKILL);
        Reap(worker, 0);
    }
    pid_t fresh = Fork([] {
        Host host;
        for (uint32_t key = 0; key < kKeys; ++key)
            EXPECT_TRUE(host.Take(key, false)) << key;
    });
    Reap(fresh, 0);
    std::printf(
        "locks: %.0f s, %u takes, %u kills, %u handovers from the dead, "
        "%u overlaps, %u wrong results\n",
        length.count(), +shared->takes, kills, +shared->handovers, +shared->overlaps,
        +shared->wrong);
    EXPECT_GT(shared->handovers, 0u);
    EXPECT_EQ(+shared->overlaps, 0u);
    EXPECT_EQ(+shared->wrong, 0u);
}

}  // namespace
