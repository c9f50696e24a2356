# Which commit a build is made of: `git describe` at build time, or what `git archive` wrote into Commit.txt, or
# "unknown". Never a date, so that building the same commit twice gives the same program.
#
# Included, it adds mk_commit(TARGET), which puts the line `#define MK_COMMIT "..."` into a header Commit.h that only
# that target sees; run as a script by each build, it writes that header anew only when the commit is another one.
if(NOT CMAKE_SCRIPT_MODE_FILE)
  find_package(Git QUIET)
  function(mk_commit target)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_commit)
    add_custom_target(${target}_commit
      COMMAND ${CMAKE_COMMAND} -DOUTPUT=${folder}/Commit.h -DGIT=${GIT_EXECUTABLE} -DSOURCE=${PROJECT_SOURCE_DIR}
              -P ${PROJECT_SOURCE_DIR}/cmake/Commit.cmake
      BYPRODUCTS ${folder}/Commit.h
      COMMENT "Looking which commit this is" VERBATIM)
    target_include_directories(${target} PRIVATE ${folder})
    add_dependencies(${target} ${target}_commit)
  endfunction()
  return()
endif()

set(commit "")
if(GIT AND EXISTS ${SOURCE}/.git)
  # Only looks: a build must not take git's lock from somebody who works in the folder.
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env GIT_OPTIONAL_LOCKS=0
            ${GIT} describe --always --dirty --abbrev=12 "--match=v[0-9]*"
    WORKING_DIRECTORY ${SOURCE} OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
elseif(EXISTS ${SOURCE}/cmake/Commit.txt)
  file(STRINGS ${SOURCE}/cmake/Commit.txt commit LIMIT_COUNT 1)
endif()
if(NOT commit MATCHES "^[0-9A-Za-z.-]+$")
  set(commit "unknown")
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "#define MK_COMMIT \"${commit}\"\n" @ONLY)
