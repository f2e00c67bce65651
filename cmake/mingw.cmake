# What both cross compilers to Windows share; QM_MINGW is the prefix of their tools. POSIX threads,
# since the standard library has no threads over the other kind; all of its run-time is linked in,
# so that a program or a component needs no DLL beside those of the platform.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${QM_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QM_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${QM_MINGW}-windres)

# Without symbols and times, so that the same sources give the same bytes.
set(QM_MINGW_LINK "-static -s -Wl,--no-insert-timestamp")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${QM_MINGW_LINK}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${QM_MINGW_LINK}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${QM_MINGW_LINK}")

set(CMAKE_FIND_ROOT_PATH /usr/${QM_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
