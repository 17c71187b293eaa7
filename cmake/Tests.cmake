# The tests and the fuzz target. Both need the simulated common library.
if(VIMBRA_COMMON_LIBRARY)
    return()
endif()

if(VIMBRA_FUZZ)
    add_subdirectory(fuzz)
    return()
endif()

if(NOT PROJECT_IS_TOP_LEVEL OR NOT VIMBRA_TESTS)
    return()
endif()

set(googletest_sources /usr/src/googletest/googletest) # where Debian's package googletest puts them
if(CMAKE_CROSSCOMPILING AND EXISTS ${googletest_sources})
    add_library(gtest_main STATIC EXCLUDE_FROM_ALL
        ${googletest_sources}/src/gtest-all.cc ${googletest_sources}/src/gtest_main.cc)
    target_include_directories(gtest_main SYSTEM PUBLIC ${googletest_sources}/include
                                                 PRIVATE ${googletest_sources})
    add_library(GTest::gtest_main ALIAS gtest_main)
elseif(VIMBRA_TESTS STREQUAL AUTO)
    find_package(GTest QUIET)
else()
    find_package(GTest REQUIRED)
endif()

if(TARGET GTest::gtest_main)
    enable_testing()
    add_subdirectory(tests)
    add_subdirectory(fuzz)
else()
    message(STATUS "GoogleTest not found: the tests are left out")
endif()
