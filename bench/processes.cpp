// What needs a process of its own: start and stop of the library, quarks, since they stay to the
// end, and the memory that things take. Each round is a fork that sends back one figure.

#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <unordered_map>

#include "bench/allocators.h"
#include "bench/support.h"
#include "vr/hash.h"
#include "vr/quark.h"

namespace {

using bench::SizeOf;

constexpr size_t kBlocks = 500000;
constexpr size_t kQuestions = 200000;
constexpr size_t kElementLength = 12;
constexpr int32_t kBuckets = 2048;
constexpr char kSettings[] = "bench.ini";

template <typename Measure>
double InChild(Measure measure) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        const double figure = measure();
        _exit(write(ends[1], &figure, sizeof figure) == sizeof figure ? 0 : 1);
    }
    close(ends[1]);
    double figure = 0;
    if (read(ends[0], &figure, sizeof figure) != sizeof figure) std::abort();
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return figure;
}

double ProcessorSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

template <typename Work>
double Seconds(Work work) {
    const double start = ProcessorSeconds();
    work();
    return ProcessorSeconds() - start;
}

void StartLibrary() {
    const UtilInitRecord start = {0, 0, kSettings};
    if (UtilInit(&start) != 1) std::abort();
}

void StartAndStop(benchmark::State& state) {
    for (auto _ : state) {
        state.SetIterationTime(InChild([] {
            return Seconds([] {
                StartLibrary();
                VrExit(0);
            });
        }));
    }
    bench::CountItems(state);
}

struct OurQuarks {
    using Number = int32_t;
    static void Start() {
        StartLibrary();
    }
    static Number Of(const std::string& text) {
        return Quark(text.c_str());
    }
    static const char* Text(Number quark) {
        return QuarkToString(quark);
    }
};

struct GlibQuarks {
    using Number = GQuark;
    static void Start() {}
    static Number Of(const std::string& text) {
        return g_quark_from_string(text.c_str());
    }
    static const char* Text(Number quark) {
        return g_quark_to_string(quark);
    }
};

// Asks for known texts in random order, and for the texts of their numbers.
template <typename Quarks, bool backward>
double AskQuarks(size_t count) {
    Quarks::Start();
    std::vector<std::string> texts = bench::MakeKeys(count, bench::Keys::kAlphabetic);
    std::vector<typename Quarks::Number> numbers;
    for (const std::string& text : texts)
        numbers.push_back(Quarks::Of(text));
    const std::vector<uint32_t> order = bench::RandomOrder(count);
    return Seconds([&] {
        for (size_t i = 0; i < kQuestions; ++i) {
            const uint32_t which = order[i % count];
            if constexpr (backward) {
                benchmark::DoNotOptimize(Quarks::Text(numbers[which]));
            } else {
                benchmark::DoNotOptimize(Quarks::Of(texts[which]));
            }
        }
    });
}

template <typename Quarks, bool backward>
void QuarkCase(benchmark::State& state) {
    for (auto _ : state)
        state.SetIterationTime(InChild([&] { return AskQuarks<Quarks, backward>(SizeOf(state)); }));
    bench::CountItems(state, kQuestions);
}

// Bytes of memory in use, by the system's account.
double ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// `fill` takes `count` things and leaves them.
template <auto fill>
void MemoryOf(benchmark::State& state, size_t count, size_t size) {
    double bytes = 0;
    for (auto _ : state) {
        bytes = InChild([count, size] {
            StartLibrary();
            fill(1, size);  // so that the code's own pages do not count
            const double before = ResidentBytes();
            fill(count, size);
            return ResidentBytes() - before;
        });
        state.SetIterationTime(1);
    }
    state.counters["bytes"] = bytes / static_cast<double>(count);
}

template <typename Allocator>
void FillBlocks(size_t count, size_t size) {
    for (size_t i = 0; i < count; ++i)
        benchmark::DoNotOptimize(Allocator::Take(static_cast<uint32_t>(size)));
}

void FillRecord(size_t count, size_t size) {
    const std::string element = bench::Letters(size, 1);
    VrString s = alloc_simple_string(static_cast<uint32_t>(count * (size + 1)));
    unsigned char* to = VrStrText(s);
    for (size_t i = 0; i < count; ++i, to += size + 1) {
        std::memcpy(to, element.data(), size);
        to[size] = kVrAttributeMark;
    }
}

