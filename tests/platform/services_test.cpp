// Memory, message boxes, modules and what a terminal gets, as the platform
// provides them.

#include <gtest/gtest.h>
#include <thread>

#include "tests/support/base.h"

namespace {

struct Block {
    char* bytes = nullptr;
    std::string expected;
};

// Resized blocks keep their bytes and are zero beyond them; all are then filled with `fill`.
void Resize(Block& block, uint32_t size, char fill) {
    void* resized = LocalReAlloc(block.bytes, size, LMEM_MOVEABLE | LMEM_ZEROINIT);
    block.bytes = static_cast<char*>(resized);
    block.expected.resize(size, '\0');
    EXPECT_EQ(std::string(block.bytes, size), block.expected) << size;
    block.expected.assign(size, fill);
    std::fill_n(block.bytes, size, fill);
}

TEST(Memory, BlocksKeepTheirBytes) {
    std::minstd_rand random(1);
    std::vector<Block> blocks(400);
    for (int step = 0; step < 10000; ++step) {
        Block& block = blocks[random() % blocks.size()];
        if (random() % 3 != 0) {
            Resize(block, random() % 1100, static_cast<char>(step));
        } else if (block.bytes != nullptr) {
            EXPECT_EQ(std::string(block.bytes, block.expected.size()), block.expected);
            LocalFree(block.bytes);
            block = {};
        }
    }
}

void UseBlocks(char own) {
    for (int round = 0; round < 1000000; ++round) {
        auto* block = static_cast<char*>(LocalAlloc(LMEM_FIXED, 8));
        std::fill_n(block, 8, own);
        ASSERT_EQ(std::count(block, block + 8, own), 8) << round;
        LocalFree(block);
    }
}

TEST(Memory, ThreadsDoNotShareABlock) {
    std::thread other(UseBlocks, 'a');
    UseBlocks('b');
    other.join();
}

int32_t SetByHost(const char* name, const char* value) {
    return int32_t{(value == nullptr ? unsetenv(name) : setenv(name, value, 1)) == 0};
}

TEST(Variables, ALargeEnvironmentAgreesWithTheModel) {
    std::mt19937 random(1);
    std::map<std::string, std::string> model, found;
    clearenv();
    for (int step = 1; step <= 10000; ++step) {
        const std::string name = "V" + std::to_string(random() % 2000);
        const uint32_t action = random() % 1000;
        model[name] = std::to_string(step);
        const char* value = action < 2 ? nullptr : model[name].c_str();
        const auto set = action == 1 || action == 2 ? SetByHost : SetEnvironmentVariableA;
        EXPECT_EQ(set(name.c_str(), value), 1);
        if (value == nullptr) model.erase(name);
        if (step % 500 != 0) continue;
        for (char** each = environ; *each != nullptr; ++each) {
            const std::string text = *each;
            const size_t equal = text.find('=');
            EXPECT_TRUE(found.emplace(text.substr(0, equal), text.substr(equal + 1)).second);
        }
        ASSERT_EQ(std::exchange(found, {}), model) << step;
    }
}

TEST(Modules, HandlesAddressesAndStrayNumbers) {
    char name[300];
    EXPECT_GT(GetModuleFileNameA(nullptr, name, sizeof name), 0u);
    const std::string whole = name;
    EXPECT_EQ(whole.substr(0, 3), "C:\\");
    EXPECT_TRUE(whole.ends_with("\\platform_services")) << whole;
    EXPECT_EQ(GetModuleFileNameA(nullptr, name, 5), 4u);
    EXPECT_EQ(name, whole.substr(0, 4));
    void* stray = reinterpret_cast<void*>(4711);
    EXPECT_EQ(GetModuleFileNameA(stray, name, sizeof name), 0u);
    EXPECT_EQ(FreeLibrary(stray), 0);
    EXPECT_EQ(GetProcAddress(stray, "LocalAlloc"), nullptr);
}

// Without a terminal the text is on standard error and the answer is the safe one.
TEST(MessageBoxDeathTest, NobodyThereGivesTheSafeAnswer) {
    auto unattended = [] {
        setsid();
        _exit(MessageBoxA(nullptr, "lost\x1B", "Title", MB_OK) * 10 +
              MessageBoxA(nullptr, "retry", nullptr, MB_RETRYCANCEL | MB_ICONEXCLAMATION));
    };
    EXPECT_EXIT(unattended(), testing::ExitedWithCode(IDOK * 10 + IDCANCEL), "Title: lost\\.");
}

// A person types an unknown letter first, then the button's.
TEST(MessageBoxDeathTest, APersonAtTheTerminalAnswers) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(master);
    unlockpt(master);
    ASSERT_EQ(write(master, "x\nR\n", 4), 4);
    auto attended = [master] {
        setsid();
        const int terminal = open(ptsname(master), O_RDWR);  // becomes the controlling one
        _exit(terminal < 0 ? 99 : MessageBoxA(nullptr, "text", "Title", MB_RETRYCANCEL));
    };
    EXPECT_EXIT(attended(), testing::ExitedWithCode(IDRETRY), "");
}

// LOCALE -> TEXT -> what a terminal may get of it.
TEST(Text, NothingSteersATerminal) {
    const std::array<std::string, 3> rows[] = {
        {"C", "a\x1B[m\n\t\x7F\xFE", "a.[m\n..\xFE"},
        {"de_DE.UTF-8", "\xC3\x9C\xE2\x82\xAC\xF0\x9F\x98\x80",
         "\xC3\x9C\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"de_DE.utf8", "\xC2\x9Bm\x9B\xC2\xA0\xE2\x82", "\xC2.m.\xC2\xA0\xE2."},
        {"de_DE.ISO-8859-1", "\xC3\x9C\xC3\xBC", "\xC3.\xC3\xBC"}};
    for (const auto& [locale, text, shown] : rows) {
        setenv("LC_ALL", locale.c_str(), 1);
        std::string masked = text;
        MaskControls(masked.data(), uint32_t(masked.size()), "\n");
        EXPECT_EQ(masked, shown) << locale;
    }
}

}  // namespace
