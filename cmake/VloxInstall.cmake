# Relocatable installation: the library with its public headers, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS vlox_common EXPORT vlox_commonTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vlox_common)
set(vlox_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vlox_common)
install(EXPORT vlox_commonTargets NAMESPACE vlox:: DESTINATION ${vlox_package_dir})
configure_package_config_file(cmake/vlox_commonConfig.cmake.in vlox_commonConfig.cmake
  INSTALL_DESTINATION ${vlox_package_dir})
write_basic_package_version_file(vlox_commonConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vlox_commonConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/vlox_commonConfigVersion.cmake DESTINATION ${vlox_package_dir})

if(WIN32)
  include(VloxWindowsPackage)
  return()
endif()

# The prefix is told relative to the file itself, so that the tree can be moved after installation.
file(RELATIVE_PATH vlox_pc_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/vlox_common.pc.in vlox_common.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vlox_common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
