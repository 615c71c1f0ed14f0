# Build helpers shared by every subsystem.

# Warnings for our own targets; errors when BU_WERROR is on (CI). With GCC,
# formats of printf-like functions must match their arguments in sign too.
function(bu_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    # GCC 12 warns of overlapping copies inside std::string when a literal is
    # joined to a string ("x" + s) at -O2 and above (GCC bug 105329, fixed in
    # 13): the idiom is everywhere and the warning is never true there.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -Wformat-signedness)
    endif()
    if(BU_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# A subsystem that becomes part of libbuoutop.so: a static library of
# position-independent objects, hidden by default. Tests link it directly,
# so a subsystem can be tested before the others build.
#   bu_operator_part(<name> SOURCES ... [LIBS ...])
function(bu_operator_part name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(bu_${name} STATIC ${ARG_SOURCES})
    set_target_properties(bu_${name} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        C_VISIBILITY_PRESET hidden
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(bu_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(bu_${name} PUBLIC bu_headers ${ARG_LIBS})
    bu_warnings(bu_${name})
    set_property(GLOBAL APPEND PROPERTY BU_OPERATOR_PARTS bu_${name})
endfunction()

# A loadable plug-in (OUTMOD, Access Module, shim) staged under <stage>/<dir>.
#   bu_plugin(<target> <stage-subdir> SOURCES ... [LIBS ...])
function(bu_plugin target dir)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(${target} MODULE ${ARG_SOURCES})
    set_target_properties(${target} PROPERTIES
        PREFIX "lib"
        C_VISIBILITY_PRESET hidden
        CXX_VISIBILITY_PRESET hidden
        LIBRARY_OUTPUT_DIRECTORY ${BU_STAGE_DIR}/${dir})
    target_link_libraries(${target} PRIVATE bu_headers ${ARG_LIBS})
    bu_warnings(${target})
    install(TARGETS ${target} LIBRARY DESTINATION ${dir})
endfunction()

# A GoogleTest executable registered with CTest.
#   bu_test(<name> SOURCES ... [LIBS ...] [LABELS label])  (one label: slow, fuzz)
function(bu_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE GTest::gtest_main GTest::gmock ${ARG_LIBS})
    target_compile_definitions(${name} PRIVATE
        BU_STAGE_DIR="${BU_STAGE_DIR}"
        BU_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
        BU_BINARY_DIR="${PROJECT_BINARY_DIR}")
    bu_warnings(${name})
    set(props ENVIRONMENT "BU_STAGE_DIR=${BU_STAGE_DIR}")
    if(ARG_LABELS)
        list(APPEND props LABELS "${ARG_LABELS}")
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES ${props})
endfunction()

# A fuzz target. With BU_FUZZ (clang preset `fuzz`) it is a libFuzzer binary
# run for a bounded time under the CTest label "fuzz"; in every other build
# it is linked with a small driver that replays the seed corpus, so every
# input ever kept there stays a regression test.
# REPLAY_RUNS bounds the replay's pseudo-random inputs for a target whose
# inputs are slow (default 20000).
#   bu_fuzzer(<name> SOURCES ... [LIBS ...] [CORPUS dir] [RUNS n] [REPLAY_RUNS n])
function(bu_fuzzer name)
    cmake_parse_arguments(ARG "" "CORPUS;RUNS;REPLAY_RUNS" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS})
    if(NOT ARG_RUNS)
        set(ARG_RUNS 200000)
    endif()
    if(BU_FUZZ)
        target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
        set(corpus_copy ${CMAKE_CURRENT_BINARY_DIR}/${name}_corpus)
        add_test(NAME ${name}
                 COMMAND ${CMAKE_COMMAND} -E env
                     sh -c "mkdir -p '${corpus_copy}' && exec $<TARGET_FILE:${name}> -runs=${ARG_RUNS} '${corpus_copy}' ${ARG_CORPUS}")
        set_tests_properties(${name} PROPERTIES LABELS fuzz)
    else()
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/fuzz_replay_main.cpp)
        set(replay_args ${ARG_CORPUS})
        if(ARG_REPLAY_RUNS)
            list(APPEND replay_args -random_runs=${ARG_REPLAY_RUNS})
        endif()
        add_test(NAME ${name}_replay COMMAND ${name} ${replay_args})
    endif()
    bu_warnings(${name})
endfunction()
