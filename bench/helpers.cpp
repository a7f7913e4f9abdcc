// Small services of memory: comparing, copying and converting text, words, dates.

#include <chrono>
#include <ctime>
#include <fstream>

#include "bench/support.h"
#include "vr/convert.h"
#include "vr/date.h"
#include "vr/extract.h"
#include "vr/fields.h"
#include "vr/text.h"

namespace {

using bench::Case;
using bench::ItemsOfSize;
using bench::Letters;
using bench::Use;

const std::vector<int64_t> kLengths = {20, 200, 2000, 10000};

std::string HexByLookUp(const std::string& bytes) {
    std::string digits;
    digits.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        digits += "0123456789ABCDEF"[byte >> 4];
        digits += "0123456789ABCDEF"[byte & 15];
    }
    return digits;
}

std::string Words(size_t count) {
    std::string text;
    for (uint32_t i = 0; i < count; ++i)
        text += Letters(3 + i % 9, i) + ' ';
    return text;
}

void TakeWords(const std::string& text) {
    int32_t offset = 0;
    for (bool more = true; more;) {
        char* word = get_text_word(&offset, text.c_str());
        more = *word != '\0';
        free_mem(&word);
    }
}

void SplitWords(const std::string& text) {
    for (size_t at = 0, end = 0; at < text.size(); at = end + 1) {
        end = text.find(' ', at);
        benchmark::DoNotOptimize(std::string(text, at, end - at).data());
    }
}

// Every other letter becomes its neighbour, on input.
void LoadConversion() {
    const bench::TemporaryFolder folder;
    const std::string path = folder.path + "/table";
    std::ofstream file(path);
    file << "[input]\n";
    for (char letter = 'a'; letter < 'z'; letter = static_cast<char>(letter + 2))
        file << int{letter} << '=' << letter + 1 << '\n';
    file.close();
    CvtInit(path.c_str());
}

void AddText() {
    Case("text/compare-equal/vrbase", {20, 200, 1000, 10000, 1 << 20}, [](size_t size) {
        return [a = vr::String(Letters(size, 1)), b = vr::String(Letters(size, 1))] {
            benchmark::DoNotOptimize(CompareVrStrings(a.get(), b.get()));
        };
    });
    Case("text/compare-equal/memcmp", {20, 200, 1000, 10000, 1 << 20}, [](size_t size) {
        return [a = Letters(size, 1), b = Letters(size, 1)] {
            benchmark::ClobberMemory();
            benchmark::DoNotOptimize(std::memcmp(a.data(), b.data(), a.size()));
        };
    });
    Case("text/copy/vrbase", kLengths, [](size_t size) {
        return [s = vr::String(Letters(size, 1))] { Use(NewString(s.get())); };
    });
    Case("text/copy/std-string", kLengths, [](size_t size) {
        return [s = Letters(size, 1)] { benchmark::DoNotOptimize(std::string(s).data()); };
    });
    Case("text/hexadecimal/vrbase", kLengths, [](size_t size) {
        return [s = Letters(size, 1)] { Use(HexString(s.data(), static_cast<int32_t>(s.size()))); };
    });
    Case("text/hexadecimal/look-up", kLengths, [](size_t size) {
        return [s = Letters(size, 1)] { benchmark::DoNotOptimize(HexByLookUp(s).data()); };
    });
    Case("text/swap/vrbase", kLengths, [](size_t size) {
        return [s = vr::String(Letters(size, 1))] {
            UtilSwapChar(s.get(), 'a', 'b');
            UtilSwapChar(s.get(), 'b', 'a');
        };
    });
    Case("text/swap/replace", kLengths, [](size_t size) {
        return [s = Letters(size, 1)]() mutable {
            std::ranges::replace(s, 'a', 'b');
            std::ranges::replace(s, 'b', 'a');
            benchmark::DoNotOptimize(s.data());
        };
    });
    Case("text/convert/vrbase", kLengths, [](size_t size) {
        LoadConversion();
        return [s = vr::String(Letters(size, 1))] { Use(CvtConvert(s.get(), 0)); };
    });
    const std::vector<int64_t> counts = {100, 1000, 10000};
    Case(
        "text/words/vrbase", counts,
        [](size_t size) { return [text = Words(size)] { TakeWords(text); }; }, ItemsOfSize);
    Case(
        "text/words/split", counts,
        [](size_t size) { return [text = Words(size)] { SplitWords(text); }; }, ItemsOfSize);
}

// Of records of 20 values or attributes of the size's length.
void AddRecords() {
    constexpr size_t kElements = 20;
    Case("walk/previous-value/vrbase", {12, 200, 2000}, [](size_t size) {
        return [s = vr::String(bench::MakeRecord(kElements, size, kElements))] {
            VrString value = nullptr;
            UtilGetPrevValue(s.get(), s.get()->length + kVrFirstCursor, &value);
            Use(value);
        };
    });
    Case("walk/previous-value/memrchr", {12, 200, 2000}, [](size_t size) {
        return [text = bench::MakeRecord(kElements, size, kElements)] {
            const size_t mark = text.rfind(bench::kValueMark);
            benchmark::DoNotOptimize(std::string(text, mark + 1).data());
        };
    });
    Case("fields/gather-small/vrbase", {12, 200}, [](size_t size) {
        return [s = vr::String(bench::MakeRecord(kElements, size)),
                fields = vr::String(std::string("2\xFE"
                                                "5\xFE"
                                                "11\xFE"
                                                "19"))] {
            Use(UtilGetFieldsFromVrString(s.get(), fields.get()));
        };
    });
}

void AddDates() {
    using namespace std::chrono;
    Case("date/number/vrbase", {2000}, [](size_t year) {
        return [year = static_cast<int32_t>(year), day = 0]() mutable {
            int32_t number = 0;
            MoDaYrToDaysSince67(day % 12, day % 28 + 1, year, &number);
            benchmark::DoNotOptimize(number += ++day);
        };
    });
    Case("date/number/chrono", {2000}, [](size_t size) {
        return [given = year(static_cast<int>(size)), count = 0U]() mutable {
            const sys_days days = given / month(count % 12 + 1) / day(count % 28 + 1);
            benchmark::DoNotOptimize(days.time_since_epoch().count() + static_cast<int>(++count));
        };
    });
    Case("date/calendar/vrbase", {20000}, [](size_t size) {
        return [number = static_cast<int32_t>(size)]() mutable {
            int32_t date[3];
            DaysToDate(++number, &date[0], &date[1], &date[2]);
            benchmark::DoNotOptimize(date);
        };
    });
    Case("date/calendar/chrono", {20000}, [](size_t size) {
        return [number = static_cast<int>(size)]() mutable {
            benchmark::DoNotOptimize(year_month_day(sys_days(days(++number))));
        };
    });
    Case("date/today/vrbase", {1},
         [](size_t) { return [] { benchmark::DoNotOptimize(DaysSince67()); }; });
    Case("date/today/clock", {1}, [](size_t) {
        return [] {
            timespec now;
            clock_gettime(CLOCK_REALTIME, &now);
            benchmark::DoNotOptimize(now);
        };
    });
}

[[maybe_unused]] const bool added = (AddText(), AddRecords(), AddDates(), true);

}  // namespace
