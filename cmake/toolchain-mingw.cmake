# What both Windows widths share. The file that includes this one has set BRIMTIDE_TRIPLE and CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Windows)

set(CMAKE_C_COMPILER ${BRIMTIDE_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${BRIMTIDE_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${BRIMTIDE_TRIPLE}-windres)

# DWARF 4: Wine's debugger finds no function names in DWARF 5.
string(APPEND CMAKE_C_FLAGS_INIT " -gdwarf-4")
string(APPEND CMAKE_CXX_FLAGS_INIT " -gdwarf-4")

# One self-contained file each: -static alone leaves system DLLs only.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -Wl,--no-insert-timestamp")
endforeach()

if(DEFINED ENV{BRIMTIDE_CACHE})
    set(brimtide_cache $ENV{BRIMTIDE_CACHE})
elseif(DEFINED ENV{XDG_CACHE_HOME})
    set(brimtide_cache $ENV{XDG_CACHE_HOME}/brimtide)
else()
    set(brimtide_cache $ENV{HOME}/.cache/brimtide)
endif()
set(CMAKE_FIND_ROOT_PATH /usr/${BRIMTIDE_TRIPLE} ${brimtide_cache}/deps/${BRIMTIDE_WIDTH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run)
