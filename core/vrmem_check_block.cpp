// A freed block is filled, so that a write to it shows.

#define VR_MODULE "vrcheck"

#include "core/vrmem_check_block.h"

#include <cstring>

#include "core/vrmem_check_report.h"

using namespace vr::check;

namespace {

constexpr uint8_t kGivenBackByte = 0xFD;

uint32_t HeaderSize(const Record& record) {
    return record.classByte == vr::kLongStringClass ? uint32_t{sizeof(vr::LongHeader)}
                                                    : kHeaderSize;
}

uint32_t SpareSize(const Record& record) {
    return record.zeroed ? 1 : 0;
}

bool IsAll(const char* bytes, uint32_t size, uint8_t byte) {
    return size == 0 ||
           (static_cast<uint8_t>(*bytes) == byte && std::memcmp(bytes, bytes + 1, size - 1) == 0);
}

uint32_t HeaderWord(const Record& record) {
    return uint32_t{record.classByte} << 24;
}

bool HeaderIsWhole(const Record& record) {
    const char* header = record.payload - kHeaderSize;
    const uint32_t word = HeaderWord(record);
    if (std::memcmp(header, &word, sizeof word) != 0) return false;
    return record.classByte != vr::kLongStringClass ||
           vr::LongHeaderOf(record.payload).capacity == record.capacity;
}

void CheckStart(const Record& record, const Place& now) {
    if (IsGuard(StartOf(record)) && HeaderIsWhole(record)) return;
    ReportBlock(now, "written before the start", record);
    PutGuard(StartOf(record));
    PutHeader(record);
}

void CheckEnd(const Record& record, const Place& now) {
    const bool spareIsZero = !record.zeroed || record.payload[record.size] == '\0';
    if (spareIsZero && IsGuard(EndOf(record))) return;
    ReportBlock(now, "written past the end", record);
    if (record.zeroed) record.payload[record.size] = '\0';
    PutGuard(EndOf(record));
}

void CheckLength(Record& record, const Place& now) {
    if (!record.isString) return;
    auto* s = reinterpret_cast<VrString>(record.payload);
    if (s->length <= static_cast<int32_t>(record.capacity)) return;
    char description[kDescriptionSize];
    ReportFinding(now, "longer than its capacity", "length %d, capacity %u, %s", s->length,
                  record.capacity, Describe(record, description));
    s->length = static_cast<int32_t>(record.capacity);
}

// The guards included.
uint32_t WholeSize(const Record& record) {
    return static_cast<uint32_t>(EndOf(record) - StartOf(record)) + kGuardSize;
}

}  // namespace

char* vr::check::StartOf(const Record& record) {
    return record.payload - HeaderSize(record) - kGuardSize;
}

char* vr::check::EndOf(const Record& record) {
    return record.payload + record.size + SpareSize(record);
}

uint32_t vr::check::CostOf(const Record& record) {
    return WholeSize(record) + uint32_t{sizeof(Record)};
}

void vr::check::PutHeader(const Record& record) {
    const uint32_t word = HeaderWord(record);
    std::memcpy(record.payload - kHeaderSize, &word, sizeof word);
    if (record.classByte == vr::kLongStringClass) {
        vr::LongHeaderOf(record.payload).capacity = record.capacity;
    }
}

void vr::check::FillHeld(const Record& record) {
    std::memset(StartOf(record), kGivenBackByte, WholeSize(record));
}

void vr::check::CheckLive(Record& record, const Place& now) {
    CheckStart(record, now);
    CheckEnd(record, now);
    CheckLength(record, now);
}

void vr::check::CheckHeld(const Record& record, const Place& now) {
    if (IsAll(StartOf(record), WholeSize(record), kGivenBackByte)) return;
    ReportBlock(now, "written after it was given back", record);
    FillHeld(record);
}
