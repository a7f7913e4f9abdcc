# What `cmake --install` lays down: headers, libraries, and how CMake and pkg-config
# find them.

# 32-bit libraries have no place in the folder of the machine's own kind.
set(CMAKE_INSTALL_LIBDIR lib CACHE STRING "Folder of the libraries beneath the prefix")
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(VR_INSTALL_EXAMPLES "Install the example hosts too" OFF)

# The libraries find each other, and the hosts find them, from where they stand.
file(RELATIVE_PATH libraries_from_bin "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set_target_properties(vrplatform PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})
set_target_properties(vrbase PROPERTIES EXPORT_NAME base INSTALL_RPATH "$ORIGIN")
set_target_properties(vrplatform PROPERTIES EXPORT_NAME platform)
set_target_properties(vr_width PROPERTIES EXPORT_NAME width)

# The headers have a folder of their own: "platform" is a name that others use too.
set(header_dir "${CMAKE_INSTALL_INCLUDEDIR}/vrbase")
install(DIRECTORY include/vr platform/include/platform DESTINATION "${header_dir}")
install(TARGETS vrbase vrplatform vrrecord vr_width EXPORT vrbase-targets
  INCLUDES DESTINATION "${header_dir}")
install(TARGETS psapi kernel32 LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/vrplatform")
if(TARGET vrbase_check)
  set(check_dir "${CMAKE_INSTALL_LIBDIR}/vrbase-check")
  set_target_properties(vrbase_check PROPERTIES INSTALL_RPATH "$ORIGIN/..")
  install(TARGETS vrbase_check LIBRARY DESTINATION "${check_dir}")
  file(RELATIVE_PATH check_from_bin "/${CMAKE_INSTALL_BINDIR}" "/${check_dir}")
  configure_file(cmake/vr-check.in "${PROJECT_BINARY_DIR}/install/vr-check" @ONLY)
  install(PROGRAMS "${PROJECT_BINARY_DIR}/install/vr-check" TYPE BIN)
endif()
install(FILES LICENSE CHANGELOG.md TYPE DOC)
if(VR_INSTALL_EXAMPLES)
  set_target_properties(${hosts} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")
  install(TARGETS ${hosts})
endif()

# The files for CMake and pkg-config stand in the common folder, which every
# compiler's search includes: there is one ABI, and they ask for its 32 bits themselves.
set(package_dir "${CMAKE_INSTALL_DATADIR}/cmake/vrbase")
configure_package_config_file(cmake/vrbase-config.cmake.in vrbase-config.cmake
  INSTALL_DESTINATION "${package_dir}" NO_SET_AND_CHECK_MACRO
  NO_CHECK_REQUIRED_COMPONENTS_MACRO)
# The width is checked by the package itself, which can say what is wrong.
write_basic_package_version_file(vrbase-config-version.cmake
  COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(EXPORT vrbase-targets NAMESPACE vr:: DESTINATION "${package_dir}")
install(FILES
  "${PROJECT_BINARY_DIR}/vrbase-config.cmake"
  "${PROJECT_BINARY_DIR}/vrbase-config-version.cmake"
  DESTINATION "${package_dir}")

# pkg-config's files name the prefix that is installed to. A tree that is moved later is found
# by `pkg-config --define-prefix`.
set(prefix "@prefix@")  # is filled in when it is installed
foreach(package vrbase vrplatform vrrecord)
  configure_file(cmake/${package}.pc.in install/${package}.pc.in @ONLY)
  install(CODE "
    set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
    configure_file(\"${PROJECT_BINARY_DIR}/install/${package}.pc.in\"
      \"${PROJECT_BINARY_DIR}/install/${package}.pc\" @ONLY)")
  install(FILES "${PROJECT_BINARY_DIR}/install/${package}.pc"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/pkgconfig")
endforeach()
