set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Its kernel's pages are 4 KiB; a linker that reckons with 64 KiB fills the program up to that.
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-z,max-page-size=4096)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
