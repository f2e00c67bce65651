# Cross compiler to 64-bit Windows.
set(QM_MINGW x86_64-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine x64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
