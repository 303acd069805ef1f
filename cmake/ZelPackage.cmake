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
  ${PROJECT_BINARY_DIR}/ZELConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZEL
  PATH_VARS ZEL_PLUGIN_INSTALL_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZELConfig.cmake ${PROJECT_BINARY_DIR}/ZELConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/ZelPlugin.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZEL)

# pkg-config: zel.pc locates its prefix from its own folder, so a moved prefix still works.
file(RELATIVE_PATH ZEL_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" ZEL_PC_TO_PREFIX ${ZEL_PC_TO_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/zel.pc.in ${PROJECT_BINARY_DIR}/zel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# systemd reads units from both /usr/lib and /usr/local/lib. The unit names zelhost by its path
# under the prefix given at install time (cmake --install --prefix, or /usr for the package), so
# it is written when installing, in a folder of that prefix's own: installs may run side by side.
install(CODE "
  set(ZEL_UNIT_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  set(ZEL_UNIT_PLUGIN_DIR \"\${CMAKE_INSTALL_PREFIX}/${ZEL_PLUGIN_INSTALL_DIR}\")
  string(MD5 zel_unit_key \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  set(zel_unit ${PROJECT_BINARY_DIR}/packaging/\${zel_unit_key}/zelhost@.service)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/zelhost@.service.in \${zel_unit} @ONLY)
  file(INSTALL \${zel_unit} DESTINATION \"\${CMAKE_INSTALL_PREFIX}/lib/systemd/system\")
")

# Installing and packaging take the tree as built (make build first): without the check of every
# target's AUTOMOC state, cpack takes seconds, not a minute.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

# cpack -G DEB: one package with the library, headers, tools and the demo plug-in. Its Depends are
# worked out by dpkg-shlibdeps from what the binaries link.
set(CPACK_PACKAGE_NAME zel)
set(CPACK_PACKAGE_VENDOR "ZEL")
set(CPACK_PACKAGE_CONTACT "ZEL maintainers <zel@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Data-stream processing over ZeroMQ with Qt plug-ins")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The install then runs with the prefix /usr and the staging folder as DESTDIR, so what is written
# when installing (the systemd unit) names the paths the package will have.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Debian ships binaries without their debug information.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
# Building plug-ins against the headers needs these.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qtbase5-dev, libzmq3-dev, cppzmq-dev, cmake")
include(CPack)
