// A descriptor that is closed with its scope.
#ifndef LINUX_DESCRIPTOR_H
#define LINUX_DESCRIPTOR_H

#include <unistd.h>

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ != -1) close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    // -1 when nothing was opened.
    int Get() const {
        return number_;
    }

private:
    int number_;
};

#endif
