# mk_library(NAME SOURCES... [USES targets...])
#
# One library per folder. Its headers are included as "platform/text/Text.h", but only by targets that link
# it: every library gets an include tree of its own with a single link to its folder, so an include that
# points the wrong way does not compile.
function(mk_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  mk_expose_folder(${name})
  target_link_libraries(${name} PUBLIC ${ARG_USES} PRIVATE mk_options)
endfunction()

function(mk_expose_folder name)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
  set(tree ${PROJECT_BINARY_DIR}/include/${name})
  get_filename_component(parent ${folder} DIRECTORY)
  file(MAKE_DIRECTORY ${tree}/${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${tree}/${folder} SYMBOLIC)
  target_include_directories(${name} PUBLIC ${tree})
endfunction()

# mk_test(NAME SOURCES... [USES targets...] [TIMEOUT seconds] [NOT_ON_WINDOWS cases...])
#
# A GoogleTest program; each of its cases is a ctest case of its own. Under Wine the whole program is one case: to start
# it takes longer than most tests do; cases that cannot work there are named behind NOT_ON_WINDOWS, patterns too.
function(mk_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES;NOT_ON_WINDOWS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_USES} mk_test_support GTest::gmock_main mk_options)
  if(CMAKE_CROSSCOMPILING)
    list(JOIN ARG_NOT_ON_WINDOWS ":" left_out)
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1 "--gtest_filter=-${left_out}")
    set_tests_properties(${name} PROPERTIES TIMEOUT 1200)
    return()
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()
