# Cross-compiles for 64-bit Windows with Debian's mingw-w64; the preset "windows" uses it. The POSIX-threads variant of
# the compiler, because the other one has no std::thread and no std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)  # GoogleTest asks for one
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# Programs come from this machine; headers and libraries never do.
set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# One file that runs by itself: no libstdc++-6.dll, libgcc_s_seh-1.dll or libwinpthread-1.dll beside it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

# Where there is Wine, the tests run under it.
find_program(MK_WINE NAMES wine64 wine)
if(MK_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${MK_WINE})
endif()
