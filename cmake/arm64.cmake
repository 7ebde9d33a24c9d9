# Cross-compiles for arm64, with Debian's cross compiler g++-aarch64-linux-gnu and the libraries of the
# architecture arm64 (libncurses-dev:arm64 ...).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# Runs the programs with the emulator of qemu-user, if installed.
find_program(ARM64_EMULATOR qemu-aarch64)
if(ARM64_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${ARM64_EMULATOR})
endif()
