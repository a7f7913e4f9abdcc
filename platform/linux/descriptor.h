// A descriptor that is closed with its scope.
#ifndef LINUX_DESCRIPTOR_H
#define LINUX_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        Reset(-1);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    // -1 when nothing was opened.
    int Get() const {
        return number_;
    }

    // Closes what is held, and holds that one instead.
    void Reset(int number) {
        const int before = std::exchange(number_, number);
        if (before != -1) close(before);
    }
    void Swap(Descriptor& other) {
        std::swap(number_, other.number_);
    }

private:
    int number_;
};

#endif
