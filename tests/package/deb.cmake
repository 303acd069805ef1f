# cmake -P: cpack -G DEB from the build tree; the package holds the library, headers, tools and the
# demo plug-in, and depends on the Debian packages of what ZEL links.
include(${CMAKE_CURRENT_LIST_DIR}/step.cmake)
file(REMOVE_RECURSE ${WORK_DIR})
step(${CPACK} -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR})
file(GLOB deb ${WORK_DIR}/*.deb)
step(dpkg-deb --contents ${deb})
foreach(expected ./usr/lib/libZEL.so ./usr/lib/libZELHostFramework.so ./usr/include/zel/environment.h
    ./usr/include/zel/version.h ./usr/bin/zelhost ./usr/bin/zelctl ./usr/bin/zelsink ./usr/lib/zel/plugins/demo.dll
    ./usr/lib/pkgconfig/zel.pc ./usr/lib/cmake/ZEL/ZelPlugin.cmake ./usr/lib/systemd/system/zelhost@.service)
  string(FIND "${step_output}" " ${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "the package lacks ${expected}")
  endif()
endforeach()
step(dpkg-deb --field ${deb} Depends)
foreach(expected libqt5core5a libqt5network5 libzmq5)
  if(NOT step_output MATCHES "(^|, )${expected}")
    message(FATAL_ERROR "Depends lacks ${expected}: ${step_output}")
  endif()
endforeach()
# The package's unit runs the package's zelhost.
step(dpkg-deb -x ${deb} ${WORK_DIR}/root)
file(STRINGS ${WORK_DIR}/root/usr/lib/systemd/system/zelhost@.service exec REGEX "^ExecStart=")
if(NOT exec STREQUAL "ExecStart=/usr/bin/zelhost %i")
  message(FATAL_ERROR "the package's unit starts [${exec}], not /usr/bin/zelhost")
endif()
