# One ABI: 32-bit x86 with SSE2 arithmetic, since date results depend on double
# rounding. The flags go into CMAKE_<LANG>_FLAGS so that every later check of
# the compiler sees them too. Hosts get the width with the targets that they link.

if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
  message(FATAL_ERROR
    "vrbase is built for 32-bit x86 only; this machine is ${CMAKE_SYSTEM_PROCESSOR}.")
endif()

foreach(lang C CXX)
  string(APPEND CMAKE_${lang}_FLAGS
    " -m32 -msse2 -mfpmath=sse -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64")
endforeach()

include(CheckCXXSourceCompiles)
check_cxx_source_compiles("#include <cstdio>\nint main() { return std::puts(\"\"); }" VR_HAVE_M32)
if(NOT VR_HAVE_M32)
  message(FATAL_ERROR
    "The compiler cannot build 32-bit programs; install the package g++-multilib.")
endif()
set(CMAKE_SIZEOF_VOID_P 4)

add_library(vr_width INTERFACE)
target_compile_options(vr_width INTERFACE -m32)
target_link_options(vr_width INTERFACE -m32)
