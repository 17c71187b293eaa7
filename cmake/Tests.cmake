# The tests and the fuzz target. Both need the simulated common library.
if(VIMBRA_COMMON_LIBRARY)
    return()
endif()

if(VIMBRA_FUZZ)
    add_subdirectory(fuzz)
    return()
endif()

if(NOT PROJECT_IS_TOP_LEVEL OR NOT BUILD_TESTING)
    return()
endif()

set(googletest_sources /usr/src/googletest) # where Debian's package googletest puts them
if(CMAKE_CROSSCOMPILING AND (EXISTS ${googletest_sources} OR CMAKE_REQUIRE_FIND_PACKAGE_GTest))
    set(BUILD_GMOCK OFF)
    set(INSTALL_GTEST OFF)
    set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)
    add_subdirectory(${googletest_sources} googletest EXCLUDE_FROM_ALL)
    unset(CMAKE_COMPILE_WARNING_AS_ERROR)
else()
    find_package(GTest QUIET)
endif()

if(TARGET GTest::gtest_main)
    enable_testing()
    add_subdirectory(tests)
    add_subdirectory(fuzz)
else()
    message(STATUS "GoogleTest not found: the tests are left out")
endif()
