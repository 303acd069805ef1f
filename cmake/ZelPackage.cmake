# Installs the libraries, the public headers and a package config for find_package(ZEL).
include(CMakePackageConfigHelpers)

install(TARGETS ZEL ZELHostFramework EXPORT ZELTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zel ${PROJECT_BINARY_DIR}/include/zel
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ZELTargets NAMESPACE ZEL:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZEL)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZELConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ZELConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZEL)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZELConfig.cmake ${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZEL)
