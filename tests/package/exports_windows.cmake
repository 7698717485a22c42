# The library's export table holds the ten names and nothing else. Run with -D for: OBJDUMP, LIBRARY, DEFINITIONS
cmake_minimum_required(VERSION 3.25)

file(STRINGS ${DEFINITIONS} expected REGEX "^    [^ ]")
list(TRANSFORM expected STRIP)
list(SORT expected)
execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table\n(.*)" "\\1" table "${output}")
string(REGEX MATCHALL "\t\\[ *[0-9]+\\] [^\n]*" rows "${table}")
list(TRANSFORM rows REPLACE "\t\\[ *[0-9]+\\] " "")
list(SORT rows)
list(LENGTH rows count)
if(NOT rows STREQUAL expected OR NOT count EQUAL 10 OR NOT "EntryPoint" IN_LIST rows
    OR NOT "createIKelDOMXml" IN_LIST rows)
    message(FATAL_ERROR "expected exactly:\n  ${expected}\nexported:\n  ${rows}")
endif()
