# What is installed where: of a build for the instrument the tool, of another the simulator, which has a tool of its
# own with the stand-in, in a folder that no loader searches for others.
set(manuals ${CMAKE_INSTALL_MANDIR}/man1)
set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(bench_documents decisions firmware-files formats messages recovery runs)

if(CMAKE_CROSSCOMPILING OR VIMBRA_COMMON_LIBRARY)
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/vimbra-tool)
    install(TARGETS vimbra-tool)
    install(CODE "file(RPATH_REMOVE FILE
        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/vimbra-tool\")")
    install(FILES packaging/man/vimbra-tool.1 DESTINATION ${manuals})
    install(FILES packaging/completion/vimbra-tool DESTINATION ${completions})
else()
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/vimbra-simulator)
    list(APPEND bench_documents simulator)
    install(TARGETS vimbra-tool Common DeviceNodes
            RUNTIME DESTINATION lib/vimbra-simulator LIBRARY DESTINATION lib/vimbra-simulator)
    install(PROGRAMS simulate RENAME vimbra-simulate TYPE BIN)
    install(DIRECTORY examples DESTINATION ${documents} PATTERN watch-progress EXCLUDE)
    install(FILES packaging/man/vimbra-simulate.1 DESTINATION ${manuals})
    # The tool's options are the simulator's, too. In a section of its own, so that both can be installed.
    install(FILES packaging/man/vimbra-tool.1 RENAME vimbra-tool.1sim DESTINATION ${manuals})

    # Its completion takes functions of the tool's.
    set(parts packaging/completion/vimbra-tool packaging/completion/vimbra-simulate)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${parts})
    execute_process(COMMAND cat ${parts} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
                    OUTPUT_FILE ${PROJECT_BINARY_DIR}/completion COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${PROJECT_BINARY_DIR}/completion RENAME vimbra-simulate DESTINATION ${completions})
endif()

list(TRANSFORM bench_documents REPLACE "(.+)" "docs/\\1.md")
install(FILES ${bench_documents} DESTINATION ${documents}/docs)
install(PROGRAMS examples/watch-progress DESTINATION ${documents}/examples)
