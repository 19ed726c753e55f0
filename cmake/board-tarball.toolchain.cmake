# The boards again, with the small libraries of scripts/board-libraries in place of Debian's: they become
# part of the program, and what nobody in it calls is left out.
include(${CMAKE_CURRENT_LIST_DIR}/armel.toolchain.cmake)
cmake_path(SET libraries NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../build/board-libraries")
if(NOT EXISTS "${libraries}")
    message(FATAL_ERROR "No libraries for boards yet; scripts/board-libraries makes them")
endif()
list(PREPEND CMAKE_FIND_ROOT_PATH "${libraries}")
set(ENV{PKG_CONFIG_LIBDIR} "${libraries}/usr/lib/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${libraries}")
string(APPEND CMAKE_CXX_FLAGS_INIT " -ffunction-sections -fdata-sections -I${libraries}/usr/include")
string(PREPEND CMAKE_EXE_LINKER_FLAGS_INIT "-L${libraries}/usr/lib -Wl,--gc-sections ")
