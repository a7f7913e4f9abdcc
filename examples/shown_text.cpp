// A terminal acts on control bytes, whoever wrote them; a file or a pipe needs each byte.

#include "shown_text.h"

#include <unistd.h>

#include <utility>

#include "platform/text.h"

std::string Masked(std::string text) {
    MaskControls(text.data(), static_cast<uint32_t>(text.size()), "");
    return text;
}

std::string Shown(std::string text, std::FILE* stream) {
    return isatty(fileno(stream)) != 0 ? Masked(std::move(text)) : text;
}
