// What the tests that take long share: their length, chance, and processes.
#ifndef TESTS_TORTURE_TORTURE_H
#define TESTS_TORTURE_TORTURE_H

#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/base.h"

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

// As the variable says, which scripts/torture sets; otherwise short.
inline Seconds LengthOf(const char* variable, double otherwise = 3) {
    const char* seconds = std::getenv(variable);
    return Seconds(seconds == nullptr ? otherwise : std::strtod(seconds, nullptr));
}

inline std::mt19937 engine{std::random_device()()};

inline uint32_t Random(uint32_t below) {
    return engine() % below;
}

// A process for the body, which ends with 0 if it has no failure.
template <typename Body>
pid_t Fork(Body body) {
    const uint32_t seed = engine();
    const pid_t child = fork();
    if (child != 0) return child;
    engine.seed(seed);
    [&body]() noexcept { body(); }();
    const int status = testing::Test::HasFailure() ? 1 : 0;
#ifdef VR_COVERAGE  // whose counts are written at an orderly end
    std::exit(status);
#else
    _exit(status);
#endif
}

// From now on signals come all the time, and the system takes no call up again.
inline void SendSignals() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval interval = {{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &interval, nullptr);
}

#endif
