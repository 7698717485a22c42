# Public headers, one mechanism for three duties: they are known by folder, installed under
# <include>/msxml_parser keeping the paths by which the sources include them, and each is compiled alone.
set(KEL_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/msxml_parser)
set_property(GLOBAL PROPERTY KEL_HEADER_CHECKS "")

# kel_public_headers(<include path> DIRECTORY <dir> [FILES <names>]): without FILES, every header
# that stands directly in the folder (`detail/` below it is internal).
function(kel_public_headers include_path)
    cmake_parse_arguments(ARG "" "DIRECTORY" "FILES" ${ARGN})
    if(NOT ARG_FILES)
        file(GLOB ARG_FILES CONFIGURE_DEPENDS RELATIVE ${ARG_DIRECTORY} ${ARG_DIRECTORY}/*.h)
    endif()
    foreach(name IN LISTS ARG_FILES)
        install(FILES ${ARG_DIRECTORY}/${name} DESTINATION ${KEL_INCLUDE_DIR}/${include_path} COMPONENT development)
        set_property(GLOBAL APPEND PROPERTY KEL_HEADER_CHECKS ${include_path}/${name})
    endforeach()
endfunction()

# A source for each public header that includes nothing else: a header that leans on its includer does not compile.
function(kel_check_headers target)
    get_property(headers GLOBAL PROPERTY KEL_HEADER_CHECKS)
    set(sources)
    foreach(header IN LISTS headers)
        string(MAKE_C_IDENTIFIER ${header} stem)
        set(source ${PROJECT_BINARY_DIR}/header_checks/${stem}.cpp)
        file(CONFIGURE OUTPUT ${source} CONTENT "#include \"@header@\"\n#include \"@header@\"\n" @ONLY)
        list(APPEND sources ${source})
    endforeach()
    add_library(${target} OBJECT ${sources})
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "")  # the headers' own sources have it
    kel_warnings(${target})
    target_include_directories(${target} PRIVATE ${KEL_INCLUDE_ROOTS})
endfunction()
