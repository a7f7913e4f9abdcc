// Texts of a registry's export as Latin-1, in place: no character grows by that.
#ifndef LINUX_LATIN1_H
#define LINUX_LATIN1_H

#include <string>

namespace vrplatform {

// Characters that Latin-1 lacks become question marks. A last odd byte is dropped.
void Utf16ToLatin1(std::string& text);
void Utf8ToLatin1(std::string& text);

}  // namespace vrplatform

#endif
