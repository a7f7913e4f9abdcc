// Field records: a field list names the attributes of a record that are read into a
// buffer, or written through the editor of dynamic arrays. A list that is short enough for
// any of its attributes to fit a buffer is walked without allocating them.

#define VR_MODULE "Vrstr"

#include <algorithm>
#include <cstring>

#include "dynarray/Vrstr.h"
#include "vr/buffer.h"
#include "vr/edit.h"
#include "vr/fields.h"
#include "vr/owned.hpp"

namespace {

constexpr uint32_t kAttributeBufferSize = 1000;
constexpr uint32_t kEntryBufferSize = 100;
constexpr int32_t kFirstLengthTooLong = 992;  // of a list for that buffer
constexpr int32_t kGatherStep = 1000;

// Walks the attributes of a list, in a buffer of its own or, where `allocates`, in new
// strings. A result of Next is valid until the next call.
template <uint32_t kBufferSize>
class ListWalk {
public:
    ListWalk(VrString list, bool allocates) : list_(list), size_(allocates ? 0 : kBufferSize) {}

    bool HasNext() const {
        return cursor_ < vr::EndCursor(list_);
    }
    VrString Next() {
        if (size_ == 0) {
            cursor_ = UtilGetNextAttribute(list_, cursor_, allocated_.out(), 0);
            return allocated_.get();
        }
        auto element = reinterpret_cast<VrString>(buffer_);
        cursor_ = UtilGetNextAttribute(list_, cursor_, &element, size_);
        return element;
    }

private:
    VrString list_;
    uint32_t size_;
    int32_t cursor_ = kVrFirstCursor;
    vr::String allocated_;
    char buffer_[kBufferSize];
};

// For attributes of any length: a list that is too long for the buffer may have one that is.
struct AttributeWalk : ListWalk<kAttributeBufferSize> {
    explicit AttributeWalk(VrString list)
        : ListWalk(list, vr::LengthOf(list) >= kFirstLengthTooLong) {}
};

// For the numbers of a field list.
struct EntryWalk : ListWalk<kEntryBufferSize> {
    explicit EntryWalk(VrString list) : ListWalk(list, false) {}
};

void AppendField(BufDscr* gathered, int32_t number, VrString record) {
    const vr::Range field = vr::FindAttribute(number, record);
    AddStrToBuffer(gathered, field.start, static_cast<int32_t>(field.Size()), 0);
}

void ReplaceAttribute(VrString& record, int32_t number, VrString value) {
    UtilPosition position = {
        .attribute = number, .value = 0, .subvalue = 0, .cursor = kVrFirstCursor};
    VrString before = record;
    record = UtilInsertReplace(&position, before, value, 1);
    if (record != before) free_mem(&before);
}

}  // namespace

VrString UtilGetFieldsFromVrString(VrString record, VrString fields) {
    BufDscr* gathered = BufDscrCreate(kGatherStep);
    AttributeWalk walk(fields);
    for (bool first = true; walk.HasNext(); first = false) {
        if (!first) AddStrToBuffer(gathered, nullptr, 0, kVrAttributeMark);
        AppendField(gathered, vr::NumberAt(vr::CharsOf(walk.Next())), record);
    }
    VrString result = BufDscrMakeVrStr(gathered);
    BufDscrDestroy(gathered);
    return result;
}

VrString UtilPutFieldsInVrString(VrString record, VrString values, VrString fields) {
    VrString result = NewString(record);
    AttributeWalk newValues(values);
    EntryWalk entries(fields);
    while (entries.HasNext()) {
        VrString value = newValues.Next();
        ReplaceAttribute(result, vr::NumberAt(vr::CharsOf(entries.Next())), value);
    }
    return result;
}

VrString UtilReplaceString(VrString s, VrString replacement, int32_t oldLength, int32_t offset,
                           int32_t* newOffset) {
    const int32_t start = std::clamp(offset, 0, vr::LengthOf(s));
    const int32_t end = start + std::clamp(oldLength, 0, vr::LengthOf(s) - start);
    const auto head = static_cast<size_t>(start);
    const auto middle = static_cast<size_t>(vr::LengthOf(replacement));
    const auto tail = static_cast<size_t>(vr::LengthOf(s) - end);
    VrString result = alloc_string(vr::Saturated(uint64_t{head} + middle + tail));
    if (head != 0) std::memcpy(VrStrText(result), VrStrText(s), head);
    if (middle != 0) std::memcpy(VrStrText(result) + head, VrStrText(replacement), middle);
    if (tail != 0) std::memcpy(VrStrText(result) + head + middle, VrStrText(s) + end, tail);
    *newOffset = start + vr::LengthOf(replacement);
    return result;
}
