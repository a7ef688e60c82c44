# cairo's image surface over pixman, with text from FreeType: the one renderer of all targets. We compile the files that our
# calls reach, and no others; a linker that misses a function names the file to add. No target may use fast or fused
# arithmetic here, or pictures would differ between them.
set(config ${CMAKE_CURRENT_SOURCE_DIR}/config)
set(drawing_options -w -fno-strict-aliasing -ffp-contract=off -fvisibility=hidden -ffunction-sections -fdata-sections)

set(freetype ${BRIMTIDE_SOURCES}/freetype)
set(freetype_parts base/ftbase base/ftbitmap base/ftdebug base/ftinit base/ftmm base/ftsystem autofit/autofit cff/cff
    psaux/psaux pshinter/pshinter psnames/psnames sfnt/sfnt smooth/smooth truetype/truetype)
list(TRANSFORM freetype_parts PREPEND ${freetype}/src/)
list(TRANSFORM freetype_parts APPEND .c)
add_library(freetype STATIC ${freetype_parts})
target_include_directories(freetype PUBLIC ${freetype}/include ${config}/freetype)
target_compile_definitions(freetype PRIVATE FT2_BUILD_LIBRARY
    PUBLIC FT_CONFIG_OPTIONS_H=<ftoptions.h> FT_CONFIG_MODULES_H=<ftmodule.h>)
target_compile_options(freetype PRIVATE ${drawing_options})

set(pixman ${BRIMTIDE_SOURCES}/pixman)
set(PIXMAN_VERSION_MAJOR 0)
set(PIXMAN_VERSION_MINOR 42)
set(PIXMAN_VERSION_MICRO 2)
configure_file(${pixman}/pixman/pixman-version.h.in ${CMAKE_BINARY_DIR}/pixman/pixman-version.h @ONLY)
set(pixman_parts -access -access-accessors -arm -bits-image -combine-float -combine32 -conical-gradient -edge
    -edge-accessors -fast-path -general -gradient-walker -image -implementation -linear-gradient -matrix -mips -noop -ppc
    -radial-gradient -region16 -region32 -solid-fill -sse2 -trap -utils -x86)
list(TRANSFORM pixman_parts PREPEND ${pixman}/pixman/pixman)
list(TRANSFORM pixman_parts APPEND .c)
add_library(pixman STATIC pixman-unload.c ${pixman_parts})
target_include_directories(pixman PUBLIC ${pixman}/pixman ${CMAKE_BINARY_DIR}/pixman PRIVATE ${config}/pixman)
target_compile_definitions(pixman PRIVATE HAVE_CONFIG_H)
target_compile_options(pixman PRIVATE ${drawing_options})

# The first list of cairo's own file of sources, less what its image surface doesn't reach.
set(cairo ${BRIMTIDE_SOURCES}/cairo)
file(READ ${cairo}/src/Makefile.sources sources)
string(REGEX MATCH "\ncairo_sources = \\\\\n([^=]*)\n[a-z_]+ [+:]?=" sources "${sources}")
string(REGEX MATCHALL "cairo[a-z0-9-]*\\.c" cairo_parts "${CMAKE_MATCH_1}")
foreach(part atomic base64-stream base85-stream botor-scan-converter clip-tor-scan-converter fallback-compositor fixed
    image-info lzw mempool output-stream paginated-surface path-stroke-tristrip rtree surface-clipper surface-fallback
    surface-observer surface-subsurface time tristrip version)
    list(REMOVE_ITEM cairo_parts cairo-${part}.c)
endforeach()
list(APPEND cairo_parts cairo-ft-font.c)
list(TRANSFORM cairo_parts PREPEND ${cairo}/src/)
add_library(cairo STATIC ${cairo_parts})
# The folder above src/ first: its cairo-version.h is the real one.
target_include_directories(cairo PRIVATE ${cairo} ${cairo}/src ${config}/cairo)
target_compile_definitions(cairo PRIVATE HAVE_CONFIG_H CAIRO_WIN32_STATIC_BUILD)
target_compile_options(cairo PRIVATE ${drawing_options})
target_link_libraries(cairo PRIVATE pixman freetype)

# cairo and pixman shift negative numbers on purpose.
if(CMAKE_C_FLAGS MATCHES undefined)
    target_compile_options(cairo PRIVATE -fno-sanitize=shift)
    target_compile_options(pixman PRIVATE -fno-sanitize=shift)
endif()

install(TARGETS cairo pixman freetype ARCHIVE DESTINATION lib)
install(FILES ${cairo}/cairo-version.h ${cairo}/src/cairo.h ${cairo}/src/cairo-ft.h ${cairo}/src/cairo-deprecated.h
    ${config}/cairo/cairo-features.h DESTINATION include/cairo)
install(DIRECTORY ${freetype}/include/ ${config}/freetype/ DESTINATION include/freetype2)
