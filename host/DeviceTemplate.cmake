# The sample camera's documents become part of the programs that make device trees.
set(sample ${PROJECT_SOURCE_DIR}/device/hd1/moduleConfig/sensorConfig)
file(READ ${sample}/style/Style.xml STYLE)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sample}/style/Style.xml)
foreach(id 0 1 2)
    file(READ ${sample}/language/${id}/language.xml LANGUAGE_${id})
    file(READ ${sample}/language/${id}/common.xml COMMON_${id})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
                 ${sample}/language/${id}/language.xml ${sample}/language/${id}/common.xml)
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/DeviceTemplate.cpp.in
               ${CMAKE_CURRENT_BINARY_DIR}/DeviceTemplate.cpp @ONLY)
