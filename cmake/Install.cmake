# What is installed where, by component: the tool, and the simulator, which has a tool of its own with the
# stand-in in a folder that no loader searches for others.
set(manuals ${CMAKE_INSTALL_MANDIR}/man1)
set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(completion ${PROJECT_SOURCE_DIR}/packaging/completion)
set(documents ${CMAKE_INSTALL_DATADIR}/doc)

# Installs files, joined to one, under a name of its own.
function(install_joined component name destination)
    set(joined ${PROJECT_BINARY_DIR}/installed/${component}/${name})
    set(command cat ${ARGN})
    if(name MATCHES "\\.gz$")
        list(APPEND command | gzip -9n)
    endif()
    add_custom_command(OUTPUT ${joined}
                       COMMAND ${CMAKE_COMMAND} -E make_directory installed/${component}
                       COMMAND ${command} > ${joined}
                       DEPENDS ${ARGN}
                       WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
                       VERBATIM)
    add_custom_target(install-${component}-${name} ALL DEPENDS ${joined})
    install(FILES ${joined} DESTINATION ${destination} COMPONENT ${component})
endfunction()

function(install_manual component command)
    install_joined(${component} ${command}.1.gz ${manuals}
                   ${PROJECT_SOURCE_DIR}/packaging/man/${command}.1)
endfunction()

# Installs what a package tells about itself and for the bench. Further arguments are more documents.
function(install_documents component package)
    set(bench decisions firmware-files formats messages recovery runs ${ARGN})
    list(TRANSFORM bench REPLACE "(.+)" "docs/\\1.md")
    install(FILES ${bench} DESTINATION ${documents}/${package}/docs COMPONENT ${component})
    install(PROGRAMS examples/watch-progress DESTINATION ${documents}/${package}/examples
            COMPONENT ${component})
    install_joined(${component} changelog.gz ${documents}/${package}
                   ${PROJECT_BINARY_DIR}/changelog)
    install(FILES packaging/copyright DESTINATION ${documents}/${package} COMPONENT ${component})
endfunction()

# The changelog's newest entry dates the packages and what is in them, so that the same source yields the same bytes.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
file(STRINGS CHANGELOG.md newest_entry REGEX "^## .* \\(.*\\)$" LIMIT_COUNT 1)
string(REGEX REPLACE ".*\\((.*)\\)$" "\\1" newest_entry "${newest_entry}")
execute_process(COMMAND date --utc --rfc-email --date=${newest_entry}
                OUTPUT_VARIABLE changelog_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND date --utc --date=${newest_entry} +%s
                OUTPUT_VARIABLE changelog_seconds OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(packaging/changelog.in changelog @ONLY)

# Run only where no component is named, before anything is installed: the two are for different machines.
install(CODE "message(FATAL_ERROR \"name what to install: --component tool or --component simulator\")")

install(TARGETS vimbra-tool COMPONENT tool)
install(CODE "file(RPATH_REMOVE FILE
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/vimbra-tool\")" COMPONENT tool)
install_manual(tool vimbra-tool)
install_joined(tool vimbra-tool ${completions} ${completion}/vimbra-tool)
install_documents(tool vimbra-tool)

if(NOT VIMBRA_COMMON_LIBRARY)
    install(TARGETS vimbra-tool StandIn
            RUNTIME DESTINATION lib/vimbra-simulator COMPONENT simulator
            LIBRARY DESTINATION lib/vimbra-simulator COMPONENT simulator)
    install(PROGRAMS simulate RENAME vimbra-simulate DESTINATION ${CMAKE_INSTALL_BINDIR}
            COMPONENT simulator)
    install(DIRECTORY examples DESTINATION ${documents}/vimbra-simulator COMPONENT simulator
            PATTERN watch-progress EXCLUDE)
    install_manual(simulator vimbra-simulate)
    install_manual(simulator vimbra-tool) # whose options it takes
    install_joined(simulator vimbra-simulate ${completions} ${completion}/vimbra-tool) # holds both
    install_documents(simulator vimbra-simulator simulator)
endif()
