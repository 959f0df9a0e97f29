# A folder under src/ is one object library; src/layers.txt says which folders it may use. All of them
# together make the static library that the programs, the tests and other people's programs link.

add_library(hciload_options INTERFACE)
target_compile_options(hciload_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    # The lock rules in os/ThreadSafety.h.
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # CChipDownloader has virtual functions and no virtual destructor, as its header says.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-delete-non-abstract-non-virtual-dtor>)

function(hciload_folder name)
    add_library(${name} OBJECT ${ARGN})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PRIVATE hciload_options)
endfunction()

# hciload_test(name [REAL_TIME] Source.cpp...)
#
# One test program for each folder; its cases are registered with ctest one by one.
# A test file that no list names would pass for ever.
# REAL_TIME: its cases wait for programs, threads or the kernel's terminal. They have the label
# "realtime", and only one of them runs at a time.
function(hciload_test name)
    cmake_parse_arguments(PARSE_ARGV 1 test "REAL_TIME" "" "")
    set(properties TIMEOUT 120)
    if(test_REAL_TIME)
        list(APPEND properties LABELS realtime RESOURCE_LOCK realtime)
    endif()
    file(GLOB forgotten RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *Test.cpp)
    list(REMOVE_ITEM forgotten ${test_UNPARSED_ARGUMENTS})
    if(forgotten)
        message(FATAL_ERROR "${name} does not list ${forgotten}")
    endif()
    add_executable(${name} ${test_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_compile_definitions(${name} PRIVATE HCILOAD_SANITIZE="${HCILOAD_SANITIZE}")
    # Tests are compiled more often than they run; what they test is optimized.
    target_compile_options(${name} PRIVATE -O0)
    target_link_libraries(${name} PRIVATE chipsim_core hciload_options GTest::gmock GTest::gtest_main)
    # These headers take longer to compile than most tests.
    target_precompile_headers(${name} REUSE_FROM test_headers)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
