// What the targets share: the properties that must hold, taking an input apart, and a
// library that is up and loses nothing. A target works in the current directory.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/support/boxes.h"
#include "tests/support/temp_directory.h"
#include "vr/vr.h"

// Nobody catches it in a target, which ends there; a test does.
#define HOLDS_TEXT(line, condition) #line ": does not hold: " #condition
#define HOLDS_AT(line, condition) \
    if (!(condition)) throw std::logic_error(HOLDS_TEXT(line, condition))
#define HOLDS(condition) HOLDS_AT(__LINE__, condition)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Choices and texts, taken off the bytes of an input; at its end everything is 0 or empty.
class Input {
public:
    Input(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    bool IsEmpty() const {
        return rest_.empty();
    }
    uint8_t Byte() {
        const std::string byte = Bytes(1);
        return byte.empty() ? uint8_t{0} : uint8_t(byte[0]);
    }
    int32_t Below(int32_t limit) {
        uint32_t number = 0;
        for (int32_t reach = limit - 1; reach > 0; reach >>= 8)
            number = number << 8 | Byte();
        return int32_t(number % uint32_t(limit));
    }
    int32_t OneOf(std::initializer_list<int32_t> list) {
        return list.begin()[Below(std::ssize(list))];
    }
    std::string Bytes(size_t count) {
        const std::string bytes(rest_.substr(0, count));
        rest_.remove_prefix(bytes.size());
        return bytes;
    }
    std::string Rest() {
        return Bytes(rest_.size());
    }
    // Up to the next line end or zero, which is passed over.
    std::string Line() {
        const std::string line = Bytes(rest_.find_first_of(std::string_view("\n\0", 2)));
        Byte();
        return line;
    }

private:
    std::string_view rest_;
};

inline Boxes boxesShown;

// The blocks that are out when the library is up and nothing is asked of it. Each of the
// allocator's 16 pools may keep two free pages.
inline uint32_t StartLibrary() {
    static const uint32_t blocks = [] {
        for (const char* name : {"VRLPATH", "VRLDATE", "VRPLATFORM_REGISTRY"})
            unsetenv(name);
        UtilInit(nullptr);
        return ControlBlocksOut() + 16 * 2;
    }();
    boxesShown.Attach();
    boxesShown.shown.clear();
    return blocks;
}

// A leak of small blocks shows when an input was run about a hundred times.
#define HOLDS_NOTHING_LEFT() HOLDS(ControlBlocksOut() <= StartLibrary())

// The text of a block, which is freed.
inline std::string TakeCText(char* text) {
    const std::string taken = text == nullptr ? "(null)" : text;
    free_mem(&text);
    return taken;
}

#endif
