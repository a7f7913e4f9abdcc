// The terminal's colours, as the library's terminal definition has them.
#ifndef EXAMPLES_RECORD_COLOURS_H
#define EXAMPLES_RECORD_COLOURS_H

#include <string>

// One that can be read on dark and on light terminals.
constexpr int kColourNumber = 3;

// What today's terminals need in place of the definition's sequence for a foreground colour, 0 to
// 15.
std::string ForegroundCode(int colour);

#endif
