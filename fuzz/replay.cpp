// Takes the fuzzer's place where there is none: gives a target the files named, each as it
// is and fifty times with some bytes changed, in the current directory.

#include "fuzz/fuzz.h"

int main(int count, char** names) {
    std::mt19937 random(1);
    for (int i = 1; i < count; ++i) {
        const std::string seed = ReadFile(names[i]);
        std::string input = seed;
        for (int round = 0; round < 50; ++round) {
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
            input = seed.substr(0, seed.size() - (round % 5 == 4 ? random() % seed.size() : 0));
            for (int changes = round % 4; changes > 0 && !input.empty(); --changes)
                input[random() % input.size()] = seed[random() % seed.size()];
        }
    }
}
