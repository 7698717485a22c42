# The shared library shows the outside its ten names and nothing else, each with the version that brought it. A
# constructor or destructor is one name, however many variants of it the compiler emits. Run with -D for: NM, LIBRARY
cmake_minimum_required(VERSION 3.25)

set(expected
    "EntryPoint"
    "XmlDOM::XmlDOM()"
    "XmlDOM::getParser()"
    "XmlDOM::operator=(XmlDOM const&)"
    "XmlDOM::~XmlDOM()"
    "XmlSAX::XmlSAX()"
    "XmlSAX::getParser()"
    "XmlSAX::operator=(XmlSAX const&)"
    "XmlSAX::~XmlSAX()"
    "createIKelDOMXml")

execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "[0-9a-f]+ [A-Za-z] ([^\n]*)\n" "\\1;" exported "${output}")
list(REMOVE_ITEM exported "" "MSXML_PARSER_6.3")  # a version node is itself a symbol
list(REMOVE_DUPLICATES exported)
list(SORT exported)
list(TRANSFORM expected APPEND "@@MSXML_PARSER_6.3")
if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "expected exactly:\n  ${expected}\nexported:\n  ${exported}")
endif()
