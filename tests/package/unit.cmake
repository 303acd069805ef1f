# cmake -P: install the build tree and check its systemd unit: zelhost named by its installed path,
# the plug-in path shown, and what systemd-analyze makes of it (the unit's syntax, that ExecStart
# exists, and how confined the service is).
include(${CMAKE_CURRENT_LIST_DIR}/step.cmake)
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
step(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(unit ${prefix}/lib/systemd/system/zelhost@.service)
file(READ ${unit} text)
foreach(expected "\nExecStart=${prefix}/bin/zelhost %i\n" "ZEL_PLUGIN_PATH" "${prefix}/lib/zel/plugins")
  string(FIND "${text}" "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "the installed unit lacks [${expected}]:\n${text}")
  endif()
endforeach()
find_program(analyze systemd-analyze)
if(NOT analyze)
  message(FATAL_ERROR "systemd-analyze is missing: scripts/install-deps.sh installs it (package systemd)")
endif()
step(${analyze} verify ${unit})
# Exposure on systemd's scale of 0 to 100: 20 is "OK" and below.
step(${analyze} security --offline=true --threshold=20 ${unit})
