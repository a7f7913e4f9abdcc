// Reading and writing in pieces of 4 KiB, in binary and in text mode, and taking and giving back
// a key. The peers make the same system calls bare; text is held against a search for its line
// ends in memory.

#include <fcntl.h>
#include <unistd.h>

#include <fstream>

#include "bench/support.h"
#include "platform/files.h"
#include "vr/files.h"
#include "vr/lock.h"

namespace {

using bench::SizeOf;

constexpr size_t kPiece = 4096;
constexpr size_t kPieces = 256;
constexpr size_t kFileSize = kPieces * kPiece;
constexpr size_t kLine = 40;

struct OurFile {
    OurFile(const char* path, int32_t mode) {
        OsOpen(path, kOpenReadWrite | kOpenCreate | mode, kPermissionRead | kPermissionWrite,
               &handle);
    }
    explicit OurFile(const char* path) : OurFile(path, kOpenBinary) {}
    ~OurFile() {
        OsClose(handle);
    }
    int32_t Read(void* buffer) const {
        return OsRead(handle, buffer, kPiece);
    }
    int32_t Write(const void* buffer) const {
        return OsWrite(handle, buffer, kPiece);
    }
    void Rewind() const {
        OsLseek(handle, 0, kSeekStart);
    }
    int32_t handle = -1;
};

struct OurText : OurFile {
    explicit OurText(const char* path) : OurFile(path, kOpenText) {}
};

struct BareFile {
    explicit BareFile(const char* path) : handle(open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {}
    ~BareFile() {
        close(handle);
    }
    int32_t Read(void* buffer) const {
        return static_cast<int32_t>(read(handle, buffer, kPiece));
    }
    int32_t Write(const void* buffer) const {
        return static_cast<int32_t>(write(handle, buffer, kPiece));
    }
    void Rewind() const {
        lseek(handle, 0, SEEK_SET);
    }
    int handle;
};

// Text of lines that end in `lineEnd`, as long as the pieces are together.
std::string Lines(std::string_view lineEnd) {
    std::string text;
    while (text.size() < kFileSize)
        text.append(bench::Letters(kLine - lineEnd.size(), 1)).append(lineEnd);
    text.resize(kFileSize);
    return text;
}

struct TextFile {
    TextFile() : path(folder.path + "/text") {
        std::ofstream(path, std::ios::binary) << Lines("\r\n");
    }
    bench::TemporaryFolder folder;
    std::string path;
};

template <typename File>
void ReadPieces(benchmark::State& state) {
    const TextFile text;
    const File file(text.path.c_str());
    char buffer[kPiece];
    for (auto _ : state) {
        for (size_t i = 0; i < kPieces; ++i)
            if (file.Read(buffer) <= 0) break;
        file.Rewind();
    }
    bench::CountItems(state, kPieces);
    bench::CountBytes(state, kFileSize);
}

template <typename File>
void WritePieces(benchmark::State& state) {
    const TextFile given;
    const File file(given.path.c_str());
    const std::string text = Lines("\n");
    for (auto _ : state) {
        for (size_t i = 0; i < kPieces; ++i)
            if (file.Write(text.data() + i * kPiece) <= 0) break;
        file.Rewind();
    }
    bench::CountItems(state, kPieces);
    bench::CountBytes(state, kFileSize);
}

template <char lineEnd>
void SearchLineEnds(benchmark::State& state) {
    const std::string text = Lines(lineEnd == '\r' ? "\r\n" : "\n");
    for (auto _ : state) {
        const char* p = text.data();
        const char* end = p + text.size();
        while (p != nullptr) {
            p = static_cast<const char*>(std::memchr(p, lineEnd, static_cast<size_t>(end - p)));
            if (p != nullptr) ++p;
            benchmark::DoNotOptimize(p);
        }
    }
    bench::CountItems(state, kPieces);
    bench::CountBytes(state, text.size());
}

class Registration {
public:
    Registration() {
        std::string path = text_.path;
        std::ranges::replace(path, '/', '\\');  // a lock file's folder ends at one of these
        LockRegister(path.c_str(), &handle);
    }
    Registration(const Registration&) = delete;
    ~Registration() {
        LockDeregister(handle);
    }
    VrLockHandle handle = 0;

private:
    TextFile text_;
};

// While the process holds as many keys as the size says.
void TakeKey(benchmark::State& state) {
    const Registration file;
    for (const std::string& held : bench::MakeKeys(SizeOf(state), bench::Keys::kNumeric))
        LockLockKey(file.handle, vr::String(held).get(), 0, 0);
    const vr::String key("the key in question");
    for (auto _ : state) {
        const bool taken = LockLockKey(file.handle, key.get(), 0, 0) == 0;
        if (!taken || LockUnlockKey(file.handle, key.get()) != 0) state.SkipWithError("no lock");
    }
    bench::CountItems(state);
}

struct flock ByteLock(short type, uint32_t position) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = position;
    lock.l_len = 1;
    return lock;
}

void TakeByte(benchmark::State& state) {
    const TextFile text;
    const BareFile file(text.path.c_str());
    for (size_t i = 0; i < SizeOf(state); ++i) {
        struct flock held = ByteLock(F_WRLCK, static_cast<uint32_t>(i) * 31);
        fcntl(file.handle, F_OFD_SETLK, &held);
    }
    struct flock take = ByteLock(F_WRLCK, 0xF0000000);
    struct flock give = ByteLock(F_UNLCK, 0xF0000000);
    for (auto _ : state) {
        if (fcntl(file.handle, F_OFD_SETLK, &take) != 0) state.SkipWithError("no lock");
        fcntl(file.handle, F_OFD_SETLK, &give);
    }
    bench::CountItems(state);
}

void HeldKeys(benchmark::internal::Benchmark* b) {
    b->Arg(0)->Arg(10)->Arg(100)->Arg(1000);
}

BENCHMARK(ReadPieces<OurFile>)->Name("file/read/vrbase")->Arg(kPiece);
BENCHMARK(ReadPieces<BareFile>)->Name("file/read/bare")->Arg(kPiece);
BENCHMARK(WritePieces<OurFile>)->Name("file/write/vrbase")->Arg(kPiece);
BENCHMARK(WritePieces<BareFile>)->Name("file/write/bare")->Arg(kPiece);
BENCHMARK(ReadPieces<OurText>)->Name("file/read-text/vrbase")->Arg(kPiece);
BENCHMARK(SearchLineEnds<'\r'>)->Name("file/read-text/memchr")->Arg(kPiece);
BENCHMARK(WritePieces<OurText>)->Name("file/write-text/vrbase")->Arg(kPiece);
BENCHMARK(SearchLineEnds<'\n'>)->Name("file/write-text/memchr")->Arg(kPiece);

BENCHMARK(TakeKey)->Name("lock/key/vrbase")->Apply(HeldKeys);
BENCHMARK(TakeByte)->Name("lock/key/bare")->Apply(HeldKeys);

}  // namespace
