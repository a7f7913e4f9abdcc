# libvrbase.so: its sources by folder, and the version script that keeps every
# name inside but those of exports/vrbase.def.

add_library(vrbase SHARED
  config/Dbenv.cpp
  config/Dbenv_definition.cpp
  config/Environ.cpp
  config/Environ_paths.cpp
  config/Ini.cpp
  config/Ini_load.cpp
  config/Ini_registry.cpp
  config/TermEsc.cpp
  core/Chunks.cpp
  core/Heap.cpp
  core/Membuf.cpp
  core/Util.cpp
  core/vrmem.cpp
  core/vrmem_callbacks.cpp
  core/vrmem_fixed.cpp
  core/vrmem_pool.cpp
  core/vrmem_recovery.cpp
  core/vrmem_string.cpp
  dynarray/Extract.cpp
  dynarray/Vrstr_edit.cpp
  dynarray/Vrstr_fields.cpp
  dynarray/Vrstr_scan.cpp
  dynarray/Vrstr_walk.cpp
  files/Dir.cpp
  files/Files.cpp
  files/Files_names.cpp
  files/Nflock.cpp
  files/Os_file.cpp
  lookup/Cache.cpp
  lookup/Quark.cpp
  lookup/Tbl.cpp
  lookup/vrhash.cpp
  process/Dll.cpp
  process/System.cpp
  process/System_word.cpp
  process/pscntl.cpp
  text/Dblog.cpp
  text/Util_convert.cpp
  text/Util_date.cpp
  text/Util_text.cpp)

set(export_list "${PROJECT_SOURCE_DIR}/exports/vrbase.def")
set(version_script "${PROJECT_BINARY_DIR}/vrbase.map")
add_custom_command(
  OUTPUT "${version_script}"
  COMMAND "${CMAKE_COMMAND}" "-DLIST=${export_list}" "-DOUTPUT=${version_script}"
          -P "${PROJECT_SOURCE_DIR}/cmake/VersionScript.cmake"
  DEPENDS "${export_list}" "${PROJECT_SOURCE_DIR}/cmake/VersionScript.cmake"
  VERBATIM)
target_sources(vrbase PRIVATE "${version_script}")
set_property(TARGET vrbase APPEND PROPERTY LINK_DEPENDS "${version_script}")

target_include_directories(vrbase
  PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
  PRIVATE "${PROJECT_SOURCE_DIR}")
target_compile_options(vrbase PRIVATE -fno-exceptions -fno-semantic-interposition)
target_link_options(vrbase PRIVATE "-Wl,--version-script=${version_script}")
# Calls between the modules cost a third of a small block's time without it.
set_target_properties(vrbase PROPERTIES INTERPROCEDURAL_OPTIMIZATION_RELEASE ON)
target_link_libraries(vrbase PRIVATE vr_shared_options PUBLIC vrplatform)
set_target_properties(vrbase PROPERTIES BUILD_RPATH_USE_ORIGIN ON)
