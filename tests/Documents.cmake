# The documents are held against the source and the program, and their examples are run. That needs srecord,
# binutils and bash.

if(NOT CMAKE_CROSSCOMPILING AND NOT VIMBRA_SANITIZE)
    foreach(document README.md docs/firmware-files.md docs/formats.md docs/recovery.md docs/runs.md
             docs/simulator.md tests/examples.md)
        add_test(NAME "examples of ${document}"
                 COMMAND ${PROJECT_SOURCE_DIR}/tests/transcript ${PROJECT_BINARY_DIR}
                         ${PROJECT_SOURCE_DIR}/${document})
    endforeach()
    add_test(NAME "messages and options"
             COMMAND ${PROJECT_SOURCE_DIR}/tests/messages ${PROJECT_BINARY_DIR} ${tool_rooms})
    add_test(NAME "completion" COMMAND ${PROJECT_SOURCE_DIR}/tests/completion ${PROJECT_BINARY_DIR})
endif()
