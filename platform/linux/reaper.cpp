// A thread for each child that was left to itself. It does nothing but wait, with all
// signals blocked, so that the host's handlers never run on it.

#include "linux/reaper.h"

#include <pthread.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <cstdint>

#include "linux/insist.h"

namespace {

constexpr size_t kStackSize = 64 * 1024;

std::atomic<int> threads = 0;

void* Wait(void* child) {
    const auto number = static_cast<pid_t>(reinterpret_cast<intptr_t>(child));
    Insist([number] { return waitpid(number, nullptr, 0); });
    --threads;
    return nullptr;
}

}  // namespace

void ReapInBackground(pid_t child) {
    if (waitpid(child, nullptr, WNOHANG) != 0) return;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, kStackSize);
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    ++threads;
    void* argument = reinterpret_cast<void*>(static_cast<intptr_t>(child));
    if (pthread_create(&thread, &attributes, Wait, argument) != 0) --threads;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
}

int ReaperThreads() {
    return threads;
}
