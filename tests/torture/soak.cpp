// A host that works for long: random work of every family must leave the process as large as
// it was once everything had been used. Only the fixed store, which gives nothing back, is
// left alone.

#include <malloc.h>

#include "tests/sweep/scenarios.h"
#include "tests/torture/torture.h"

namespace {

VrString strings[16];

template <typename... Blocks>
void Drop(Blocks*... results) {
    (free_mem(&results), ...);
}

// A scenario of the sweep with texts of another length, and what gives nothing to compare.
void Step() {
    textSize = 60 + Random(240);
    WriteFile("RECORD", kRecord);
    std::filesystem::resize_file("$$VRDB.LOG", 0);
    const Scenario& scenario = kScenarios[Random(std::size(kScenarios))];
    const bool isSlow = scenario.run == Startup || scenario.run == Command;
    if (!isSlow || (scenario.run == Command && Random(10) == 0)) scenario.run();
    if (Random(300) == 0) System("&true", nullptr);
    for (VrString& each : strings)
        Drop(std::exchange(each, alloc_string(Random(5000))));
    DLLPutEnv("SOAK", std::to_string(Random(20)).c_str());
    VrFindProcess("torture");
    EnvironSetTerminal(80 + int32_t(Random(60)), 24);
    EnvironTerminalDefinition(0);
    CvtInit("./cvt.ini");
    Drop(GetFullPath(Array("x")), GetUniqueTempFileName("soak"));
}

// The size of the writable mappings, in bytes: all that the process took of the system. The
// resident size would do where no emulator adds its own memory to it.
long Mapped() {
    std::istringstream maps(ReadFile("/proc/self/maps"));
    long sum = 0;
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0, end = 0;
        char write = '-';
        std::sscanf(line.c_str(), "%lx-%lx r%c", &begin, &end, &write);
        if (write == 'w') sum += static_cast<long>(end - begin);
    }
    return sum;
}

// The most that the process had at a time.
struct Peak {
    long mapped = 0;  // bytes
    long heap = 0;    // bytes in use in the C heap
    long blocks = 0;  // of the platform
};

Peak Work(Seconds length) {
    Peak peak;
    for (const auto end = Clock::now() + length; Clock::now() < end;) {
        for (int i = 0; i < 20 && !testing::Test::HasFailure(); ++i) {
            Step();
            peak.blocks = std::max(peak.blocks, static_cast<long>(ControlBlocksOut()));
        }
        peak.heap = std::max(peak.heap, static_cast<long>(mallinfo2().uordblks));
        peak.mapped = std::max(peak.mapped, Mapped());
    }
    return peak;
}

TEST(Torture, OfMemory) {
    const Seconds length = LengthOf("VR_SOAK_SECONDS");
    const TempDirectory directory;
    PrepareFolder();
    Startup();
    Log();
    std::filesystem::permissions("$$VRDB.LOG", std::filesystem::perms::owner_all);
    for (int i = 0; i < 200; ++i)  // by then everything was used
        Step();
#ifndef __SANITIZE_ADDRESS__  // which takes most of the address space itself
    const rlimit limit = {1 << 28, 1 << 28};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
#endif
    const Peak early = Work(length / 2);
    const Peak late = Work(length / 2);
    std::printf("soak: %.0f s, heap %ld then %ld, mapped %ld then %ld, blocks %ld then %ld\n",
                length.count(), early.heap, late.heap, early.mapped, late.mapped, early.blocks,
                late.blocks);
#ifndef __SANITIZE_ADDRESS__  // which keeps for a while what is freed
    EXPECT_LE(late.mapped - early.mapped, 256 * 1024);
    EXPECT_LE(late.heap - early.heap, 100'000);
#endif
    EXPECT_LE(late.blocks - early.blocks, 20);
    for (VrString& each : strings)
        Drop(std::exchange(each, nullptr));
    VrExit(0);
}

}  // namespace
