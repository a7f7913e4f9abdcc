// The areas that the library keeps from start to end, in the checking library: the scratch areas,
// and the shared strings, which nobody may write to. No call follows a wrong write to them, so each
// call that takes or frees memory checks the next area in turn.

#define VR_MODULE "vrcheck"

#include <cstring>
#include <iterator>

#include "core/vrmem_check_guard.h"
#include "core/vrmem_check_report.h"
#include "platform/memory.h"

namespace {

using vr::check::Place;

constexpr const char* kNames[] = {"MemBuf1", "MemBuf2",   "MemBuf3",    "MemBuf4",
                                  "MemBuf5", "NullVrStr", "FalseVrStr", "TrueVrStr"};
constexpr uint32_t kAreas = std::size(kNames);
constexpr uint32_t kFirstShared = 5;
constexpr uint32_t kImageSize = 10;  // of a shared string's block

struct Area {
    char* bytes;
    uint32_t size;
    bool isKept;  // holds what `image` does
    char image[kImageSize];
};

Area areas[kAreas];
uint32_t areaCount = 0;
uint32_t nextArea = 0;

const char* NameOf(const Area& area) {
    return kNames[&area - areas];
}

char* FrontOf(const Area& area) {
    return area.bytes - vr::check::kGuardSize;
}

char* BackOf(const Area& area) {
    return area.bytes + area.size;
}

void PutGuards(const Area& area) {
    vr::check::PutGuard(FrontOf(area));
    vr::check::PutGuard(BackOf(area));
}

bool GuardsAreWhole(const Area& area) {
    return vr::check::IsGuard(FrontOf(area)) && vr::check::IsGuard(BackOf(area));
}

void CheckScratch(Area& area, const Place& now) {
    if (GuardsAreWhole(area)) return;
    vr::check::ReportFinding(now, "scratch area used past its size", "%s, of %u bytes",
                             NameOf(area), area.size);
    PutGuards(area);
}

void CheckShared(Area& area, const Place& now) {
    if (std::memcmp(area.bytes, area.image, kImageSize) == 0 && GuardsAreWhole(area)) return;
    vr::check::ReportFinding(now, "shared string written to", "the string of %s", NameOf(area));
    std::memcpy(area.bytes, area.image, kImageSize);
    PutGuards(area);
}

void Look(Area& area, const Place& now) {
    if (area.bytes == nullptr) return;
    if (area.isKept) {
        CheckShared(area, now);
    } else {
        CheckScratch(area, now);
    }
}

}  // namespace

void* vr::check::NewArea(uint32_t size) {
    char* start = static_cast<char*>(CallocMore(size + 2 * kGuardSize, nullptr));
    Area& area = areas[areaCount++];
    area = {.bytes = start + kGuardSize, .size = size, .isKept = false, .image = {}};
    PutGuards(area);
    return area.bytes;
}

void vr::check::FreeArea(void* bytes) {
    for (Area& area : areas) {
        if (area.bytes != bytes || bytes == nullptr) continue;
        LocalFree(FrontOf(area));
        area = {};
    }
}

void vr::check::KeepSharedStrings() {
    for (uint32_t i = kFirstShared; i < kAreas; ++i) {
        areas[i].isKept = true;
        std::memcpy(areas[i].image, areas[i].bytes, kImageSize);
    }
}

void vr::check::LookAtAreas(const Place& now) {
    for (Area& area : areas)
        Look(area, now);
}

void vr::check::LookAtNextArea(const Place& now) {
    nextArea = (nextArea + 1) % kAreas;
    Look(areas[nextArea], now);
}
