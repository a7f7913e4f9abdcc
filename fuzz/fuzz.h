// What the targets share: the properties that must hold, and taking an input apart. A target
// works in the current directory.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include "tests/support/arrays.h"
#include "tests/support/boxes.h"
#include "tests/support/temp_directory.h"

// Nobody catches it in a target, which ends there; a test does.
#define HOLDS(condition) ((condition) ? void() : throw std::logic_error(#condition))

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Choices and texts, taken off the bytes of an input; at its end all are 0 or empty.
struct Input {
    Input(const uint8_t* data, size_t size) : rest(reinterpret_cast<const char*>(data), size) {}

    std::string Bytes(size_t count) {
        const std::string bytes(rest.substr(0, count));
        rest.remove_prefix(bytes.size());
        return bytes;
    }
    int32_t Below(int32_t limit) {
        uint32_t number = 0;
        for (int32_t reach = limit - 1; reach > 0; reach >>= 8)
            number = number << 8 | uint8_t(Bytes(1)[0]);
        return int32_t(number % uint32_t(limit));
    }
    int32_t OneOf(std::initializer_list<int32_t> list) {
        return list.begin()[Below(std::ssize(list))];
    }
    // Up to the next line end or zero, which is skipped.
    std::string Line() {
        const std::string line = Bytes(rest.find_first_of(std::string_view("\n\0", 2)));
        Bytes(1);
        return line;
    }

    std::string_view rest;
};

inline Boxes boxesShown;

// What a target does with an input, the library being up.
void TryInput(Input& in);

#endif
