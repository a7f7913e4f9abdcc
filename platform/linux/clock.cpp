// The clock, which is the system's unless the control panel has frozen it. A frozen
// clock has a zone of its own, that of its reading.

#include "platform/clock.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/control.h"

namespace vrplatform {

namespace {

bool frozen = false;
ClockReading frozenReading = {};

// The last second that was looked up, and in which zone.
struct LookUp {
    int64_t seconds;
    char zone[64];  // as TZ names it
    bool isSet;     // that it names one
    bool isKnown;
    tm local;
};
thread_local LookUp last = {};

bool IsLast(int64_t seconds, const char* zone) {
    if (!last.isKnown || last.seconds != seconds || last.isSet != (zone != nullptr)) return false;
    return zone == nullptr || std::strcmp(last.zone, zone) == 0;
}

// The C library checks the zone's file at each look-up. Within one second of one zone the local
// time is the same, since a zone changes at whole seconds.
const tm& LocalTime(int64_t seconds) {
    const char* zone = std::getenv("TZ");
    if (IsLast(seconds, zone)) return last.local;
    const auto moment = static_cast<time_t>(seconds);
    tzset();
    localtime_r(&moment, &last.local);
    last.seconds = seconds;
    last.isSet = zone != nullptr;
    last.isKnown = zone == nullptr || std::strlen(zone) < sizeof last.zone;
    if (zone != nullptr && last.isKnown) std::strcpy(last.zone, zone);
    return last.local;
}

int64_t LocalSeconds(int64_t seconds, const ClockReading& zone) {
    return seconds - int64_t{zone.minutesWest - zone.daylight * 60} * 60;
}

}  // namespace

}  // namespace vrplatform

using namespace vrplatform;

void ReadClock(ClockReading* reading) {
    if (frozen) {
        *reading = frozenReading;
        return;
    }
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const tm& local = LocalTime(now.tv_sec);
    const int32_t saving = local.tm_isdst > 0 ? 1 : 0;
    *reading = {now.tv_sec, static_cast<int32_t>(now.tv_nsec / 1'000'000),
                static_cast<int32_t>(-local.tm_gmtoff / 60) + saving * 60, saving};
}

int64_t ClockSeconds() {
    return frozen ? frozenReading.seconds : time(nullptr);
}

void SplitLocalTime(int64_t seconds, ClockTime* time) {
    tm local = {};
    if (frozen) {
        const auto moment = static_cast<time_t>(LocalSeconds(seconds, frozenReading));
        gmtime_r(&moment, &local);
    } else {
        local = LocalTime(seconds);
    }
    *time = {local.tm_hour, local.tm_min, local.tm_sec};
}

void ControlFreezeClock(const ClockReading* reading) {
    frozen = reading != nullptr;
    if (frozen) frozenReading = *reading;
}
