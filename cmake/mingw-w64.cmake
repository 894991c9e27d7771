# Builds for Windows x64 on a Linux machine: mingw-w64 with POSIX threads, whose C++ library has std::thread, and
# Wine to run what was built. Libraries are looked for in CMAKE_FIND_ROOT_PATH only, never on the Linux machine;
# scripts/windows.sh builds them and tells where they are.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 10.0)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triple x86_64-w64-mingw32)
# Some projects hand these on to tools that don't search the path.
find_program(CMAKE_C_COMPILER ${triple}-gcc-posix REQUIRED)
find_program(CMAKE_CXX_COMPILER ${triple}-g++-posix REQUIRED)
find_program(CMAKE_RC_COMPILER ${triple}-windres REQUIRED)
find_program(VLOX_WINE wine64 PATHS /usr/lib/wine)
if(VLOX_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${VLOX_WINE})
endif()

# Windows 10 and later. Static: neither the library nor a program asks for a DLL of the compiler.
set(CMAKE_C_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -ffunction-sections -fdata-sections")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -Wl,--gc-sections")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -Wl,--gc-sections")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
