# Debian packages, by cpack: of the tool where it is built for the instrument, of the simulator elsewhere.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER
    "Maintainers of vimbra-tool <maintainers@vimbra-tool.example>")
set(CPACK_DEBIAN_PACKAGE_SOURCE vimbra-tool)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vimbra-tool)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "service and factory tool of the instrument
Updates the firmware of the Vimbra co-processor and of the small PICs
behind it, converts firmware files, prints what arrives on the
co-processor's channels and exercises the instrument's common library.

It needs libCommon.so, which is part of the instrument's own software.")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME vimbra-simulator)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_CONFLICTS vimbra-tool) # both hold the tool's manual page
set(CPACK_DEBIAN_SIMULATOR_DESCRIPTION "service and factory tool on a simulated instrument
Runs vimbra-tool on a simulated instrument, to try a firmware file before
it goes to a real one. Settings and scripts let the simulated devices
refuse, fail or stay silent.")

if(CMAKE_CROSSCOMPILING OR VIMBRA_COMMON_LIBRARY)
    set(CPACK_COMPONENTS_ALL tool)
    set(packaged vimbra-tool)
else()
    set(CPACK_COMPONENTS_ALL simulator)
    set(packaged vimbra-tool StandIn)
endif()

# What they depend on is known when they are built, and they are dated as the environment says, or else the changelog.
list(TRANSFORM packaged REPLACE "(.+)" "$<TARGET_FILE:\\1>")
list(JOIN packaged " " packaged)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/PackageDependencies.cmake)
file(GENERATE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} CONTENT "\
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/packaging/dependencies ${packaged}
                OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_DEPENDS OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} ${changelog_seconds})
endif()
")
include(CPack)
