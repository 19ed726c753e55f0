# What an installed imgctl is: the library with its headers and, where they are built, the stand-ins and
# the host as archives, the programs with their papers, and what other builds find all of it by.
include(CMakePackageConfigHelpers)

set(libraries ${CMAKE_INSTALL_LIBDIR})
if(IMGCTL_PRIVATE_LIBRARY)
    string(APPEND libraries /imgctl)
endif()
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/imgctl)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/imgctl)
set(IMGCTL_ARCHIVES)

target_include_directories(imgctl_seams INTERFACE $<INSTALL_INTERFACE:${headers}>)
target_include_directories(imgctl INTERFACE $<INSTALL_INTERFACE:${headers}>)
target_compile_features(imgctl INTERFACE cxx_std_17)
set_target_properties(imgctl_seams PROPERTIES EXPORT_NAME seams)
install(TARGETS imgctl imgctl_seams EXPORT imgctl-targets LIBRARY DESTINATION ${libraries})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ ${IMGCTL_OWN_SEAMS} DESTINATION ${headers})

# An archive of a room's objects, and those of its headers that are for others. What it needs beside
# the C++ runtime is said by name: paths of this machine are no other's.
# @param name  without "imgctl-"; OBJECTS targets, HEADERS paths, NEEDS libraries
function(imgctl_install_archive name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "OBJECTS;HEADERS;NEEDS")
    set(objects)
    foreach(target IN LISTS arg_OBJECTS)
        list(APPEND objects $<TARGET_OBJECTS:${target}>)
    endforeach()
    add_library(imgctl_archive_${name} STATIC ${objects})
    # What its consumers are told; the objects are compiled already.
    target_link_libraries(imgctl_archive_${name} INTERFACE imgctl ${arg_NEEDS})
    if(NOT name STREQUAL host) # whose headers are named with their folder
        target_include_directories(imgctl_archive_${name}
            INTERFACE $<INSTALL_INTERFACE:${headers}/${name}>)
    endif()
    set_target_properties(imgctl_archive_${name} PROPERTIES
        LINKER_LANGUAGE CXX OUTPUT_NAME imgctl-${name} EXPORT_NAME archive_${name})
    install(TARGETS imgctl_archive_${name} EXPORT imgctl-targets ARCHIVE DESTINATION ${libraries})
    install(FILES ${arg_HEADERS} DESTINATION ${headers}/${name})
    set(IMGCTL_ARCHIVES ${IMGCTL_ARCHIVES} ${name} PARENT_SCOPE)
endfunction()

if(IMGCTL_HOST)
    imgctl_install_archive(framework_linux OBJECTS framework_linux NEEDS tinyxml Threads::Threads
        HEADERS framework/linux/LinuxFramework.h framework/linux/FileFaults.h)
    file(GLOB entry_headers imageadjust/entry/*.h)
    imgctl_install_archive(entry OBJECTS imageadjust_entry HEADERS ${entry_headers}
        NEEDS Threads::Threads ${CMAKE_DL_LIBS})
    imgctl_install_archive(simulator OBJECTS imageadjust_simulator imageadjust_picture
        HEADERS imageadjust/simulator/SimulatedImageAdjust.h imageadjust/simulator/SimulatedTypes.h
        NEEDS $<INSTALL_INTERFACE:imgctl::entry> jpeg)
    imgctl_install_archive(v4l2 OBJECTS imageadjust_v4l2 NEEDS $<INSTALL_INTERFACE:imgctl::entry> jpeg
        HEADERS imageadjust/v4l2/V4l2Layer.h imageadjust/v4l2/Cameras.h imageadjust/v4l2/DeviceCalls.h)
    set(atomics)
    if(NOT IMGCTL_ATOMICS_BUILT_IN)
        set(atomics atomic)
    endif()
    # What programs of other makers may stand on; the rest is the host's own.
    set(host_headers Camera CameraOptions CameraTree CommandLine DeviceTree Exchange Explain Files
                     Journal MakeDevice Names Operation PictureCauses PictureHub Plan Sentences
                     Simulator Snapshot Text WindowWarnings)
    list(TRANSFORM host_headers REPLACE "(.+)" "host/\\1.h")
    imgctl_install_archive(host OBJECTS imgctl_host_library HEADERS ${host_headers}
        NEEDS $<INSTALL_INTERFACE:imgctl::simulator> $<INSTALL_INTERFACE:imgctl::v4l2>
              $<INSTALL_INTERFACE:imgctl::framework_linux> ${atomics})

    set(programs imgctl_host ia_compliance)
    if(IMGCTL_ONE_PROGRAM)
        set(programs imgctl_board ia_compliance)
    elseif(IMGCTL_DAEMON)
        list(APPEND programs imgctld)
    endif()
    if(IMGCTL_DAEMON)
        # One camera of a machine, and one of several. systemd finds programs of a few folders alone by their
        # name; where this one comes to lie is known when it is installed.
        set(PROGRAM "@PROGRAM@")
        set(DESCRIPTION "Camera on the network")
        set(ARGUMENTS)
        configure_file(apps/imgctld/imgctld.service.in ${PROJECT_BINARY_DIR}/imgctld.service @ONLY)
        set(DESCRIPTION "Camera %i on the network")
        set(ARGUMENTS " --device /var/lib/imgctl/%i --make-device")
        configure_file(apps/imgctld/imgctld.service.in ${PROJECT_BINARY_DIR}/imgctld@.service @ONLY)
        install(CODE "
            set(PROGRAM \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/imgctld\")
            foreach(unit IN ITEMS imgctld.service imgctld@.service)
                # Straight to its place: the build folder may be another user's.
                set(there \"\${CMAKE_INSTALL_PREFIX}/lib/systemd/system/\${unit}\")
                configure_file(\"${PROJECT_BINARY_DIR}/\${unit}\" \"\$ENV{DESTDIR}\${there}\" @ONLY)
                list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${there}\")
            endforeach()")
    endif()
    # They find the library where it is installed with them, wherever that is.
    file(RELATIVE_PATH to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_PREFIX}/${libraries})
    set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_library}")
    install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    if(IMGCTL_ONE_PROGRAM)
        install(CODE "file(CREATE_LINK imgctl \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/imgctld\" SYMBOLIC)")
    endif()
    # Folders in it that are empty are made by whoever uses it.
    install(DIRECTORY device DESTINATION ${CMAKE_INSTALL_DATADIR}/imgctl
            PATTERN .gitkeep EXCLUDE)
    install(FILES apps/imgctl/completion/imgctl.bash RENAME imgctl
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()

install(EXPORT imgctl-targets NAMESPACE imgctl:: DESTINATION ${package})
configure_package_config_file(cmake/imgctlConfig.cmake.in ${PROJECT_BINARY_DIR}/imgctlConfig.cmake
                              INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/imgctlConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/imgctlConfig.cmake ${PROJECT_BINARY_DIR}/imgctlConfigVersion.cmake
        DESTINATION ${package})

# The paths in it follow its own place, so that a prefix that is given at the installation holds too.
set(pages imgctl)
if(IMGCTL_HOST)
    list(APPEND pages imgctl-framework imgctl-host)
endif()
file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig
     ${CMAKE_INSTALL_PREFIX})
cmake_path(SET to_prefix NORMALIZE "${to_prefix}")
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
foreach(page IN LISTS pages)
    configure_file(cmake/${page}.pc.in ${PROJECT_BINARY_DIR}/${page}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${page}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
