// The environment variables that an input sets, which are taken back behind it.
#ifndef FUZZ_VARIABLES_H
#define FUZZ_VARIABLES_H

#include <map>
#include <string>

const std::map<std::string, std::string>& SetVariables();
void TakeVariablesBack();

#endif
