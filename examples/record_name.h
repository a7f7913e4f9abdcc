// The name of a record's file, as a person gave it.
#ifndef EXAMPLES_RECORD_NAME_H
#define EXAMPLES_RECORD_NAME_H

#include "vr/string.h"

// The file that the name stands for: variables expanded, separators made \, what cannot stand
// in a name replaced. A new string, or null when it would be too long.
VrString MapFileName(const char* name);

#endif
