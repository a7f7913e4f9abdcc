// What the cases share. A case is called FAMILY/WHAT/WHO/SIZE, where WHO is "vrbase" or one of
// its peers, and counts its items, so that the report can set the times for one item side by
// side. Keys, records and orders are the same in every run.
#ifndef BENCH_SUPPORT_H
#define BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "vr/owned.hpp"
#include "vr/vr.h"

namespace bench {

constexpr char kAttributeMark = static_cast<char>(kVrAttributeMark);
constexpr char kValueMark = static_cast<char>(kVrValueMark);

inline void CountItems(benchmark::State& state, size_t itemsARound = 1) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(itemsARound));
}

inline void CountBytes(benchmark::State& state, size_t bytesARound) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytesARound));
}

inline size_t SizeOf(const benchmark::State& state) {
    return static_cast<size_t>(state.range(0));
}

// The numbers from 0 up to `count`, shuffled.
inline std::vector<uint32_t> RandomOrder(size_t count) {
    std::vector<uint32_t> order(count);
    for (size_t i = 0; i < count; ++i)
        order[i] = static_cast<uint32_t>(i);
    std::ranges::shuffle(order, std::mt19937(1));
    return order;
}

// What one round of a case does.
struct Work {
    size_t items = 1;
    size_t bytes = 0;
};

inline Work OneItem(size_t) {
    return {};
}
inline Work ItemsOfSize(size_t size) {
    return {size};
}

// One row of a table of cases: `prepare` takes the size and returns what is then done again and
// again.
template <typename Prepare>
void Case(const std::string& name, const std::vector<int64_t>& sizes, Prepare prepare,
          Work (*workOf)(size_t size) = OneItem) {
    auto run = [prepare, workOf](benchmark::State& state) {
        auto round = prepare(SizeOf(state));
        for (auto _ : state)
            round();
        const Work work = workOf(SizeOf(state));
        CountItems(state, work.items);
        if (work.bytes != 0) CountBytes(state, work.bytes);
    };
    auto* added = benchmark::RegisterBenchmark(name.c_str(), run);
    for (const int64_t size : sizes)
        added->Arg(size);
}

// Takes a block or a string that a call has returned, and gives it back.
template <typename T>
void Use(T* result) {
    benchmark::DoNotOptimize(*reinterpret_cast<char*>(result));
    free_mem(&result);
}

inline std::string Letters(size_t length, uint32_t seed) {
    std::minstd_rand random(seed + 1);
    std::string text(length, ' ');
    for (char& c : text)
        c = static_cast<char>('a' + random() % 26);
    return text;
}

// `count` elements of `length` letters with a mark between two: every `valuesAnAttribute`-th
// mark is an attribute mark, the others are value marks.
inline std::string MakeRecord(size_t count, size_t length, size_t valuesAnAttribute = 1) {
    std::string record;
    record.reserve(count * (length + 1));
    const std::string letters = Letters(4096 + length, 1);
    for (size_t i = 1; i <= count; ++i) {
        record.append(letters, i * 7 % 4096, length);
        if (i != count) record += i % valuesAnAttribute == 0 ? kAttributeMark : kValueMark;
    }
    return record;
}

inline size_t CountOf(std::string_view text, char mark) {
    return static_cast<size_t>(std::ranges::count(text, mark));
}

// After an edit of `s` by the C interface: `edited` is the same string or one in its place.
inline void Become(vr::String& s, VrString edited) {
    if (edited != s.get()) s = vr::String(edited);
}

struct TemporaryFolder {
    TemporaryFolder() : path(std::filesystem::temp_directory_path() / "vrbench-XXXXXX") {
        if (mkdtemp(path.data()) == nullptr) std::abort();
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::filesystem::remove_all(path);
    }
    std::string path;
};

enum class Keys { kAlphabetic, kNumeric };

inline std::vector<std::string> MakeKeys(size_t count, Keys kind) {
    std::vector<std::string> keys;
    for (uint32_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(100000 + i);
        keys.push_back(kind == Keys::kNumeric ? number : Letters(6 + i % 9, i) + "." + number[5]);
    }
    return keys;
}

}  // namespace bench

#endif
