# Small helpers that keep each folder's CMakeLists a few lines long.

# Errors only where we choose the compiler (the Makefile, CI): a consumer's newer compiler may warn where ours
# does not, and that must not break their build.
option(ZEL_WERROR "Treat warnings as errors" OFF)

# Warnings for our own code.
function(zel_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${ZEL_WERROR}>:/WX>)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic $<$<BOOL:${ZEL_WERROR}>:-Werror>)
  endif()
endfunction()

function(zel_apply_sanitizers)
  # A fuzzing build traces coverage in all of our code; only the drivers link libFuzzer's main.
  if(ZEL_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
  endif()
  if(NOT ZEL_SANITIZE)
    return()
  endif()
  add_compile_options(-fsanitize=${ZEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZEL_SANITIZE})
endfunction()

# zel_add_sources(TARGET file...): adds sources of a folder to a library made elsewhere.
function(zel_add_sources target)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(${target} PRIVATE ${ARGN})
endfunction()

# In the tree plug-ins land in bin/, beside zelhost and the tests that load them.
set(ZEL_PLUGIN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
include(ZelPlugin)

# zel_add_test(NAME SOURCES... [TIMEOUT s] [LIBS ...]): one GoogleTest executable, one CTest.
function(zel_add_test name)
  cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE zeltestsupport ${T_LIBS})
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
  zel_warnings(${name})
  add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  set_tests_properties(${name} PROPERTIES TIMEOUT ${T_TIMEOUT})
  zel_sanitizer_environment(${name})
endfunction()

# zel_sanitizer_environment(TEST): what every test needs under the sanitizers. libzmq and Qt are not
# built with the thread sanitizer: their inner synchronisation is invisible to it. Races between
# accesses in our own code are still reported.
function(zel_sanitizer_environment test)
  if(ZEL_SANITIZE MATCHES "thread")
    set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "TSAN_OPTIONS=ignore_noninstrumented_modules=1")
  endif()
endfunction()

# zel_public_library(TARGET SUBDIR EXPORT_HEADER): include paths, generated export header, warnings.
function(zel_public_library target subdir header)
  include(GenerateExportHeader)
  string(TOUPPER ${target} upper)
  generate_export_header(${target}
    EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/include/${subdir}/${header}
    BASE_NAME ${upper})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  # $ORIGIN: an installed library finds its siblings, whatever the program that loads it.
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH "$ORIGIN")
  zel_warnings(${target})
endfunction()

# zel_trace_names(TARGET): each source of TARGET gets ZEL_TRACE_FILE, its path in the tree without
# extension and without impl's subsystem folder ("impl/zmqhelper" for impl/transport/zmqhelper.cpp),
# the file name its trace lines carry: trace texts stay the same wherever a file moves inside impl/.
function(zel_trace_names target)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    get_filename_component(absolute ${source} ABSOLUTE BASE_DIR ${PROJECT_SOURCE_DIR}/impl)
    file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR} ${absolute})
    string(REGEX REPLACE "\\.[^./]*$" "" relative ${relative})
    string(REGEX REPLACE "^impl/[^/]+/" "impl/" relative ${relative})
    set_property(SOURCE ${absolute} TARGET_DIRECTORY ${target} APPEND PROPERTY
      COMPILE_DEFINITIONS ZEL_TRACE_FILE="${relative}")
  endforeach()
endfunction()
