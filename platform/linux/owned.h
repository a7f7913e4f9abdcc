// What the system hands out, given back with its scope: descriptors, directories, streams.
#ifndef LINUX_OWNED_H
#define LINUX_OWNED_H

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

namespace vrplatform {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    // Leaves errno as it is: what failed before has set it.
    ~Descriptor() {
        if (number_ == -1) return;
        const int error = errno;
        close(number_);
        errno = error;
    }
    Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    // -1 when nothing was opened.
    int Get() const {
        return number_;
    }
    bool IsOpen() const {
        return number_ != -1;
    }

    // Leaves it to the caller.
    [[nodiscard]] int Release() {
        return std::exchange(number_, -1);
    }

private:
    int number_ = -1;
};

struct CloseDirectory {
    void operator()(DIR* directory) const {
        closedir(directory);
    }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

struct CloseStream {
    void operator()(std::FILE* stream) const {
        std::fclose(stream);
    }
};
using FileStream = std::unique_ptr<std::FILE, CloseStream>;

}  // namespace vrplatform

#endif
