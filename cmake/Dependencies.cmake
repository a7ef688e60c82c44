# Finds what scripts/setup built for this target in the cache; nothing is fetched from here.
if(DEFINED ENV{BRIMTIDE_CACHE})
    set(brimtide_cache $ENV{BRIMTIDE_CACHE})
elseif(DEFINED ENV{XDG_CACHE_HOME})
    set(brimtide_cache $ENV{XDG_CACHE_HOME}/brimtide)
else()
    set(brimtide_cache $ENV{HOME}/.cache/brimtide)
endif()

set(BRIMTIDE_TARGET "" CACHE STRING "the preset's name: linux, linux-tsan, linux-release, win32 or win64")
set(brimtide_prefix ${brimtide_cache}/deps/${BRIMTIDE_TARGET})
if(NOT EXISTS ${brimtide_prefix}/.complete)
    message(FATAL_ERROR "The dependencies of '${BRIMTIDE_TARGET}' are not built: run scripts/setup ${BRIMTIDE_TARGET}.")
endif()

file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
set(CMAKE_PREFIX_PATH ${brimtide_prefix})
find_package(Threads REQUIRED)
find_package(GTest CONFIG REQUIRED)
find_package(SndFile CONFIG REQUIRED)
find_package(benchmark CONFIG)

# Header-only libraries of the machine, without the rest of its include folder, which isn't for cross builds.
add_library(headers INTERFACE)
foreach(library boost CLI nlohmann)
    file(CREATE_LINK /usr/include/${library} ${CMAKE_BINARY_DIR}/headers/${library} SYMBOLIC)
endforeach()
target_include_directories(headers SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers)

# TinyXML, and the streams of Crypto++.
add_library(tinyxml STATIC IMPORTED)
set_target_properties(tinyxml PROPERTIES
    IMPORTED_LOCATION ${brimtide_prefix}/lib/libtinyxml.a
    INTERFACE_COMPILE_DEFINITIONS TIXML_USE_STL
    INTERFACE_INCLUDE_DIRECTORIES ${brimtide_prefix}/include)

add_library(cryptopp STATIC IMPORTED)
set_target_properties(cryptopp PROPERTIES
    IMPORTED_LOCATION ${brimtide_prefix}/lib/libcryptopp.a
    INTERFACE_COMPILE_DEFINITIONS CRYPTOPP_DISABLE_ASM
    INTERFACE_INCLUDE_DIRECTORIES ${brimtide_prefix}/include)

# libpng, over the system's zlib on Linux and the static one on Windows.
set(ZLIB_USE_STATIC_LIBS ${WIN32})
find_package(ZLIB REQUIRED)
add_library(png STATIC IMPORTED)
set_target_properties(png PROPERTIES
    IMPORTED_LOCATION ${brimtide_prefix}/lib/libpng.a
    INTERFACE_LINK_LIBRARIES ZLIB::ZLIB
    INTERFACE_INCLUDE_DIRECTORIES ${brimtide_prefix}/include)

# cairo over pixman, and FreeType.
set(cairo_needs Threads::Threads)
if(NOT WIN32)
    list(APPEND cairo_needs m)
endif()
foreach(library freetype pixman cairo)
    add_library(${library} STATIC IMPORTED)
    set_target_properties(${library} PROPERTIES IMPORTED_LOCATION ${brimtide_prefix}/lib/lib${library}.a)
endforeach()
set_target_properties(freetype PROPERTIES
    INTERFACE_COMPILE_DEFINITIONS "FT_CONFIG_OPTIONS_H=<ftoptions.h>;FT_CONFIG_MODULES_H=<ftmodule.h>"
    INTERFACE_INCLUDE_DIRECTORIES ${brimtide_prefix}/include/freetype2)
set_target_properties(cairo PROPERTIES
    INTERFACE_COMPILE_DEFINITIONS CAIRO_WIN32_STATIC_BUILD
    INTERFACE_INCLUDE_DIRECTORIES ${brimtide_prefix}/include/cairo
    INTERFACE_LINK_LIBRARIES "pixman;freetype;${cairo_needs}")

# Inter, the letters of the product's interface: a folder of files, the same for all targets.
set(INTER_FONTS /usr/share/fonts/opentype/inter)

# Makes images of the vector sources.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
