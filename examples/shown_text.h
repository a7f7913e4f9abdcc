// Texts of records, file names and arguments, as they are shown to a person.
#ifndef EXAMPLES_SHOWN_TEXT_H
#define EXAMPLES_SHOWN_TEXT_H

#include <cstdio>
#include <string>

// The text with a dot for each byte that would control a terminal.
std::string Masked(std::string text);

// The text as the stream may have it: masked on a terminal, and exact anywhere else.
std::string Shown(std::string text, std::FILE* stream);

#endif
