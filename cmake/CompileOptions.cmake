# What every target of this project is compiled and linked with.
include(CheckPIESupported)
check_pie_supported() # without it CMake compiles programs as PIE, but does not link them as one

add_library(vimbra_compile_options INTERFACE)
target_compile_options(vimbra_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    -fno-semantic-interposition # position-independent code can be inlined all the same
    # Source names in messages are relative to the repository, on every build machine.
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

# Calls go by the names that the simulated instrument has: these two would turn open, lseek and select into others; some
# 32-bit compilers define them unless they see just these options.
target_compile_options(vimbra_compile_options INTERFACE -U_TIME_BITS -U_FILE_OFFSET_BITS)

# The tool runs as root on a field device.
target_compile_options(vimbra_compile_options INTERFACE -fstack-protector-strong)
set(no_fortify -Wp,-U_FORTIFY_SOURCE) # passed on so that it comes behind a distribution's flags
set(fortify ${no_fortify})
if(NOT VIMBRA_SANITIZE AND NOT VIMBRA_FUZZ) # which see more
    list(APPEND fortify $<$<NOT:$<CONFIG:Debug>>:-Wp,-D_FORTIFY_SOURCE=2>)
endif()
target_link_options(vimbra_compile_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)

# Functions that nothing calls take no room on the board.
target_compile_options(vimbra_compile_options INTERFACE
    $<$<CONFIG:Release>:-ffunction-sections -fdata-sections>)
target_link_options(vimbra_compile_options INTERFACE $<$<CONFIG:Release>:-Wl,--gc-sections>)

if(VIMBRA_SANITIZE OR VIMBRA_FUZZ)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
        -ftrivial-auto-var-init=pattern) # so that what is not initialized is not zero by chance
    target_compile_options(vimbra_compile_options INTERFACE ${sanitizers})
    target_link_options(vimbra_compile_options INTERFACE ${sanitizers})
endif()
if(VIMBRA_FUZZ)
    target_compile_options(vimbra_compile_options INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(vimbra_compile_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
