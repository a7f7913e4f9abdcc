// Calls of the system that no signal ends for good.
#ifndef LINUX_INSIST_H
#define LINUX_INSIST_H

#include <unistd.h>

#include <cerrno>

namespace vrplatform {

template <typename Call>
auto Insist(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// Writes as much as possible; -1 only when nothing was written.
inline ssize_t WriteAll(int descriptor, const char* bytes, size_t count) {
    size_t done = 0;
    while (done < count) {
        const ssize_t written =
            Insist([=] { return write(descriptor, bytes + done, count - done); });
        if (written <= 0) return done != 0 ? static_cast<ssize_t>(done) : -1;
        done += static_cast<size_t>(written);
    }
    return static_cast<ssize_t>(done);
}

// Reads up to the end or `count` bytes; -1 when a read fails.
inline ssize_t ReadAll(int descriptor, char* bytes, size_t count) {
    size_t done = 0;
    while (done < count) {
        const ssize_t got = Insist([=] { return read(descriptor, bytes + done, count - done); });
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

}  // namespace vrplatform

#endif
