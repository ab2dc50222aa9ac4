# Four parts: the library that a host runs with, what it is built with, the command-line host, the Python package.
include(CMakePackageConfigHelpers)

install(TARGETS qmio EXPORT qmio
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES cmake/libqmio.cfx.sample DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT library)

install(FILES include/qmio.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development FILES_MATCHING PATTERN "*.c")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qmio)
install(EXPORT qmio NAMESPACE qmio:: FILE qmioTargets.cmake DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/qmioConfig.cmake.in ${PROJECT_BINARY_DIR}/qmioConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qmioConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qmioConfig.cmake ${PROJECT_BINARY_DIR}/qmioConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# Where things lie seen from one another, so that an installed tree may be moved.
file(RELATIVE_PATH QMIO_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" QMIO_PREFIX_FROM_PC "${QMIO_PREFIX_FROM_PC}")
configure_file(cmake/qmio.pc.in ${PROJECT_BINARY_DIR}/qmio.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qmio.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(TARGET qmio_tool)
  file(RELATIVE_PATH lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(qmio_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
  install(TARGETS qmio_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()
if(TARGET qmio_manual)
  install(FILES ${PROJECT_BINARY_DIR}/manual/qmio.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${PROJECT_BINARY_DIR}/manual/qmio.bash RENAME qmio
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endif()

# Where Debian's Python looks for packages. It finds the library as the system does.
if(UNIX)
  install(DIRECTORY python/qmio DESTINATION lib/python3/dist-packages COMPONENT python FILES_MATCHING PATTERN "*.py")
endif()
