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
    install(TARGETS vimbra-tool StandIn
            RUNTIME DESTINATION lib/vimbra-simulator LIBRARY DESTINATION lib/vimbra-simulator)
    install(PROGRAMS simulate RENAME vimbra-simulate TYPE BIN)
    install(DIRECTORY examples DESTINATION ${documents} PATTERN watch-progress EXCLUDE)
    install(FILES packaging/man/vimbra-simulate.1 DESTINATION ${manuals})
    # The tool's options are the simulator's, too. In a section of its own, so that both can be installed.
    install(FILES packaging/man/vimbra-tool.1 RENAME vimbra-tool.1sim DESTINATION ${manuals})
    # It holds both commands' completions.
    install(FILES packaging/completion/vimbra-tool RENAME vimbra-simulate DESTINATION ${completions})
endif()

list(TRANSFORM bench_documents REPLACE "(.+)" "docs/\\1.md")
install(FILES ${bench_documents} DESTINATION ${documents}/docs)
install(PROGRAMS examples/watch-progress DESTINATION ${documents}/examples)
