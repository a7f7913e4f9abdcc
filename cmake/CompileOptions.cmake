# What every target of the project is compiled with, and what the presets add.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(VR_INSTRUMENT "" CACHE STRING "Instrumentation of the build: empty, sanitize or coverage")
set_property(CACHE VR_INSTRUMENT PROPERTY STRINGS "" sanitize coverage)

if(VR_INSTRUMENT STREQUAL "sanitize")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(VR_INSTRUMENT STREQUAL "coverage")
  add_compile_options(-fprofile-arcs -ftest-coverage)  # --coverage, but that it can be undone
  add_compile_definitions(VR_COVERAGE)
  add_link_options(--coverage)
endif()

option(VR_WERROR "Make warnings errors, as the presets of the project's own scripts do" OFF)
add_library(vr_warnings INTERFACE)
target_compile_options(vr_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${VR_WERROR}>:-Werror>)

# A shared library that shows only what it means to show. Unwinding passes
# through it when a thread ends, so it keeps its unwind tables. Its stack is guarded,
# and where the optimiser runs its calls of the C library are checked.
add_library(vr_shared_options INTERFACE)
target_compile_options(vr_shared_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti -fvisibility-inlines-hidden>
  -fvisibility=hidden -fasynchronous-unwind-tables -fstack-protector-strong
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
# A library's own calls stay inside it, whatever names its host has.
target_link_options(vr_shared_options INTERFACE -Wl,-Bsymbolic-functions -Wl,-z,defs,-z,relro,-z,now,-z,noexecstack)
target_link_libraries(vr_shared_options INTERFACE vr_warnings)
