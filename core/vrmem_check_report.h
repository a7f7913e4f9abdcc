// What the checking library writes: a line for each finding, and the state on demand.
#ifndef CORE_VRMEM_CHECK_REPORT_H
#define CORE_VRMEM_CHECK_REPORT_H

#include "core/vrmem_check_record.h"

namespace vr::check {

// A line "vrcheck: PLACE: WHAT: DETAILS", which counts as a finding.
[[gnu::format(printf, 3, 4)]] void ReportFinding(const Place& now, const char* what,
                                                 const char* details, ...);

// The same with the block as the details; for a held one they say where it was freed.
void ReportBlock(const Place& now, const char* what, const Record& record);

// Lists the places whose blocks are in use, the largest sum first: "vrcheck: HEADING: 2 blocks,
// ...". Each counts as a finding if `finding` is set.
void ListPlaces(const char* heading, bool finding);

// A line that is no finding.
[[gnu::format(printf, 1, 2)]] void WriteState(const char* format, ...);

// Ends the process with the status of VRCHECK_STATUS if there was a finding and it is set.
void EndWithStatus();

// A block in words, in the caller's buffer.
constexpr uint32_t kDescriptionSize = 160;
const char* Describe(const Record& record, char* buffer);

}  // namespace vr::check

#endif
