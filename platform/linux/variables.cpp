// A large environment becomes a table of ours with an index by name. The host may go on with
// the C library's calls: those that change the table in place keep each name where it is, and
// the others leave the table to the C library, which is then copied anew.

#include "linux/variables.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/shortage.h"

namespace vrplatform {

namespace {

constexpr size_t kFew = 512;  // variables that the C library may search
constexpr size_t kMost = 1'000'000;

struct Entry {
    uint32_t hash;
    uint32_t place;  // in the table, from 1; 0 is free
};

struct Environment {
    std::vector<char*> table;  // `environ`, with the null at its end
    std::vector<Entry> index;  // by the name's hash, at most half in use
};

// Never destroyed, since exit handlers may still read variables.
Environment& Ours() {
    static auto* environment = new Environment;
    return *environment;
}

bool AreFew() {
    size_t count = 0;
    while (environ != nullptr && environ[count] != nullptr && count < kFew)
        ++count;
    return count < kFew;
}

// A variable that was removed has moved the null from the end.
bool IsInUse(const std::vector<char*>& table) {
    return table.size() > 1 && environ == table.data() && table.back() == nullptr &&
           table[table.size() - 2] != nullptr;
}

std::string_view NameOf(const char* text) {
    return {text, std::strcspn(text, "=")};
}

uint32_t HashOf(std::string_view name) {
    uint32_t hash = 0x811C9DC5;  // FNV-1a
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193;
    return hash ^ hash >> 15;
}

// The entry of the name, or the free one where it would be.
Entry& Find(Environment& ours, uint32_t hash, std::string_view name) {
    const size_t mask = ours.index.size() - 1;
    for (size_t at = hash & mask;; at = (at + 1) & mask) {
        Entry& entry = ours.index[at];
        if (entry.place == 0) return entry;
        if (entry.hash == hash && NameOf(ours.table[entry.place - 1]) == name) return entry;
    }
}

// Of two variables of one name the first counts, as for the C library.
void MakeIndex(Environment& ours) {
    size_t size = 4 * kFew;
    while (size < 4 * ours.table.size())
        size *= 2;
    ours.index.assign(size, {});
    for (uint32_t i = 0; i + 1 < ours.table.size(); ++i) {
        const std::string_view name = NameOf(ours.table[i]);
        Entry& entry = Find(ours, HashOf(name), name);
        if (entry.place == 0) entry = {HashOf(name), i + 1};
    }
}

// No two entries are of one name, so no text is read.
void DoubleIndex(Environment& ours) {
    std::vector<Entry> larger(2 * ours.index.size());
    const size_t mask = larger.size() - 1;
    for (const Entry& entry : ours.index) {
        if (entry.place == 0) continue;
        size_t at = entry.hash & mask;
        while (larger[at].place != 0)
            at = (at + 1) & mask;
        larger[at] = entry;
    }
    ours.index = std::move(larger);
}

void TakeOver() {
    size_t count = 0;
    while (environ[count] != nullptr)
        ++count;
    Environment copy;
    copy.table.assign(environ, environ + count + 1);
    MakeIndex(copy);
    environ = copy.table.data();
    Ours() = std::move(copy);
}

// Room for one more. The table may move.
void MakeRoom(Environment& ours) {
    if (ours.index.size() < 2 * (ours.table.size() + 1)) DoubleIndex(ours);
    if (ours.table.size() == ours.table.capacity()) ours.table.reserve(2 * ours.table.size());
    environ = ours.table.data();
}

// Bytes for a text that is never freed, since somebody may read it: cut off a large block.
char* NewBytes(size_t size) {
    constexpr size_t kBlock = 1 << 16;
    static char* next = nullptr;
    static size_t left = 0;
    if (size > kBlock / 4) return new char[size];
    if (size > left) {
        next = new char[kBlock];
        left = kBlock;
    }
    left -= size;
    return std::exchange(next, next + size);
}

// The variable as the environment holds it.
char* NewText(std::string_view name, std::string_view value) {
    char* text = NewBytes(name.size() + value.size() + 2);
    std::memcpy(text, name.data(), name.size());
    text[name.size()] = '=';
    std::memcpy(text + name.size() + 1, value.data(), value.size());
    text[name.size() + 1 + value.size()] = '\0';
    return text;
}

int SetInOurs(std::string_view name, std::string_view value) {
    if (!IsInUse(Ours().table)) TakeOver();
    Environment& ours = Ours();
    MakeRoom(ours);
    Entry& entry = Find(ours, HashOf(name), name);
    if (entry.place != 0) {
        ours.table[entry.place - 1] = NewText(name, value);
        return 0;
    }
    if (ours.table.size() > kMost) return -1;
    ours.table.back() = NewText(name, value);
    ours.table.push_back(nullptr);
    entry = {HashOf(name), static_cast<uint32_t>(ours.table.size() - 1)};
    return 0;
}

}  // namespace

int SetVariable(const char* name, const char* value) {
    const bool isName = *name != '\0' && std::strchr(name, '=') == nullptr;
    const bool isLarge = IsInUse(Ours().table) || !AreFew();
    if (isName && isLarge) return UnlessShort(-1, [=] { return SetInOurs(name, value); });
    const char* before = std::getenv(name);
    return before != nullptr && std::strcmp(before, value) == 0 ? 0 : setenv(name, value, 1);
}

}  // namespace vrplatform
