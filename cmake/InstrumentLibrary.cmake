# The instrument's own libCommon.so, in place of the simulated one.
if(NOT EXISTS ${VIMBRA_COMMON_LIBRARY} OR IS_DIRECTORY ${VIMBRA_COMMON_LIBRARY})
    message(FATAL_ERROR "VIMBRA_COMMON_LIBRARY: there is no file ${VIMBRA_COMMON_LIBRARY}")
endif()

add_library(Common SHARED IMPORTED)
set_target_properties(Common PROPERTIES IMPORTED_LOCATION ${VIMBRA_COMMON_LIBRARY}
                                        IMPORTED_NO_SONAME ON)
# It may need libraries that only the instrument has.
target_link_options(vimbra-tool PRIVATE -Wl,--allow-shlib-undefined)
