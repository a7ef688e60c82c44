# How rooms, tests, fuzzers and benchmarks are declared, so that each folder says only what is particular to it.
include(GoogleTest)

# A room of src/: a static library of all sources in its folder, named after it.
#   tarn_room(audio NEEDS platform)
function(tarn_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;NEEDS" ${ARGN})
    if(NOT ROOM_SOURCES)
        file(GLOB ROOM_SOURCES CONFIGURE_DEPENDS *.cpp)
    endif()
    set(scope PUBLIC)
    if(ROOM_SOURCES)
        add_library(${name} STATIC ${ROOM_SOURCES})
    else()
        add_library(${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_include_directories(${name} ${scope} ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} ${scope} ${ROOM_NEEDS})
endfunction()

# The tests of a room: all *.cpp of the folder, and of its subfolder for the system, linux or windows, in one executable;
# every case runs in a process of its own.
#   tarn_tests(link NEEDS link LOCKS connections)
# LOCKS names what the cases share with the whole machine (connection slots): such cases never run at
# the same time. PROGRAMS names targets that the cases start; test code finds each one's path in a macro named after it,
# as in PROGRAM_host.
function(tarn_tests name)
    cmake_parse_arguments(TESTS "" "TIMEOUT" "NEEDS;LOCKS;PROGRAMS" ${ARGN})
    set(system linux)
    if(WIN32)
        set(system windows)
    endif()
    file(GLOB sources CONFIGURE_DEPENDS *.cpp ${system}/*.cpp)
    if(NOT sources)
        return()
    endif()
    set(target test-${name})
    add_executable(${target} ${sources})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${target} PRIVATE ${TESTS_NEEDS} GTest::gmock_main)
    foreach(program ${TESTS_PROGRAMS})
        add_dependencies(${target} ${program})
        string(REPLACE "-" "_" macro PROGRAM_${program})
        target_compile_definitions(${target} PRIVATE ${macro}="$<TARGET_FILE:${program}>")
    endforeach()
    if(NOT TESTS_TIMEOUT)
        set(TESTS_TIMEOUT 60)
    endif()
    set(properties TIMEOUT ${TESTS_TIMEOUT})
    if(TESTS_LOCKS)
        list(APPEND properties RESOURCE_LOCK "${TESTS_LOCKS}")
    endif()
    # PRE_TEST, so that the build needs no Wine.
    gtest_discover_tests(${target} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
        PROPERTIES ${properties})
endfunction()

# A fuzzer of one door, from NAME.cpp; built where libFuzzer is. Its test replays the stored corpus, tests/fuzz/corpus/NAME,
# and goes on for a few thousand runs from there. To let it run for longer:
#   build/linux/tests/fuzz/fuzz-NAME -max_total_time=900 FOLDER tests/fuzz/corpus/NAME
# PARSER names the sources that take what comes in, from the project's root, and BESIDE the functions in them that don't, as a
# regular expression: scripts/fuzz-coverage tells how many of the other lines the corpus reaches.
function(tarn_fuzzer name)
    cmake_parse_arguments(FUZZ "" "BESIDE" "NEEDS;LOCKS;OPTIONS;PARSER" ${ARGN})
    if(NOT BRIMTIDE_TARGET STREQUAL "linux")
        return()
    endif()
    add_executable(fuzz-${name} ${name}.cpp)
    target_include_directories(fuzz-${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_options(fuzz-${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(fuzz-${name} PRIVATE ${FUZZ_NEEDS})
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}-parser.txt "${FUZZ_PARSER}\n${FUZZ_BESIDE}\n")
    set(found ${CMAKE_CURRENT_BINARY_DIR}/${name}-found)
    file(MAKE_DIRECTORY ${found})
    # Without weights for rare features, whose bookkeeping took longer than the interface's runs.
    add_test(NAME fuzz.${name}
        COMMAND fuzz-${name} -runs=20000 -max_total_time=20 -seed=1 -entropic=0 -artifact_prefix=${found}/crash- ${FUZZ_OPTIONS} ${found}
            ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
    set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT 300 RESOURCE_LOCK "${FUZZ_LOCKS}")
endfunction()

# The benchmarks of a room, bench/NAMEBench.cpp; built where the optimiser is on, and run by hand.
#   tarn_bench(link NEEDS link)
function(tarn_bench name)
    cmake_parse_arguments(BENCH "" "" "NEEDS" ${ARGN})
    if(NOT benchmark_FOUND)
        return()
    endif()
    add_executable(bench-${name} ${name}Bench.cpp)
    target_include_directories(bench-${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(bench-${name} PRIVATE ratios ${BENCH_NEEDS} headers)
endfunction()
