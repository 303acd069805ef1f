# step(COMMAND...): runs one command of a package check; its output shows, a failure stops the check.
function(step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}")
  endif()
  message(STATUS "${out}")
  set(step_output "${out}" PARENT_SCOPE)
endfunction()
