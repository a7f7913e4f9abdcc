// The same host in C++.
#include "host.c"
