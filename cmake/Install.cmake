# What is installed where, by component: the tool, and the simulator, which has a tool of its own with the
# stand-in in a folder that no loader searches for others.
set(manuals ${CMAKE_INSTALL_MANDIR}/man1)
set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(documents ${CMAKE_INSTALL_DATADIR}/doc)

# Installs a file compressed, under its own name and ".gz".
function(install_compressed component source destination)
    cmake_path(GET source FILENAME name)
    set(compressed ${PROJECT_BINARY_DIR}/compressed/${component}/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
                       COMMAND ${CMAKE_COMMAND} -E make_directory compressed/${component}
                       COMMAND gzip -9nc ${source} > ${compressed}
                       DEPENDS ${source}
                       WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
                       VERBATIM)
    add_custom_target(${component}-${name} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component})
endfunction()

# What each package holds beside its programs.
function(install_documents component package command)
    install_compressed(${component} ${PROJECT_SOURCE_DIR}/packaging/man/${command}.1 ${manuals})
    install_compressed(${component} ${PROJECT_BINARY_DIR}/changelog ${documents}/${package})
    install(FILES packaging/copyright DESTINATION ${documents}/${package} COMPONENT ${component})
    install(FILES packaging/completion/${command} DESTINATION ${completions}
            COMPONENT ${component})
endfunction()

configure_file(packaging/changelog.in changelog @ONLY)

install(TARGETS vimbra-tool COMPONENT tool)
install_documents(tool vimbra-tool vimbra-tool)

if(NOT VIMBRA_COMMON_LIBRARY)
    install(TARGETS vimbra-tool Common DeviceNodes
            RUNTIME DESTINATION lib/vimbra-simulator COMPONENT simulator
            LIBRARY DESTINATION lib/vimbra-simulator COMPONENT simulator)
    install(PROGRAMS simulate RENAME vimbra-simulate DESTINATION ${CMAKE_INSTALL_BINDIR}
            COMPONENT simulator)
    install(DIRECTORY examples DESTINATION ${documents}/vimbra-simulator COMPONENT simulator
            USE_SOURCE_PERMISSIONS)
    install_documents(simulator vimbra-simulator vimbra-simulate)
endif()
