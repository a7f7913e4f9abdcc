// One thread waits for all children that were left to themselves. It waits until any child has
// ended, without collecting its code, and then collects those of its list one by one, so the host's
// own children are left to the host. The thread ends with the list. All signals are blocked in it,
// so that the host's handlers never run there.

#include "linux/reaper.h"

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <mutex>

namespace vrplatform {

namespace {

constexpr size_t kStackSize = 64 * 1024;
constexpr long kFirstPause = 1;  // milliseconds, as the next
constexpr long kLongestPause = 1000;

// The number stays until the thread can be joined: until then /proc may still list it.
std::mutex mutex;  // of all that follows
Child* firstChild = nullptr;
pthread_t thread;
std::atomic<pid_t> threadNumber = 0;
bool threadWorks = false;  // it will read the list once more

// Whether any child has left the list. One that somebody else waited for leaves it too.
bool TakeEnded() {
    bool any = false;
    for (Child** link = &firstChild; *link != nullptr;) {
        Child* child = *link;
        if (waitpid(child->number, nullptr, WNOHANG) == 0) {
            link = &child->next;
            continue;
        }
        *link = child->next;
        delete child;
        any = true;
    }
    return any;
}

enum class Look { Nothing, Some, All };

Look LookAtList() {
    const std::lock_guard lock(mutex);
    const bool any = TakeEnded();
    threadWorks = firstChild != nullptr;
    if (!threadWorks) return Look::All;
    return any ? Look::Some : Look::Nothing;
}

void Pause(long milliseconds) {
    const timespec time = {milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    nanosleep(&time, nullptr);
}

// If the child that has ended is one of the host's, waiting again returns at once until the host
// collects it; hence the pauses.
void* Reap(void*) {
    threadNumber = gettid();
    threadNumber.notify_all();
    long pause = kFirstPause;
    for (;;) {
        siginfo_t ended;
        waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
        const Look look = LookAtList();
        if (look == Look::All) return nullptr;
        if (look == Look::Some) {
            pause = kFirstPause;
            continue;
        }
        Pause(pause);
        pause = std::min(2 * pause, kLongestPause);
    }
}

// A fork has none of its parent's children, and not the thread.
bool ClearInForks() {
    const auto lock = [] { mutex.lock(); };
    const auto unlock = [] { mutex.unlock(); };
    const auto clear = [] {
        firstChild = nullptr;
        threadNumber = 0;
        threadWorks = false;
        mutex.unlock();
    };
    return pthread_atfork(lock, unlock, clear) == 0;
}

bool CreateThread() {
    pthread_attr_t attributes;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setstacksize(&attributes, kStackSize);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const bool created = pthread_create(&thread, &attributes, Reap, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return created;
}

// The thread's number is known when this returns.
void StartThread() {
    if (threadWorks) return;
    if (threadNumber != 0) pthread_join(thread, nullptr);
    threadNumber = 0;
    threadWorks = CreateThread();
    if (threadWorks) threadNumber.wait(0);
}

}  // namespace

void ReapInBackground(std::unique_ptr<Child> child) {
    static const bool forksAreCleared = ClearInForks();  // takes a lock that a fork holds, too
    const std::lock_guard lock(mutex);
    child->next = firstChild;
    firstChild = child.release();
    if (!threadWorks) TakeEnded();
    if (firstChild != nullptr && forksAreCleared) StartThread();
}

uint32_t ReaperThread() {
    const std::lock_guard lock(mutex);
    const bool mayBeGone = threadNumber != 0 && !threadWorks;
    if (mayBeGone && pthread_tryjoin_np(thread, nullptr) == 0) threadNumber = 0;
    return static_cast<uint32_t>(threadNumber);
}

}  // namespace vrplatform
