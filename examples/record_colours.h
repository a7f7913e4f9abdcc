// The terminal's colours, as the library's terminal definition has them.
#ifndef EXAMPLES_RECORD_COLOURS_H
#define EXAMPLES_RECORD_COLOURS_H

#include <string>

enum Colour { kColourPlain = 7, kColourNumber = 11 };

// What a terminal of today must be sent for the definition's sequence of a foreground
// colour, 0 to 15.
std::string ForegroundCode(int colour);

#endif
