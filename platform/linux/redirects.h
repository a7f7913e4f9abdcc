// Redirects to names of the platform's kind, in a text for the host's shell.
#ifndef LINUX_REDIRECTS_H
#define LINUX_REDIRECTS_H

#include <string>

namespace vrplatform {

// The text with the host paths of such names, quoted for the shell.
std::string WithHostRedirects(const std::string& text);

}  // namespace vrplatform

#endif
