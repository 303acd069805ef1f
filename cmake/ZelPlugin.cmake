# zel_add_plugin(NAME SOURCES...): a ZEL processor plug-in, the Qt plug-in file NAME.dll (that name
# on every platform), moc run on its sources, linked to ZEL::ZEL. Used by ZEL's own tree and,
# installed, by projects that find_package(ZEL).
function(zel_add_plugin name)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE ZEL::ZEL)
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".dll" AUTOMOC ON)
  if(ZEL_PLUGIN_OUTPUT_DIRECTORY)
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${ZEL_PLUGIN_OUTPUT_DIRECTORY})
  endif()
  # In ZEL's tree its plug-ins build with the project's warnings.
  if(COMMAND zel_warnings)
    zel_warnings(${name})
  endif()
endfunction()
