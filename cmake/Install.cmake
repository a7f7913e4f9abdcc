# What `cmake --install` lays down: headers, libraries, and how CMake and pkg-config
# find them; and the Debian package, which is the same under /usr.

# 32-bit libraries have no place in the folder of the machine's own kind.
set(CMAKE_INSTALL_LIBDIR lib CACHE STRING "Folder of the libraries beneath the prefix")
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

option(VR_INSTALL_EXAMPLES "Install the example hosts too" OFF)

add_library(vr::base ALIAS vrbase)
add_library(vr::platform ALIAS vrplatform)

# The libraries find each other, and the hosts find them, from where they stand.
file(RELATIVE_PATH libraries_from_bin "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set_target_properties(vrplatform PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})
set_target_properties(vrbase PROPERTIES EXPORT_NAME base INSTALL_RPATH "$ORIGIN")
set_target_properties(vrplatform PROPERTIES EXPORT_NAME platform)
set_target_properties(${hosts} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")

install(DIRECTORY include/vr platform/include/platform TYPE INCLUDE)
install(TARGETS vrbase vrplatform EXPORT vrbase-targets INCLUDES DESTINATION
  "${CMAKE_INSTALL_INCLUDEDIR}")
install(TARGETS psapi kernel32 LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
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
  install(TARGETS ${hosts})
endif()

# The files for CMake and pkg-config stand in the common folder, where every compiler's
# search comes past: there is one ABI, and they ask for its 32 bits themselves.
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

# pkg-config's files name their folders from where they stand, so that an installed
# tree can be moved.
set(pkgconfig_dir "${CMAKE_INSTALL_DATADIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pkgconfig "/${pkgconfig_dir}" "/")
foreach(package vrbase vrplatform)
  configure_file(cmake/${package}.pc.in ${package}.pc @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION "${pkgconfig_dir}")
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "vrbase maintainers <maintainers@vrbase.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS g++-multilib)
include(CPack)
