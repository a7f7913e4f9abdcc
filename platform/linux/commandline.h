// What a command line asks to be run.
#ifndef LINUX_COMMANDLINE_H
#define LINUX_COMMANDLINE_H

#include <string>
#include <vector>

namespace vrplatform {

struct HostCommand {
    std::string program;             // a host path
    std::vector<std::string> words;  // the program's name first
};

// 0 with the command filled in; otherwise a number for GetLastError.
int ParseCommandLine(const std::string& line, HostCommand& command);

}  // namespace vrplatform

#endif
