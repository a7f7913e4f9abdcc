// Message boxes. Their title is the product's name, which only the identity knows; it is
// above this module, so it hands down the routine that gives the name.

#include <cstdarg>
#include <cstdio>

#include "core/Util.h"
#include "platform/messagebox.h"

namespace {

constexpr size_t kMessageSize = 256;

const char* (*productRoutine)() = nullptr;

}  // namespace

bool vr::SetProductRoutine(const char* (*routine)()) {
    productRoutine = routine;
    return true;
}

int32_t vr::ShowBox(const char* text, uint32_t style) {
    return MessageBoxA(nullptr, text, productRoutine(), style);
}

int32_t VrErrorMessage(const char* format, ...) {
    char text[kMessageSize] = "";
    if (format != nullptr) {
        va_list values;
        va_start(values, format);
        std::vsnprintf(text, sizeof text, format, values);
        va_end(values);
    }
    return vr::ShowBox(text, MB_OK);
}
