# mk_fuzz(NAME SOURCES... [USES targets...])
#
# A libFuzzer program (clang, preset "fuzz"): ./NAME -max_total_time=120 FOLDER_OF_SAMPLES. The libraries named by
# USES are instrumented, so that the fuzzer sees what it reaches in them. Nothing happens without
# MARROWKIT_FUZZERS: any folder of tests can include(Fuzz) and add targets of its own.
include_guard(GLOBAL)

function(mk_fuzz name)
  if(NOT MARROWKIT_FUZZERS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_USES} mk_options)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  foreach(library IN LISTS ARG_USES)
    target_compile_options(${library} PRIVATE -fsanitize=fuzzer-no-link)
  endforeach()
endfunction()
