// The lines of the checking library go to standard error, or are appended to the file that
// VRCHECK_LOG names. The file is opened for each line, so that processes can share it and
// none holds it open. VRCHECK_STATUS makes a process with findings end with that status.

#include "core/vrmem_check_report.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/memory.h"

namespace {

using vr::check::KeptPlace;
using vr::check::Record;

constexpr size_t kLineSize = 512;
constexpr size_t kPlaceSize = 32;

uint32_t findings = 0;

void WriteLine(const char* line) {
    const char* path = std::getenv("VRCHECK_LOG");
    std::FILE* log = path == nullptr || *path == '\0' ? nullptr : std::fopen(path, "ae");
    std::fprintf(log == nullptr ? stderr : log, "vrcheck: %s\n", line);
    if (log != nullptr) std::fclose(log);
}

const char* PlaceText(const KeptPlace& place, char (&buffer)[kPlaceSize]) {
    if (place.line == 0) {
        std::snprintf(buffer, sizeof buffer, "%s", place.module);
    } else {
        std::snprintf(buffer, sizeof buffer, "%s:%d", place.module, place.line);
    }
    return buffer;
}

// The blocks that were taken at one place.
struct Site {
    KeptPlace place;
    uint32_t count;
    uint32_t bytes;
    uint32_t firstSerial;
};

int OrderOfPlaces(const KeptPlace& a, const KeptPlace& b) {
    const int order = std::strcmp(a.module, b.module);
    return order != 0 ? order : a.line - b.line;
}

bool StandsBefore(const Site& a, const Site& b) {
    if (a.bytes != b.bytes) return a.bytes > b.bytes;
    return OrderOfPlaces(a.place, b.place) < 0;
}

bool IsListed(const Record& record) {
    return !record.held && !record.staysOut;
}

// Calls action(record) for each block that is to be listed.
template <typename Action>
void ForListed(Action action) {
    for (const Record* r = vr::check::NextRecord(nullptr); r != nullptr;
         r = vr::check::NextRecord(r)) {
        if (IsListed(*r)) action(*r);
    }
}

// Joins the sites of one place; returns the new end.
Site* Join(Site* first, Site* end) {
    std::sort(first, end,
              [](const Site& a, const Site& b) { return OrderOfPlaces(a.place, b.place) < 0; });
    Site* last = first;
    for (Site* site = first + 1; site < end; ++site) {
        if (OrderOfPlaces(site->place, last->place) != 0) {
            *++last = *site;
            continue;
        }
        last->count += site->count;
        last->bytes += site->bytes;
        last->firstSerial = std::min(last->firstSerial, site->firstSerial);
    }
    return last + 1;
}

void WriteSite(const char* heading, const Site& site) {
    char place[kPlaceSize];
    vr::check::WriteState("%s: %u %s, %u bytes, taken at %s, the first is number %u", heading,
                          site.count, site.count == 1 ? "block" : "blocks", site.bytes,
                          PlaceText(site.place, place), site.firstSerial);
}

}  // namespace

void vr::check::EndWithStatus() {
    const char* status = std::getenv("VRCHECK_STATUS");
    if (findings == 0 || status == nullptr) return;
    std::fflush(nullptr);
    std::_Exit(static_cast<int>(std::strtol(status, nullptr, 10)));
}

const char* vr::check::Describe(const Record& record, char* buffer) {
    char taken[kPlaceSize];
    char given[kPlaceSize];
    std::snprintf(buffer, kDescriptionSize, "%s of %u bytes, number %u, taken at %s%s%s",
                  record.isString ? "string" : "block", record.asked, record.serial,
                  PlaceText(record.taken, taken), record.held ? ", given back at " : "",
                  record.held ? PlaceText(record.givenBack, given) : "");
    return buffer;
}

void vr::check::ReportFinding(const Place& now, const char* what, const char* details, ...) {
    char place[kPlaceSize];
    char line[kLineSize];
    const auto length = static_cast<size_t>(
        std::snprintf(line, sizeof line, "%s: %s: ", PlaceText(Keep(now), place), what));
    va_list values;
    va_start(values, details);
    std::vsnprintf(line + length, sizeof line - length, details, values);
    va_end(values);
    ++findings;
    WriteLine(line);
}

void vr::check::ReportBlock(const Place& now, const char* what, const Record& record) {
    char description[kDescriptionSize];
    ReportFinding(now, what, "%s", Describe(record, description));
}

void vr::check::WriteState(const char* format, ...) {
    char line[kLineSize];
    va_list values;
    va_start(values, format);
    std::vsnprintf(line, sizeof line, format, values);
    va_end(values);
    WriteLine(line);
}

void vr::check::ListPlaces(const char* heading, bool finding) {
    uint32_t count = 0;
    ForListed([&count](const Record&) { ++count; });
    if (count == 0) return;
    auto* sites = static_cast<Site*>(LocalAlloc(LMEM_FIXED, count * sizeof(Site)));
    if (sites == nullptr) {
        WriteState("%s: %u blocks, and no memory to list them", heading, count);
        return;
    }
    Site* end = sites;
    ForListed([&end](const Record& r) {
        *end++ = {.place = r.taken, .count = 1, .bytes = r.asked, .firstSerial = r.serial};
    });
    end = Join(sites, end);
    std::sort(sites, end, StandsBefore);
    for (const Site* site = sites; site != end; ++site)
        WriteSite(heading, *site);
    if (finding) findings += static_cast<uint32_t>(end - sites);
    LocalFree(sites);
}
