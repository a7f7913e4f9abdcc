// Setting a variable in an environment of many thousands, which the C library searches from
// its start for each.
#ifndef LINUX_VARIABLES_H
#define LINUX_VARIABLES_H

namespace vrplatform {

// As setenv with replacement, whatever the number of variables.
int SetVariable(const char* name, const char* value);

}  // namespace vrplatform

#endif
