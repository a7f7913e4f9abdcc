// Shows records to a person.
#ifndef EXAMPLES_RECORD_TREE_H
#define EXAMPLES_RECORD_TREE_H

#include "vr/string.h"

// Prints the record's attributes, values and subvalues as an indented tree, each
// with its number, which stands out in `colours`. With `convert` each text is shown by
// the display table; the marks are what they are stored as. Control bytes show as dots.
void PrintTree(VrString record, bool colours, bool convert);

// Prints the text on one line: as it is, or, when `readable`, with the marks as
// ^ ] \. With `convert` it is shown by the display table after that. Only on a terminal do
// control bytes show as dots.
void PrintLine(VrString text, bool readable, bool convert);

#endif
