# libvrbase.so: its sources by folder, and the version script that keeps every
# name inside but those of exports/vrbase.def. With VR_CHECK the same sources and the
# allocator's checks make a second one of the same name, in a folder of its own.

option(VR_CHECK "Build the checking library too" ${PROJECT_IS_TOP_LEVEL})

set(library_sources
  config/Dbenv.cpp
  config/Environ.cpp
  config/Environ_paths.cpp
  config/Ini.cpp
  config/Ini_load.cpp
  config/Ini_registry.cpp
  config/TermEsc.cpp
  core/Chunks.cpp
  core/Heap.cpp
  core/Membuf.cpp
  core/Text.cpp
  core/Util.cpp
  core/Util_box.cpp
  core/Util_exit.cpp
  core/Util_words.cpp
  core/vrmem.cpp
  core/vrmem_callbacks.cpp
  core/vrmem_fixed.cpp
  core/vrmem_page.cpp
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
  files/Nflock_keys.cpp
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
add_custom_target(version_script DEPENDS "${version_script}")

function(vr_add_library name)
  add_library(${name} SHARED ${ARGN})
  add_dependencies(${name} version_script)
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${version_script}")
  target_include_directories(${name}
    PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_options(${name} PRIVATE -fno-exceptions -fno-semantic-interposition)
  target_link_options(${name} PRIVATE "-Wl,--version-script=${version_script}")
  # Calls between the modules cost a third of a small block's time without it.
  set_target_properties(${name} PROPERTIES
    INTERPROCEDURAL_OPTIMIZATION_RELEASE ON
    BUILD_RPATH_USE_ORIGIN ON
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  target_link_libraries(${name} PRIVATE vr_shared_options PUBLIC vrplatform)
endfunction()

vr_add_library(vrbase ${library_sources})

# An instrumented build has its own checks, and replaces the heap.
if(VR_CHECK AND NOT VR_INSTRUMENT)
  vr_add_library(vrbase_check ${library_sources}
    core/vrmem_check.cpp
    core/vrmem_check_area.cpp
    core/vrmem_check_block.cpp
    core/vrmem_check_record.cpp
    core/vrmem_check_report.cpp)
  target_compile_definitions(vrbase_check PRIVATE VR_CHECK)
  set_target_properties(vrbase_check PROPERTIES
    OUTPUT_NAME vrbase
    LIBRARY_OUTPUT_DIRECTORY "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/vrbase-check")
  set(check_from_bin ../lib/vrbase-check)
  configure_file(cmake/vr-check.in "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/vr-check" @ONLY)
endif()
