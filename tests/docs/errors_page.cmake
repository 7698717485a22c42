# docs/errors.md has every message that the sources hold, and no other, but for the reasons inside messages. Messages for people are those of the
# catalogues, which a test of their own compares with the sources; the texts of exceptions and assertions, and the
# numbers of codes and statuses, come from the sources themselves. Run with -D for: SOURCES, MSGCAT
cmake_minimum_required(VERSION 3.25)

# A semicolon or bracket in a text would take CMake's lists apart; none of ours has one.
file(READ ${SOURCES}/docs/errors.md page)

execute_process(COMMAND ${MSGCAT} --no-wrap ${SOURCES}/po/msxml_parser/de.po OUTPUT_VARIABLE catalogue
    COMMAND_ERROR_IS_FATAL ANY)
string(FIND "${catalogue}" "# What the engine reports." reasons)  # the rest of the catalogue
if(reasons EQUAL -1)
    message(FATAL_ERROR "the catalogue does not say where the reasons begin")
endif()
string(SUBSTRING "${catalogue}" 0 ${reasons} catalogue)
string(REGEX REPLACE "\"\n\"" "" catalogue "${catalogue}")  # a text of several lines
string(REGEX MATCHALL "msgid \"[^\n]+\"\n" messages "${catalogue}")
list(TRANSFORM messages REPLACE "^msgid \"(.*)\"\n$" "\\1")

file(GLOB_RECURSE sources ${SOURCES}/src/KelBasicTypes/*.cpp ${SOURCES}/framework/*.cpp ${SOURCES}/msxml_parser/*.cpp)
foreach(source IN LISTS sources)
    file(READ ${source} text)
    string(REGEX MATCHALL "(assertionFailed|_error|[( ]report)\\(u?\"[^\"]+\"" found "${text}")
    list(TRANSFORM found REPLACE "^[^\"]*\"(.*)\"$" "\\1")
    list(APPEND messages ${found})
endforeach()
list(REMOVE_ITEM messages "invalid ")  # put together from pieces; the page spells them out
list(APPEND messages "invalid stof argument" "stof argument out of range" "invalid stod argument"
    "stod argument out of range")
list(LENGTH messages count)
if(count LESS 30)
    message(FATAL_ERROR "only ${count} messages found: the sources are not read as they are written")
endif()
foreach(message IN LISTS messages)
    string(FIND "${page}" "`${message}`" at)
    if(at EQUAL -1)
        message(SEND_ERROR "docs/errors.md lacks: ${message}")
    endif()
endforeach()

string(REGEX MATCHALL "(^|\n)> [^\n]*" quotations "${page}")
string(REGEX MATCHALL "`[^`]+`" quotations "${quotations}")
foreach(quoted IN LISTS quotations)
    string(REGEX REPLACE "^`(.*)`$" "\\1" quoted "${quoted}")
    if(NOT quoted IN_LIST messages)
        message(SEND_ERROR "docs/errors.md has what no source says: ${quoted}")
    endif()
endforeach()

foreach(header ikeldomxml.h ikeldomxmlv3.h ikelsaxxml.h)
    file(STRINGS ${SOURCES}/msxml_parser/${header} codes REGEX "^ +k[A-Za-z]+ = [0-9]+,")
    foreach(code IN LISTS codes)
        string(REGEX REPLACE ".* = ([0-9]+),.*" "\\1" number "${code}")
        if(NOT page MATCHES "\n### Code ${number}: ")
            message(SEND_ERROR "docs/errors.md lacks code ${number} of ${header}")
        endif()
    endforeach()
endforeach()
file(STRINGS ${SOURCES}/engine/com/comerror.h statuses REGEX "^ +{0x[0-9A-F]+, \"")
foreach(status IN LISTS statuses)
    string(REGEX REPLACE "^ +{(0x[0-9A-F]+), (\"[^\"]*\")}.*" "`\\1`, \\2" line "${status}")
    string(FIND "${page}" "${line}" at)
    if(at EQUAL -1)
        message(SEND_ERROR "docs/errors.md lacks the status ${line}")
    endif()
endforeach()
