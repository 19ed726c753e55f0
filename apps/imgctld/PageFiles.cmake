# Writes the page's files as a C++ table, and the API's description beside the page. Called with FOLDER,
# FILES (below it), OUTPUT, and PACKED: whether to compress them, and send them so.
set(types html text/html css text/css js text/javascript json application/json svg image/svg+xml)
set(arrays "")
set(rows "")
set(number 0)
set(encoding "")
if(PACKED)
    set(encoding gzip)
endif()
foreach(file IN LISTS FILES)
    get_filename_component(extension ${file} LAST_EXT)
    string(SUBSTRING ${extension} 1 -1 extension)
    list(FIND types ${extension} at)
    if(at LESS 0)
        message(FATAL_ERROR "The page's file ${file} has no known type; add it to PageFiles.cmake")
    endif()
    math(EXPR at "${at} + 1")
    list(GET types ${at} type)
    set(source ${FOLDER}/${file})
    if(PACKED)
        set(source ${OUTPUT}.gz)
        execute_process(COMMAND gzip -9nc ${FOLDER}/${file} OUTPUT_FILE ${source} COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(READ ${source} content HEX)
    string(LENGTH "${content}" size)
    math(EXPR size "${size} / 2")
    string(REGEX REPLACE "(................................................................)" "\\1\n" content "${content}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," content "${content}")
    string(APPEND arrays "const unsigned char kFile${number}[] = {\n${content}};\n")
    set(path /${file})
    if(file STREQUAL "index.html")
        set(path /)
    elseif(file STREQUAL "../openapi.json")
        set(path /api/v1/openapi.json)
    endif()
    string(APPEND rows "    {\"${path}\", \"${type}; charset=utf-8\", \"${encoding}\", reinterpret_cast<const char*>(kFile${number}), ${size}},\n")
    math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "// Made from the page's folder.
#include \"Service.h\"

namespace imgctld {
namespace {

${arrays}
const PageFile kFiles[] = {
${rows}};

} // namespace

const PageFile* findPageFile(const std::string& path) {
    for (const PageFile& file : kFiles) {
        if (path == file.path) {
            return &file;
        }
    }
    return nullptr;
}

} // namespace imgctld
")
