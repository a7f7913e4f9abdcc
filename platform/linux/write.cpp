// The two signals are directed at the thread that writes, so its mask is enough.

#include "linux/write.h"

#include <cerrno>
#include <ctime>
#include <initializer_list>

namespace vrplatform {

namespace {

constexpr std::initializer_list<int> kSignals = {SIGPIPE, SIGXFSZ};

}  // namespace

HeldSignals::HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kSignals)
        sigaddset(&held, signal);
    sigpending(&pending_);
    pthread_sigmask(SIG_BLOCK, &held, &before_);
}

HeldSignals::~HeldSignals() {
    const int error = errno;
    for (const int signal : kSignals) {
        if (sigismember(&pending_, signal) != 0) continue;
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        const timespec atOnce = {};
        Insist([&] { return sigtimedwait(&one, nullptr, &atOnce); });
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = error;
}

ssize_t WriteHolding(int descriptor, const char* bytes, size_t count, bool maySignal) {
    if (!maySignal) return WriteAll(descriptor, bytes, count);
    const HeldSignals held;
    return WriteAll(descriptor, bytes, count);
}

}  // namespace vrplatform
