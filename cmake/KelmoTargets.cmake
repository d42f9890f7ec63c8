# How every target here is built: the language, the warnings, the shared precompiled header, ccache and a fast linker
# where the machine has them.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(KELMO_CCACHE ccache)
if(KELMO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # The precompiled header is cached too, so that a clean tree rebuilds in seconds.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${KELMO_CCACHE})
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endif()
find_program(KELMO_LLD ld.lld)
if(KELMO_LLD)
    add_link_options(-fuse-ld=lld)
endif()

# Reports of crashes name the exact build by it.
add_link_options(-Wl,--build-id=sha1)

add_compile_options(-Wall -Wextra -Wpedantic)
if(KELMO_WERROR)
    add_compile_options(-Werror)
endif()
# Chars beyond ASCII go through QStringLiteral or QString::fromUtf8 on purpose, never by accident.
add_compile_definitions(QT_NO_CAST_FROM_BYTEARRAY QT_NO_FOREACH QT_NO_KEYWORDS QT_USE_QSTRINGBUILDER)

# Fills an include root of one library with links to the headers of the current folder, so that its users can include
# them by their path below src/, and no header of another library.
function(kelmo_include_root target)
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    set(root ${CMAKE_BINARY_DIR}/include/${target})
    file(REMOVE_RECURSE ${root})
    file(MAKE_DIRECTORY ${root}/${folder})
    foreach(header ${headers})
        get_filename_component(name ${header} NAME)
        file(CREATE_LINK ${header} ${root}/${folder}/${name} SYMBOLIC)
    endforeach()
    target_include_directories(${target} PUBLIC ${root})
    set_property(GLOBAL APPEND PROPERTY KELMO_ROOMS ${target})
    set_property(TARGET ${target} PROPERTY KELMO_FOLDER ${folder})
endfunction()

# kelmo_library(NAME LINKS...): one static library for one folder of src/. It sees the headers of what it links, which
# are libraries of rooms below it, so an include that climbs does not compile.
function(kelmo_library name)
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$") # A program's entry point is no part of its library.
    add_library(kelmo_${name} STATIC ${sources})
    set_target_properties(kelmo_${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(kelmo_${name} PUBLIC ${ARGN})
    string(FIND ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/src/ below)
    if(below EQUAL 0)
        kelmo_include_root(kelmo_${name})
    endif()
    if(TARGET kelmo_pch)
        target_precompile_headers(kelmo_${name} REUSE_FROM kelmo_pch)
    endif()
endfunction()

# kelmo_tests(NAME LINKS...): the test program of one folder of tests/ and those below it; every TEST becomes one ctest
# entry. Folders that match KELMO_TESTS_EXCLUDE have a program of their own, tests that match the filter
# KELMO_SLOW_TESTS are labelled slow, all others fast.
function(kelmo_tests name)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    if(KELMO_TESTS_EXCLUDE)
        list(FILTER sources EXCLUDE REGEX "${KELMO_TESTS_EXCLUDE}")
    endif()
    add_executable(tests_${name} ${sources})
    set_target_properties(tests_${name} PROPERTIES AUTOMOC ON)
    target_include_directories(tests_${name} PRIVATE ${CMAKE_SOURCE_DIR})
    target_link_libraries(tests_${name} PRIVATE ${ARGN} tests_support GTest::gmock)
    target_precompile_headers(tests_${name} REUSE_FROM kelmo_pch)
    # One ctest entry for each TEST. What takes more than a second or two is slow; script/test --fast leaves it out.
    set(filters "-${KELMO_SLOW_TESTS}")
    if(KELMO_SLOW_TESTS)
        list(APPEND filters ${KELMO_SLOW_TESTS})
    endif()
    set(label fast)
    foreach(filter ${filters})
        gtest_discover_tests(tests_${name} TEST_PREFIX ${name}. TEST_FILTER ${filter} TEST_LIST ${name}_${label}
            DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 LABELS ${label} ENVIRONMENT
            LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/asan.supp:print_suppressions=0)
        set(label slow)
    endforeach()
endfunction()
