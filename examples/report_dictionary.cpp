// Field names are quarks, so that finding a field compares numbers.

#include "report_dictionary.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "report_source.h"
#include "shown_text.h"
#include "vr/extract.h"
#include "vr/files.h"
#include "vr/memory.h"
#include "vr/quark.h"

namespace {

constexpr int32_t kLineSize = 256;

// Takes the next word of the line; the caller frees it.
char* NextWord(int32_t& offset, const char* line) {
    return get_text_word(&offset, line);
}

// False for a line that is not empty and has no field.
bool AddField(const char* line, std::vector<Field>& fields) {
    int32_t offset = 0;
    char* name = NextWord(offset, line);
    char* attribute = NextWord(offset, line);
    char* kind = NextWord(offset, line);
    const long number = std::strtol(attribute, nullptr, 10);
    const bool isDate = std::strcmp(kind, "date") == 0;
    const bool isEmpty = *name == '\0';
    if (number > 0) fields.push_back({Quark(name), static_cast<int32_t>(number), isDate});
    free_mem(&name);
    free_mem(&attribute);
    free_mem(&kind);
    return number > 0 || isEmpty;
}

}  // namespace

bool ReadDictionary(const std::string& path, std::vector<Field>& fields) {
    int32_t handle = -1;
    if (OsOpen(path.c_str(), kOpenReadOnly | kOpenText, 0, &handle) != 0) return false;
    if (!IsPlainFile(handle)) {
        OsClose(handle);
        return false;
    }
    VrStream* stream = OsFdopen(handle, "r");
    char line[kLineSize];
    for (int number = 1; OsFgets(line, kLineSize, stream) != nullptr; ++number) {
        line[std::strcspn(line, "\n")] = '\0';
        if (AddField(line, fields)) continue;
        std::fprintf(stderr, "report_host: %s:%d: ignored: not NAME ATTRIBUTE [date]\n",
                     Shown(path, stderr).c_str(), number);
    }
    OsFclose(stream);
    OsFilesDec();
    return true;
}

const Field* FindField(const std::vector<Field>& fields, const char* name) {
    const auto field = std::ranges::find(fields, Quark(name), &Field::name);
    return field == fields.end() ? nullptr : &*field;
}
