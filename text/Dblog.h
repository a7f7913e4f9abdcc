// The lines that the file layer reports to the database log.
#ifndef TEXT_DBLOG_H
#define TEXT_DBLOG_H

#include <cstdint>

void VrdbLogOutInt(const char* name, int32_t value);
void VrdbLogOutChar(const char* name, const char* value);

#endif