void FillVector(size_t count, size_t size) {
    auto& parts = *new std::vector<std::string>;
    for (size_t i = 0; i < count; ++i)
        parts.emplace_back(bench::Letters(size, 1));
}

void FillHashTable(size_t count, size_t) {
    HashTable* table = HashTableCreate(kBuckets, nullptr, 0, 0);
    for (size_t i = 0; i < count; ++i)
        HashTableInstall(table, std::to_string(100000 + i).c_str(), 7);
}

void FillFixedTable(size_t count, size_t) {
    HashTable* table = HashTableCreate(kBuckets, nullptr, 0, 1);
    for (size_t i = 0; i < count; ++i)
        HashTableInstall(table, std::to_string(100000 + i).c_str(), 7);
}

void FillMap(size_t count, size_t) {
    auto& map = *new std::unordered_map<std::string, uint32_t>;
    for (size_t i = 0; i < count; ++i)
        map.emplace(std::to_string(100000 + i), 7);
}

void FillGlibTable(size_t count, size_t) {
    GHashTable* table = g_hash_table_new(g_str_hash, g_str_equal);
    for (size_t i = 0; i < count; ++i)
        g_hash_table_insert(table, g_strdup(std::to_string(100000 + i).c_str()),
                            GUINT_TO_POINTER(7));
}

template <auto fill>
void BlockMemory(benchmark::State& state) {
    MemoryOf<fill>(state, kBlocks, SizeOf(state));
}

template <auto fill>
void ThingMemory(benchmark::State& state) {
    MemoryOf<fill>(state, SizeOf(state), kElementLength);
}

void KeyCounts(benchmark::internal::Benchmark* b) {
    b->Arg(100)->Arg(1000)->Arg(2000)->Arg(20000)->Arg(100000)->UseManualTime();
}

void BlockSizes(benchmark::internal::Benchmark* b) {
    b->Arg(4)->Arg(12)->Arg(24)->Arg(40)->Arg(62)->Iterations(1)->UseManualTime();
}

void ThingCounts(benchmark::internal::Benchmark* b) {
    b->Arg(20000)->Arg(200000)->Iterations(1)->UseManualTime();
}

BENCHMARK(StartAndStop)->Name("start/100-lines/vrbase")->Arg(100)->UseManualTime();

BENCHMARK_TEMPLATE(QuarkCase, OurQuarks, false)->Name("quark/known/vrbase")->Apply(KeyCounts);
BENCHMARK_TEMPLATE(QuarkCase, GlibQuarks, false)->Name("quark/known/glib")->Apply(KeyCounts);
BENCHMARK_TEMPLATE(QuarkCase, OurQuarks, true)->Name("quark/text/vrbase")->Apply(KeyCounts);
BENCHMARK_TEMPLATE(QuarkCase, GlibQuarks, true)->Name("quark/text/glib")->Apply(KeyCounts);

#define MEMORY(name, Case, fill, sizes) BENCHMARK(Case<fill>)->Name("memory/" name)->Apply(sizes)
MEMORY("block/vrbase", BlockMemory, FillBlocks<bench::Vrbase>, BlockSizes);
MEMORY("block/glibc", BlockMemory, FillBlocks<bench::Glibc>, BlockSizes);
MEMORY("block/mimalloc", BlockMemory, FillBlocks<bench::Mimalloc>, BlockSizes);
MEMORY("attribute/vrbase", ThingMemory, FillRecord, ThingCounts);
MEMORY("attribute/vector", ThingMemory, FillVector, ThingCounts);
MEMORY("key/vrbase", ThingMemory, FillHashTable, ThingCounts);
MEMORY("key/std-map", ThingMemory, FillMap, ThingCounts);
MEMORY("key/glib", ThingMemory, FillGlibTable, ThingCounts);
MEMORY("key-fixed/vrbase", ThingMemory, FillFixedTable, ThingCounts);

// A hundred lines, as an installation has them.
void WriteSettings() {
    std::ofstream file(kSettings);
    for (int section = 0; section < 10; ++section) {
        file << (section == 0 ? "[ENVIRONMENT]\r\n"
                              : "[Section" + std::to_string(section) + "]\r\n");
        for (int line = 0; line < 9; ++line)
            file << "Setting" << section << line << "=C:\\srv\\data" << line << "\r\n";
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const bench::TemporaryFolder folder;
    std::filesystem::current_path(folder.path);
    WriteSettings();
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::current_path("/");
    return 0;
}
