// Passing attribute marks in a text of 1 MiB, forward and back, by the length of an attribute.

#include "bench/support.h"
#include "vr/edit.h"

namespace {

using bench::Case;
using bench::kAttributeMark;

constexpr size_t kTextSize = 1 << 20;
const std::vector<int64_t> kLengths = {4, 12, 40, 200, 2000, 20000};

// The peers pass `count` marks and return where they stand.
const char* PassBytes(const char* p, const char* end, size_t count) {
    for (; p != end && count != 0; ++p)
        if (*p == kAttributeMark) --count;
    return p;
}

const char* PassBytesBack(const char* begin, const char* p, size_t count) {
    for (; p != begin && count != 0; --p)
        if (p[-1] == kAttributeMark) --count;
    return p;
}

const char* PassByMemchr(const char* p, const char* end, size_t count) {
    for (; count != 0; --count) {
        const void* mark = std::memchr(p, kAttributeMark, static_cast<size_t>(end - p));
        if (mark == nullptr) return end;
        p = static_cast<const char*>(mark) + 1;
    }
    return p;
}

const char* PassByMemrchr(const char* begin, const char* p, size_t count) {
    for (; count != 0; --count) {
        const void* mark = memrchr(begin, kAttributeMark, static_cast<size_t>(p - begin));
        if (mark == nullptr) return begin;
        p = static_cast<const char*>(mark);
    }
    return p;
}

std::string TextOf(size_t attributeLength) {
    return bench::MakeRecord(kTextSize / (attributeLength + 1), attributeLength);
}

size_t Marks(size_t attributeLength) {
    return kTextSize / (attributeLength + 1) - 1;
}

bench::Work WorkOf(size_t attributeLength) {
    return {Marks(attributeLength), (Marks(attributeLength) + 1) * (attributeLength + 1) - 1};
}

template <typename Pass>
void AddPeer(const char* name, Pass pass) {
    const auto prepare = [pass](size_t length) {
        return [text = TextOf(length), marks = Marks(length), pass] {
            benchmark::DoNotOptimize(pass(text.data(), text.data() + text.size(), marks));
        };
    };
    Case(name, kLengths, prepare, WorkOf);
}

// `scan` passes so many marks and leaves what it did not find in the number.
template <typename Scan>
void AddOurs(const char* name, Scan scan) {
    const auto prepare = [scan](size_t length) {
        return [s = vr::String(TextOf(length)), marks = Marks(length), length, scan] {
            auto count = static_cast<int32_t>(marks);
            benchmark::DoNotOptimize(scan(s.get(), static_cast<int32_t>(length), count));
            if (count != 0) std::abort();
        };
    };
    Case(name, kLengths, prepare, WorkOf);
}

void AddAll() {
    AddOurs("scan/forward/vrbase", [](VrString s, int32_t, int32_t& count) {
        ++count;  // counts elements
        return ScanStr(s, kVrFirstCursor, s->length, kVrAttributeMark, &count);
    });
    AddPeer("scan/forward/bytes", PassBytes);
    AddPeer("scan/forward/memchr", PassByMemchr);
    AddOurs("scan/back/vrbase", [](VrString s, int32_t length, int32_t& count) {
        return SkipBackNAttrs(s, s->length - length + kVrFirstCursor, &count);
    });
    AddPeer("scan/back/bytes", PassBytesBack);
    AddPeer("scan/back/memrchr", PassByMemrchr);
}

[[maybe_unused]] const bool added = (AddAll(), true);

}  // namespace
