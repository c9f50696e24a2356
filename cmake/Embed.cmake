# mk_embed(TARGET HEADER "folder/Header.h" FILES files... NAMES names...)
#
# Builds the bytes of files into a library. The header declares each name as
# `extern const std::span<const unsigned char> kName;` in namespace marrowkit::resources.
#
# The same file is the script that a build runs to write the source; nothing but CMake is needed for that.
if(NOT CMAKE_SCRIPT_MODE_FILE)
  function(mk_embed target)
    cmake_parse_arguments(ARG "" "HEADER" "FILES;NAMES" ${ARGN})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}.embedded.cpp)
    add_custom_command(OUTPUT ${source}
      COMMAND ${CMAKE_COMMAND} -DOUTPUT=${source} -DHEADER=${ARG_HEADER} "-DFILES=${ARG_FILES}"
              "-DNAMES=${ARG_NAMES}" -P ${PROJECT_SOURCE_DIR}/cmake/Embed.cmake
      DEPENDS ${ARG_FILES} ${PROJECT_SOURCE_DIR}/cmake/Embed.cmake
      VERBATIM)
    target_sources(${target} PRIVATE ${source})
  endfunction()
  return()
endif()

string(REPEAT "[0-9a-f]" 32 sixteenBytes)
set(text "// Made by cmake/Embed.cmake.\n#include \"${HEADER}\"\n\nnamespace marrowkit::resources {\n")
foreach(file name IN ZIP_LISTS FILES NAMES)
  file(READ ${file} bytes HEX)
  string(REGEX REPLACE "(${sixteenBytes})" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  string(APPEND text "\nstatic const unsigned char ${name}Bytes[] = {\n${bytes}};\n"
                     "const std::span<const unsigned char> ${name}(${name}Bytes);\n")
endforeach()
string(APPEND text "\n}  // namespace marrowkit::resources\n")
file(WRITE ${OUTPUT} "${text}")
