// What tests and fuzz targets stand on: the standard library, the system and the platform's
// contract.
#ifndef TESTS_SUPPORT_BASE_H
#define TESTS_SUPPORT_BASE_H

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <random>
#include <ranges>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "platform/control.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/find.h"
#include "platform/locks.h"
#include "platform/memory.h"
#include "platform/messagebox.h"
#include "platform/modules.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/profile.h"
#include "platform/programs.h"
#include "platform/registry.h"
#include "platform/streams.h"
#include "platform/text.h"
#include "platform/version.h"

#endif
