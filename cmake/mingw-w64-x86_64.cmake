# Cross build for 64-bit Windows with MinGW-w64 (POSIX thread model, so std::thread works).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CPPUTIL_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${CPPUTIL_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${CPPUTIL_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${CPPUTIL_MINGW_TRIPLE}-windres)
set(CMAKE_MC_COMPILER ${CPPUTIL_MINGW_TRIPLE}-windmc)

set(CMAKE_FIND_ROOT_PATH /usr/${CPPUTIL_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# A project that finds packages installed outside the MinGW root (such as an installed
# CppUtil) passes -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH.
if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()

# Test programs run under Wine through a wrapper that supplies a private prefix and the
# MinGW runtime DLLs.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
