# The boards: ARMv5TE without floating point, with Debian's armel libraries. Its programs run on the PC
# in an emulator, so the tests pass there too.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabi-g++)
set(CMAKE_CXX_FLAGS_INIT "-mcpu=arm926ej-s -mfloat-abi=soft -mthumb -Wno-psabi")
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabi)

cmake_path(SET sysroot NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../build/armel-sysroot")
if(NOT EXISTS "${sysroot}")
    message(FATAL_ERROR "No armel libraries yet; scripts/armel-sysroot fetches them")
endif()
# Headers that differ between architectures stand in a folder of their own.
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${sysroot}/usr/include/arm-linux-gnueabi")
set(CMAKE_FIND_ROOT_PATH "${sysroot}")
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# What the libraries need in turn is looked for among them, for programs only.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${sysroot}/usr/lib/arm-linux-gnueabi")
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT ":${sysroot}/lib/arm-linux-gnueabi")
# The loader and the libraries are these too, not the compiler's own copy of the C library: a program
# that loads parts of both crashes as soon as it has threads.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -cpu arm926 -L "${sysroot}")
