// Shows records to a person.
#ifndef EXAMPLES_RECORD_TREE_H
#define EXAMPLES_RECORD_TREE_H

#include "vr/string.h"

// Prints the record's attributes, values and subvalues as an indented tree, each
// with its number, which stands out in `colours`.
void PrintTree(VrString record, bool colours);

// Prints the text on one line: as it is, or, when `readable`, with the marks as
// ^ ] \.
void PrintLine(VrString text, bool readable);

#endif
