# Cross compiler to 32-bit Windows. Scores are to come out bit for bit as in 64-bit, hence SSE2
# instead of the wider registers of the x87; Windows' own calls into a component align the stack to
# four bytes only, hence the realignment.
set(QM_MINGW i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR X86)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine x86)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,--large-address-aware")
