# What is installed, in the folders of a Linux system: programs, the host library with its plug-in beside it,
# headers, and the CMake package of the host library, for find_package(vlhost).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS vlhost vl_host_include EXPORT vlhost
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS vlx_fmp4
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS fmp4 fmp4_serve
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# As built: where the two differ, CMake pads the built one with empty entries, which the loader takes for the working
# folder.
set_target_properties(fmp4 PROPERTIES
  BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN:$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(vlx_fmp4 PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
set_target_properties(vlhost PROPERTIES INSTALL_RPATH "")
install(DIRECTORY host/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vlhost)
install(DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/page DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT vlhost NAMESPACE vlhost:: FILE vlhostConfig.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlhost)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/vlhostConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vlhostConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlhost)
