# One interface target for the language level and the warnings; every target of ours links it.
add_library(mk_options INTERFACE)
target_compile_features(mk_options INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)

if(MSVC)
  target_compile_options(mk_options INTERFACE /W4 /WX /utf-8)
else()
  target_compile_options(mk_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Werror)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 takes inlined concatenations of texts for overlapping copies (its bug 105651) when it optimises.
    target_compile_options(mk_options INTERFACE -Wno-restrict)
  endif()
endif()
if(WIN32)
  # Windows 7 and later; text as UTF-16; none of the headers' macros that are called min and max.
  target_compile_definitions(mk_options INTERFACE
    _WIN32_WINNT=0x0601 UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
if(MARROWKIT_SANITIZE)
  target_compile_options(mk_options INTERFACE
    -fsanitize=${MARROWKIT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(mk_options INTERFACE -fsanitize=${MARROWKIT_SANITIZE})
endif()
if(MARROWKIT_COVERAGE)
  target_compile_options(mk_options INTERFACE --coverage)
  target_link_options(mk_options INTERFACE --coverage)
endif()

# Building again after a checkout is quick where ccache is installed; nothing depends on it.
find_program(MK_CCACHE ccache)
if(MK_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${MK_CCACHE})
endif()
find_program(MK_LLD ld.lld)
if(MK_LLD AND NOT WIN32 AND NOT APPLE)
  add_link_options(-fuse-ld=lld)
endif()
