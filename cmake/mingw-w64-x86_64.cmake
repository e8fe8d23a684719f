# Cross-compiles for Windows x86-64 with MinGW-w64. The -posix flavour is
# required: the -win32 threading model has no std::thread or std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(OSTRA_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER   ${OSTRA_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${OSTRA_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER  ${OSTRA_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${OSTRA_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages (GoogleTest, our own staged install) live outside the sysroot.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

