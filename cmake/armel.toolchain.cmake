# The boards: ARMv5TE without floating point, with Debian's armel libraries. Its programs run on the PC
# in an emulator, so the tests pass there too.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabi-g++)
set(CMAKE_CXX_FLAGS_INIT "-mcpu=arm926ej-s -mfloat-abi=soft -mthumb")
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabi)
# The loader and the libraries are the armel packages', not the compiler's own copy of the C library:
# a program that loads parts of both crashes as soon as it has threads.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -cpu arm926 -L /)
