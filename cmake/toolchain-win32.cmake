# 32-bit Windows.
set(BRIMTIDE_WIDTH win32)
set(BRIMTIDE_TRIPLE i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR x86)

# SSE2 arithmetic, so that floats come out as on the other targets; entry points realign the stack, since hosts align
# it to 4 bytes only; and `new` must not believe that malloc gives 16-byte blocks, which msvcrt doesn't.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign -faligned-new=8")

include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw.cmake)
