# Every page of the guide and of its decisions can be reached from its folder's index, and every link between files
# leads somewhere. (Links to headings are Doxygen's business.) Run with -D for: SOURCES
cmake_minimum_required(VERSION 3.25)

foreach(folder docs docs/decisions)
    file(READ ${SOURCES}/${folder}/README.md index)
    file(GLOB pages RELATIVE ${SOURCES}/${folder} ${SOURCES}/${folder}/*.md)
    list(REMOVE_ITEM pages README.md)
    foreach(page IN LISTS pages)
        string(FIND "${index}" "](${page})" at)
        if(at EQUAL -1)
            message(SEND_ERROR "${folder}/README.md does not lead to ${page}")
        endif()
    endforeach()
endforeach()

file(GLOB pages ${SOURCES}/*.md ${SOURCES}/docs/*.md ${SOURCES}/docs/decisions/*.md)
foreach(page IN LISTS pages)
    file(READ ${page} text)
    string(REGEX REPLACE "```[^`]*```" "" text "${text}")  # code has brackets of its own
    # Brackets would hold CMake's lists together.
    string(REPLACE "](" "@(" text "${text}")
    string(REGEX REPLACE "[][]" "" text "${text}")
    string(REGEX MATCHALL "@\\([^)# \n]+" links "${text}")
    cmake_path(GET page PARENT_PATH folder)
    foreach(link IN LISTS links)
        string(REGEX REPLACE "^@\\(" "" target "${link}")
        if(NOT target MATCHES "^[a-z]+://" AND NOT EXISTS ${folder}/${target})
            message(SEND_ERROR "${page} links to ${target}, which is not there")
        endif()
    endforeach()
endforeach()
