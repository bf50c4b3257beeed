# Cross build for 64-bit Windows with Debian's mingw-w64 compilers: the SDK's headers and
# import libraries come with them. The programs link their C and C++ runtimes statically, so
# that an .exe runs on a bare Windows (or under Wine) without the compiler's DLLs beside it.
# The test programs run through wine: CMake puts the emulator in front of every test command
# that names a target.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(TOVX_MINGW_TRIPLE x86_64-w64-mingw32)
# The posix thread model gives the full <thread> and <mutex>; its own pthread library goes in
# statically with the rest.
find_program(CMAKE_CXX_COMPILER NAMES ${TOVX_MINGW_TRIPLE}-g++-posix ${TOVX_MINGW_TRIPLE}-g++ REQUIRED)
find_program(CMAKE_C_COMPILER NAMES ${TOVX_MINGW_TRIPLE}-gcc-posix ${TOVX_MINGW_TRIPLE}-gcc REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${TOVX_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${TOVX_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

find_program(TOVX_WINE NAMES wine64 wine)
if(TOVX_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${TOVX_WINE})
endif()
