# What every target of this project is compiled with.
add_library(vimbra_compile_options INTERFACE)
target_compile_options(vimbra_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    -fno-semantic-interposition # position-independent code can be inlined all the same
    # Source names in messages are relative to the repository, on every build machine.
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
    $<$<BOOL:${VIMBRA_WARNINGS_AS_ERRORS}>:-Werror>)

if(VIMBRA_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_compile_options(vimbra_compile_options INTERFACE ${sanitizers})
    target_link_options(vimbra_compile_options INTERFACE ${sanitizers})
endif()
